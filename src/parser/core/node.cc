#include "parser/core/node.h"

#include "parser/core/error.h"

namespace ParserCore_NS {

NodePtr Node::derivative(const std::string&) const {
  throw Error("Undefined derivative", position_);
}

void Node::collectVariables(std::vector<std::string>&) const {}

NodePtr Node::simplify() { return nullptr; }

void Node::assign(const symtab&) { throw Error("Invalid assignment", position_); }

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
