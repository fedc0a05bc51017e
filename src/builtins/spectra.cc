// Spectra built on the radix-2 transform: power spectral density, frequency
// response functions, block-averaged transforms and responses, coherence.
//
// A line whose denominator (the input's auto-spectrum, or its product with
// the output's) is exactly zero gives 0, not a NaN that would spoil every
// later use of the result.
#include <cstddef>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/spectral_support.h"
#include "numerics/cross_spectrum.h"
#include "numerics/radix2.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::CountOf;
using builtins::FitsResult;
using builtins::IsScalarArg;
using builtins::IsVectorArg;
using builtins::MustBe;
using builtins::NewVectorLike;
using builtins::OwnedRecord;
using builtins::Part;
using builtins::ScalarOf;
using builtins::TakePart;

double Ratio(double a, double b) { return b != 0.0 ? a / b : 0.0; }

// Two vectors of equal count, kinds reported as argument types.
bool TwoVectors(const Args& args) {
  if (!args.HasCount(2) || !args.Check(0, IsVectorArg, builtins::kInvalidTypeArg1) ||
      !args.Check(1, IsVectorArg, builtins::kInvalidTypeArg2))
    return false;
  if (CountOf(*args.Peek(0)) == CountOf(*args.Peek(1))) return true;
  args.Fail(builtins::kSameNumberOfElements);
  return false;
}

// psd(t, y): abs(Y[k])^2 / (n dt), dt = t[1] - t[0] in single precision, as a
// row of M lines.
symtab* Psd(sym_list* list) {
  Args args(list);
  if (!TwoVectors(args)) return nullptr;
  const symtab &t = *args.Peek(0), &y = *args.Peek(1);
  const std::size_t n = CountOf(y);
  if (n < 2) return args.Fail(builtins::kNoData);
  const double dt = static_cast<float>(t.data[1] - t.data[0]);
  if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero);
  const std::size_t m = numerics::Radix2Length(n);
  if (m == 0 || !FitsResult(m)) return nullptr;
  const numerics::Radix2Scratch work = numerics::ScratchArrays(m);
  if (work.im == nullptr) return args.Fail(builtins::kOutOfMemory);
  symtab row;
  row.rows = 1;
  OwnedRecord out(NewVectorLike(row, m));
  double *re = work.re, *im = work.im;
  numerics::Radix2Transform(y.data, nullptr, n, m, re, im);
  numerics::CrossSpectrum(re, im, re, im, m, static_cast<double>(n), re, im);
  for (std::size_t k = 0; k < m; ++k) out->data[k] = re[k] / dt;
  return args.Release(out.release());
}

// frfmag(x, y) ...: H = G(x, y) / G(x, x) over M lines.
template <Part P>
symtab* Frf(sym_list* list) {
  Args args(list);
  if (!TwoVectors(args)) return nullptr;
  const symtab &x = *args.Peek(0), &y = *args.Peek(1);
  const std::size_t n = CountOf(x);
  if (n == 0) return args.Release(NewVectorLike(x, 0));
  const std::size_t m = numerics::Radix2Length(n);
  if (m == 0 || !FitsResult(m)) return nullptr;
  std::vector<double> work(3 * m);
  double *xi = work.data(), *yr = xi + m, *yi = yr + m;
  OwnedRecord out(NewVectorLike(x, m));
  double* xr = out->data;
  numerics::Radix2Transform(x.data, nullptr, n, m, xr, xi);
  numerics::Radix2Transform(y.data, nullptr, n, m, yr, yi);
  const double count = static_cast<double>(n);
  numerics::CrossSpectrum(xr, xi, yr, yi, m, count, yr, yi);
  for (std::size_t k = 0; k < m; ++k) {
    const double gxx = (xr[k] * xr[k] + xi[k] * xi[k]) / count;
    xr[k] = Ratio(yr[k], gxx);
    xi[k] = Ratio(yi[k], gxx);
  }
  TakePart<P>(xr, xi, m);
  return args.Release(out.release());
}

