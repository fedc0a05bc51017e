// Literal, reference and grouping rules of the math grammar.
#ifndef QUORVIX_PARSER_MATH_GRAMMAR_RULES_H
#define QUORVIX_PARSER_MATH_GRAMMAR_RULES_H

#include <string>

#include "parser/core/utilities.h"

namespace MathParser_NS {

using ParserCore_NS::GroupRole;
using ParserCore_NS::Item;
using ParserCore_NS::ItemRole;
using ParserCore_NS::NodePtr;
using ParserCore_NS::Parser;
using ParserCore_NS::SymtabAdaptor;

class DoubleValues : public ParserCore_NS::Literal {
 public:
  DoubleValues(Parser& parser, SymtabAdaptor& adaptor);
  bool match(std::string_view text, int pos, Item& item) override;
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override;

 private:
  SymtabAdaptor& adaptor_;
};

class StringValues : public ParserCore_NS::Literal {
 public:
  StringValues(Parser& parser, SymtabAdaptor& adaptor);
  bool match(std::string_view text, int pos, Item& item) override;
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override;

 private:
  SymtabAdaptor& adaptor_;
};

class Functions : public ParserCore_NS::Reference {
 public:
  Functions(Parser& parser, SymtabAdaptor& adaptor);
  bool match(std::string_view text, int pos, Item& item) override;
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override;
  ItemRole role() const override { return ItemRole::kFunctionName; }

 private:
  SymtabAdaptor& adaptor_;
};

class Variables : public ParserCore_NS::Reference {
 public:
  Variables(Parser& parser, SymtabAdaptor& adaptor);
  bool match(std::string_view text, int pos, Item& item) override;
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override;

 private:
  SymtabAdaptor& adaptor_;
};

// Argument list of a call; also where the symbolic functions (@printable,
// @getvariablelist, @derivative, @partial) and iffunc are resolved.
class ParameterLists : public ParserUtilties_NS::EasyGroupingOperator {
 public:
  ParameterLists(Parser& parser, SymtabAdaptor& adaptor)
      : EasyGroupingOperator(parser, "(", ")"), adaptor_(adaptor) {}
  GroupRole groupRole() const override { return GroupRole::kCall; }
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override;

 private:
  NodePtr derive(const std::string& name, NodePtr args, const Item& item);
  SymtabAdaptor& adaptor_;
};

class SquareBraces : public ParserUtilties_NS::EasyGroupingOperator {
 public:
  SquareBraces(Parser& parser, SymtabAdaptor& adaptor)
      : EasyGroupingOperator(parser, "[", "]"), adaptor_(adaptor) {}
  GroupRole groupRole() const override { return GroupRole::kSubscript; }
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override;

 private:
  SymtabAdaptor& adaptor_;
};

class Parentheses : public ParserUtilties_NS::EasyGroupingOperator {
 public:
  explicit Parentheses(Parser& parser) : EasyGroupingOperator(parser, "(", ")") {}
  GroupRole groupRole() const override { return GroupRole::kGroup; }
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override;
};

class CurlyBraces : public ParserUtilties_NS::EasyGroupingOperator {
 public:
  CurlyBraces(Parser& parser, SymtabAdaptor& adaptor)
      : EasyGroupingOperator(parser, "{", "}"), adaptor_(adaptor) {}
  GroupRole groupRole() const override { return GroupRole::kArray; }
  NodePtr makeNode(std::vector<NodePtr>& operands, const Item& item) override;

 private:
  SymtabAdaptor& adaptor_;
};

}  // namespace MathParser_NS

#endif
