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
#include "quorvix/math_parser.h"

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
  // The program while it has not failed too often in a row, else null: one
  // test on the compiled entry instead of three.
  ScalarProgram* runnable = nullptr;
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

// The text ParseText was given last, as a buffer of a parser's that holds
// the same bytes: recognising that text again is then a comparison with the
// parser's copy and of a pointer, not a second scan. Cleared whenever the
// cache lets go of the text or the tree.
struct ConfirmedText {
  const char* copy = nullptr;
  ParsedTree* tree = nullptr;
  std::uint64_t registry_generation = 0;
};
extern QUORVIX_INTERNAL ConfirmedText g_confirmed[2];  // by escape option

// The tree of ParseText's last hit or parse when `copy` is the buffer that
// ConfirmTextCopy has since vouched for and the registry has not changed;
// null otherwise. Valid until the cache is next used.
inline ParsedTree* LastParsedText(const char* copy, bool escapes) {
  const ConfirmedText& c = g_confirmed[escapes ? 1 : 0];
  return copy != nullptr && copy == c.copy &&
                 c.registry_generation == MathParser::RegistryGeneration()
             ? c.tree
             : nullptr;
}
// Right after ParseText: `copy` holds the text ParseText was just given.
// Its owner calls ForgetTextCopy before it rewrites or frees the buffer.
QUORVIX_INTERNAL void ConfirmTextCopy(const char* copy, bool escapes);
QUORVIX_INTERNAL void ForgetTextCopy(const char* copy);

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
