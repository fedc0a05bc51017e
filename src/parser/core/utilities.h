// Ready-made generic operators and node bases: an operator described by its
// spelling and forbidden followers, templates that build a node class, and
// the unary, binary, three-operand and list node bases.
#ifndef QUORVIX_PARSER_CORE_UTILITIES_H
#define QUORVIX_PARSER_CORE_UTILITIES_H

#include <string>
#include <utility>
#include <vector>

#include "parser/core/error.h"
#include "parser/core/node.h"
#include "parser/core/rule.h"

namespace ParserUtilties_NS {

using ParserCore_NS::Item;
using ParserCore_NS::Node;
using ParserCore_NS::NodeClass;
using ParserCore_NS::NodePtr;
using ParserCore_NS::Parser;
using ParserCore_NS::PrecedenceLevel;
using ParserCore_NS::SymtabAdaptor;

// Matches `spelling` unless a letter follows a spelling that starts with a
// letter, or one of `forbidden` follows it.
bool MatchSpelling(std::string_view text, int pos, const std::string& spelling,
                   const std::string& forbidden);

class EasyOperator : public ParserCore_NS::Operator {
 public:
  EasyOperator(Parser& parser, unsigned mode, unsigned arity, PrecedenceLevel* level,
               std::string spelling, std::string forbidden)
      : Operator(parser, mode, arity, level),
        spelling_(std::move(spelling)),
        forbidden_(std::move(forbidden)) {
    setFirst(static_cast<unsigned char>(spelling_[0]));
  }
  bool match(std::string_view text, int pos, Item& item) override {
    if (!MatchSpelling(text, pos, spelling_, forbidden_)) return false;
    item.end = pos + static_cast<int>(spelling_.size());
    item.text = spelling_;
    return true;
  }
  const std::string& spelling() const { return spelling_; }

 protected:
  std::string spelling_;
  std::string forbidden_;
};

// Builds N from one operand; with N = void the operand itself is the result.
template <typename N>
class UnaryOperator : public EasyOperator {
 public:
  UnaryOperator(Parser& parser, unsigned mode, PrecedenceLevel* level, std::string spelling,
                std::string forbidden, SymtabAdaptor& adaptor)
      : EasyOperator(parser, mode, 1, level, std::move(spelling), std::move(forbidden)),
        adaptor_(adaptor) {}
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override {
    if constexpr (std::is_void_v<N>) {
      (void)item;
      return std::move(operands[0]);
    } else {
      return std::make_unique<N>(adaptor_, item.position, std::move(operands[0]));
    }
  }

 private:
  SymtabAdaptor& adaptor_;
};

template <typename N>
class BinaryOperator : public EasyOperator {
 public:
  BinaryOperator(Parser& parser, unsigned mode, PrecedenceLevel* level, std::string spelling,
                 std::string forbidden, SymtabAdaptor& adaptor)
      : EasyOperator(parser, mode, 2, level, std::move(spelling), std::move(forbidden)),
        adaptor_(adaptor) {}
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override {
    return N::make(adaptor_, item.position, std::move(operands[0]), std::move(operands[1]));
  }

 private:
  SymtabAdaptor& adaptor_;
};

template <typename N>
class TrinaryOperator : public ParserCore_NS::Operator {
 public:
  TrinaryOperator(Parser& parser, PrecedenceLevel* level, std::string first, std::string second,
                  SymtabAdaptor& adaptor)
      : Operator(parser, 0, 3, level),
        first_spelling_(std::move(first)),
        second_spelling_(std::move(second)),
        adaptor_(adaptor) {
    setFirst(static_cast<unsigned char>(first_spelling_[0]));
  }
  bool match(std::string_view text, int pos, Item& item) override {
    if (!MatchSpelling(text, pos, first_spelling_, "")) return false;
    item.end = pos + static_cast<int>(first_spelling_.size());
    item.text = first_spelling_;
    return true;
  }
  bool matchSecond(std::string_view text, int pos, Item& item) override {
    if (!MatchSpelling(text, pos, second_spelling_, "")) return false;
    item.end = pos + static_cast<int>(second_spelling_.size());
    item.text = second_spelling_;
    return true;
  }
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override {
    return std::make_unique<N>(adaptor_, item.position, std::move(operands[0]),
                               std::move(operands[1]), std::move(operands[2]));
  }

