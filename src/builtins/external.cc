// extern: calls an external-function program by its name given as a string.
#include <span>
#include <string>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "expression/external_function.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::HasString;

symtab* Extern(sym_list* list) {
  Args args(list);
  if (args.size() == 0 || args.Peek(0) == nullptr || !HasString(*args.Peek(0)))
    return args.Fail("Expected function name");
  const char* name = args.Peek(0)->str_list[0];
  const std::string program = ExternProgram(name);
  if (program.empty())
    return args.Fail(("extern: no external function named " + std::string(name)).c_str());
  return CallExternalProgram(program, list, 1);
}

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kExternalBuiltins[] = {
    {"extern", Extern, 2, kStartsProcesses, nullptr,
     "extern(name, ...)", "the result of the external function registered as name, called with the further arguments",
     "extern(\"twice\", 21)"},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> ExternalBuiltins() { return kExternalBuiltins; }

}  // namespace quorvix