// The block size and overlap of the block functions, from `first` on, and
// the signal count: "Argument N must be scalar" for either, "Argument has no
// data." for an empty signal, the size limit for the block's transform.
bool BlockArguments(const Args& args, int first, std::size_t n, numerics::BlockLayout& layout) {
  for (int i = first; i < first + 2; ++i)
    if (!args.Check(i, IsScalarArg, ArgumentMustBe(i + 1, MustBe::kScalar))) return false;
  if (n == 0) {
    args.Fail(builtins::kNoData);
    return false;
  }
  layout = numerics::LayOutBlocks(n, ScalarOf(*args.Peek(first)), ScalarOf(*args.Peek(first + 1)));
  return layout.m != 0 && FitsResult(layout.m);
}

// blockfftmag(x, block size, overlap) ...: the part of the average of the
// blocks' transforms.
template <Part P>
symtab* BlockFft(sym_list* list) {
  Args args(list);
  if (!args.HasCount(3) || !args.Check(0, IsVectorArg, ArgumentMustBe(1, MustBe::kVector)))
    return nullptr;
  const symtab& x = *args.Peek(0);
  numerics::BlockLayout layout;
  if (!BlockArguments(args, 1, CountOf(x), layout)) return nullptr;
  std::vector<double> im(layout.m);
  OwnedRecord out(NewVectorLike(x, layout.m));
  if (!numerics::BlockTransformSum(x.data, CountOf(x), layout, out->data, im.data()))
    return args.Fail(builtins::kOutOfMemory);
  const double blocks = static_cast<double>(layout.count);
  for (std::size_t k = 0; k < layout.m; ++k) {
    out->data[k] /= blocks;
    im[k] /= blocks;
  }
  TakePart<P>(out->data, im.data(), layout.m);
  return args.Release(out.release());
}

