// Operator nodes of the math grammar. Each binary arithmetic, comparison and
// logical node is one instantiation of a shared template, so the evaluation
// and printing code exists once.
#ifndef QUORVIX_PARSER_MATH_OPERATOR_NODES_H
#define QUORVIX_PARSER_MATH_OPERATOR_NODES_H

#include <cmath>
#include <string>

#include "parser/core/utilities.h"
#include "parser/math/scalar_arithmetic.h"
#include "values/value_ops.h"

namespace MathParser_NS {

using ParserCore_NS::Node;
using ParserCore_NS::NodeClass;
using ParserCore_NS::NodePtr;
using ParserCore_NS::SymtabAdaptor;
using ParserUtilties_NS::BinaryOperatorNode;
using ParserUtilties_NS::TrinaryOperatorNode;
using ParserUtilties_NS::UnaryOperatorNode;

// Print levels mirror the grammar's precedence levels (1 comma .. 13).
enum PrintLevel : int {
  kPrintAssignment = 2,
  kPrintConditional = 3,
  kPrintOr = 4,
  kPrintAnd = 5,
  kPrintEqual = 6,
  kPrintCompare = 7,
  kPrintAddSub = 8,
  kPrintDotCross = 9,
  kPrintMulDiv = 10,
  kPrintPower = 11,
  kPrintUnary = 12,
  kPrintIncrement = 13,
};

using AdaptorBinary = void (SymtabAdaptor::*)(symtab&, symtab&, int);

struct BinaryTraits {
  NodeClass cls;
  AdaptorBinary op;
  const char* spelling;
  int level;
  bool right_grouping;
};

// Arithmetic: left into the result slot, right into a temporary, then the
// in-place value operation.
template <const BinaryTraits& S>
class ArithmeticNode : public BinaryOperatorNode {
 public:
  using BinaryOperatorNode::BinaryOperatorNode;
  static NodePtr make(SymtabAdaptor& a, int pos, NodePtr l, NodePtr r) {
    return std::make_unique<ArithmeticNode>(a, pos, std::move(l), std::move(r));
  }
  NodeClass classType() const override { return S.cls; }
  void evaluateNode(symtab& result) override {
    if ((S.cls == NodeClass::kAddition || S.cls == NodeClass::kSubtraction) && fusedArray(result))
      return;
    left_->evaluate(result);
    symtab right;
    right_->evaluate(right);
    (adaptor_.*S.op)(result, right, position_);
  }
  bool evaluateScalarNode(double& out) override {
    double l, r;
    if (!left_->evaluateScalar(l) || !right_->evaluateScalar(r)) return false;
    switch (S.cls) {
      case NodeClass::kAddition:
        out = l + r;
        return true;
      case NodeClass::kSubtraction:
        out = l - r;
        return true;
      case NodeClass::kMultiplication:
        out = l * r;
        return true;
      case NodeClass::kDivision:
        return ScalarDivide(l, r, out);
      case NodeClass::kExponential:
        return ScalarPower(l, r, out);
      default:
        return false;
    }
  }
  NodePtr derivativeNode(const std::string& variable) const override;
  NodePtr cloneNode() const override {
    return std::make_unique<ArithmeticNode>(adaptor_, position_, left_->clone(), right_->clone());
  }
  NodePtr simplifyNode() override;
  int printLevel() const override { return S.level; }

