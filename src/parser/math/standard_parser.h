// The math grammar: precedence levels, the operator table and the literal,
// reference and grouping rules.
#ifndef QUORVIX_PARSER_MATH_STANDARD_PARSER_H
#define QUORVIX_PARSER_MATH_STANDARD_PARSER_H

#include "parser/core/parser.h"

namespace MathParser_NS {

class StandardParser : public ParserCore_NS::Parser {
 public:
  explicit StandardParser(ParserCore_NS::SymtabAdaptor& adaptor);
};

}  // namespace MathParser_NS

#endif
