// Reading of included files: a file that includes itself reuses the buffer
// it is being read from, while any other inclusion reads the file anew.
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

namespace {

namespace fs = std::filesystem;

// The file that the built-in tt_rewrite_file() overwrites with "CHANGED".
std::string g_rewrite_path;

symtab* RewriteFile(sym_list*) {
  std::ofstream(g_rewrite_path, std::ios::binary | std::ios::trunc) << "CHANGED";
  auto* v = new symtab;
  v->SetScalar(1);
  return v;
}

class IncludeReadingTest : public testing::Test {
 protected:
  void SetUp() override {
    MathParser::AddFunc("tt_rewrite_file", RewriteFile, 0);
    std::string pattern = (fs::temp_directory_path() / "quorvix_tinclude_XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    dir_ = fs::canonical(pattern);
  }
  void TearDown() override {
    std::error_code ec;
    fs::remove_all(dir_, ec);
  }
  std::string Write(const std::string& name, const std::string& text) {
    const fs::path path = dir_ / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }
  std::string FillText(const std::string& text, std::string* errors) {
    char* e = nullptr;
    char* out = filler_.Fill(text.c_str(), &e);
    std::string r = out ? out : "";
    *errors = e ? e : "";
    delete[] out;
    delete[] e;
    return r;
  }

  fs::path dir_;
  Filler filler_;
};

TEST_F(IncludeReadingTest, FileIncludingItselfIsNotReadAgain) {
  g_rewrite_path = (dir_ / "self.txt").string();
  Write("self.txt",
        "{n = n + 1}<{n}>{if n == 1}{done = tt_rewrite_file()}{endif}"
        "{if n < 3}{include \"" +
            g_rewrite_path + "\"}{endif}");
  std::string errors;
  EXPECT_EQ(FillText("{n = 0}{include \"" + g_rewrite_path + "\"}", &errors), "<1><2><3>");
  EXPECT_EQ(errors, "");
}

TEST_F(IncludeReadingTest, OtherFileIsReadAtEveryInclusion) {
  g_rewrite_path = Write("other.txt", "original");
  std::string errors;
  EXPECT_EQ(FillText("{include \"" + g_rewrite_path + "\"}|{done = tt_rewrite_file()}{include \"" +
                         g_rewrite_path + "\"}",
                     &errors),
            "original|CHANGED");
  EXPECT_EQ(errors, "");
}

}  // namespace
