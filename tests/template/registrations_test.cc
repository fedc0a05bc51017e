// Registrations by templates, the host and the preference file.
#include <gtest/gtest.h>

#include <sstream>

#include "quorvix/app_info.h"
#include "quorvix/filler.h"
#include "quorvix/message_service.h"
#include "quorvix/reader_lists.h"
#include "support/support.h"

namespace {

using Strings = std::vector<std::string>;

// Collects message lines; installed as the active service while it lives.
class Messages : public MessageServiceBase {
 public:
  Messages() : saved_(MathParser::app_func) {
    MathParser::app_func = [] { return static_cast<void*>(&kKey); };
    MathParser::AddMessageService(&kKey, this);
  }
  ~Messages() override {
    MathParser::RemoveMessageService(&kKey);
    MathParser::app_func = saved_;
  }
  std::ostream& Stream() override { return text_; }
  std::string Text() const { return text_.str(); }

 private:
  static inline int kKey = 0;
  std::ostringstream text_;
  void* (*saved_)();
};

class ReadersApp : public VQApplicationInfo {
 public:
  std::string GetSpecifiedPath(const std::string& which) const override {
    return which == "vq_readers" ? "/opt/q/readers" : "";
  }
};

class RegistrationTest : public TempDirTest {
 protected:
  void SetUp() override {
    TempDirTest::SetUp();
    Clear();
  }
  void TearDown() override { Clear(); }
  static void Clear() {
    Filler::ClearExternalReaders();
    Filler::ClearImportTemplates();
    Filler::ClearSharedReaders();
  }
  std::string Path(const std::string& name) const { return (dir_ / name).string(); }
  int Preference(const std::string& text, MathParser* parser) {
    return Filler::GetTemplatesViaPreferenceFile(Write("prefs.txt", text).c_str(), parser);
  }
  static Strings TemplatePaths() {
    Strings paths;
    for (const auto& reader : VectorFileList::template_reader()) paths.push_back(reader->Path());
    return paths;
  }
  Messages messages_;
};

TEST_F(RegistrationTest, StatementsRegisterExistingFilesAndIgnoreMissingOnes) {
  const std::string r = Write("r.sh", "#!/bin/sh\n"), t = Write("t.tpl", "x"),
                    so = Write("m.so", "");
  Filler filler;
  const auto filled =
      qt::Fill(filler, "{registerexternalreader \"" + r + "\"}{registerexternalreader \"" + r +
                           "\"}{registerimporttemplate(\"" + t + "\")}{registersharedreader \"" +
                           so + "\"}{registersharedreader \"" + Path("none.so") +
                           "\"}{registerexternalfunction(\"regq_f1\", ./no/such/prog)}"
                           "{registerexternalfunction(\"regq_f2\", \"/p/\" + \"q\")}.");
  EXPECT_EQ(filled.output, ".");
  EXPECT_TRUE(filled.errors_null) << filled.errors;
  // The statement does not look for duplicates.
  EXPECT_EQ(VectorFileList::external_reader_path(), (Strings{r, r}));
  EXPECT_EQ(VectorFileList::external_reader_type(), (Strings{"", ""}));
  EXPECT_EQ(TemplatePaths(), Strings{t});
  EXPECT_EQ(VectorFileList::template_reader_ext(), Strings{""});
  EXPECT_EQ(vqReaderModuleList::ReaderPaths(), Strings{so});
  ASSERT_NE(MathParser::FunLook("regq_f1"), nullptr);
  EXPECT_STREQ(MathParser::FunLook("regq_f1")->program, "./no/such/prog");
  EXPECT_EQ(MathParser::FunLook("regq_f1")->is_external, 1);
  EXPECT_STREQ(MathParser::FunLook("regq_f2")->program, "/p/q");
  // Registering the same again leaves the registry (and the parses it guards) alone.
  const auto generation = MathParser::RegistryGeneration();
  EXPECT_EQ(qt::Fill(filler, "{registerexternalfunction(\"REGQ_F2\", \"/p/q\")}.").output, ".");
  EXPECT_EQ(MathParser::RegistryGeneration(), generation);
  EXPECT_EQ(messages_.Text(), "");
}

TEST_F(RegistrationTest, RestrictedModeRefusesEveryStatement) {
  for (std::string keyword : {"registerexternalfunction", "registerexternalreader",
                              "registerimporttemplate", "registersharedreader"}) {
    MathParser parser;
    parser.policy().restricted = true;
    Filler filler(&parser);
    const std::string text = "a{" + keyword + " \"x\"}b";
    const auto filled = qt::Fill(filler, text);
    EXPECT_EQ(filled.output, "a{error}");
    EXPECT_EQ(filled.errors, text + "\r\n" + std::string(keyword.size() + 2, ' ') + "^\r\n" +
                                 keyword + " is not allowed in restricted mode\r\n");
  }
}

TEST_F(RegistrationTest, HostOperationsRegisterOnceAndWarnAboutMissingFiles) {
  const std::string r = Write("r.sh", ""), t = Write("t.tpl", ""), f = Write("f.py", "");
  MathParser parser;
  Filler::ReadExternalReader(r.c_str(), "CSV", "csv", true);
  Filler::ReadExternalReader(r.c_str());
  Filler::ReadExternalReader("/no/such/reader");
  Filler::ReadImportTemplate(t.c_str(), nullptr, "dat");
  Filler::ReadImportTemplate("/no/such/template", "T", "t");
  Filler::ReadExternalFunction("regq_host_f", &parser, f.c_str());
  Filler::ReadExternalFunction("regq_host_g", nullptr, "/no/such/f");
  EXPECT_EQ(VectorFileList::external_reader_path(), Strings{r});
  EXPECT_EQ(VectorFileList::external_reader_type(), Strings{"CSV"});
  EXPECT_EQ(VectorFileList::external_reader_ext(), Strings{"csv"});
  EXPECT_EQ(TemplatePaths(), Strings{t});
  EXPECT_EQ(VectorFileList::template_reader_type(), Strings{});
  EXPECT_EQ(VectorFileList::template_reader_ext(), Strings{"dat"});
  ASSERT_NE(MathParser::FunLook("regq_host_f"), nullptr);
  EXPECT_EQ(MathParser::FunLook("regq_host_g"), nullptr);
  EXPECT_EQ(messages_.Text(),
            "External reader /no/such/reader not found.\n"
            "Import template /no/such/template not found.\n"
            "External function /no/such/f not found.\n");

  Filler::ClearExternalReaders();
  EXPECT_TRUE(VectorFileList::external_reader_ext().empty());
  EXPECT_EQ(TemplatePaths(), Strings{t});
  Filler::ClearImportTemplates();
  EXPECT_TRUE(TemplatePaths().empty());
  EXPECT_TRUE(VectorFileList::template_reader_ext().empty());
}

TEST_F(RegistrationTest, SharedReaderIsLookedUpAlongTheDirectories) {
  const std::string named = Write("own.so", ""), second = Write("b/mod.so", "");
  Write("c/mod.so", "");
  Filler::ReadSharedReader(named.c_str(), {});
  Filler::ReadSharedReader("mod", {Path("a"), Path("b"), Path("c")});
  Filler::ReadSharedReader("absent", {Path("b")});
  EXPECT_EQ(vqReaderModuleList::ReaderPaths(), (Strings{named, second}));
  Filler::ClearSharedReaders();
  EXPECT_TRUE(vqReaderModuleList::ReaderPaths().empty());
}

TEST_F(RegistrationTest, PreferenceFileRegistersItsGoodLinesAndSkipsTheRest) {
  const std::string r = Write("r.sh", ""), t = Write("t.tpl", ""), so = Write("m.so", "");
  Write("f.py", "");
  MathParser parser;
  parser.policy().messages = &messages_;
  // The file is a template: its brace groups run before its lines are read.
  const std::string text = "{dir = \"" + dir_.string() + "\"}" +
                           R"(no star here registerexternalreader("{dir}/r.sh")
# * registerexternalreader(dir + "/r.sh", "CSV", "*.csv")
*RegisterImportTemplate ("{dir}/t.tpl")
* registerimporttemplate "{dir}/t.tpl"
* registerexternalreader(42)
* registerotherthing("{dir}/r.sh")
*
* registersharedreader("{dir}/m.so")
* registersharedreader("csvplug")
* registerexternalfunction("regq_pref_f", dir + "/f.py")
* registerexternalfunction("regq_pref_g", "./missing.py")
)";
  ReadersApp app;
  VQApplicationInfo* saved = MathParser::GetAppInfo();
  MathParser::SetAppInfo(&app);
  EXPECT_EQ(Preference(text, &parser), 0);
  MathParser::SetAppInfo(saved);
  EXPECT_EQ(VectorFileList::external_reader_path(), Strings{r});
  EXPECT_EQ(VectorFileList::external_reader_type(), Strings{"CSV"});
  EXPECT_EQ(VectorFileList::external_reader_ext(), Strings{"csv"});
  EXPECT_EQ(TemplatePaths(), Strings{t});
  EXPECT_EQ(vqReaderModuleList::ReaderPaths(), (Strings{so, "/opt/q/readers/csvplug.so"}));
  ASSERT_NE(MathParser::FunLook("regq_pref_f"), nullptr);
  EXPECT_EQ(MathParser::FunLook("regq_pref_f")->program, dir_.string() + "/f.py");
  EXPECT_EQ(messages_.Text(), "External function ./missing.py not found.\n");
}

