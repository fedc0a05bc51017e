// The statement reference: one row per keyword, and every example fills.
#include "template/statement_reference.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "quorvix/reference.h"
#include "support/support.h"
#include "template/reference_notes.h"
#include "template/statement_table.h"

namespace quorvix {
namespace {

TEST(StatementReference, HasOneRowPerKeywordOfTheStatementTable) {
  std::vector<std::string> keywords, documented;
  for (char c = 'a'; c <= 'z'; ++c)
    for (const StatementEntry& e : StatementsForLetter(c)) keywords.emplace_back(e.row.keyword);
  for (const StatementReferenceRow& r : StatementReferenceRows())
    documented.emplace_back(r.keyword);
  std::sort(keywords.begin(), keywords.end());
  std::sort(documented.begin(), documented.end());
  EXPECT_EQ(documented, keywords);
}

TEST(BuiltinReference, NotesNameRegisteredBuiltins) {
  std::vector<std::string> names;
  for (const ReferenceEntry& e : BuiltinReference()) names.push_back(e.name);
  const bool with_tcl = std::find(names.begin(), names.end(), "tcleval") != names.end();
  for (std::string_view name : AnnotatedBuiltinNames()) {
    if (!with_tcl && name.starts_with("tcl")) continue;  // the Tcl module is optional
    EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
  }
}

class StatementExamples : public TempDirTest {};

TEST_F(StatementExamples, EveryOneFillsWithoutAnError) {
  const std::filesystem::path previous = std::filesystem::current_path();
  std::filesystem::current_path(dir_);  // examples write their files here
  for (const StatementReferenceRow& r : StatementReferenceRows()) {
    Filler filler;
    const qt::Filled filled = qt::Fill(filler, r.example);
    EXPECT_TRUE(filled.errors_null) << r.keyword << ": " << filled.errors;
    EXPECT_NE(std::string(r.usage).find(r.keyword), std::string::npos) << r.keyword;
  }
  std::filesystem::current_path(previous);
}

}  // namespace
}  // namespace quorvix
