#include "template/statement_table.h"

#include <array>
#include <cctype>
#include <cstring>
#include <vector>

namespace quorvix {

namespace {

using Row = StatementTable::Row;

struct ByLetter {
  std::array<std::vector<Row>, 26> rows;
  explicit ByLetter(std::span<const Row> all) {
    for (const Row& r : all) rows[static_cast<std::size_t>(r.keyword[0] - 'a')].push_back(r);
  }
};

}  // namespace

std::span<const Row> StatementTable::AllRows() {
  // Keywords in the order they are tried for their letter.
  static const Row kRows[] = {
    {"break", &FillerBase::st_break},
    {"continue", &FillerBase::st_continue},
    {"define", &FillerBase::st_define},
    {"exit", &FillerBase::st_exit},
    {"endloop", &FillerBase::st_endloop},
    {"elseif", &FillerBase::st_elseif},
    {"else", &FillerBase::st_else},
    {"endif", &FillerBase::st_endif},
    {"escape_characters_off", &FillerBase::st_escape_characters_off},
    {"escape_characters_on", &FillerBase::st_escape_characters_on},
    {"foreach", &FillerBase::st_foreach},
    {"format", &FillerBase::st_format},
    {"for", &FillerBase::st_for},
    {"function", &FillerBase::st_function},
    {"ifdef", &FillerBase::st_ifdef},
    {"ifndef", &FillerBase::st_ifdef},
    {"if", &FillerBase::st_if},
    {"include", &FillerBase::st_include},
    {"max_compatibility_on", &FillerBase::st_max_compatibility_on},
    {"max_compatibility_off", &FillerBase::st_max_compatibility_off},
    {"path", &FillerBase::st_path},
    {"readfill", &FillerBase::st_readfill},
    {"return", &FillerBase::st_return},
    {"safe_quotes_on", &FillerBase::st_safe_quotes_on},
    {"safe_quotes_off", &FillerBase::st_safe_quotes_off},
    {"undef", &FillerBase::st_undef},
    {"while", &FillerBase::st_while},
  };
  return kRows;
}

std::span<const Row> StatementTable::ForLetter(char lower) {
  static const ByLetter table(AllRows());
  if (lower < 'a' || lower > 'z') return {};
  return table.rows[static_cast<std::size_t>(lower - 'a')];
}

bool MatchKeyword(const char* text, const char* keyword) {
  std::size_t n = std::strlen(keyword);
  if (std::strncmp(text, keyword, n) != 0) return false;
  unsigned char next = static_cast<unsigned char>(text[n]);
  return !(std::isalnum(next) || next == '_');
}

}  // namespace quorvix
