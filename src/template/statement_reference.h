// The reference text of every statement keyword: a table parallel to the
// statement families, keyed by keyword, for `quorvix help` and the guide.
#ifndef QUORVIX_TEMPLATE_STATEMENT_REFERENCE_H
#define QUORVIX_TEMPLATE_STATEMENT_REFERENCE_H

#include <span>

namespace quorvix {

struct StatementReferenceRow {
  const char* keyword;
  const char* group;     // the family's title: "Control flow"
  const char* usage;     // the statement's shape: "{if c} ... {endif}"
  const char* synopsis;  // one line
  const char* example;   // template text that fills without an error in an
                         // empty working directory
};

// Every keyword of the statement table once, grouped by family.
std::span<const StatementReferenceRow> StatementReferenceRows();

}  // namespace quorvix

#endif
