#include "builtins/builtin_table.h"

#include "expression/builtin_registrar.h"
#include "quorvix/math_parser.h"

namespace quorvix {

void RegisterBuiltins() {
  using Family = std::span<const BuiltinEntry> (*)();
  static constexpr Family kFamilies[] = {
      ElementaryBuiltins, LinalgBuiltins, TextBuiltins, TimeDateBuiltins, ValueBuiltins,
  };
  for (Family family : kFamilies)
    for (const BuiltinEntry& e : family())
      MathParser::AddFunc(e.name, e.handler, e.nargs, e.call_flags, e.scalar_kernel);
}

namespace {
// Runs when the library is loaded, before any host can construct a parser.
const bool g_registered = (SetBuiltinRegistrar(&RegisterBuiltins), true);
}  // namespace

}  // namespace quorvix
