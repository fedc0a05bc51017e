// Result files through the data-import library: one parse per file, a
// rewritten file read anew, the memory budget, the delimited reader's
// messages on bad files, restricted mode, lazily loaded components and
// quorvix inspect.
#include <fcntl.h>
#include <sys/stat.h>

#include "quorvix/policy.h"
#include "quorvix/vector_file.h"
#include "results/delimited_reader.h"
#include "results/result_cache.h"
#include "support/support.h"

namespace {

namespace results = quorvix::results;

class ResultFiles : public TempDirTest {
 protected:
  void SetUp() override {
    TempDirTest::SetUp();
    results::ClearResultCache();
  }
  // Sets the modification time, so a rewrite within the clock's tick counts.
  void SetTime(const std::string& path, long seconds) {
    struct timespec t[2] = {{seconds, 0}, {seconds, 0}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), t, 0), 0);
  }
  std::string Read(const std::string& path, const std::string& name) {
    return Eval("read(\"" + path + "\", \"" + name + "\")");
  }
  std::string Eval(const std::string& text) {
    errors_.Clear();
    symtab* v = parser_.Evaluate(text.c_str());
    if (v == nullptr) return "error: " + errors_.first;
    std::string out = qt::Text(*v);
    v->Delete();
    return out;
  }
  qt::ErrorCapture errors_;
  MathParser parser_;
};

TEST_F(ResultFiles, OneParsePerFileUntilItChanges) {
  const std::string p = Write("d.csv", "a,b\n1,2\n3,4\n");
  SetTime(p, 1000);
  const long long before = results::ResultFileParses();
  EXPECT_EQ(Read(p, "a"), "1, 3");
  EXPECT_EQ(Read(p, "b"), "2, 4");
  EXPECT_EQ(Eval("getvalue(\"" + p + "\", \"b\", 0, 1)"), "4");
  EXPECT_EQ(results::ResultFileParses(), before + 1);
  Write("d.csv", "a,b\n5,6\n7,8\n");
  SetTime(p, 2000);
  EXPECT_EQ(Read(p, "b"), "6, 8");
  EXPECT_EQ(results::ResultFileParses(), before + 2);
}

TEST_F(ResultFiles, PastTheBudgetTheLeastRecentlyUsedFileGoes) {
  const std::string a = Write("a.csv", "x\n1\n"), b = Write("b.csv", "x\n2\n");
  results::SetResultCacheBudget(8);  // one number: only the newest file stays
  const long long before = results::ResultFileParses();
  EXPECT_EQ(Read(a, "x"), "1");
  EXPECT_EQ(Read(b, "x"), "2");
  EXPECT_EQ(Read(b, "x"), "2");
  EXPECT_EQ(Read(a, "x"), "1");
  results::SetResultCacheBudget(std::size_t{1} << 30);
  EXPECT_EQ(results::ResultFileParses(), before + 3);
}

TEST_F(ResultFiles, BadFilesGiveAMessage) {
  struct Case {
    std::string text;
    const char* why;  // after the path
  };
  const Case cases[] = {
      {"", "empty result file @"},
      {std::string("\x01\x00\x02", 3), "unknown result file format: @"},
      {"a,b\n1,2\n3\n", "ragged row in @ line 3: 1 fields, expected 2"},
      {"a,b\n1,2\n3,x\n", "non-numeric cell \"x\" in @ line 3 column 2"},
      {"a\n1\n+-1\n", "non-numeric cell \"+-1\" in @ line 3 column 1"},
      {"a;b\n1;2\n1,5;2\n", "decimal comma in @ line 3: not supported"},
      {"a b\n1,5 2,5\n", "decimal comma in @ line 2: not supported"},
      {"a,b\n\"1,2\n", "unterminated quote in @ line 2"},
      {"1,2,3\n4,5,6\n", "result file @ holds more than 4 numbers"},
  };
  quorvix::Policy policy;
  policy.limits.elements = 4;
  int n = 0;
  for (const Case& c : cases) {
    const std::string p = Write("bad" + std::to_string(n++) + ".txt", c.text);
    std::string why, want = c.why;
    want.replace(want.find('@'), 1, p);
    EXPECT_EQ(results::OpenResultFile(p, policy, &why), nullptr) << c.why;
    EXPECT_EQ(why, want);
  }
}

TEST_F(ResultFiles, ReadWarnsAboutBadFilesButNotMissingOnes) {
  qt::MessageLines lines;
  parser_.policy().messages = &lines;
  const std::string bad = Write("bad.csv", "a,b\n1\n");
  EXPECT_EQ(Read((dir_ / "none.csv").string(), "a"), "1");
  EXPECT_EQ(Read(bad, "a"), "1");
  EXPECT_EQ(lines.lines,
            std::vector<std::string>{"ragged row in " + bad + " line 2: 1 fields, expected 2"});
  parser_.policy().messages = nullptr;
}