 private:
  // x + y and x - y on array variables: read both in place and write the
  // result once, instead of copying the operands first. Only when the right
  // operand cannot change the left (a variable or a number).
  bool fusedArray(symtab& result) {
    const NodeClass rc = right_->classType();
    if (rc != NodeClass::kReference && rc != NodeClass::kDoubleValue) return false;
    const symtab* l = left_->peekValue();
    if (l == nullptr || l->type != SYM_ARRAY) return false;
    const std::size_t n = static_cast<std::size_t>(l->rows) * static_cast<std::size_t>(l->cols);
    const double* a = l->data;
    const bool sub = S.cls == NodeClass::kSubtraction;
    if (const symtab* r = right_->peekValue()) {
      if (r->type != SYM_ARRAY || r->rows != l->rows || r->cols != l->cols) return false;
      const double* b = r->data;
      double* d = result.SetArray(l->rows, l->cols);
      if (sub)
        for (std::size_t i = 0; i < n; ++i) d[i] = a[i] - b[i];
      else
        for (std::size_t i = 0; i < n; ++i) d[i] = a[i] + b[i];
      return true;
    }
    double b;
    if (!right_->evaluateScalar(b)) return false;
    double* d = result.SetArray(l->rows, l->cols);
    if (sub)
      for (std::size_t i = 0; i < n; ++i) d[i] = a[i] - b;
    else
      for (std::size_t i = 0; i < n; ++i) d[i] = a[i] + b;
    return true;
  }

