#include "template/statement_table.h"

#include <array>
#include <cstring>
#include <vector>

#include "template/text_scan.h"

namespace quorvix {

// The statement families, each defined in its own unit. A new family is a
// unit with its table and a line in each of these two lists.
std::span<const StatementRow> ControlFlowStatements();      // control_flow.cc
std::span<const StatementRow> MacroAndIncludeStatements();  // macros.cc
std::span<const StatementRow> FormatAndSwitchStatements();  // formats_switches.cc
std::span<const StatementRow> RegistrationStatements();     // registrations.cc
std::span<const StatementRow> OutputStatements();           // output_statements.cc
std::span<const StatementRow> ParameterStatements();        // parameters.cc

namespace {

// A keyword matches only before a non-word character, so the order of the
// families and of their rows does not matter.
constexpr StatementFamily kFamilies[] = {
    &ControlFlowStatements,  &MacroAndIncludeStatements, &FormatAndSwitchStatements,
    &RegistrationStatements, &OutputStatements,          &ParameterStatements,
};

struct ByLetter {
  std::array<std::vector<StatementEntry>, 26> entries;
  ByLetter() {
    for (StatementFamily family : kFamilies) {
      for (const StatementRow& r : family())
        entries[static_cast<std::size_t>(r.keyword[0] - 'a')].push_back(
            {r, std::strlen(r.keyword)});
    }
  }
};

}  // namespace

std::span<const StatementEntry> StatementsForLetter(char lower) {
  static const ByLetter table;
  if (lower < 'a' || lower > 'z') return {};
  return table.entries[static_cast<std::size_t>(lower - 'a')];
}

bool MatchKeyword(const char* text, const char* keyword) {
  std::size_t n = std::strlen(keyword);
  if (std::strncmp(text, keyword, n) != 0) return false;
  return !IsWordChar(text[n]);
}

}  // namespace quorvix
