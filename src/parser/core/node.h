// Node: one element of an expression tree. A node owns its operands and
// evaluates through the adaptor it was built with.
#ifndef QUORVIX_PARSER_CORE_NODE_H
#define QUORVIX_PARSER_CORE_NODE_H

#include <memory>
#include <string>
#include <vector>

#include "parser/core/adaptor.h"
#include "quorvix/symtab.h"

namespace ParserCore_NS {

// Identity words of the node classes, answered by classType().
enum class NodeClass : int {
  kDoubleValue,
  kStringValue,
  kArrayValue,
  kReference,
  kSquareBraces,
  kList,
  kFunction,
  kAddition,
  kSubtraction,
  kMultiplication,
  kDivision,
  kModulus,
  kExponential,
  kDot,
  kCross,
  kEqual,
  kNotEqual,
  kLessThan,
  kGreaterThan,
  kLessThanEqualTo,
  kGreaterThanEqualTo,
  kLogicalAnd,
  kLogicalOr,
  kAssignment,
  kPlusEqual,
  kMinusEqual,
  kTimesEqual,
  kDivEqual,
  kConditional,
  kRange,
  kUnaryMinus,
  kUnaryBang,
  kUnaryLeftPlusPlus,
  kUnaryLeftMinusMinus,
  kUnaryRightPlusPlus,
  kUnaryRightMinusMinus,
  kUnaryRightTranspose,
};

class Node;
using NodePtr = std::unique_ptr<Node>;

class Node {
 public:
  Node(SymtabAdaptor& adaptor, int position) : adaptor_(adaptor), position_(position) {}
  virtual ~Node() = default;
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  virtual NodeClass classType() const = 0;
  // Computes the node's value into `result` (an empty or reusable slot).
  virtual void evaluate(symtab& result) = 0;
  virtual bool evaluateScalar(double&) { return false; }
  // The variable's own record (array or strings), read-only, when this node
  // is a plain reference to such a variable.
  virtual const symtab* peekValue() { return nullptr; }
  virtual NodePtr derivative(const std::string& variable) const;
  virtual void collectVariables(std::vector<std::string>& names) const;
  virtual NodePtr clone() const = 0;
  // Returns a simplified copy, or null when nothing changes.
  virtual NodePtr simplify();
  virtual bool isZero() const { return false; }
  virtual bool isOne() const { return false; }
  virtual bool isConstant() const { return false; }
  virtual bool isReference() const { return false; }
  // Writes the tree back as expression text.
  virtual void print(std::string& out) const = 0;

  // Assignment through a reference node (variable or subscripted variable).
  // The default raises "Invalid assignment".
  virtual void assign(const symtab& value);
  // Binding strength used by print() to decide on parentheses.
  virtual int printLevel() const { return 100; }

  int position() const { return position_; }
  SymtabAdaptor& adaptor() const { return adaptor_; }

 protected:
  // Prints `child`, in parentheses when it binds looser than `level`.
  static void printOperand(const Node& child, int level, std::string& out);
  // As printOperand, with a blank in between when the operand's text would
  // otherwise fuse with the operator before it ("-" then "-a" is not "--a").
  static void printSeparated(const Node& child, int level, std::string& out);

  SymtabAdaptor& adaptor_;
  int position_;
};

}  // namespace ParserCore_NS

#endif
