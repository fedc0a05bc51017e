// Leaf and access nodes of the math grammar: numbers, strings, array
// literals, variable references, subscripts and function calls.
#ifndef QUORVIX_PARSER_MATH_VALUE_NODES_H
#define QUORVIX_PARSER_MATH_VALUE_NODES_H

#include <string>
#include <vector>

#include "parser/core/utilities.h"

namespace MathParser_NS {

using ParserCore_NS::Node;
using ParserCore_NS::NodeClass;
using ParserCore_NS::NodePtr;
using ParserCore_NS::SymtabAdaptor;

class DoubleValueNode : public Node {
 public:
  DoubleValueNode(SymtabAdaptor& adaptor, int position, double value, std::string text = {})
      : Node(adaptor, position), value_(value), text_(std::move(text)) {}
  NodeClass classType() const override { return NodeClass::kDoubleValue; }
  void evaluateNode(symtab& result) override { result.SetScalar(value_); }
  bool evaluateScalarNode(double& out) override {
    out = value_;
    return true;
  }
  NodePtr derivativeNode(const std::string& variable) const override;
  NodePtr cloneNode() const override;
  bool isZero() const override { return value_ == 0.0; }
  bool isOne() const override { return value_ == 1.0; }
  bool isConstant() const override { return true; }
  void printNode(std::string& out) const override;
  double value() const { return value_; }

 private:
  double value_;
  std::string text_;  // the literal as written, for printing
};

class StringValueNode : public Node {
 public:
  StringValueNode(SymtabAdaptor& adaptor, int position, std::string text)
      : Node(adaptor, position), text_(std::move(text)) {}
  NodeClass classType() const override { return NodeClass::kStringValue; }
  void evaluateNode(symtab& result) override { adaptor_.makeString(text_, result, position_); }
  NodePtr cloneNode() const override;
  bool isZero() const override { return text_.empty(); }
  bool isConstant() const override { return true; }
  void printNode(std::string& out) const override;
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

class ReferenceNode : public Node {
 public:
  ReferenceNode(SymtabAdaptor& adaptor, int position, std::string name)
      : Node(adaptor, position), name_(std::move(name)) {}
  NodeClass classType() const override { return NodeClass::kReference; }
  void evaluateNode(symtab& result) override {
    adaptor_.readVariable(name_, cache_, result, position_);
  }
  bool evaluateScalarNode(double& out) override { return adaptor_.readScalar(name_, cache_, out); }
  const symtab* peekValue() override { return adaptor_.peekValue(name_, cache_); }
  NodePtr derivativeNode(const std::string& variable) const override;
  void collectVariablesNode(std::vector<std::string>& names) const override;
  NodePtr cloneNode() const override;
  bool isReference() const override { return true; }
  void printNode(std::string& out) const override { out += name_; }
  void assign(const symtab& value) override;
  const std::string& name() const { return name_; }

 private:
  std::string name_;
  ParserCore_NS::VariableCache cache_;
};

class SquareBracesNode : public ParserUtilties_NS::BinaryOperatorNode {
 public:
  SquareBracesNode(SymtabAdaptor& adaptor, int position, NodePtr base, NodePtr subscript)
      : BinaryOperatorNode(adaptor, position, std::move(base), std::move(subscript)) {}
  NodeClass classType() const override { return NodeClass::kSquareBraces; }
  void evaluateNode(symtab& result) override;
  bool evaluateScalarNode(double& out) override;
  NodePtr derivativeNode(const std::string& variable) const override;
  NodePtr cloneNode() const override;
  bool isReference() const override { return true; }
  void printNode(std::string& out) const override;
  void assign(const symtab& value) override;

 private:
  bool evaluateInPlace(symtab& result);
  // The variable and the indices of a plain v[i] or m[i][j]; false otherwise.
  bool plainElement(const symtab*& record, unsigned* idx, int& count) const;
  // The chain m[i][j]... from the innermost base outwards.
  std::vector<const SquareBracesNode*> chain() const;
};

}  // namespace MathParser_NS

namespace ParserUtilties_NS {

class ArrayValueNode : public Node {
 public:
  ArrayValueNode(SymtabAdaptor& adaptor, int position, std::vector<NodePtr> elements)
      : Node(adaptor, position), elements_(std::move(elements)) {}
  ~ArrayValueNode() override { destroyOperands(); }
  NodeClass classType() const override { return NodeClass::kArrayValue; }
  void evaluateNode(symtab& result) override;
  void collectVariablesNode(std::vector<std::string>& names) const override;
  NodePtr cloneNode() const override;
  void printNode(std::string& out) const override;

 protected:
  void releaseOperands(std::vector<NodePtr>& out) override { TakeAll(elements_, out); }

 private:
  std::vector<NodePtr> elements_;
};

class SymbolicFunctionNode : public Node {
 public:
  SymbolicFunctionNode(SymtabAdaptor& adaptor, int position, std::string name,
                       std::vector<NodePtr> args)
      : Node(adaptor, position), name_(std::move(name)), args_(std::move(args)) {}
  ~SymbolicFunctionNode() override { destroyOperands(); }
  NodeClass classType() const override { return NodeClass::kFunction; }
  void evaluateNode(symtab& result) override;
  bool evaluateScalarNode(double& out) override {
    double x;
    return args_.size() == 1 && args_[0]->evaluateScalar(x) &&
           adaptor_.callScalar(name_, cache_, x, out);
  }
  void collectVariablesNode(std::vector<std::string>& names) const override;
  // pow, log/ln, exp, sin, cos and sqrt of one expression have derivatives;
  // other calls raise "Undefined derivative".
  NodePtr derivativeNode(const std::string& variable) const override;
  // pow(a, b) becomes a^b, which evaluates without a registered "pow".
  NodePtr simplifyNode() override;
  NodePtr cloneNode() const override;
  void printNode(std::string& out) const override;
  const std::string& name() const { return name_; }
  std::vector<NodePtr>& args() { return args_; }
  const std::vector<NodePtr>& args() const { return args_; }

 protected:
  void releaseOperands(std::vector<NodePtr>& out) override { TakeAll(args_, out); }

 private:
  bool plainArguments();
  void evaluateArguments(symtab* values, ParserCore_NS::ArgumentSource* sources);

  std::string name_;
  std::vector<NodePtr> args_;
  ParserCore_NS::FunctionCache cache_;
  int plain_ = -1;  // every argument a constant or a reference; -1 not yet known
};

}  // namespace ParserUtilties_NS

#endif
