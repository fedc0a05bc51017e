// Parser: a grammar-neutral scanner and tree builder. A concrete grammar is a
// Parser filled with precedence levels and rules by its constructor.
#ifndef QUORVIX_PARSER_CORE_PARSER_H
#define QUORVIX_PARSER_CORE_PARSER_H

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "parser/core/node.h"
#include "parser/core/rule.h"

namespace ParserCore_NS {

class Parser {
 public:
  Parser() = default;
  virtual ~Parser() = default;
  Parser(const Parser&) = delete;
  Parser& operator=(const Parser&) = delete;

  // Scans the whole text into matched items; raises Error for text no rule
  // matches, an unclosed group or an incomplete three-operand operator.
  virtual std::vector<Item> scan(std::string_view text);
  // Builds the tree of the items; null when there are none.
  virtual NodePtr build(std::vector<Item>& items);

  // Registration, used by a grammar's constructor. addLevel returns null
  // when the name was already added.
  PrecedenceLevel* addLevel(const std::string& name);
  void addOperator(std::unique_ptr<Operator> op, int operands);
  void addReference(std::unique_ptr<Reference> rule);
  void addLiteral(std::unique_ptr<Literal> rule);
  void addGrouping(std::unique_ptr<GroupingOperator> rule);

  // Binding order of a level: later levels bind tighter.
  int levelRank(const PrecedenceLevel* level) const;

 private:
  class Builder;

  bool tryReferences(std::string_view text, int pos, Item& item);
  bool tryLiterals(std::string_view text, int pos, Item& item);
  bool tryGroupings(std::string_view text, int pos, Item& item, bool expect_operand,
                    const std::vector<Item>& items);
  bool tryOperators(std::string_view text, int pos, Item& item, bool expect_operand);
  void flattenOperators();

  std::vector<std::unique_ptr<PrecedenceLevel>> levels_;
  std::map<int, std::vector<std::unique_ptr<Operator>>> unary_;  // by level rank
  std::map<int, std::vector<std::unique_ptr<Operator>>> binary_;
  std::map<int, std::vector<std::unique_ptr<Operator>>> trinary_;
  std::vector<std::unique_ptr<Reference>> references_;
  std::vector<std::unique_ptr<Literal>> literals_;
  std::vector<std::unique_ptr<GroupingOperator>> groupings_;
  // Flat operator lists, rebuilt when registration changes.
  std::vector<Operator*> prefix_ops_;
  std::vector<Operator*> infix_ops_;  // postfix, binary, trinary first parts
  bool flat_valid_ = false;
};

}  // namespace ParserCore_NS

#endif
