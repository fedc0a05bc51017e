// Pieces shared by the spectral units (transforms, spectra, windows,
// weighting): their messages, the parts of a complex line, new result
// vectors and the size check of a transform.
#ifndef QUORVIX_BUILTINS_SPECTRAL_SUPPORT_H
#define QUORVIX_BUILTINS_SPECTRAL_SUPPORT_H

#include <cmath>
#include <cstddef>
#include <memory>

#include "builtins/builtin_support.h"
#include "quorvix/symtab.h"

namespace quorvix::builtins {

inline constexpr char kNoData[] = "Argument has no data.";
inline constexpr char kIncompatibleDimensions[] = "Arguments do not have compatible dimensions";
inline constexpr char kSamplingIntervalZero[] = "Sampling interval is zero";
inline constexpr char kArg3MustBePositive[] = "Argument 3 must be positive";

inline bool IsVectorArg(const symtab& v) { return v.IsVector() != 0; }
inline bool IsScalarArg(const symtab& v) { return v.IsScalar() != 0; }
// The number of a scalar argument (a one-element array counts).
inline double ScalarOf(const symtab& v) { return v.type == SYM_SCALAR ? v.value : v.data[0]; }
inline std::size_t CountOf(const symtab& v) { return static_cast<std::size_t>(v.NumElements()); }

// Which number of a complex line a built-in returns.
enum class Part { kMagnitude, kPhase, kReal, kImaginary };

// Replaces re[i] by the part of re[i] + i im[i], for i < n.
template <Part P>
void TakePart(double* re, const double* im, std::size_t n) {
  if constexpr (P == Part::kMagnitude)
    for (std::size_t i = 0; i < n; ++i) re[i] = std::sqrt(re[i] * re[i] + im[i] * im[i]);
  if constexpr (P == Part::kPhase)
    for (std::size_t i = 0; i < n; ++i) re[i] = std::atan2(im[i], re[i]);
  if constexpr (P == Part::kImaginary)
    for (std::size_t i = 0; i < n; ++i) re[i] = im[i];
}

// A result under construction, freed if the handler leaves early (a limit
// exception from a long kernel included).
struct RecordDeleter {
  void operator()(symtab* v) const { v->Delete(); }
};
using OwnedRecord = std::unique_ptr<symtab, RecordDeleter>;

// A new anonymous vector of n elements, a column when `like` is a column
// (more than one row), else a row. Throws the element limit's error past it
// (callers check first with FitsResult).
symtab* NewVectorLike(const symtab& like, std::size_t n);

// True when an array of n elements is within the element limit and within
// the longest transform; otherwise reports "array too large (limit N
// elements)".
bool FitsResult(std::size_t n);

}  // namespace quorvix::builtins

#endif  // QUORVIX_BUILTINS_SPECTRAL_SUPPORT_H
