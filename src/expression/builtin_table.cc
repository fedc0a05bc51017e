#include "expression/builtin_table.h"

#include "quorvix/math_parser.h"

namespace quorvix {

void RegisterBuiltins() {
  using Family = std::span<const BuiltinEntry> (*)();
  static constexpr Family kFamilies[] = {
      ElementaryBuiltins,
      LinalgBuiltins,
  };
  for (Family family : kFamilies)
    for (const BuiltinEntry& e : family())
      MathParser::AddFunc(e.name, e.handler, e.nargs, e.call_flags, e.scalar_kernel);
}

}  // namespace quorvix
