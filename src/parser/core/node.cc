#include "parser/core/node.h"

#include <limits>

#include "parser/core/error.h"

namespace ParserCore_NS {

std::size_t Node::nodes_made_ = 0;
std::size_t Node::nodes_ceiling_ = std::numeric_limits<std::size_t>::max();
std::size_t Node::nodes_limit_ = 0;

DerivativeBudget::DerivativeBudget(std::size_t limit)
    : saved_ceiling_(Node::nodes_ceiling_), saved_limit_(Node::nodes_limit_) {
  const std::size_t room = std::numeric_limits<std::size_t>::max() - Node::nodes_made_;
  const std::size_t ceiling = Node::nodes_made_ + (limit < room ? limit : room);
  if (ceiling < Node::nodes_ceiling_) {
    Node::nodes_ceiling_ = ceiling;
    Node::nodes_limit_ = limit;
  }
}

DerivativeBudget::~DerivativeBudget() {
  Node::nodes_ceiling_ = saved_ceiling_;
  Node::nodes_limit_ = saved_limit_;
}

void Node::stackExhausted() const { throw Error(quorvix::StackMessage(), position_); }

void Node::tooManyNodes() const {
  throw Error("derivative too large (limit " + std::to_string(nodes_limit_) + " nodes)", position_);
}

NodePtr Node::derivativeNode(const std::string&) const {
  throw Error("Undefined derivative", position_);
}

void Node::collectVariablesNode(std::vector<std::string>&) const {}

NodePtr Node::simplifyNode() { return nullptr; }

void Node::assign(const symtab&) { throw Error("Invalid assignment", position_); }

void Node::releaseOperands(std::vector<NodePtr>&) {}

void Node::destroyOperands() noexcept {
  // Called from a destructor, where releaseOperands resolves to the class
  // being destroyed: exactly the class that owns the operands.
  std::vector<NodePtr> pending;
  releaseOperands(pending);
  while (!pending.empty()) {
    NodePtr node = std::move(pending.back());
    pending.pop_back();
    node->releaseOperands(pending);
  }  // each node is deleted with its operands already taken
}

void Node::printOperand(const Node& child, int level, std::string& out) {
  if (child.printLevel() < level) {
    out += '(';
    child.print(out);
    out += ')';
  } else {
    child.print(out);
  }
}

void Node::printSeparated(const Node& child, int level, std::string& out) {
  std::string text;
  printOperand(child, level, text);
  if (!out.empty() && !text.empty()) {
    char a = out.back(), b = text.front();
    bool fuse = (a == '-' || a == '+') && (b == '-' || b == '+');
    if (fuse || (a == '!' && b == '=')) out += ' ';
  }
  out += text;
}

}  // namespace ParserCore_NS