TEST_F(RegistrationTest, PreferenceFileWithoutParserTakesArgumentsAsText) {
  const std::string r = Write("r.sh", ""), f = Write("f.py", "");
  EXPECT_EQ(Preference("* registerexternalreader(\"" + r + "\", CSV, \"*.csv\")\n" +
                           "* registerexternalfunction(regq_text_f, \"" + f + "\")\n" +
                           "* registersharedreader(\"nowhere\")\n",
                       nullptr),
            0);
  EXPECT_EQ(VectorFileList::external_reader_path(), Strings{r});
  EXPECT_EQ(VectorFileList::external_reader_type(), Strings{"CSV"});
  ASSERT_NE(MathParser::FunLook("regq_text_f"), nullptr);
  EXPECT_EQ(MathParser::FunLook("regq_text_f")->program, f);
  // No application information: the module cannot be placed.
  EXPECT_TRUE(vqReaderModuleList::ReaderPaths().empty());
  EXPECT_EQ(Preference("no directives\n", nullptr), 0);
}

TEST_F(RegistrationTest, FailingPreferenceFilesRegisterNothing) {
  const std::string r = Write("r.sh", "");
  MathParser parser;
  parser.policy().messages = &messages_;
  EXPECT_EQ(Filler::GetTemplatesViaPreferenceFile(Path("absent.txt").c_str(), &parser), 1);
  EXPECT_EQ(Preference("* registerexternalreader(\"" + r + "\")\n{1/0}\n", &parser), 1);
  parser.policy().restricted = true;
  EXPECT_EQ(Preference("* registerexternalreader(\"" + r + "\")\n", &parser), 1);
  EXPECT_TRUE(VectorFileList::external_reader_path().empty());
  EXPECT_EQ(messages_.Text(), "cannot read preference file " + Path("absent.txt") +
                                  "\nDivide by zero in expression:\n1/0\n"
                                  "preference file is not allowed in restricted mode\n");
}

TEST_F(RegistrationTest, CliReadsThePreferenceFileBeforeFilling) {
  Write("prefs.txt", "* registerexternalreader(\"/no/such/reader\")\n");
  Write("bad.txt", "{undefined_q9}\n");
  Write("t.txt", "ok");
  const std::string cwd = dir_.string();
  auto good = qt::RunCli({"fill", "--pref", "prefs.txt", "t.txt"}, "/dev/null", cwd);
  EXPECT_EQ(good.status, 0);
  EXPECT_EQ(good.out, "ok");
  EXPECT_EQ(good.err, "External reader /no/such/reader not found.\n");
  auto failed = qt::RunCli({"fill", "--pref", "bad.txt", "t.txt"}, "/dev/null", cwd);
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.out, "");
  EXPECT_EQ(failed.err,
            "Unknown symbol \"undefined_q9\" in expression:\nundefined_q9\n"
            "quorvix fill: preference file 'bad.txt' failed\n");
  auto missing = qt::RunCli({"fill", "--pref", "absent.txt", "t.txt"}, "/dev/null", cwd);
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.err, "quorvix fill: cannot read preference file 'absent.txt'\n");
}

}  // namespace
