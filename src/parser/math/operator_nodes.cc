#include "parser/math/operator_nodes.h"

#include "parser/math/value_nodes.h"

namespace MathParser_NS {

using ParserCore_NS::Error;

const BinaryTraits kAddition{NodeClass::kAddition, &SymtabAdaptor::add, "+", kPrintAddSub, false};
const BinaryTraits kSubtraction{NodeClass::kSubtraction, &SymtabAdaptor::subtract, "-",
                                kPrintAddSub, false};
const BinaryTraits kMultiplication{NodeClass::kMultiplication, &SymtabAdaptor::multiply, "*",
                                   kPrintMulDiv, false};
const BinaryTraits kDivision{NodeClass::kDivision, &SymtabAdaptor::divide, "/", kPrintMulDiv,
                             false};
const BinaryTraits kModulus{NodeClass::kModulus, &SymtabAdaptor::modulus, "%", kPrintMulDiv, false};
const BinaryTraits kExponential{NodeClass::kExponential, &SymtabAdaptor::power, "^", kPrintPower,
                                true};
const BinaryTraits kDot{NodeClass::kDot, &SymtabAdaptor::dot, " dot ", kPrintDotCross, false};
const BinaryTraits kCross{NodeClass::kCross, &SymtabAdaptor::cross, " cross ", kPrintDotCross,
                          false};

const CompareTraits kEqual{NodeClass::kEqual, quorvix::ops::kEqual, "==", kPrintEqual};
const CompareTraits kNotEqual{NodeClass::kNotEqual, quorvix::ops::kLess | quorvix::ops::kGreater,
                              "!=", kPrintEqual};
const CompareTraits kLessThan{NodeClass::kLessThan, quorvix::ops::kLess, "<", kPrintCompare};
const CompareTraits kGreaterThan{NodeClass::kGreaterThan, quorvix::ops::kGreater, ">",
                                 kPrintCompare};
const CompareTraits kLessThanEqualTo{
    NodeClass::kLessThanEqualTo, quorvix::ops::kLess | quorvix::ops::kEqual, "<=", kPrintCompare};
const CompareTraits kGreaterThanEqualTo{NodeClass::kGreaterThanEqualTo,
                                        quorvix::ops::kGreater | quorvix::ops::kEqual,
                                        ">=", kPrintCompare};

const UnaryTraits kUnaryMinus{NodeClass::kUnaryMinus, &SymtabAdaptor::negate, "-", false};
const UnaryTraits kUnaryBang{NodeClass::kUnaryBang, &SymtabAdaptor::logicalNot, "!", false};
const UnaryTraits kUnaryRightTranspose{NodeClass::kUnaryRightTranspose, &SymtabAdaptor::transpose,
                                       "'", true};

template <bool IsAnd>
void LogicalNode<IsAnd>::evaluateNode(symtab& result) {
  left_->evaluate(result);
  if (result.type == SYM_SCALAR) {
    bool left_true = !adaptor_.isZero(result, position_);
    if (IsAnd ? !left_true : left_true) {
      result.SetScalar(IsAnd ? 0.0 : 1.0);
      return;
    }
  }
  symtab right;
  right_->evaluate(right);
  if (IsAnd)
    adaptor_.logicalAnd(result, right, position_);
  else
    adaptor_.logicalOr(result, right, position_);
}

template class LogicalNode<true>;
template class LogicalNode<false>;

namespace {

NodePtr Number(const Node& at, double v) {
  return std::make_unique<DoubleValueNode>(at.adaptor(), at.position(), v);
}

template <typename N>
NodePtr Make(const Node& at, NodePtr l, NodePtr r) {
  return N::make(at.adaptor(), at.position(), std::move(l), std::move(r));
}

NodePtr Call(const Node& at, const char* name, NodePtr a, NodePtr b = nullptr) {
  std::vector<NodePtr> args;
  args.push_back(std::move(a));
  if (b) args.push_back(std::move(b));
  return std::make_unique<ParserUtilties_NS::SymbolicFunctionNode>(at.adaptor(), at.position(),
                                                                   name, std::move(args));
}

// Each rule is a function of its own, kept out of line: derivatives recurse
// along the tree, and the recursive frame should hold only the rule at hand
// (sanitizer builds reserve every local of an inlined branch in the frame).

__attribute__((noinline)) NodePtr JoinProducts(const Node& at, const Node& u, const Node& v,
                                               NodePtr du, NodePtr dv) {
  return Make<AdditionNode>(at, Make<MultiplicationNode>(at, u.clone(), std::move(dv)),
                            Make<MultiplicationNode>(at, v.clone(), std::move(du)));
}

// u*v' + v*u': the second product keeps v on the left, which matters for
// matrix products.
__attribute__((noinline)) NodePtr ProductRule(const Node& at, const Node& u, const Node& v,
                                              const std::string& var) {
  NodePtr du = u.derivative(var);
  return JoinProducts(at, u, v, std::move(du), v.derivative(var));
}

template <typename N>
__attribute__((noinline)) NodePtr SumRule(const Node& at, const Node& u, const Node& v,
                                          const std::string& var) {
  return Make<N>(at, u.derivative(var), v.derivative(var));
}

// u / v = u * pow(v, -1)
__attribute__((noinline)) NodePtr QuotientRule(const Node& at, const Node& u, const Node& v,
                                               const std::string& var) {
  NodePtr inverse = Call(at, "pow", v.clone(), Number(at, -1.0));
  return ProductRule(at, u, *inverse, var);
}

// v*u^(v-1)*u' + u^v*log(u)*v'
__attribute__((noinline)) NodePtr PowerRule(const Node& at, const Node& u, const Node& v,
                                            const std::string& var) {
  NodePtr first = Make<MultiplicationNode>(
      at,
      Make<MultiplicationNode>(
          at, v.clone(),
          Make<ExponentialNode>(at, u.clone(),
                                Make<SubtractionNode>(at, v.clone(), Number(at, 1.0)))),
      u.derivative(var));
  NodePtr second = Make<MultiplicationNode>(
      at,
      Make<MultiplicationNode>(at, Make<ExponentialNode>(at, u.clone(), v.clone()),
                               Call(at, "log", u.clone())),
      v.derivative(var));
  return Make<AdditionNode>(at, std::move(first), std::move(second));
}

}  // namespace

NodePtr DeriveArithmetic(const BinaryTraits& traits, const Node& self, const Node& u, const Node& v,
                         const std::string& var) {
  switch (traits.cls) {
    case NodeClass::kAddition:
      return SumRule<AdditionNode>(self, u, v, var);
    case NodeClass::kSubtraction:
      return SumRule<SubtractionNode>(self, u, v, var);
    case NodeClass::kMultiplication:
      return ProductRule(self, u, v, var);
    case NodeClass::kDivision:
      return QuotientRule(self, u, v, var);
    case NodeClass::kExponential:
      return PowerRule(self, u, v, var);
    default:
      throw Error("Illegal differentiation", self.position());
  }
}

NodePtr DeriveUnary(const UnaryTraits& traits, const Node& self, const Node& operand,
                    const std::string& var) {
  if (traits.cls != NodeClass::kUnaryMinus) throw Error("Illegal differentiation", self.position());
  return std::make_unique<UnaryMinusNode>(self.adaptor(), self.position(), operand.derivative(var));
}

namespace {

bool IsNumber(const Node& n) { return n.classType() == NodeClass::kDoubleValue; }
double NumberOf(const Node& n) { return static_cast<const DoubleValueNode&>(n).value(); }

}  // namespace

// Folds numeric constants and drops neutral elements (x+0, x*1, x^1) and
// annihilators (x*0) so that derivatives read naturally.
NodePtr SimplifyArithmetic(const BinaryTraits& traits, Node& self, NodePtr& left, NodePtr& right) {
  if (NodePtr s = left->simplify()) left = std::move(s);
  if (NodePtr s = right->simplify()) right = std::move(s);
  bool ln = IsNumber(*left), rn = IsNumber(*right);
  if (ln && rn) {
    double a = NumberOf(*left), b = NumberOf(*right);
    switch (traits.cls) {
      case NodeClass::kAddition:
        return Number(self, a + b);
      case NodeClass::kSubtraction:
        return Number(self, a - b);
      case NodeClass::kMultiplication:
        return Number(self, a * b);
      case NodeClass::kDivision:
        if (b != 0.0) return Number(self, a / b);
        return nullptr;
      default:
        return nullptr;
    }
  }
  switch (traits.cls) {
    case NodeClass::kAddition:
      if (left->isZero() && ln) return std::move(right);
      if (right->isZero() && rn) return std::move(left);
      break;
    case NodeClass::kSubtraction:
      if (right->isZero() && rn) return std::move(left);
      break;
    case NodeClass::kMultiplication:
      if ((left->isZero() && ln) || (right->isZero() && rn)) return Number(self, 0.0);
      if (left->isOne()) return std::move(right);
      if (right->isOne()) return std::move(left);
      break;
    case NodeClass::kDivision:
      if (right->isOne()) return std::move(left);
      break;
    case NodeClass::kExponential:
      if (right->isOne()) return std::move(left);
      if (right->isZero() && rn) return Number(self, 1.0);
      break;
    default:
      break;
  }
  return nullptr;
}

}  // namespace MathParser_NS
