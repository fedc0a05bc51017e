#include "parser/math/grammar_rules.h"

#include <strings.h>

#include <cctype>
#include <cstdlib>

#include "parser/core/error.h"
#include "parser/math/assignment_nodes.h"
#include "parser/math/value_nodes.h"
#include "values/value_limits.h"

namespace MathParser_NS {

using ParserCore_NS::Error;
using ParserCore_NS::NodeClass;
using ParserUtilties_NS::ArrayValueNode;
using ParserUtilties_NS::ListNode;
using ParserUtilties_NS::SymbolicFunctionNode;

namespace {

bool IsDigit(char c) { return std::isdigit(static_cast<unsigned char>(c)) != 0; }
bool IsAlpha(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
bool IsAlnum(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

// Position of the first character after blanks from `pos`.
std::size_t SkipBlanks(std::string_view text, std::size_t pos) {
  while (pos < text.size() && std::isspace(static_cast<unsigned char>(text[pos]))) ++pos;
  return pos;
}

bool FollowedByParen(std::string_view text, std::size_t pos) {
  pos = SkipBlanks(text, pos);
  return pos < text.size() && text[pos] == '(';
}

// The elements of a call's or literal's list: an open comma list spreads.
std::vector<NodePtr> Spread(NodePtr inner) {
  std::vector<NodePtr> out;
  if (!inner) return out;
  if (inner->classType() == NodeClass::kList && !static_cast<ListNode&>(*inner).closed()) {
    auto& list = static_cast<ListNode&>(*inner);
    for (auto& e : list.elements()) out.push_back(std::move(e));
    return out;
  }
  out.push_back(std::move(inner));
  return out;
}

bool IsOpenList(const NodePtr& n) {
  return n && n->classType() == NodeClass::kList && !static_cast<const ListNode&>(*n).closed();
}

}  // namespace

DoubleValues::DoubleValues(Parser& parser, SymtabAdaptor& adaptor)
    : Literal(parser), adaptor_(adaptor) {
  setFirstRange('0', '9');
  setFirst('.');
}

bool DoubleValues::match(std::string_view text, int pos, Item& item) {
  std::size_t i = static_cast<std::size_t>(pos);
  std::string number;
  while (i < text.size() && IsDigit(text[i])) number += text[i++];
  if (i < text.size() && text[i] == '.') {
    number += text[i++];
    while (i < text.size() && IsDigit(text[i])) number += text[i++];
  }
  if (number.empty()) return false;
  if (i < text.size() && (text[i] == 'e' || text[i] == 'E')) {
    number += text[i++];
    if (i < text.size() && (text[i] == '-' || text[i] == '+')) {
      if (text[i] == '-') number += '-';
      ++i;
    }
    while (i < text.size() && IsDigit(text[i])) number += text[i++];
  }
  item.end = static_cast<int>(i);
  item.text = std::move(number);
  return true;
}

NodePtr DoubleValues::makeNode(std::vector<NodePtr>&, const Item& item) {
  double v = std::strtod(item.text.c_str(), nullptr);
  return std::make_unique<DoubleValueNode>(adaptor_, item.position, v, item.text);
}

StringValues::StringValues(Parser& parser, SymtabAdaptor& adaptor)
    : Literal(parser), adaptor_(adaptor) {
  setFirst('"');
}

bool StringValues::match(std::string_view text, int pos, Item& item) {
  if (text[pos] != '"') return false;
  bool escapes = adaptor_.allowEscapes();
  std::size_t i = static_cast<std::size_t>(pos) + 1;
  std::string value;
  while (i < text.size() && text[i] != '\0') {
    char c = text[i];
    if (c == '"') {
      ++i;
      break;
    }
    if (c == '\\' && escapes) {
      if (i + 1 >= text.size() || text[i + 1] == '\0') {
        ++i;  // a backslash at the very end is dropped
        continue;
      }
      char e = text[i + 1];
      value += e == 'n' ? '\n' : e == 'r' ? '\r' : e;
      i += 2;
      continue;
    }
    value += c;
    ++i;
  }
  item.end = static_cast<int>(i);
  item.text = std::move(value);
  return true;
}

NodePtr StringValues::makeNode(std::vector<NodePtr>&, const Item& item) {
  return std::make_unique<StringValueNode>(adaptor_, item.position, item.text);
}

Functions::Functions(Parser& parser, SymtabAdaptor& adaptor)
    : Reference(parser), adaptor_(adaptor) {
  setFirstRange('a', 'z');
  setFirstRange('A', 'Z');
  setFirst('@');
}

bool Functions::match(std::string_view text, int pos, Item& item) {
  std::size_t i = static_cast<std::size_t>(pos);
  if (!(IsAlpha(text[i]) || text[i] == '@')) return false;
  ++i;
  while (i < text.size() && (IsAlnum(text[i]) || text[i] == '_' || text[i] == '.')) ++i;
  if (!FollowedByParen(text, i)) return false;
  std::string name(text.substr(static_cast<std::size_t>(pos), i - static_cast<std::size_t>(pos)));
  if (strcasecmp(name.c_str(), "iffunc") != 0 && name[0] != '@' &&
      !adaptor_.functionExists(name.c_str()))
    return false;
  item.end = static_cast<int>(i);
  item.text = std::move(name);
  return true;
}

NodePtr Functions::makeNode(std::vector<NodePtr>&, const Item& item) {
  // A function name alone never becomes a node: its parameter list does.
  throw Error("Syntax Error", item.position);
}

Variables::Variables(Parser& parser, SymtabAdaptor& adaptor)
    : Reference(parser), adaptor_(adaptor) {
  setFirstRange('a', 'z');
  setFirstRange('A', 'Z');
  setFirst('_');
}

bool Variables::match(std::string_view text, int pos, Item& item) {
  std::size_t i = static_cast<std::size_t>(pos);
  if (!(IsAlpha(text[i]) || text[i] == '_')) return false;
  ++i;
  while (i < text.size() &&
         (IsAlnum(text[i]) || text[i] == '_' || text[i] == '.' || text[i] == '@'))
    ++i;
  std::string_view name =
      text.substr(static_cast<std::size_t>(pos), i - static_cast<std::size_t>(pos));
  if (name == "dot" || name == "DOT" || name == "cross" || name == "CROSS") return false;
  if (FollowedByParen(text, i)) return false;
  item.end = static_cast<int>(i);
  item.text = std::string(name);
  return true;
}

NodePtr Variables::makeNode(std::vector<NodePtr>&, const Item& item) {
  return std::make_unique<ReferenceNode>(adaptor_, item.position, item.text);
}

NodePtr ParameterLists::makeNode(std::vector<NodePtr>& operands, const Item& item) {
  const std::string& name = item.name;
  const int pos = item.name_position;
  NodePtr inner = std::move(operands[0]);

  if (strcasecmp(name.c_str(), "@printable") == 0) {
    std::string text;
    if (inner) inner->print(text);
    return std::make_unique<StringValueNode>(adaptor_, pos, std::move(text));
  }
  if (strcasecmp(name.c_str(), "@getvariablelist") == 0) {
    std::vector<std::string> names;
    if (inner) inner->collectVariables(names);
    std::string joined;
    for (std::size_t i = 0; i < names.size(); ++i) {
      if (i) joined += ", ";
      joined += names[i];
    }
    return std::make_unique<StringValueNode>(adaptor_, pos, std::move(joined));
  }
  if (strcasecmp(name.c_str(), "@derivative") == 0 || strcasecmp(name.c_str(), "@partial") == 0)
    return derive(name, std::move(inner), item);

  std::vector<NodePtr> args = Spread(std::move(inner));
  if (strcasecmp(name.c_str(), "iffunc") == 0) {
    if (args.size() != 3) throw Error("Invalid number of arguments", pos);
    return std::make_unique<ConditionalNode>(adaptor_, pos, std::move(args[0]), std::move(args[1]),
                                             std::move(args[2]));
  }
  if (name[0] == '@' || !adaptor_.functionExists(name.c_str()))
    throw Error("Unknown function", pos);
  return std::make_unique<SymbolicFunctionNode>(adaptor_, pos, name, std::move(args));
}

NodePtr ParameterLists::derive(const std::string& name, NodePtr inner, const Item& item) {
  const int pos = item.name_position;
  bool partial = strcasecmp(name.c_str(), "@partial") == 0;
  std::string variable;
  NodePtr expression;
  if (partial) {
    if (!IsOpenList(inner)) throw Error("Wrong number of arguments", pos);
    auto& list = static_cast<ListNode&>(*inner);
    if (list.elements().size() != 2) throw Error("Wrong number of arguments", pos);
    Node& second = *list.elements()[1];
    if (!second.isConstant()) throw Error("String constant expected", second.position());
    symtab value;
    second.evaluate(value);
    if (!adaptor_.isSingleString(value)) throw Error("String constant expected", second.position());
    variable = value.str_list[0];
    expression = std::move(list.elements()[0]);
  } else {
    if (!inner || IsOpenList(inner)) throw Error("Wrong number of arguments", pos);
    expression = std::move(inner);
  }
  // Each rule copies its operands, so nested derivatives grow geometrically.
  ParserCore_NS::DerivativeBudget budget(quorvix::CurrentLimits().derivative_nodes);
  NodePtr d = expression->derivative(variable);
  if (NodePtr s = d->simplify()) d = std::move(s);
  return d;
}

NodePtr SquareBraces::makeNode(std::vector<NodePtr>& operands, const Item& item) {
  return std::make_unique<SquareBracesNode>(adaptor_, item.position, std::move(operands[0]),
                                            std::move(operands[1]));
}

NodePtr Parentheses::makeNode(std::vector<NodePtr>& operands, const Item&) {
  NodePtr inner = std::move(operands[0]);
  if (IsOpenList(inner)) static_cast<ListNode&>(*inner).close();
  return inner;
}

NodePtr CurlyBraces::makeNode(std::vector<NodePtr>& operands, const Item& item) {
  return std::make_unique<ArrayValueNode>(adaptor_, item.position, Spread(std::move(operands[0])));
}

}  // namespace MathParser_NS
