// The readers a host or template registers: external programs, import
// templates and shared reader plug-ins, each found by sniffing and opened
// on a file the test writes.
#include <sys/stat.h>

#include "quorvix/reader_lists.h"
#include "results/result_cache.h"
#include "results/result_tree.h"
#include "results/tree_lookup.h"
#include "support/support.h"
#include "util/process_timeout.h"

namespace quorvix::results {
namespace {

// The first format, by rank, that takes the file.
std::string Sniffed(const std::string& path) {
  const std::string head = test::ReadFile(path).substr(0, 4096);
  for (const ReaderFormat& f : ReaderFormats())
    if (f.sniff(path, head)) return f.name;
  return "";
}

ReaderFormat Format(const std::string& name) {
  for (const ReaderFormat& f : ReaderFormats())
    if (name == f.name) return f;
  ADD_FAILURE() << "no format " << name;
  return {};
}

// Found by name as read(file, NAME) finds it, whatever the reader's mapping.
const Component& Find(const ResultTree& tree, std::size_t subcase, const std::string& name) {
  const Subcase& s = tree.subcases.at(subcase);
  Address at;
  if (!FindByName(s, name, at)) throw std::runtime_error("nothing named " + name);
  return *ComponentAt(s, at);
}

// Whether the named format takes the file.
bool Takes(const std::string& format, const std::string& path) {
  return Format(format).sniff(path, test::ReadFile(path).substr(0, 4096));
}

class RegisteredReaders : public ::TempDirTest {
 protected:
  void TearDown() override {
    VectorFileList::ClearExternalReaders();
    VectorFileList::ClearTemplateReaders();
    vqReaderModuleList::ClearReaderPaths();
    SetProcessTimeout(0);
  }
  std::string Script(const std::string& name, const std::string& body) {
    const std::string path = Write(name, "#!/bin/sh\n" + body + "\n");
    ::chmod(path.c_str(), 0755);
    return path;
  }
  // What read() gives for the expression, through the cache and the ranks
  // of every reader format, as a template sees it.
  std::string Read(const std::string& expression) {
    MathParser parser;
    symtab* v = parser.Evaluate(expression.c_str());
    if (v == nullptr) return "error";
    std::string text = test::Text(*v);
    v->Delete();
    return text;
  }
  // Opens with the named format; the message when it fails.
  std::unique_ptr<ResultTree> Open(const char* format, const std::string& path, std::string* why,
                                   bool restricted = false) {
    Policy policy;
    policy.restricted = restricted;
    return Format(format).open(path, policy, why);
  }
};

TEST_F(RegisteredReaders, ExternalProgramByExtension) {
  VectorFileList::AddExternalReader(QUORVIX_RESULTS_EXAMPLES "/sample_external_reader.sh", "rig",
                                    "*.SDAT", true);
  const std::string data = Write("run.sdat", "// rig\nt;f\n0;10\n0.5;-2e1\n");
  EXPECT_EQ(Sniffed(data), "external reader");
  EXPECT_FALSE(Takes("external reader", Write("run.sdat2", "t;f\n")));
  std::string why;
  auto tree = Open("external reader", data, &why);
  ASSERT_NE(tree, nullptr) << why;
  EXPECT_EQ(tree->format, "rig");
  EXPECT_EQ(Find(*tree, 0, "t").values, (std::vector<double>{0, 0.5}));
  EXPECT_EQ(Find(*tree, 0, "f").values, (std::vector<double>{10, -20}));
  EXPECT_EQ(Read("read(\"" + data + "\", \"f\")"), "10, -20");
}

TEST_F(RegisteredReaders, ExternalWithoutExtensionTakesWhatNothingElseKnows) {
  const std::string program = Script("any.sh", "echo a; echo 4");
  VectorFileList::AddExternalReader(program, "", "", false);
  const std::string data = Write("blob.bin", std::string("\x01\x00\xff", 3));
  EXPECT_EQ(Sniffed(data), "external reader");
  std::string why;
  auto tree = Open("external reader", data, &why);
  ASSERT_NE(tree, nullptr) << why;
  EXPECT_EQ(tree->format, "external");
  EXPECT_EQ(Find(*tree, 0, "a").values, std::vector<double>{4});
}

TEST_F(RegisteredReaders, ExternalProgramFailures) {
  const std::string data = Write("x.ext", "1\n");
  const struct {
    const char* body;
    std::string message;
  } cases[] = {
      {"exit 3", " failed with exit status 3"},
      {"true", " wrote nothing for " + data},
      {"echo a,b; echo 1,x", "non-numeric cell \"x\" in @ line 2 column 2"},
      {"kill -9 $$", " ended by signal 9"},
  };
  int n = 0;
  for (const auto& c : cases) {
    VectorFileList::ClearExternalReaders();
    const std::string program = Script("r" + std::to_string(n++) + ".sh", c.body);
    VectorFileList::AddExternalReader(program, "", "ext", true);
    std::string why;
    EXPECT_EQ(Open("external reader", data, &why), nullptr);
    // '@' stands for the reader where the message names it inside.
    std::string expected = c.message;
    const std::string reader = "external reader " + program;
    if (const auto at = expected.find('@'); at != std::string::npos)
      expected.replace(at, 1, reader);
    else
      expected = reader + expected;
    EXPECT_EQ(why, expected);
  }
  std::string why;
  {
    // The reading parser's policy bounds what a reader may hand back.
    Policy policy;
    policy.limits.elements = 3;
    VectorFileList::ClearExternalReaders();
    const std::string big = Script("big.sh", "echo 1,2; echo 3,4");
    VectorFileList::AddExternalReader(big, "", "ext", true);
    EXPECT_EQ(Format("external reader").open(data, policy, &why), nullptr);
    EXPECT_EQ(why, "result file external reader " + big + " holds more than 3 numbers");
  }
  SetProcessTimeout(0.3);
  VectorFileList::ClearExternalReaders();
  const std::string slow = Script("slow.sh", "exec sleep 5");
  VectorFileList::AddExternalReader(slow, "", "ext", true);
  EXPECT_EQ(Open("external reader", data, &why), nullptr);
  EXPECT_EQ(why, slow + " timed out after 0.3 s");
  EXPECT_EQ(Open("external reader", data, &why, true), nullptr);
  EXPECT_EQ(why, "external reader is not allowed in restricted mode");
}

TEST_F(RegisteredReaders, ImportTemplateFillsWithFilename) {
  // The template reads the file's two numbers through its path.
  const std::string tpl = Write("reader.tpl",
                                "n,v\n"
                                "{h = fileopen(filename, \"r\")}"
                                "1,{filereadstring(h, \"[0-9]+\")}\n"
                                "2,{filereadstring(h, \"[0-9]+\")}\n");
  VectorFileList::AddTemplateReader(tpl, "pairs", "pair");
  const std::string data = Write("d.PAIR", "x 17 y 5\n");
  EXPECT_EQ(Sniffed(data), "import template");
  std::string why;
  auto tree = Open("import template", data, &why);
  ASSERT_NE(tree, nullptr) << why;
  EXPECT_EQ(tree->format, "pairs");
  EXPECT_EQ(Find(*tree, 0, "n").values, (std::vector<double>{1, 2}));
  EXPECT_EQ(Find(*tree, 0, "v").values, (std::vector<double>{17, 5}));
  EXPECT_EQ(Read("read(\"" + data + "\", \"v\")"), "17, 5");
  EXPECT_EQ(Open("import template", data, &why, true), nullptr);
  EXPECT_EQ(why, "import template is not allowed in restricted mode");
}

TEST_F(RegisteredReaders, ImportTemplateErrors) {
  const std::string bad = Write("bad.tpl", "{nosuchfunction(1)}");
  VectorFileList::AddTemplateReader(bad, nullptr, "pair");
  std::string why;
  EXPECT_EQ(Open("import template", Write("d.pair", "1\n"), &why), nullptr);
  EXPECT_EQ(why, "import template " + bad + ": Syntax error in expression: nosuchfunction(1)");
}

TEST_F(RegisteredReaders, ImportTemplateReadingItsOwnKindStopsAtTheFillLimit) {
  // Each level reads the file again and adds 1; a level takes two steps of
  // nesting (the open and its fill), so a limit of 6 lets three levels
  // through, the fourth reads nothing (1) and the first gives 4.
  const std::string self = Write("self.tpl", "v\n{read(filename, \"v\") + 1}\n");
  VectorFileList::AddTemplateReader(self, nullptr, "self");
  const std::string data = Write("d.self", "\n");
  Policy policy;
  policy.limits.fills = 6;
  std::string why;
  auto tree = Format("import template").open(data, policy, &why);
  ASSERT_NE(tree, nullptr) << why;
  EXPECT_EQ(Find(*tree, 0, "v").values, std::vector<double>{4});
  policy.limits.fills = 0;
  EXPECT_EQ(Format("import template").open(data, policy, &why), nullptr);
  EXPECT_EQ(why, "import template " + self + " nested too deeply (limit 0)");
  ClearResultCache();
}

TEST_F(RegisteredReaders, SamplePlugin) {
  vqReaderModuleList::AddReaderPath(QUORVIX_SAMPLE_READER_PLUGIN);
  const std::string data =
      Write("a.Qvs", "QVS1\nsubcase 1\ntime [s]: 0 0.5\nforce [N]: 10 12.5\nsubcase 2\nforce: 9\n");
  EXPECT_EQ(Sniffed(data), "shared reader");
  std::string why;
  auto tree = Open("shared reader", data, &why);
  ASSERT_NE(tree, nullptr) << why;
  EXPECT_EQ(tree->format, "qvs");
  ASSERT_EQ(tree->subcases.size(), 2u);
  EXPECT_EQ(tree->subcases[1].label, "2");
  EXPECT_EQ(tree->subcases[0].types[0].name, "sample");
  EXPECT_EQ(Find(*tree, 0, "time").unit, "s");
  EXPECT_EQ(Find(*tree, 0, "force").values, (std::vector<double>{10, 12.5}));
  EXPECT_EQ(Find(*tree, 1, "force").values, std::vector<double>{9});
  EXPECT_EQ(Find(*tree, 1, "force").unit, "");
  EXPECT_EQ(Read("readsubcase(\"" + data + "\", \"2\", 0, 0, 0)"), "9");

  EXPECT_EQ(Open("shared reader", Write("b.qvs", "QVS1\nx: 1 y\n"), &why), nullptr);
  EXPECT_EQ(why, "shared reader qvs: not a number in line 2");
  EXPECT_EQ(Open("shared reader", Write("c.qvs", "QVS2\n"), &why), nullptr);
  EXPECT_EQ(why, "shared reader qvs: not a QVS1 file");
  EXPECT_EQ(Open("shared reader", data, &why, true), nullptr);
  EXPECT_EQ(why, "shared reader is not allowed in restricted mode");
}

TEST_F(RegisteredReaders, PluginsThatCannotBeUsed) {
  const std::string data = Write("a.qvs", "QVS1\nx: 1\n");
  vqReaderModuleList::AddReaderPath(QUORVIX_WRONG_VERSION_READER_PLUGIN);
  std::string why;
  EXPECT_FALSE(Takes("shared reader", data));
  EXPECT_EQ(Open("shared reader", data, &why), nullptr);
  EXPECT_EQ(why, "shared reader " QUORVIX_WRONG_VERSION_READER_PLUGIN
                 " has interface version 2, expected 1");
  vqReaderModuleList::ClearReaderPaths();
  const std::string missing = (dir_ / "missing.so").string();
  vqReaderModuleList::AddReaderPath(missing);
  EXPECT_EQ(Open("shared reader", data, &why), nullptr);
  EXPECT_EQ(why.rfind("shared reader " + missing + " cannot be loaded: ", 0), 0u) << why;
}

}  // namespace
}  // namespace quorvix::results
