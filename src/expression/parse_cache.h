// The process-wide grammar and the cache of parsed expressions. Templates
// evaluate the same texts over and over (a loop body is re-read for every
// pass), so a text is scanned and built once and its tree reused until
// something that can change a parse changes: the function registry (which
// decides what is a function name) or the escape-character option.
#ifndef QUORVIX_EXPRESSION_PARSE_CACHE_H
#define QUORVIX_EXPRESSION_PARSE_CACHE_H

#include <memory>
#include <string_view>

#include "parser/core/node.h"

namespace quorvix {

struct ParsedTree {
  ParserCore_NS::NodePtr root;  // never null
  // Failures of the all-scalar fast path; after a few the tree always takes
  // the general path.
  int scalar_failures = 0;
};

// Parses with the standard grammar, through the cache. Raises
// ParserCore_NS::Error ("Syntax error" for a text without an expression).
std::shared_ptr<ParsedTree> ParseExpression(std::string_view text, bool escapes);

// Parses without consulting or filling the cache.
std::shared_ptr<ParsedTree> ParseExpressionUncached(std::string_view text);

// Drops every cached tree (trees in use stay alive with their users).
void ClearParseCache();

// Switches the cache off and on (for tests and measurements).
void EnableParseCache(bool on);

}  // namespace quorvix

#endif