TEST_F(ResultFiles, FormatKnownByContentNotExtension) {
  const std::string tsv = Write("t.csv", "# exported\nt\tv\n[s]\t(V)\n0\t1.5\n1\t-2\n");
  const std::string blanks = Write("w.csv", "% run 3\n  0  1e3\n  1  +2\n");
  auto t = VectorFileList::Add(0, tsv);
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(t->Format(), "tsv");
  EXPECT_EQ(t->GetComponentUnit(0, 0, 0), "s");
  EXPECT_EQ(t->GetComponentUnit(0, 0, 1), "V");
  EXPECT_EQ(Read(tsv, "v"), "1.5, -2");
  auto w = VectorFileList::Add(0, blanks);
  ASSERT_NE(w, nullptr);
  EXPECT_EQ(w->Format(), "whitespace columns");
  EXPECT_EQ(Read(blanks, "col2"), "1000, 2");
}

TEST_F(ResultFiles, RestrictedModeReadsOnlyInsideAllowedDirectories) {
  const std::string p = Write("d.csv", "a\n1\n");
  parser_.policy().restricted = true;
  EXPECT_EQ(Read(p, "a"), "error: " + quorvix::Policy::NotAllowed("reading " + p));
  parser_.policy().read_dirs = {dir_.string()};
  EXPECT_EQ(Read(p, "a"), "1");
}

// A reader that leaves its numbers to be loaded when first asked for.
bool SniffLazy(const std::string& path, const std::string&) {
  return path.size() > 5 && path.compare(path.size() - 5, 5, ".lazy") == 0;
}
std::unique_ptr<results::ResultTree> OpenLazy(const std::string&, const quorvix::Policy&,
                                              std::string*) {
  auto tree = std::make_unique<results::ResultTree>();
  results::Component c;
  c.name = "v";
  c.length = 2;
  c.load = [](std::vector<double>& out, std::string*) {
    out = {7, 9};
    return true;
  };
  results::Request r;
  r.name = "s";
  r.components.push_back(std::move(c));
  tree->subcases.push_back({"1", {{"t", {std::move(r)}}}});
  return tree;
}

TEST_F(ResultFiles, GetValueLoadsWhatIsNotLoadedYet) {
  results::AddReaderFormat({"lazy test", results::kRankRegistered, SniffLazy, OpenLazy});
  const std::string p = Write("f.lazy", "-");
  auto control = VectorFileList::Add(0, p);
  ASSERT_NE(control, nullptr);
  EXPECT_EQ(control->GetComponentLength(0, 0, 0), 2);
  EXPECT_EQ(control->qdfGetValuePair("s.v", 0, 1), nullptr);
  EXPECT_EQ(Eval("getvalue(\"" + p + "\", \"s.v\", 0, 1)"), "9");
  EXPECT_EQ(Eval("getvalue(\"" + p + "\", 0, 0, 0, 1)"), "9");
  EXPECT_EQ(Read(p, "s"), "7, 9");
}

TEST_F(ResultFiles, InspectListsTheTree) {
  const std::string p = Write("d.csv", "t,\"a \"\"b\"\"\"\ns,\n0,1\n");
  qt::Outcome o = qt::RunCli({"inspect", p});
  EXPECT_EQ(o.status, 0) << o.err;
  EXPECT_EQ(o.out, "file \"" + p +
                       "\"\nformat csv\nsubcase 0 \"1\"\n  type 0 \"columns\"\n"
                       "    request 0 \"data\"\n      component 0 \"t\" [s] length 1\n"
                       "      component 1 \"a \"b\"\" length 1\n");
  o = qt::RunCli({"inspect", "--json", p});
  EXPECT_EQ(o.out, "{\"file\": \"" + p +
                       "\", \"format\": \"csv\", \"subcases\": [{\"label\": \"1\", \"types\": "
                       "[{\"name\": \"columns\", \"requests\": [{\"name\": \"data\", "
                       "\"components\": [{\"name\": \"t\", \"unit\": \"s\", \"length\": 1}, "
                       "{\"name\": \"a \\\"b\\\"\", \"unit\": \"\", \"length\": 1}]}]}]}]}\n");
  o = qt::RunCli({"inspect", p + ".none"});
  EXPECT_EQ(o.status, 1);
  EXPECT_EQ(o.err, "result file not found: " + p + ".none\n");
}

}  // namespace
