// The table of built-in functions: each family unit exports its rows, and the
// MathParser constructor registers all of them when the registry is empty.
#ifndef QUORVIX_BUILTINS_BUILTIN_TABLE_H
#define QUORVIX_BUILTINS_BUILTIN_TABLE_H

#include <span>

#include "quorvix/symtab.h"

namespace quorvix {

struct BuiltinEntry {
  const char* name;
  BuiltinHandler handler;
  int nargs;  // the argument word stored in funtab::nargs
};

// One accessor per family, defined in src/builtins/<family>.cc.
std::span<const BuiltinEntry> ElementaryBuiltins();
std::span<const BuiltinEntry> LinalgBuiltins();

// The plain double function computed by a built-in handler that is pure and
// element-wise (sin, abs, ...), or null. Lets scalar calls skip the argument
// list.
double (*ScalarKernel(BuiltinHandler handler))(double);

// Registers every family's rows with MathParser::AddFunc.
void RegisterBuiltins();

}  // namespace quorvix

#endif
