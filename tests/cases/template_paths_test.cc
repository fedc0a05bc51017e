// Remembered brace groups and loop expressions against the general path:
// every template of the case tables fills to the same output, error text
// and return code either way.
#include <string>
#include <vector>

#include "cases/case_file.h"
#include "support/support.h"
#include "template/group_memo.h"

namespace {

TEST(TemplatePaths, EveryCaseTableTemplateFillsAsOnTheGeneralPath) {
  int compared = 0;
  for (const cases::fs::path& file : cases::CaseFiles("templates")) {
    std::vector<std::string> problems;
    std::vector<const cases::Entry*> directives;
    const std::vector<cases::Entry> entries = cases::ReadEntries(file, problems);
    for (const cases::Entry& e : entries) {
      if (e.directive) {
        directives.push_back(&e);
        continue;
      }
      quorvix::ForceGeneralGroups(true);
      const cases::TemplateOutcome general = cases::FillTemplateCase(e, directives);
      quorvix::ForceGeneralGroups(false);
      const cases::TemplateOutcome remembered = cases::FillTemplateCase(e, directives);
      directives.clear();
      const std::string where = file.filename().string() + ":" + std::to_string(e.line);
      EXPECT_EQ(remembered.output, general.output) << where;
      EXPECT_EQ(remembered.errors, general.errors) << where;
      EXPECT_EQ(remembered.return_code, general.return_code) << where;
      ++compared;
    }
  }
  EXPECT_GT(compared, 150);
}

}  // namespace
