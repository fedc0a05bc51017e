// ScalarProgram: an expression tree over scalars compiled once into a flat
// program. Formulas evaluated millions of times (a sweep, a loop body, a
// host's inner loop) then cost a short run over an instruction array instead
// of a virtual call and a lookup per node.
//
// The program covers numbers, variables, + - * / ^, comparisons, unary minus,
// one subscript of a vector variable (x[i]), calls of one argument to
// built-ins with a pure kernel (sin, abs, ...) and, at the root, an
// assignment (= += -= *= /=) to a scalar variable,
// with exactly the arithmetic of the tree's scalar path. It never reports:
// whenever a value is not a plain scalar (a variable that is missing, an
// array or strings) or an operation would take the general path (a division
// by zero, a power outside the reals) or the result is a NaN, Run gives up
// with nothing changed and the caller evaluates the tree, which gives the
// value or the message.
#ifndef QUORVIX_EXPRESSION_SCALAR_PROGRAM_H
#define QUORVIX_EXPRESSION_SCALAR_PROGRAM_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "parser/core/node.h"

class MathParser;

namespace quorvix {

struct ParsedTree;

// Internal to the library: calls of hidden functions stay direct (no PLT)
// and may be inlined on the evaluation path.
#define QUORVIX_INTERNAL __attribute__((visibility("hidden")))

class ScalarProgram {
 public:
  // The binary operations come in one block per form of their operands, in
  // the same order in every block: both on the stack; the left on the stack
  // and the right a constant or a variable; a constant and a variable or a
  // variable and a constant given in the instruction (these push a value).
  enum Op : std::uint8_t {
    kEnd,
    kEndStore,  // ends an assignment: stores the value into the variable
    kConst,
    kLoad,
    kNegate,
    kCall,
    kCallVariable,    // pushes f(variable)
    kSquare,          // x^2, which the scalar path computes as x*x
    kSquareVariable,  // pushes variable^2
    kSubscript,       // the element of the vector variable at the index on top
    kAdd,
    kSubtract,
    kMultiply,
    kDivide,
    kPower,
    kCompare,
    kAddConst,
    kSubtractConst,
    kMultiplyConst,
    kDivideConst,
    kPowerConst,
    kCompareConst,
    kAddVariable,
    kSubtractVariable,
    kMultiplyVariable,
    kDivideVariable,
    kPowerVariable,
    kCompareVariable,
    kAddConstVariable,
    kSubtractConstVariable,
    kMultiplyConstVariable,
    kDivideConstVariable,
    kPowerConstVariable,
    kCompareConstVariable,
    kAddVariableConst,
    kSubtractVariableConst,
    kMultiplyVariableConst,
    kDivideVariableConst,
    kPowerVariableConst,
    kCompareVariableConst,
  };
  static constexpr int kBinaryOps = kCompare - kAdd + 1;

  struct Instruction {
    Op op = kEnd;
    std::uint8_t relation = 0;  // comparisons: quorvix::ops relation bits
    std::uint32_t slot = 0;     // the variable operand
    union {
      double number = 0.0;
      double (*kernel)(double);
    };
  };

  // The program of `root`, or null when the tree holds a node the program
  // does not cover, or an operation on constants that never succeeds.
  static std::unique_ptr<ScalarProgram> Compile(const ParserCore_NS::Node& root);

  // The value with the variables of `parser`, or a NaN when the tree must be
  // evaluated instead (a NaN result is left to the tree as well, so no value
  // is lost). Changes nothing but, for an assignment that succeeds, the
  // value of its variable. The value comes back in a register: this is the
  // innermost call of a host's evaluation loop.
  QUORVIX_INTERNAL double Run(const MathParser& parser);

  // An assignment: its value is the empty string, not `out`.
  bool assigns() const { return store_slot_ >= 0; }

  const std::vector<Instruction>& code() const { return code_; }

 private:
  friend class ScalarCompiler;
  ScalarProgram() = default;
  QUORVIX_INTERNAL bool IsBoundTo(const MathParser& parser) const;
  // Points every variable slot at the parser's record of that name; false
  // when a name has no record.
  QUORVIX_INTERNAL bool Bind(const MathParser& parser);

  std::vector<Instruction> code_;
  std::vector<double> stack_;  // operands below the top, sized at compile time
  std::vector<std::string> names_;
  std::vector<symtab*> records_;  // by slot, valid for bound_generation_
  int store_slot_ = -1;           // the assigned variable, or -1
  const MathParser* bound_to_ = nullptr;
  std::uint64_t bound_generation_ = 0;
};

// The scalar paths of a tree. Both give up, with no side effects, when the
// general path must evaluate the tree; after a few failures in a row they
// stop trying. EvaluateCompiled (compiled_evaluation.h) runs a current
// program without the evaluation's setup.
//
// Inside the evaluation's setup: compiles the program when it is not
// current and, unless EvaluateCompiled has just run it, runs it; else the
// nodes' own scalar evaluation for a tree without a program.
QUORVIX_INTERNAL bool EvaluateScalar(ParsedTree& tree, const MathParser& parser, bool tried,
                                     double& out);
// Counts a failed run of the tree's program on the compiled entry and
// withdraws the program from it until EvaluateScalar, on the evaluation's
// slow path that follows, offers it again.
QUORVIX_INTERNAL void CountCompiledFailure(ParsedTree& tree);

// Set while every evaluation must take the general tree path.
extern QUORVIX_INTERNAL bool g_force_tree;

// Makes every evaluation take the general tree path (off by default). For
// the tests that compare the paths and for measurements; not for hosts.
void ForceTreeEvaluation(bool on);
bool TreeEvaluationForced();

}  // namespace quorvix

#endif
