#include "parser/math/value_nodes.h"

#include <strings.h>

#include "parser/math/operator_nodes.h"

#include <algorithm>
#include <cstdio>

namespace MathParser_NS {

using ParserCore_NS::Error;

NodePtr DoubleValueNode::derivativeNode(const std::string&) const {
  return std::make_unique<DoubleValueNode>(adaptor_, position_, 0.0);
}

NodePtr DoubleValueNode::cloneNode() const {
  return std::make_unique<DoubleValueNode>(adaptor_, position_, value_, text_);
}

void DoubleValueNode::printNode(std::string& out) const {
  if (!text_.empty()) {
    out += text_;
    return;
  }
  char buf[32];
  std::snprintf(buf, sizeof buf, "%g", value_);
  out += buf;
}

NodePtr StringValueNode::cloneNode() const {
  return std::make_unique<StringValueNode>(adaptor_, position_, text_);
}

void StringValueNode::printNode(std::string& out) const {
  out += '"';
  for (char c : text_) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
  out += '"';
}

NodePtr ReferenceNode::derivativeNode(const std::string& variable) const {
  double d = variable.empty() || variable == name_ ? 1.0 : 0.0;
  return std::make_unique<DoubleValueNode>(adaptor_, position_, d);
}

void ReferenceNode::collectVariablesNode(std::vector<std::string>& names) const {
  if (std::find(names.begin(), names.end(), name_) == names.end()) names.push_back(name_);
}

NodePtr ReferenceNode::cloneNode() const {
  return std::make_unique<ReferenceNode>(adaptor_, position_, name_);
}

void ReferenceNode::assign(const symtab& value) {
  adaptor_.assignVariable(name_, cache_, value, position_);
}

std::vector<const SquareBracesNode*> SquareBracesNode::chain() const {
  std::vector<const SquareBracesNode*> links;
  const Node* n = this;
  while (n->classType() == NodeClass::kSquareBraces) {
    links.push_back(static_cast<const SquareBracesNode*>(n));
    n = static_cast<const SquareBracesNode*>(n)->left_.get();
  }
  std::reverse(links.begin(), links.end());
  return links;
}

// v[i] and m[i][j] on a variable read the element without copying the
// variable, when the subscripts are plain scalar expressions (which have no
// side effects that could change the variable).
bool SquareBracesNode::plainElement(const symtab*& record, unsigned* idx, int& count) const {
  const Node* base = left_.get();
  const SquareBracesNode* inner = nullptr;
  if (base->classType() == NodeClass::kSquareBraces) {
    inner = static_cast<const SquareBracesNode*>(base);
    base = inner->left_.get();
  }
  if (base->classType() != NodeClass::kReference) return false;
  record = const_cast<Node*>(base)->peekValue();
  if (record == nullptr) return false;
  count = 0;
  for (const SquareBracesNode* link : {inner, this}) {
    if (link == nullptr) continue;
    double d;
    if (!link->right_->evaluateScalar(d)) return false;
    idx[count++] = !(d > -1.0) || d >= 4294967296.0 ? ~0u : static_cast<unsigned>(d);
  }
  return true;
}

bool SquareBracesNode::evaluateInPlace(symtab& result) {
  const symtab* record = nullptr;
  unsigned idx[2];
  int count = 0;
  if (!plainElement(record, idx, count)) return false;
  adaptor_.subscriptOf(*record, idx, count, result, position_);
  return true;
}

bool SquareBracesNode::evaluateScalarNode(double& out) {
  const symtab* record = nullptr;
  unsigned idx[2];
  int count = 0;
  if (!plainElement(record, idx, count) || record->type != SYM_ARRAY) return false;
  const bool vector = record->rows == 1 || record->cols == 1;
  if (vector && count == 1 && idx[0] < static_cast<unsigned>(record->rows * record->cols)) {
    out = record->data[idx[0]];
    return true;
  }
  if (!vector && count == 2 && idx[0] < static_cast<unsigned>(record->rows) &&
      idx[1] < static_cast<unsigned>(record->cols)) {
    out = record->data[idx[0] * static_cast<unsigned>(record->cols) + idx[1]];
    return true;
  }
  return false;
}

void SquareBracesNode::evaluateNode(symtab& result) {
  if (evaluateInPlace(result)) return;
  std::vector<const SquareBracesNode*> links = chain();
  links.front()->left_->evaluate(result);
  unsigned pending[2];
  int count = 0;
  int pending_pos = position_;
  for (const SquareBracesNode* link : links) {
    const Node& sub_node = *link->right_;
    if (sub_node.classType() == NodeClass::kList)
      throw Error("Non-scalar subscript", link->position_);
    symtab sub;
    link->right_->evaluate(sub);
    if (adaptor_.isScalar(sub)) {
      if (count == 2) throw Error("Too many array subscripts", link->position_);
      double d = adaptor_.toDouble(sub, link->position_);
      // Cut toward zero; negative, huge and NaN subscripts fail the range test.
      pending[count++] = !(d > -1.0) || d >= 4294967296.0 ? ~0u : static_cast<unsigned>(d);
      pending_pos = link->position_;
    } else if (sub.type == SYM_ARRAY) {
      if (count) adaptor_.subscript(result, pending, count, pending_pos);
      count = 0;
      adaptor_.subrange(result, sub, link->position_);
    } else {
      throw Error("Non-scalar subscript", link->position_);
    }
  }
  if (count) adaptor_.subscript(result, pending, count, pending_pos);
}

NodePtr SquareBracesNode::derivativeNode(const std::string&) const {
  throw Error("Illegal differentiation", position_);
}

NodePtr SquareBracesNode::cloneNode() const {
  return std::make_unique<SquareBracesNode>(adaptor_, position_, left_->clone(), right_->clone());
}

void SquareBracesNode::printNode(std::string& out) const {
  printOperand(*left_, 100, out);
  out += '[';
  right_->print(out);
  out += ']';
}

void SquareBracesNode::assign(const symtab& value) {
  std::vector<const SquareBracesNode*> links = chain();
  const Node& root = *links.front()->left_;
  if (root.classType() != NodeClass::kReference) throw Error("Invalid assignment", position_);
  std::vector<symtab> subs(links.size());
  for (std::size_t i = 0; i < links.size(); ++i) {
    if (links[i]->right_->classType() == NodeClass::kList)
      throw Error("Non-scalar subscript", links[i]->position_);
    links[i]->right_->evaluate(subs[i]);
  }
  adaptor_.assign(static_cast<const ReferenceNode&>(root).name(), subs, value, position_);
}

}  // namespace MathParser_NS

