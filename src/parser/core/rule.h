// Rules: everything the scanner can recognise at a text position.
#ifndef QUORVIX_PARSER_CORE_RULE_H
#define QUORVIX_PARSER_CORE_RULE_H

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "parser/core/node.h"

namespace ParserCore_NS {

class Parser;
class Rule;

// Rule class identities for Rule::isA.
enum class RuleClass { kRule, kLiteral, kReference, kOperator, kGroupingOperator };

// What a matched item is to the tree builder.
enum class ItemRole {
  kOperand,       // literal or variable
  kFunctionName,  // a function name; a call's parameter list follows
  kPrefix,
  kPostfix,
  kBinary,
  kTrinaryFirst,
  kTrinarySecond,
  kOpen,
  kClose,
};

struct Item {
  Rule* rule = nullptr;
  int position = 0;  // where the matched text begins
  int end = 0;       // just behind the matched text
  std::string text;  // the matched text (a literal's value for strings)
  ItemRole role = ItemRole::kOperand;
  int partner = -1;       // opener <-> closer, trinary first <-> second
  std::string name;       // a call's parameter list: the function name
  int name_position = 0;  // ... and where that name begins
};

class PrecedenceLevel {
 public:
  explicit PrecedenceLevel(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }

 private:
  std::string name_;
};

class Rule {
 public:
  explicit Rule(Parser& parser) : parser_(parser) {}
  virtual ~Rule() = default;
  Rule(const Rule&) = delete;
  Rule& operator=(const Rule&) = delete;

  // Tries the rule at text[pos]; on success fills item.end (and text) and
  // returns true.
  virtual bool match(std::string_view text, int pos, Item& item) = 0;
  // Closing spelling of a group, second spelling of a trinary operator.
  virtual bool matchSecond(std::string_view, int, Item&) { return false; }
  virtual NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) = 0;
  virtual bool isA(RuleClass c) const { return c == RuleClass::kRule; }

  bool firstChar(unsigned char c) const { return first_[c]; }
  Parser& parser() const { return parser_; }

 protected:
  void setFirst(unsigned char c) { first_[c] = true; }
  void setFirstRange(unsigned char lo, unsigned char hi) {
    for (int c = lo; c <= hi; ++c) first_[c] = true;
  }

  Parser& parser_;
  std::array<bool, 256> first_{};
};

class Literal : public Rule {
 public:
  using Rule::Rule;
  bool isA(RuleClass c) const override { return c == RuleClass::kLiteral || Rule::isA(c); }
};

class Reference : public Rule {
 public:
  using Rule::Rule;
  bool isA(RuleClass c) const override { return c == RuleClass::kReference || Rule::isA(c); }
  // The role of what this rule matched (a variable operand or a function name).
  virtual ItemRole role() const { return ItemRole::kOperand; }
};

class Operator : public Rule {
 public:
  // mode: one operand: 1 prefix, 2 postfix; two operands: 1 from the left,
  // 2 from the right; 0 for three-operand operators.
  Operator(Parser& parser, unsigned mode, unsigned arity, PrecedenceLevel* level)
      : Rule(parser), mode_(mode), arity_(arity), level_(level) {}
  bool isA(RuleClass c) const override { return c == RuleClass::kOperator || Rule::isA(c); }

  unsigned mode() const { return mode_; }
  unsigned arity() const { return arity_; }
  PrecedenceLevel* level() const { return level_; }

 protected:
  unsigned mode_;
  unsigned arity_;
  PrecedenceLevel* level_;
};

// How a bracket pair takes part in tree building.
enum class GroupRole {
  kCall,       // parameter list right behind a function name
  kSubscript,  // square braces behind an operand
  kGroup,      // plain parentheses
  kArray,      // array literal
};

class GroupingOperator : public Operator {
 public:
  explicit GroupingOperator(Parser& parser) : Operator(parser, 0, 1, nullptr) {}
  bool isA(RuleClass c) const override {
    return c == RuleClass::kGroupingOperator || Operator::isA(c);
  }
  virtual GroupRole groupRole() const = 0;
  virtual const std::string& opening() const = 0;
};

}  // namespace ParserCore_NS

#endif