 public:
  void printNode(std::string& out) const override {
    printOperand(*left_, S.right_grouping ? S.level + 1 : S.level, out);
    out += S.spelling;
    printSeparated(*right_, S.right_grouping ? S.level : S.level + 1, out);
  }
};

extern const BinaryTraits kAddition, kSubtraction, kMultiplication, kDivision, kModulus,
    kExponential, kDot, kCross;

using AdditionNode = ArithmeticNode<kAddition>;
using SubtractionNode = ArithmeticNode<kSubtraction>;
using MultiplicationNode = ArithmeticNode<kMultiplication>;
using DivisionNode = ArithmeticNode<kDivision>;
using ModulusNode = ArithmeticNode<kModulus>;
using ExponentialNode = ArithmeticNode<kExponential>;
using DotNode = ArithmeticNode<kDot>;
using CrossNode = ArithmeticNode<kCross>;

struct CompareTraits {
  NodeClass cls;
  unsigned relation;
  const char* spelling;
  int level;
};

template <const CompareTraits& S>
class ComparisonNode : public BinaryOperatorNode {
 public:
  using BinaryOperatorNode::BinaryOperatorNode;
  static NodePtr make(SymtabAdaptor& a, int pos, NodePtr l, NodePtr r) {
    return std::make_unique<ComparisonNode>(a, pos, std::move(l), std::move(r));
  }
  NodeClass classType() const override { return S.cls; }
  void evaluateNode(symtab& result) override {
    left_->evaluate(result);
    symtab right;
    right_->evaluate(right);
    adaptor_.compare(result, right, S.relation, position_);
  }
  bool evaluateScalarNode(double& out) override {
    double l, r;
    if (!left_->evaluateScalar(l) || !right_->evaluateScalar(r)) return false;
    out = ScalarCompare(S.relation, l, r);
    return true;
  }
  NodePtr derivativeNode(const std::string&) const override {
    throw ParserCore_NS::Error("Illegal differentiation", position_);
  }
  NodePtr cloneNode() const override {
    return std::make_unique<ComparisonNode>(adaptor_, position_, left_->clone(), right_->clone());
  }
  int printLevel() const override { return S.level; }
  void printNode(std::string& out) const override {
    printOperand(*left_, S.level, out);
    out += S.spelling;
    printSeparated(*right_, S.level + 1, out);
  }
};

extern const CompareTraits kEqual, kNotEqual, kLessThan, kGreaterThan, kLessThanEqualTo,
    kGreaterThanEqualTo;

using EqualNode = ComparisonNode<kEqual>;
using NotEqualNode = ComparisonNode<kNotEqual>;
using LessThanNode = ComparisonNode<kLessThan>;
using GreaterThanNode = ComparisonNode<kGreaterThan>;
using LessThanEqualToNode = ComparisonNode<kLessThanEqualTo>;
using GreaterThanEqualToNode = ComparisonNode<kGreaterThanEqualTo>;

// "&&" and "||": a scalar left operand decides alone when it can.
template <bool IsAnd>
class LogicalNode : public BinaryOperatorNode {
 public:
  using BinaryOperatorNode::BinaryOperatorNode;
  static NodePtr make(SymtabAdaptor& a, int pos, NodePtr l, NodePtr r) {
    return std::make_unique<LogicalNode>(a, pos, std::move(l), std::move(r));
  }
  NodeClass classType() const override {
    return IsAnd ? NodeClass::kLogicalAnd : NodeClass::kLogicalOr;
  }
  void evaluateNode(symtab& result) override;
  NodePtr derivativeNode(const std::string&) const override {
    throw ParserCore_NS::Error("Illegal differentiation", position_);
  }
  NodePtr cloneNode() const override {
    return std::make_unique<LogicalNode>(adaptor_, position_, left_->clone(), right_->clone());
  }
  int printLevel() const override { return IsAnd ? kPrintAnd : kPrintOr; }
  void printNode(std::string& out) const override {
    printOperand(*left_, printLevel(), out);
    out += IsAnd ? "&&" : "||";
    printOperand(*right_, printLevel() + 1, out);
  }
};

using LogicalAndNode = LogicalNode<true>;
using LogicalOrNode = LogicalNode<false>;

using AdaptorUnary = void (SymtabAdaptor::*)(symtab&, int);

struct UnaryTraits {
  NodeClass cls;
  AdaptorUnary op;
  const char* spelling;
  bool postfix;
};

template <const UnaryTraits& S>
class SimpleUnaryNode : public UnaryOperatorNode {
 public:
  SimpleUnaryNode(SymtabAdaptor& a, int pos, NodePtr operand)
      : UnaryOperatorNode(a, pos, std::move(operand)) {}
  NodeClass classType() const override { return S.cls; }
  void evaluateNode(symtab& result) override {
    operand_->evaluate(result);
    (adaptor_.*S.op)(result, position_);
  }
  bool evaluateScalarNode(double& out) override {
    if (S.cls != NodeClass::kUnaryMinus || !operand_->evaluateScalar(out)) return false;
    out = -out;
    return true;
  }
  NodePtr derivativeNode(const std::string& variable) const override;
  NodePtr cloneNode() const override {
    return std::make_unique<SimpleUnaryNode>(adaptor_, position_, operand_->clone());
  }
  int printLevel() const override { return S.postfix ? kPrintIncrement : kPrintUnary; }
  void printNode(std::string& out) const override {
    if (!S.postfix) {
      out += S.spelling;
      printSeparated(*operand_, printLevel(), out);
    } else {
      printOperand(*operand_, printLevel(), out);
      out += S.spelling;
    }
  }
};

extern const UnaryTraits kUnaryMinus, kUnaryBang, kUnaryRightTranspose;

using UnaryMinusNode = SimpleUnaryNode<kUnaryMinus>;
using UnaryBangNode = SimpleUnaryNode<kUnaryBang>;
using UnaryRightTransposeNode = SimpleUnaryNode<kUnaryRightTranspose>;

// Builds the derivative product rule and friends; shared by the templates.
NodePtr DeriveArithmetic(const BinaryTraits& traits, const Node& self, const Node& left,
                         const Node& right, const std::string& variable);
NodePtr SimplifyArithmetic(const BinaryTraits& traits, Node& self, NodePtr& left, NodePtr& right);

template <const BinaryTraits& S>
NodePtr ArithmeticNode<S>::derivativeNode(const std::string& variable) const {
  return DeriveArithmetic(S, *this, *left_, *right_, variable);
}

template <const BinaryTraits& S>
NodePtr ArithmeticNode<S>::simplifyNode() {
  return SimplifyArithmetic(S, *this, left_, right_);
}

NodePtr DeriveUnary(const UnaryTraits& traits, const Node& self, const Node& operand,
                    const std::string& variable);

template <const UnaryTraits& S>
NodePtr SimpleUnaryNode<S>::derivativeNode(const std::string& variable) const {
  return DeriveUnary(S, *this, *operand_, variable);
}

}  // namespace MathParser_NS

#endif
