#include "parser/math/assignment_nodes.h"

namespace MathParser_NS {

const AssignTraits kAssignment{NodeClass::kAssignment, nullptr, "="};
const AssignTraits kPlusEqual{NodeClass::kPlusEqual, &SymtabAdaptor::add, "+="};
const AssignTraits kMinusEqual{NodeClass::kMinusEqual, &SymtabAdaptor::subtract, "-="};
const AssignTraits kTimesEqual{NodeClass::kTimesEqual, &SymtabAdaptor::multiply, "*="};
const AssignTraits kDivEqual{NodeClass::kDivEqual, &SymtabAdaptor::divide, "/="};

const IncrementTraits kLeftPlusPlus{NodeClass::kUnaryLeftPlusPlus, true, false, "++"};
const IncrementTraits kLeftMinusMinus{NodeClass::kUnaryLeftMinusMinus, false, false, "--"};
const IncrementTraits kRightPlusPlus{NodeClass::kUnaryRightPlusPlus, true, true, "++"};
const IncrementTraits kRightMinusMinus{NodeClass::kUnaryRightMinusMinus, false, true, "--"};

void ConditionalNode::evaluateNode(symtab& result) {
  first_->evaluate(result);
  bool zero = adaptor_.isZero(result, position_);
  adaptor_.releaseValue(result);
  (zero ? third_ : second_)->evaluate(result);
}

NodePtr ConditionalNode::cloneNode() const {
  return std::make_unique<ConditionalNode>(adaptor_, position_, first_->clone(), second_->clone(),
                                           third_->clone());
}

void ConditionalNode::printNode(std::string& out) const {
  printOperand(*first_, kPrintConditional + 1, out);
  out += " ? ";
  printOperand(*second_, kPrintConditional + 1, out);
  out += " : ";
  printOperand(*third_, kPrintConditional, out);
}

void RangeNode::evaluateNode(symtab& result) {
  symtab start, end, step;
  first_->evaluate(start);
  second_->evaluate(end);
  third_->evaluate(step);
  adaptor_.makeRange(start, end, step, result, position_);
}

NodePtr RangeNode::cloneNode() const {
  return std::make_unique<RangeNode>(adaptor_, position_, first_->clone(), second_->clone(),
                                     third_->clone());
}

void RangeNode::printNode(std::string& out) const {
  printOperand(*first_, kPrintConditional + 1, out);
  out += ':';
  printOperand(*second_, kPrintConditional + 1, out);
  out += ':';
  printOperand(*third_, kPrintConditional + 1, out);
}

}  // namespace MathParser_NS
