// Assignment family, increments, the conditional and the range.
#ifndef QUORVIX_PARSER_MATH_ASSIGNMENT_NODES_H
#define QUORVIX_PARSER_MATH_ASSIGNMENT_NODES_H

#include <string>

#include "parser/math/operator_nodes.h"

namespace MathParser_NS {

struct AssignTraits {
  NodeClass cls;
  AdaptorBinary op;  // null for plain "="
  const char* spelling;
};

// The left operand must be a variable or a subscripted variable. An
// assignment yields the empty string, so that a template statement that only
// assigns writes nothing.
template <const AssignTraits& S>
class AssignNode : public BinaryOperatorNode {
 public:
  using BinaryOperatorNode::BinaryOperatorNode;
  static NodePtr make(SymtabAdaptor& a, int pos, NodePtr l, NodePtr r) {
    if (!l->isReference()) throw ParserCore_NS::Error("Invalid assignment", pos);
    return std::make_unique<AssignNode>(a, pos, std::move(l), std::move(r));
  }
  NodeClass classType() const override { return S.cls; }
  void evaluateNode(symtab& result) override {
    double d;
    if (S.op == nullptr && right_->evaluateScalar(d)) {
      result.SetScalar(d);
    } else if (S.op == nullptr) {
      right_->evaluate(result);
    } else {
      left_->evaluate(result);
      symtab right;
      right_->evaluate(right);
      (adaptor_.*S.op)(result, right, position_);
    }
    left_->assign(result);
    adaptor_.makeString("", result, position_);
  }
  NodePtr derivativeNode(const std::string&) const override {
    throw ParserCore_NS::Error("Illegal differentiation", position_);
  }
  NodePtr cloneNode() const override {
    return std::make_unique<AssignNode>(adaptor_, position_, left_->clone(), right_->clone());
  }
  int printLevel() const override { return kPrintAssignment; }
  void printNode(std::string& out) const override {
    printOperand(*left_, kPrintAssignment + 1, out);
    out += ' ';
    out += S.spelling;
    out += ' ';
    printOperand(*right_, kPrintAssignment + 1, out);
  }
};

extern const AssignTraits kAssignment, kPlusEqual, kMinusEqual, kTimesEqual, kDivEqual;

using AssignmentNode = AssignNode<kAssignment>;
using PlusEqualNode = AssignNode<kPlusEqual>;
using MinusEqualNode = AssignNode<kMinusEqual>;
using TimesEqualNode = AssignNode<kTimesEqual>;
using DivEqualNode = AssignNode<kDivEqual>;

struct IncrementTraits {
  NodeClass cls;
  bool up;
  bool postfix;
  const char* spelling;
};

// Prefix forms yield the changed value, postfix forms the value before it.
template <const IncrementTraits& S>
class IncrementNode : public UnaryOperatorNode {
 public:
  IncrementNode(SymtabAdaptor& a, int pos, NodePtr operand)
      : UnaryOperatorNode(a, pos, std::move(operand)) {
    if (!operand_->isReference()) throw ParserCore_NS::Error("Invalid assignment", pos);
  }
  NodeClass classType() const override { return S.cls; }
  void evaluateNode(symtab& result) override {
    operand_->evaluate(result);
    if (S.postfix) {
      symtab changed;
      adaptor_.copyValue(result, changed, position_);
      step(changed);
      operand_->assign(changed);
    } else {
      step(result);
      operand_->assign(result);
    }
  }
  NodePtr derivativeNode(const std::string&) const override {
    throw ParserCore_NS::Error("Illegal differentiation", position_);
  }
  NodePtr cloneNode() const override {
    return std::make_unique<IncrementNode>(adaptor_, position_, operand_->clone());
  }
  int printLevel() const override { return kPrintIncrement; }
  void printNode(std::string& out) const override {
    if (!S.postfix) out += S.spelling;
    printOperand(*operand_, kPrintIncrement + 1, out);
    if (S.postfix) out += S.spelling;
  }

 private:
  void step(symtab& v) {
    if (S.up)
      adaptor_.increment(v, position_);
    else
      adaptor_.decrement(v, position_);
  }
};

extern const IncrementTraits kLeftPlusPlus, kLeftMinusMinus, kRightPlusPlus, kRightMinusMinus;

using UnaryLeftPlusPlusNode = IncrementNode<kLeftPlusPlus>;
using UnaryLeftMinusMinusNode = IncrementNode<kLeftMinusMinus>;
using UnaryRightPlusPlusNode = IncrementNode<kRightPlusPlus>;
using UnaryRightMinusMinusNode = IncrementNode<kRightMinusMinus>;

// c ? a : b — only the chosen branch is evaluated.
class ConditionalNode : public TrinaryOperatorNode {
 public:
  using TrinaryOperatorNode::TrinaryOperatorNode;
  NodeClass classType() const override { return NodeClass::kConditional; }
  void evaluateNode(symtab& result) override;
  NodePtr derivativeNode(const std::string&) const override {
    throw ParserCore_NS::Error("Illegal differentiation", position_);
  }
  NodePtr cloneNode() const override;
  int printLevel() const override { return kPrintConditional; }
  void printNode(std::string& out) const override;
};

// start:end:step
class RangeNode : public TrinaryOperatorNode {
 public:
  using TrinaryOperatorNode::TrinaryOperatorNode;
  NodeClass classType() const override { return NodeClass::kRange; }
  void evaluateNode(symtab& result) override;
  NodePtr derivativeNode(const std::string&) const override {
    throw ParserCore_NS::Error("Illegal differentiation", position_);
  }
  NodePtr cloneNode() const override;
  int printLevel() const override { return kPrintConditional; }
  void printNode(std::string& out) const override;
};

}  // namespace MathParser_NS

#endif
