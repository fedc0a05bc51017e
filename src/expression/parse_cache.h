// The process-wide grammar and the cache of parsed expressions. Templates
// evaluate the same texts over and over (a loop body is re-read for every
// pass), so a text is scanned and built once and its tree reused until
// something that can change a parse changes: the function registry (which
// decides what is a function name) or the escape-character option.
#ifndef QUORVIX_EXPRESSION_PARSE_CACHE_H
#define QUORVIX_EXPRESSION_PARSE_CACHE_H

#include <memory>
#include <string_view>

#include "expression/scalar_program.h"
#include "parser/core/node.h"

namespace quorvix {

struct ParsedTree {
  ParserCore_NS::NodePtr root;  // never null
  // Failures of the all-scalar fast path; after a few the tree always takes
  // the general path.
  int scalar_failures = 0;
  // The compiled form of a tree over scalars (null when the tree is not
  // one), for the registry generation it was compiled under.
  std::unique_ptr<ScalarProgram> program;
  std::uint64_t program_generation = ~std::uint64_t{0};
};

// Parses with the standard grammar, through the cache. Raises
// ParserCore_NS::Error ("Syntax error" for a text without an expression).
std::shared_ptr<ParsedTree> ParseExpression(std::string_view text, bool escapes);

// The tree of `text`, whose first `skip` bytes are blanks, through the
// cache. The text asked for last is recognised by one comparison of the text
// as given: no hashing, copying or allocation. The tree is owned by the cache
// and stays alive until the outermost ParsePin ends, whatever the evaluation
// does to the cache meanwhile; call only while holding one. Raises as
// ParseExpression.
ParsedTree& ParseText(std::string_view text, int skip, bool escapes);

// The tree of ParseText's last hit or parse when the NUL-terminated `text`
// is that same text and nothing has changed the parse since; null
// otherwise. Valid until the cache is next used.
QUORVIX_INTERNAL ParsedTree* LastParsedText(const char* text, bool escapes);

// Marks an evaluation of trees handed out by ParseText.
class ParsePin {
 public:
  ParsePin();
  ~ParsePin();
  ParsePin(const ParsePin&) = delete;
  ParsePin& operator=(const ParsePin&) = delete;
};

// Parses without consulting or filling the cache.
std::shared_ptr<ParsedTree> ParseExpressionUncached(std::string_view text);

// Drops every cached tree (trees in use stay alive with their users).
void ClearParseCache();

// Switches the cache off and on (for tests and measurements).
void EnableParseCache(bool on);

}  // namespace quorvix

#endif
