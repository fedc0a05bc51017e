#include "parser/core/utilities.h"

#include <cctype>

namespace ParserUtilties_NS {

bool MatchSpelling(std::string_view text, int pos, const std::string& spelling,
                   const std::string& forbidden) {
  std::size_t n = spelling.size();
  if (text.size() - static_cast<std::size_t>(pos) < n) return false;
  if (text.compare(static_cast<std::size_t>(pos), n, spelling) != 0) return false;
  std::size_t after = static_cast<std::size_t>(pos) + n;
  if (after < text.size()) {
    auto next = static_cast<unsigned char>(text[after]);
    if (std::isalpha(static_cast<unsigned char>(spelling[0])) && std::isalpha(next)) return false;
    if (forbidden.find(static_cast<char>(next)) != std::string::npos) return false;
  }
  return true;
}

NodePtr ListNode::make(SymtabAdaptor& adaptor, int position, NodePtr left, NodePtr right) {
  if (left->classType() == NodeClass::kList) {
    auto* list = static_cast<ListNode*>(left.get());
    if (!list->closed_) {
      list->elements_.push_back(std::move(right));
      return left;
    }
  }
  auto list = std::make_unique<ListNode>(adaptor, position);
  list->elements_.push_back(std::move(left));
  list->elements_.push_back(std::move(right));
  return list;
}

void ListNode::evaluateNode(symtab& result) {
  for (auto& e : elements_) {
    adaptor_.releaseValue(result);
    e->evaluate(result);
  }
}

NodePtr ListNode::derivativeNode(const std::string& variable) const {
  auto list = std::make_unique<ListNode>(adaptor_, position_);
  for (const auto& e : elements_) {
    NodePtr d = e->derivative(variable);
    if (!d) throw ParserCore_NS::Error("Differentiation failed", e->position());
    list->elements_.push_back(std::move(d));
  }
  list->closed_ = closed_;
  return list;
}

void ListNode::collectVariablesNode(std::vector<std::string>& names) const {
  for (const auto& e : elements_) e->collectVariables(names);
}

NodePtr ListNode::cloneNode() const {
  auto list = std::make_unique<ListNode>(adaptor_, position_);
  for (const auto& e : elements_) list->elements_.push_back(e->clone());
  list->closed_ = closed_;
  return list;
}

NodePtr ListNode::simplifyNode() {
  for (auto& e : elements_)
    if (NodePtr s = e->simplify()) e = std::move(s);
  return nullptr;
}

void ListNode::printNode(std::string& out) const {
  for (std::size_t i = 0; i < elements_.size(); ++i) {
    if (i) out += ", ";
    printOperand(*elements_[i], 2, out);
  }
}

}  // namespace ParserUtilties_NS
