#include "parser/math/standard_parser.h"

#include "parser/math/assignment_nodes.h"
#include "parser/math/grammar_rules.h"
#include "parser/math/value_nodes.h"

namespace MathParser_NS {

using ParserCore_NS::PrecedenceLevel;
using ParserUtilties_NS::BinaryOperator;
using ParserUtilties_NS::ListNode;
using ParserUtilties_NS::TrinaryOperator;
using ParserUtilties_NS::UnaryOperator;

namespace {

enum Level {
  kComma,
  kAssign,
  kConditional,
  kOr,
  kAnd,
  kEqualLevel,
  kGreaterLesser,
  kAddSub,
  kDotCross,
  kMultDiv,
  kExponent,
  kUnaryPlus,
  kUnaryPlusPlus,
  kLevelCount
};

constexpr const char* kLevelNames[kLevelCount] = {
    "PRECEDENCE_COMMA",           "PRECEDENCE_ASSIGNMENT",  "PRECEDENCE_CONDITIONAL",
    "PRECEDENCE_LOGICAL_OR",      "PRECEDENCE_LOGICAL_AND", "PRECEDENCE_EQUAL",
    "PRECEDENCE_GREATER_LESSER",  "PRECEDENCE_ADD_SUB",     "PRECEDENCE_DOT_CROSS",
    "PRECEDENCE_MULT_DIV",        "PRECEDENCE_EXPONENTIAL", "PRECEDENCE_UNARY_PLUS",
    "PRECEDENCE_UNARY_PLUS_PLUS",
};

using Parser = ParserCore_NS::Parser;
using Adaptor = ParserCore_NS::SymtabAdaptor;
using OperatorPtr = std::unique_ptr<ParserCore_NS::Operator>;
using Factory = OperatorPtr (*)(Parser&, unsigned mode, PrecedenceLevel*, const char* spelling,
                                const char* forbidden, Adaptor&);

template <typename N>
OperatorPtr MakeBinary(Parser& p, unsigned mode, PrecedenceLevel* level, const char* spelling,
                       const char* forbidden, Adaptor& a) {
  return std::make_unique<BinaryOperator<N>>(p, mode, level, spelling, forbidden, a);
}

template <typename N>
OperatorPtr MakeUnary(Parser& p, unsigned mode, PrecedenceLevel* level, const char* spelling,
                      const char* forbidden, Adaptor& a) {
  return std::make_unique<UnaryOperator<N>>(p, mode, level, spelling, forbidden, a);
}

template <typename N>
OperatorPtr MakeTrinary(Parser& p, unsigned, PrecedenceLevel* level, const char* spelling,
                        const char* second, Adaptor& a) {
  return std::make_unique<TrinaryOperator<N>>(p, level, spelling, second, a);
}

struct OperatorRow {
  const char* spelling;
  const char* forbidden;  // for three-operand rows: the second spelling
  Level level;
  int operands;
  unsigned mode;
  Factory make;
};

// The operator table, in registration order.
const OperatorRow kOperators[] = {
    {",", "", kComma, 2, 1, MakeBinary<ListNode>},
    {"=", "=", kAssign, 2, 1, MakeBinary<AssignmentNode>},
    {"+=", "", kAssign, 2, 1, MakeBinary<PlusEqualNode>},
    {"-=", "", kAssign, 2, 1, MakeBinary<MinusEqualNode>},
    {"*=", "", kAssign, 2, 1, MakeBinary<TimesEqualNode>},
    {"/=", "", kAssign, 2, 1, MakeBinary<DivEqualNode>},
    {"?", ":", kConditional, 3, 0, MakeTrinary<ConditionalNode>},
    {":", ":", kConditional, 3, 0, MakeTrinary<RangeNode>},
    {"&&", "=", kAnd, 2, 1, MakeBinary<LogicalAndNode>},
    {"||", "=", kOr, 2, 1, MakeBinary<LogicalOrNode>},
    {"==", "", kEqualLevel, 2, 1, MakeBinary<EqualNode>},
    {"!=", "", kEqualLevel, 2, 1, MakeBinary<NotEqualNode>},
    {"<", "<=", kGreaterLesser, 2, 1, MakeBinary<LessThanNode>},
    {">", ">=", kGreaterLesser, 2, 1, MakeBinary<GreaterThanNode>},
    {"<=", "", kGreaterLesser, 2, 1, MakeBinary<LessThanEqualToNode>},
    {">=", "", kGreaterLesser, 2, 1, MakeBinary<GreaterThanEqualToNode>},
    {"+", "+=", kAddSub, 2, 1, MakeBinary<AdditionNode>},
    {"-", "-=", kAddSub, 2, 1, MakeBinary<SubtractionNode>},
    {"dot", "", kDotCross, 2, 1, MakeBinary<DotNode>},
    {"cross", "", kDotCross, 2, 1, MakeBinary<CrossNode>},
    {"*", "=", kMultDiv, 2, 1, MakeBinary<MultiplicationNode>},
    {"/", "=", kMultDiv, 2, 1, MakeBinary<DivisionNode>},
    {"%", "=", kMultDiv, 2, 1, MakeBinary<ModulusNode>},
    {"^", "=", kExponent, 2, 2, MakeBinary<ExponentialNode>},
    {"+", "+=", kUnaryPlus, 1, 1, MakeUnary<void>},
    {"-", "-=", kUnaryPlus, 1, 1, MakeUnary<UnaryMinusNode>},
    {"!", "=", kUnaryPlus, 1, 1, MakeUnary<UnaryBangNode>},
    {"++", "", kUnaryPlusPlus, 1, 1, MakeUnary<UnaryLeftPlusPlusNode>},
    {"--", "", kUnaryPlusPlus, 1, 1, MakeUnary<UnaryLeftMinusMinusNode>},
    {"++", "", kUnaryPlusPlus, 1, 2, MakeUnary<UnaryRightPlusPlusNode>},
    {"--", "", kUnaryPlusPlus, 1, 2, MakeUnary<UnaryRightMinusMinusNode>},
    {"'", "", kUnaryPlusPlus, 1, 2, MakeUnary<UnaryRightTransposeNode>},
};

}  // namespace

StandardParser::StandardParser(ParserCore_NS::SymtabAdaptor& adaptor) {
  PrecedenceLevel* levels[kLevelCount];
  for (int i = 0; i < kLevelCount; ++i) levels[i] = addLevel(kLevelNames[i]);
  for (const OperatorRow& row : kOperators)
    addOperator(row.make(*this, row.mode, levels[row.level], row.spelling, row.forbidden, adaptor),
                row.operands);

  addGrouping(std::make_unique<ParameterLists>(*this, adaptor));
  addGrouping(std::make_unique<SquareBraces>(*this, adaptor));
  addGrouping(std::make_unique<Parentheses>(*this));
  addGrouping(std::make_unique<CurlyBraces>(*this, adaptor));

  addLiteral(std::make_unique<DoubleValues>(*this, adaptor));
  addLiteral(std::make_unique<StringValues>(*this, adaptor));

  addReference(std::make_unique<Functions>(*this, adaptor));
  addReference(std::make_unique<Variables>(*this, adaptor));
}

}  // namespace MathParser_NS
