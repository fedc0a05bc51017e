#include "builtins/builtin_table.h"

#include <iterator>
#include <vector>

#include "expression/builtin_registrar.h"
#include "quorvix/math_parser.h"

namespace quorvix {

namespace {
std::vector<TitledBuiltinFamily>& LaterFamilies() {
  static std::vector<TitledBuiltinFamily> families;
  return families;
}
}  // namespace

void AddBuiltinFamily(BuiltinFamily family, const char* title) {
  LaterFamilies().push_back({title, family});
}

std::vector<TitledBuiltinFamily> TitledBuiltinFamilies() {
  static constexpr TitledBuiltinFamily kFamilies[] = {
      {"Elementary math", ElementaryBuiltins},
      {"Linear algebra", LinalgBuiltins},
      {"Files and paths", FileBuiltins},
      {"System and evaluation", SystemBuiltins},
      {"Vector construction", VectorConstructionBuiltins},
      {"Reductions and statistics", ReductionBuiltins},
      {"Curve measures", CurveMeasureBuiltins},
      {"Text", TextBuiltins},
      {"Time and date", TimeDateBuiltins},
      {"Sorting, sets and variables", ValueBuiltins},
      {"Interpolation", InterpolationBuiltins},
      {"Polynomials", PolynomialBuiltins},
      {"Curve fitting", CurveFittingBuiltins},
      {"Nonlinear fitting", NonlinearFitBuiltins},
      {"Transforms", TransformBuiltins},
      {"Spectra", SpectrumBuiltins},
      {"Windows", WindowBuiltins},
      {"Weighting", WeightingBuiltins},
      {"Resampling", ResamplingBuiltins},
      {"Filtering", FilteringBuiltins},
      {"Data reduction and alignment", AlignmentBuiltins},
      {"Short-time analysis", ShortTimeBuiltins},
      {"Segments over time and speed", SegmentBuiltins},
      {"External functions", ExternalBuiltins},
      {"Result files", ResultFileBuiltins},
  };
  std::vector<TitledBuiltinFamily> all(std::begin(kFamilies), std::end(kFamilies));
  all.insert(all.end(), LaterFamilies().begin(), LaterFamilies().end());
  return all;
}

std::vector<BuiltinFamily> AllBuiltinFamilies() {
  std::vector<BuiltinFamily> all;
  for (const TitledBuiltinFamily& f : TitledBuiltinFamilies()) all.push_back(f.rows);
  return all;
}

void RegisterBuiltins() {
  for (BuiltinFamily family : AllBuiltinFamilies())
    for (const BuiltinEntry& e : family())
      MathParser::AddFunc(e.name, e.handler, e.nargs, e.call_flags, e.scalar_kernel,
                          e.reads_in_place);
}

namespace {
// Runs when the library is loaded, before any host can construct a parser.
const bool g_registered = (SetBuiltinRegistrar(&RegisterBuiltins), true);
}  // namespace

}  // namespace quorvix
