#include "builtins/builtin_table.h"

#include <iterator>
#include <vector>

#include "expression/builtin_registrar.h"
#include "quorvix/math_parser.h"

namespace quorvix {

namespace {
std::vector<BuiltinFamily>& LaterFamilies() {
  static std::vector<BuiltinFamily> families;
  return families;
}
}  // namespace

void AddBuiltinFamily(BuiltinFamily family) { LaterFamilies().push_back(family); }

std::vector<BuiltinFamily> AllBuiltinFamilies() {
  static constexpr BuiltinFamily kFamilies[] = {
      ElementaryBuiltins,
      LinalgBuiltins,
      FileBuiltins,
      SystemBuiltins,
      VectorConstructionBuiltins,
      ReductionBuiltins,
      CurveMeasureBuiltins,
      TextBuiltins,
      TimeDateBuiltins,
      ValueBuiltins,
      InterpolationBuiltins,
      PolynomialBuiltins,
      CurveFittingBuiltins,
      NonlinearFitBuiltins,
      TransformBuiltins,
      SpectrumBuiltins,
      WindowBuiltins,
      WeightingBuiltins,
      ResamplingBuiltins,
      FilteringBuiltins,
      AlignmentBuiltins,
      ShortTimeBuiltins,
      SegmentBuiltins,
      ExternalBuiltins,
      ResultFileBuiltins,
  };
  std::vector<BuiltinFamily> all(std::begin(kFamilies), std::end(kFamilies));
  all.insert(all.end(), LaterFamilies().begin(), LaterFamilies().end());
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