 private:
  std::string first_spelling_;
  std::string second_spelling_;
  SymtabAdaptor& adaptor_;
};

class EasyGroupingOperator : public ParserCore_NS::GroupingOperator {
 public:
  EasyGroupingOperator(Parser& parser, std::string opening, std::string closing)
      : GroupingOperator(parser), opening_(std::move(opening)), closing_(std::move(closing)) {
    setFirst(static_cast<unsigned char>(opening_[0]));
  }
  bool match(std::string_view text, int pos, Item& item) override {
    if (!MatchSpelling(text, pos, opening_, "")) return false;
    item.end = pos + static_cast<int>(opening_.size());
    item.text = opening_;
    return true;
  }
  bool matchSecond(std::string_view text, int pos, Item& item) override {
    if (!MatchSpelling(text, pos, closing_, "")) return false;
    item.end = pos + static_cast<int>(closing_.size());
    item.text = closing_;
    return true;
  }
  const std::string& opening() const override { return opening_; }

 private:
  std::string opening_;
  std::string closing_;
};

// Node bases --------------------------------------------------------------

class UnaryOperatorNode : public Node {
 public:
  UnaryOperatorNode(SymtabAdaptor& adaptor, int position, NodePtr operand)
      : Node(adaptor, position), operand_(std::move(operand)) {}
  ~UnaryOperatorNode() override { destroyOperands(); }
  void collectVariablesNode(std::vector<std::string>& names) const override {
    operand_->collectVariables(names);
  }
  const Node& operand() const { return *operand_; }

 protected:
  void releaseOperands(std::vector<NodePtr>& out) override { Take(operand_, out); }

  NodePtr operand_;
};

class BinaryOperatorNode : public Node {
 public:
  BinaryOperatorNode(SymtabAdaptor& adaptor, int position, NodePtr left, NodePtr right)
      : Node(adaptor, position), left_(std::move(left)), right_(std::move(right)) {}
  ~BinaryOperatorNode() override { destroyOperands(); }
  void collectVariablesNode(std::vector<std::string>& names) const override {
    left_->collectVariables(names);
    right_->collectVariables(names);
  }
  const Node& left() const { return *left_; }
  const Node& right() const { return *right_; }

 protected:
  void releaseOperands(std::vector<NodePtr>& out) override {
    Take(left_, out);
    Take(right_, out);
  }

  NodePtr left_;
  NodePtr right_;
};

class TrinaryOperatorNode : public Node {
 public:
  TrinaryOperatorNode(SymtabAdaptor& adaptor, int position, NodePtr first, NodePtr second,
                      NodePtr third)
      : Node(adaptor, position),
        first_(std::move(first)),
        second_(std::move(second)),
        third_(std::move(third)) {}
  ~TrinaryOperatorNode() override { destroyOperands(); }
  void collectVariablesNode(std::vector<std::string>& names) const override {
    first_->collectVariables(names);
    second_->collectVariables(names);
    third_->collectVariables(names);
  }

 protected:
  void releaseOperands(std::vector<NodePtr>& out) override {
    Take(first_, out);
    Take(second_, out);
    Take(third_, out);
  }

  NodePtr first_;
  NodePtr second_;
  NodePtr third_;
};

// Comma list. Built n-ary: a comma whose left operand is an open list appends
// to it; a parenthesised list is closed and stays one element.
class ListNode : public Node {
 public:
  ListNode(SymtabAdaptor& adaptor, int position) : Node(adaptor, position) {}
  ~ListNode() override { destroyOperands(); }
  static NodePtr make(SymtabAdaptor& adaptor, int position, NodePtr left, NodePtr right);

  NodeClass classType() const override { return NodeClass::kList; }
  // Evaluates every element and yields the last one's value.
  void evaluateNode(symtab& result) override;
  NodePtr derivativeNode(const std::string& variable) const override;
  void collectVariablesNode(std::vector<std::string>& names) const override;
  NodePtr cloneNode() const override;
  NodePtr simplifyNode() override;
  void printNode(std::string& out) const override;
  int printLevel() const override { return 1; }

  std::vector<NodePtr>& elements() { return elements_; }
  const std::vector<NodePtr>& elements() const { return elements_; }
  void close() { closed_ = true; }
  bool closed() const { return closed_; }

 protected:
  void releaseOperands(std::vector<NodePtr>& out) override { TakeAll(elements_, out); }

 private:
  std::vector<NodePtr> elements_;
  bool closed_ = false;
};

}  // namespace ParserUtilties_NS

#endif
