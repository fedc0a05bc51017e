// Node: one element of an expression tree. A node owns its operands and
// evaluates through the adaptor it was built with.
#ifndef QUORVIX_PARSER_CORE_NODE_H
#define QUORVIX_PARSER_CORE_NODE_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "parser/core/adaptor.h"
#include "quorvix/symtab.h"
#include "util/stack_budget.h"

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

// Every operation that walks a tree goes through the public entry points
// below, which check the thread's stack budget (and, while a derivative is
// built, its node budget) before they recurse into the node's own version.
// Node classes override the protected *Node operations.
class Node {
 public:
  Node(SymtabAdaptor& adaptor, int position) : adaptor_(adaptor), position_(position) {
    ++nodes_made_;
  }
  virtual ~Node() = default;
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  virtual NodeClass classType() const = 0;
  // Computes the node's value into `result` (an empty or reusable slot).
  void evaluate(symtab& result) {
    checkStack();
    evaluateNode(result);
  }
  // The value as a plain double when the whole subtree computes on doubles;
  // false (with no side effects) otherwise.
  bool evaluateScalar(double& out) {
    checkStack();
    return evaluateScalarNode(out);
  }
  // The variable's own record (array or strings), read-only, when this node
  // is a plain reference to such a variable.
  virtual const symtab* peekValue() { return nullptr; }
  NodePtr derivative(const std::string& variable) const {
    checkBuild();
    return derivativeNode(variable);
  }
  void collectVariables(std::vector<std::string>& names) const {
    checkStack();
    collectVariablesNode(names);
  }
  NodePtr clone() const {
    checkBuild();
    return cloneNode();
  }
  // Returns a simplified copy, or null when nothing changes.
  NodePtr simplify() {
    checkStack();
    return simplifyNode();
  }
  virtual bool isZero() const { return false; }
  virtual bool isOne() const { return false; }
  virtual bool isConstant() const { return false; }
  virtual bool isReference() const { return false; }
  // Writes the tree back as expression text.
  void print(std::string& out) const {
    checkStack();
    printNode(out);
  }

  // Assignment through a reference node (variable or subscripted variable).
  // The default raises "Invalid assignment".
  virtual void assign(const symtab& value);
  // Binding strength used by print() to decide on parentheses.
  virtual int printLevel() const { return 100; }

  int position() const { return position_; }
  SymtabAdaptor& adaptor() const { return adaptor_; }

 protected:
  virtual void evaluateNode(symtab& result) = 0;
  virtual bool evaluateScalarNode(double&) { return false; }
  virtual NodePtr derivativeNode(const std::string& variable) const;
  virtual void collectVariablesNode(std::vector<std::string>& names) const;
  virtual NodePtr cloneNode() const = 0;
  virtual NodePtr simplifyNode();
  virtual void printNode(std::string& out) const = 0;

  // Moves the operands into `out` (nulls skipped). Trees are destroyed
  // through this without recursion: a destructor hands its operands over to
  // destroyOperands, which takes each apart before it is deleted.
  virtual void releaseOperands(std::vector<NodePtr>& out);
  // Called by the destructor of every class that owns operands.
  void destroyOperands() noexcept;
  static void Take(NodePtr& operand, std::vector<NodePtr>& out) {
    if (operand) out.push_back(std::move(operand));
  }
  static void TakeAll(std::vector<NodePtr>& operands, std::vector<NodePtr>& out) {
    for (NodePtr& n : operands) Take(n, out);
    operands.clear();
  }

  // Prints `child`, in parentheses when it binds looser than `level`.
  static void printOperand(const Node& child, int level, std::string& out);
  // As printOperand, with a blank in between when the operand's text would
  // otherwise fuse with the operator before it ("-" then "-a" is not "--a").
  static void printSeparated(const Node& child, int level, std::string& out);

  SymtabAdaptor& adaptor_;
  int position_;

 private:
  friend class DerivativeBudget;

  // Nodes made so far; a derivative is limited by how many it makes.
  static std::size_t nodes_made_;
  // While a derivative is built: the count of nodes_made_ it may not pass,
  // and its limit for the message.
  static std::size_t nodes_ceiling_;
  static std::size_t nodes_limit_;

  void checkStack() const {
    if (quorvix::StackExhausted()) stackExhausted();
  }
  void checkBuild() const {
    checkStack();
    if (nodes_made_ > nodes_ceiling_) tooManyNodes();
  }
  [[noreturn]] void stackExhausted() const;
  [[noreturn]] void tooManyNodes() const;
};

// Limits the nodes one derivative may make to `limit`; restores on exit.
class DerivativeBudget {
 public:
  explicit DerivativeBudget(std::size_t limit);
  ~DerivativeBudget();
  DerivativeBudget(const DerivativeBudget&) = delete;
  DerivativeBudget& operator=(const DerivativeBudget&) = delete;

 private:
  std::size_t saved_ceiling_;
  std::size_t saved_limit_;
};

}  // namespace ParserCore_NS

#endif