namespace ParserUtilties_NS {

void ArrayValueNode::evaluateNode(symtab& result) {
  std::vector<symtab> values(elements_.size());
  for (std::size_t i = 0; i < elements_.size(); ++i) elements_[i]->evaluate(values[i]);
  adaptor_.makeArray(values, result, position_);
}

void ArrayValueNode::collectVariablesNode(std::vector<std::string>& names) const {
  for (const auto& e : elements_) e->collectVariables(names);
}

NodePtr ArrayValueNode::cloneNode() const {
  std::vector<NodePtr> copies;
  for (const auto& e : elements_) copies.push_back(e->clone());
  return std::make_unique<ArrayValueNode>(adaptor_, position_, std::move(copies));
}

void ArrayValueNode::printNode(std::string& out) const {
  out += '{';
  for (std::size_t i = 0; i < elements_.size(); ++i) {
    if (i) out += ", ";
    printOperand(*elements_[i], 2, out);
  }
  out += '}';
}

namespace {

// The variable a plain reference argument reads, else null.
const std::string* ReferenceName(const Node& arg) {
  return arg.classType() == NodeClass::kReference
             ? &static_cast<const MathParser_NS::ReferenceNode&>(arg).name()
             : nullptr;
}

}  // namespace

void SymbolicFunctionNode::evaluateNode(symtab& result) {
  const std::size_t n = args_.size();
  constexpr std::size_t kInline = 4;
  if (n == 1) {
    symtab value;
    args_[0]->evaluate(value);
    const std::string* name = ReferenceName(*args_[0]);
    adaptor_.callFunction(name_, cache_, &value, 1, &name, result, position_);
    return;
  }
  if (n <= kInline) {
    symtab values[kInline];
    const std::string* names[kInline];
    for (std::size_t i = 0; i < n; ++i) {
      args_[i]->evaluate(values[i]);
      names[i] = ReferenceName(*args_[i]);
    }
    adaptor_.callFunction(name_, cache_, values, static_cast<int>(n), names, result, position_);
    return;
  }
  std::vector<symtab> values(n);
  std::vector<const std::string*> names(n);
  for (std::size_t i = 0; i < n; ++i) {
    args_[i]->evaluate(values[i]);
    names[i] = ReferenceName(*args_[i]);
  }
  adaptor_.callFunction(name_, cache_, values.data(), static_cast<int>(n), names.data(), result,
                        position_);
}

void SymbolicFunctionNode::collectVariablesNode(std::vector<std::string>& names) const {
  for (const auto& a : args_) a->collectVariables(names);
}

namespace {

NodePtr Num(const Node& at, double v) {
  return std::make_unique<MathParser_NS::DoubleValueNode>(at.adaptor(), at.position(), v);
}

template <typename N>
NodePtr Bin(const Node& at, NodePtr l, NodePtr r) {
  return N::make(at.adaptor(), at.position(), std::move(l), std::move(r));
}

NodePtr Fn(const Node& at, const char* name, NodePtr arg) {
  std::vector<NodePtr> args;
  args.push_back(std::move(arg));
  return std::make_unique<SymbolicFunctionNode>(at.adaptor(), at.position(), name, std::move(args));
}

}  // namespace

NodePtr SymbolicFunctionNode::derivativeNode(const std::string& variable) const {
  using namespace MathParser_NS;
  auto is = [this](const char* n) { return strcasecmp(name_.c_str(), n) == 0; };
  if (is("pow") && args_.size() == 2) {
    ExponentialNode power(adaptor_, position_, args_[0]->clone(), args_[1]->clone());
    return power.derivative(variable);
  }
  if (args_.size() != 1) throw ParserCore_NS::Error("Undefined derivative", position_);
  const Node& u = *args_[0];
  NodePtr du = u.derivative(variable);
  if (is("log") || is("ln")) return Bin<DivisionNode>(*this, std::move(du), u.clone());
  if (is("exp")) return Bin<MultiplicationNode>(*this, Fn(*this, "exp", u.clone()), std::move(du));
  if (is("sin")) return Bin<MultiplicationNode>(*this, Fn(*this, "cos", u.clone()), std::move(du));
  if (is("cos"))
    return Bin<MultiplicationNode>(
        *this, std::make_unique<UnaryMinusNode>(adaptor_, position_, Fn(*this, "sin", u.clone())),
        std::move(du));
  if (is("sqrt"))
    return Bin<DivisionNode>(
        *this, std::move(du),
        Bin<MultiplicationNode>(*this, Num(*this, 2.0), Fn(*this, "sqrt", u.clone())));
  throw ParserCore_NS::Error("Undefined derivative", position_);
}

NodePtr SymbolicFunctionNode::simplifyNode() {
  for (auto& a : args_)
    if (NodePtr s = a->simplify()) a = std::move(s);
  if (strcasecmp(name_.c_str(), "pow") == 0 && args_.size() == 2) {
    NodePtr power = MathParser_NS::ExponentialNode::make(adaptor_, position_, std::move(args_[0]),
                                                         std::move(args_[1]));
    if (NodePtr s = power->simplify()) return s;
    return power;
  }
  return nullptr;
}

NodePtr SymbolicFunctionNode::cloneNode() const {
  std::vector<NodePtr> copies;
  for (const auto& a : args_) copies.push_back(a->clone());
  return std::make_unique<SymbolicFunctionNode>(adaptor_, position_, name_, std::move(copies));
}

void SymbolicFunctionNode::printNode(std::string& out) const {
  out += name_;
  out += '(';
  for (std::size_t i = 0; i < args_.size(); ++i) {
    if (i) out += ", ";
    printOperand(*args_[i], 2, out);
  }
  out += ')';
}

}  // namespace ParserUtilties_NS