// blockfrfmag(x, y, block size, overlap) ...: H1 = Gxy / Gxx from the
// blocks' sums; coherence abs(Gxy)^2 / (Gxx Gyy).
template <Part P, bool Coherence = false>
symtab* BlockFrf(sym_list* list) {
  Args args(list);
  if (!args.HasCount(4) || !args.Check(0, IsVectorArg, ArgumentMustBe(1, MustBe::kVector)) ||
      !args.Check(1, IsVectorArg, ArgumentMustBe(2, MustBe::kVector)))
    return nullptr;
  const symtab &x = *args.Peek(0), &y = *args.Peek(1);
  const std::size_t n = CountOf(x);
  if (CountOf(y) != n) return args.Fail(builtins::kSameNumberOfPointsShort);
  numerics::BlockLayout layout;
  if (!BlockArguments(args, 2, n, layout)) return nullptr;
  const std::size_t m = layout.m;
  std::vector<double> work(3 * m);
  double *gxy_im = work.data(), *gxx = gxy_im + m, *gyy = gxx + m;
  OwnedRecord out(NewVectorLike(x, m));
  double* gxy_re = out->data;
  if (!numerics::BlockCrossSums(x.data, y.data, n, layout, gxy_re, gxy_im, gxx, gyy))
    return args.Fail(builtins::kOutOfMemory);
  for (std::size_t k = 0; k < m; ++k) {
    if constexpr (Coherence) {
      gxy_re[k] = Ratio(gxy_re[k] * gxy_re[k] + gxy_im[k] * gxy_im[k], gxx[k] * gyy[k]);
    } else {
      gxy_re[k] = Ratio(gxy_re[k], gxx[k]);
      gxy_im[k] = Ratio(gxy_im[k], gxx[k]);
    }
  }
  if constexpr (!Coherence) TakePart<P>(gxy_re, gxy_im, m);
  return args.Release(out.release());
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kSpectrumBuiltins[] = {
    {"blockfftimag",  BlockFft<Part::kImaginary>,  3, kNone, nullptr,
     "blockfftimag(x, size, overlap)", "imaginary part of the average transform of blocks of x",
     "blockfftimag({1, 2, 0, -1, 3, 1, 0, 2}, 4, 0)", true},
    {"blockfftmag",   BlockFft<Part::kMagnitude>,  3, kNone, nullptr,
     "blockfftmag(x, size, overlap)", "magnitude of the average transform of blocks of x "
     "(blocks of 2^ceil(log2 size) points, overlapping by overlap)",
     "blockfftmag({1, 2, 0, -1, 3, 1, 0, 2}, 4, 0)", true},
    {"blockfftphase", BlockFft<Part::kPhase>,      3, kNone, nullptr,
     "blockfftphase(x, size, overlap)", "phase in radians of the average transform of blocks of x",
     "blockfftphase({1, 2, 0, -1, 3, 1, 0, 2}, 4, 0)", true},
    {"blockfftreal",  BlockFft<Part::kReal>,       3, kNone, nullptr,
     "blockfftreal(x, size, overlap)", "real part of the average transform of blocks of x",
     "blockfftreal({1, 2, 0, -1, 3, 1, 0, 2}, 4, 0)", true},
    {"blockfrfimag",  BlockFrf<Part::kImaginary>,  4, kNone, nullptr,
     "blockfrfimag(x, y, size, overlap)", "imaginary part of the block-averaged frequency "
     "response Gxy / Gxx", "blockfrfimag({1, 2, 0, -1}, {0, 1, 2, 0}, 2, 0)", true},
    {"blockfrfmag",   BlockFrf<Part::kMagnitude>,  4, kNone, nullptr,
     "blockfrfmag(x, y, size, overlap)", "magnitude of the block-averaged frequency response "
     "Gxy / Gxx of input x and output y", "blockfrfmag({1, 2, 0, -1}, {0, 1, 2, 0}, 2, 0)", true},
    {"blockfrfphase", BlockFrf<Part::kPhase>,      4, kNone, nullptr,
     "blockfrfphase(x, y, size, overlap)", "phase in radians of the block-averaged frequency "
     "response", "blockfrfphase({1, 2, 0, -1}, {0, 1, 2, 0}, 2, 0)", true},
    {"blockfrfreal",  BlockFrf<Part::kReal>,       4, kNone, nullptr,
     "blockfrfreal(x, y, size, overlap)", "real part of the block-averaged frequency response",
     "blockfrfreal({1, 2, 0, -1}, {0, 1, 2, 0}, 2, 0)", true},
    {"coherence",     BlockFrf<Part::kReal, true>, 4, kNone, nullptr,
     "coherence(x, y, size, overlap)", "magnitude-squared coherence abs(Gxy)^2 / (Gxx Gyy) "
     "from blocks of x and y", "coherence({1, 2, 0, -1}, {0, 1, 2, 0}, 2, 0)", true},
    {"frfimag",       Frf<Part::kImaginary>,       2, kNone, nullptr,
     "frfimag(x, y)", "imaginary part of the frequency response Gxy / Gxx",
     "frfimag({1, 2, 0, -1}, {0, 1, 2, 0})", true},
    {"frfmag",        Frf<Part::kMagnitude>,       2, kNone, nullptr,
     "frfmag(x, y)", "magnitude of the frequency response Gxy / Gxx of input x and output y",
     "frfmag({1, 2, 0, -1}, {0, 1, 2, 0})", true},
    {"frfphase",      Frf<Part::kPhase>,           2, kNone, nullptr,
     "frfphase(x, y)", "phase in radians of the frequency response Gxy / Gxx",
     "frfphase({1, 2, 0, -1}, {0, 1, 2, 0})", true},
    {"frfreal",       Frf<Part::kReal>,            2, kNone, nullptr,
     "frfreal(x, y)", "real part of the frequency response Gxy / Gxx",
     "frfreal({1, 2, 0, -1}, {0, 1, 2, 0})", true},
    {"psd",           Psd,                         2, kNone, nullptr,
     "psd(t, y)", "power spectral density abs(Y)^2 / (n dt) of y sampled at times t, a row",
     "psd({0, 0.5, 1, 1.5}, {1, 2, 0, -1})", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> SpectrumBuiltins() { return kSpectrumBuiltins; }

}  // namespace quorvix
