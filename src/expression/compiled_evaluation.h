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

// Runs the tree's program when it is current and gives the new result
// record, leaving the parser as a successful evaluation does (no message, no
// pending error); null otherwise. It needs none of the evaluation's setup: a
// program neither recurses, nor calls back, nor reports. The caller's slow
// path asks ProgramCurrent afterwards instead of being handed a flag, so
// that nothing is kept across the program's run.
inline symtab* EvaluateCompiled(ParsedTree& tree, MathParser& parser) {
  ScalarProgram* program = tree.runnable;
  if (!ProgramCurrent(tree) || program == nullptr || g_force_tree) return nullptr;
  const double d = program->Run(parser);
  if (d != d) [[unlikely]] {
    CountCompiledFailure(tree);
    return nullptr;
  }
  tree.scalar_failures = 0;
  if (parser.ErrorMessage() != nullptr) [[unlikely]]
    parser.SetErrorMessage(nullptr);
  if (MathParser::ErrorPending()) [[unlikely]]
    MathParser::ClearError();
  if (program->assigns()) {
    auto* result = new symtab;
    result->SetString("");
    return result;
  }
  return record_pool::NewScalar(d);
}

}  // namespace quorvix

#endif
