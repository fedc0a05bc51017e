// Reading of included files: a file that includes itself reuses the buffer
// it is being read from, while any other inclusion reads the file anew.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"
#include "template/temp_dir.h"

namespace {

// The file that the built-in tt_rewrite_file() overwrites with "CHANGED".
std::string g_rewrite_path;

symtab* RewriteFile(sym_list*) {
  std::ofstream(g_rewrite_path, std::ios::binary | std::ios::trunc) << "CHANGED";
  auto* v = new symtab;
  v->SetScalar(1);
  return v;
}

class IncludeReadingTest : public TempDirTest {
 protected:
  void SetUp() override {
    MathParser::AddFunc("tt_rewrite_file", RewriteFile, 0);
    TempDirTest::SetUp();
  }
  // The output; the error text must be empty.
  std::string FillText(const std::string& text) {
    char* e = nullptr;
    char* out = filler_.Fill(text.c_str(), &e);
    std::string r = out ? out : "";
    EXPECT_EQ(std::string(e ? e : ""), "");
    delete[] out;
    delete[] e;
    return r;
  }

  Filler filler_;
};

TEST_F(IncludeReadingTest, FileIncludingItselfIsNotReadAgain) {
  g_rewrite_path = (dir_ / "self.txt").string();
  Write("self.txt", "{n = n + 1}<{n}>{if n == 1}{done = tt_rewrite_file()}{endif}"
                    "{if n < 3}{include \"" + g_rewrite_path + "\"}{endif}");
  EXPECT_EQ(FillText("{n = 0}{include \"" + g_rewrite_path + "\"}"), "<1><2><3>");
}

TEST_F(IncludeReadingTest, OtherFileIsReadAtEveryInclusion) {
  g_rewrite_path = Write("other.txt", "original");
  const std::string include = "{include \"" + g_rewrite_path + "\"}";
  EXPECT_EQ(FillText(include + "|{done = tt_rewrite_file()}" + include), "original|CHANGED");
}

}  // namespace
