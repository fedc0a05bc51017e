// The table of built-in functions: each family unit exports its rows, and the
// MathParser constructor registers all of them when the registry is empty.
#ifndef QUORVIX_BUILTINS_BUILTIN_TABLE_H
#define QUORVIX_BUILTINS_BUILTIN_TABLE_H

#include <span>
#include <vector>

#include "quorvix/policy.h"
#include "quorvix/symtab.h"

namespace quorvix {

// One built-in: what the registry stores, then the text of its reference
// entry.
struct BuiltinEntry {
  const char* name;
  BuiltinHandler handler;
  int nargs;                        // the argument word stored in funtab::nargs
  unsigned call_flags;              // CallFlag bits, checked against the policy per call
  double (*scalar_kernel)(double);  // the handler's plain function, for a
                                    // pure element-wise built-in; else null
  const char* usage;                // the call's shape: "sin(x)"
  const char* synopsis;             // one line: "sine of x (radians), element by element"
  const char* example;              // a call that evaluates as it stands: "sin(dtor(30))"
  // The handler reads its arguments only through builtins::Args (Peek,
  // Check, Take), so a variable's array may reach it without a copy
  // (funtab::reads_in_place).
  bool reads_in_place = false;
};

// CallFlag bits of a built-in that touches nothing beyond its arguments.
inline constexpr unsigned kNoCallFlags = 0;

// One accessor per family, defined in src/builtins/<family>.cc.
std::span<const BuiltinEntry> ElementaryBuiltins();
std::span<const BuiltinEntry> LinalgBuiltins();
std::span<const BuiltinEntry> FileBuiltins();
std::span<const BuiltinEntry> SystemBuiltins();
std::span<const BuiltinEntry> VectorConstructionBuiltins();
std::span<const BuiltinEntry> ReductionBuiltins();
std::span<const BuiltinEntry> CurveMeasureBuiltins();
std::span<const BuiltinEntry> TextBuiltins();
std::span<const BuiltinEntry> TimeDateBuiltins();
std::span<const BuiltinEntry> ValueBuiltins();
std::span<const BuiltinEntry> InterpolationBuiltins();
std::span<const BuiltinEntry> PolynomialBuiltins();
std::span<const BuiltinEntry> CurveFittingBuiltins();
std::span<const BuiltinEntry> NonlinearFitBuiltins();
std::span<const BuiltinEntry> TransformBuiltins();
std::span<const BuiltinEntry> SpectrumBuiltins();
std::span<const BuiltinEntry> WindowBuiltins();
std::span<const BuiltinEntry> WeightingBuiltins();
std::span<const BuiltinEntry> ResamplingBuiltins();
std::span<const BuiltinEntry> FilteringBuiltins();
std::span<const BuiltinEntry> AlignmentBuiltins();
std::span<const BuiltinEntry> ShortTimeBuiltins();
std::span<const BuiltinEntry> SegmentBuiltins();
std::span<const BuiltinEntry> ExternalBuiltins();
std::span<const BuiltinEntry> ResultFileBuiltins();

// Registers every family's rows, with their flags and kernels.
void RegisterBuiltins();

// Adds a family from a higher layer (the template engine's `fill`), which
// this layer cannot name; called when the library is loaded, before any
// parser registers the table. The title heads the family in the reference.
using BuiltinFamily = std::span<const BuiltinEntry> (*)();
void AddBuiltinFamily(BuiltinFamily family, const char* title);

// A family with the title of its group in the reference ("Text").
struct TitledBuiltinFamily {
  const char* title;
  BuiltinFamily rows;
};

// Every family, this layer's first, then the ones added from above.
std::vector<TitledBuiltinFamily> TitledBuiltinFamilies();
std::vector<BuiltinFamily> AllBuiltinFamilies();

}  // namespace quorvix

#endif
