// The statement keywords of the template language and their handlers,
// dispatched by the lower-cased first letter of a statement.
#ifndef QUORVIX_TEMPLATE_STATEMENT_TABLE_H
#define QUORVIX_TEMPLATE_STATEMENT_TABLE_H

#include <span>

#include "quorvix/filler.h"

namespace quorvix {

struct StatementTable {
  using Handler = int (FillerBase::*)();
  struct Row {
    const char* keyword;
    Handler handler;
  };
  // The rows for one first letter (empty when no keyword starts with it).
  static std::span<const Row> ForLetter(char lower);
  static std::span<const Row> AllRows();
};

// True when `text` starts with `keyword` and the keyword is not followed by
// a letter, digit or '_'.
bool MatchKeyword(const char* text, const char* keyword);

}  // namespace quorvix

#endif
