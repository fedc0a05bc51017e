// The statement keywords of the template language and their handlers. Each
// family of statements is a unit of its own that defines its table; the
// family list in statement_table.cc gathers them. The dispatcher consumes
// the keyword and calls the handler with the read position right behind it.
#ifndef QUORVIX_TEMPLATE_STATEMENT_TABLE_H
#define QUORVIX_TEMPLATE_STATEMENT_TABLE_H

#include <cstddef>
#include <span>

#include "template/engine.h"

namespace quorvix {

struct StatementRow {
  const char* keyword;
  int (Engine::*handler)();
};

// One family's table.
using StatementFamily = std::span<const StatementRow> (*)();

struct StatementEntry {
  StatementRow row;
  std::size_t length;  // of the keyword
};

// The keywords for one lower-cased first letter (empty when none starts
// with it).
std::span<const StatementEntry> StatementsForLetter(char lower);

// True when `text` starts with `keyword` and the keyword is not followed by
// a letter, digit or '_'.
bool MatchKeyword(const char* text, const char* keyword);

}  // namespace quorvix

#endif
