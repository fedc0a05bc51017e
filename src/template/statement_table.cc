#include "template/statement_table.h"

#include <array>
#include <cctype>
#include <cstring>
#include <vector>

namespace quorvix {

namespace {

using Family = std::span<const StatementTable::Row> (*)();

// The statement families: a new family is a unit with its table and a line
// here. A keyword matches only before a non-word character, so the order of
// the rows does not matter.
constexpr Family kFamilies[] = {
    &StatementTable::ControlFlow,
    &StatementTable::MacrosAndInclusion,
    &StatementTable::FormatsAndSwitches,
};

struct ByLetter {
  std::array<std::vector<StatementTable::Entry>, 26> entries;
  ByLetter() {
    for (Family family : kFamilies) {
      for (const StatementTable::Row& r : family()) {
        entries[static_cast<std::size_t>(r.keyword[0] - 'a')].push_back(
            {r, std::strlen(r.keyword)});
      }
    }
  }
};

}  // namespace

std::span<const StatementTable::Entry> StatementTable::ForLetter(char lower) {
  static const ByLetter table;
  if (lower < 'a' || lower > 'z') return {};
  return table.entries[static_cast<std::size_t>(lower - 'a')];
}

bool MatchKeyword(const char* text, const char* keyword) {
  std::size_t n = std::strlen(keyword);
  if (std::strncmp(text, keyword, n) != 0) return false;
  unsigned char next = static_cast<unsigned char>(text[n]);
  return !(std::isalnum(next) || next == '_');
}

}  // namespace quorvix
