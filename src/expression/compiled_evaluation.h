// The compiled entry of an evaluation, inline in the parser's Evaluate
// functions: a host's loop that evaluates one parsed formula over and over
// spends here everything but the program's own instructions, so the checks
// are few and there is no call level between the host's call and the
// program's run.
#ifndef QUORVIX_EXPRESSION_COMPILED_EVALUATION_H
#define QUORVIX_EXPRESSION_COMPILED_EVALUATION_H

#include "expression/parse_cache.h"
#include "expression/scalar_program.h"
#include "quorvix/math_parser.h"
#include "values/record_pool.h"

namespace quorvix {

// Whether the tree's program was compiled under the registry as it is now.
// When it is, EvaluateCompiled has had its chance, and EvaluateScalar is told
// so (`tried`) rather than running the program a second time.
inline bool ProgramCurrent(const ParsedTree& tree) {
  return tree.program_generation == MathParser::RegistryGeneration();
}

// What RunCompiled did.
enum class CompiledRun {
  kNotRun,    // the caller evaluates the tree, which gives the value or the message
  kValue,     // the value is a number
  kAssigned,  // an assignment stored its value; its own value is the empty string
};

// Runs the tree's program when it is current, leaving the parser as a
// successful evaluation does (no message, no pending error). It needs none
// of the evaluation's setup: a program neither recurses, nor calls back, nor
// reports. A caller that wants the number gets it without a result record.
// The caller's slow path asks ProgramCurrent afterwards instead of being
// handed a flag, so that nothing is kept across the program's run.
inline CompiledRun RunCompiled(ParsedTree& tree, MathParser& parser, double& out) {
  ScalarProgram* program = tree.runnable;
  if (!ProgramCurrent(tree) || program == nullptr || g_force_tree) return CompiledRun::kNotRun;
  out = program->Run(parser);
  if (out != out) [[unlikely]] {
    CountCompiledFailure(tree);
    return CompiledRun::kNotRun;
  }
  tree.scalar_failures = 0;
  if (parser.ErrorMessage() != nullptr) [[unlikely]]
    parser.SetErrorMessage(nullptr);
  if (MathParser::ErrorPending()) [[unlikely]]
    MathParser::ClearError();
  return program->assigns() ? CompiledRun::kAssigned : CompiledRun::kValue;
}

// The result record of an assignment: the empty string.
inline symtab* AssignmentValue() {
  auto* result = new symtab;
  result->SetString("");
  return result;
}

// RunCompiled's outcome as the new result record; null when not run.
inline symtab* EvaluateCompiled(ParsedTree& tree, MathParser& parser) {
  double d;
  switch (RunCompiled(tree, parser, d)) {
    case CompiledRun::kValue:
      return record_pool::NewScalar(d);
    case CompiledRun::kAssigned:
      return AssignmentValue();
    case CompiledRun::kNotRun:
      break;
  }
  return nullptr;
}

}  // namespace quorvix

#endif
