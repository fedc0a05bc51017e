// Fourier transforms of sampled signals: the radix-2 family (fftmag ...,
// ifft, freq, hilbert, fcorr), the direct family (dftmag ..., idft, dfreq,
// dcorr) and the folded one-sided spectrum.
//
// The handlers read their vectors in place and build new results, whose
// length is that of the transform. An empty signal transforms to an empty
// result.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/spectral_support.h"
#include "numerics/cross_spectrum.h"
#include "numerics/direct_transform.h"
#include "numerics/radix2.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::CountOf;
using builtins::FitsResult;
using builtins::IsNumber;
using builtins::IsVectorArg;
using builtins::NewVectorLike;
using builtins::Part;
using builtins::TakePart;
using numerics::Direction;

// The forward radix-2 transform of re (+ i im) into a new vector shaped like
// re; with `scale`, every part but the phase is divided by the point count.
template <Part P>
symtab* ForwardRadix2(Args& args, const symtab& re, const symtab* im, bool scale) {
  const std::size_t n = CountOf(re);
  if (n == 0) return args.Release(NewVectorLike(re, 0));
  const std::size_t m = numerics::Radix2Length(n);
  if (m == 0 || !FitsResult(m)) return nullptr;
  const numerics::Radix2Scratch work = numerics::ScratchArrays(m);
  if (work.im == nullptr) return args.Fail(builtins::kOutOfMemory);
  builtins::OwnedRecord out(NewVectorLike(re, m));
  numerics::Radix2Transform(re.data, im != nullptr ? im->data : nullptr, n, m, out->data, work.im);
  TakePart<P>(out->data, work.im, m);
  if (scale && P != Part::kPhase)
    for (std::size_t i = 0; i < m; ++i) out->data[i] /= static_cast<double>(n);
  return args.Release(out.release());
}

// fftmag(x), fftmag(re, im), fftmag(x, s) and their siblings.
template <Part P>
symtab* FftPart(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1, 2)) return nullptr;
  const symtab* x = args.Peek(0);
  if (args.size() == 1) {
    if (x == nullptr || !IsVectorArg(*x)) return args.Fail(builtins::kInvalidArgType);
    return ForwardRadix2<P>(args, *x, nullptr, false);
  }
  if (x == nullptr || !IsVectorArg(*x)) return args.Fail(builtins::kInvalidTypeArg1);
  const symtab* second = args.Peek(1);
  if (second != nullptr && IsNumber(*second))
    return ForwardRadix2<P>(args, *x, nullptr, second->value != 0.0);
  if (second == nullptr || !IsVectorArg(*second)) return args.Fail(builtins::kInvalidTypeArg2);
  if (CountOf(*second) != CountOf(*x)) return args.Fail(builtins::kIncompatibleDimensions);
  return ForwardRadix2<P>(args, *x, second, false);
}

template <Part P>
symtab* DftPart(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  const symtab* x = args.Peek(0);
  if (x == nullptr || !IsVectorArg(*x)) return args.Fail(builtins::kInvalidArgType);
  const std::size_t n = CountOf(*x);
  const numerics::Radix2Scratch work = numerics::ScratchArrays(n > 0 ? n : 1);
  if (work.im == nullptr) return args.Fail(builtins::kOutOfMemory);
  builtins::OwnedRecord out(NewVectorLike(*x, n));
  numerics::DirectTransform(x->data, nullptr, n, out->data, work.im);
  TakePart<P>(out->data, work.im, n);
  return args.Release(out.release());
}

// The two vectors of re and im (or x and y), equal in count.
bool TwoVectors(const Args& args, const char* count_message) {
  if (!args.HasCount(2) || !args.Check(0, IsVectorArg, builtins::kInvalidTypeArg1) ||
      !args.Check(1, IsVectorArg, builtins::kInvalidTypeArg2))
    return false;
  if (CountOf(*args.Peek(0)) == CountOf(*args.Peek(1))) return true;
  args.Fail(count_message);
  return false;
}

// ifft(re, im) and idft(re, im): the real part of the inverse.
template <bool Radix2>
symtab* Inverse(sym_list* list) {
  Args args(list);
  if (!TwoVectors(args, builtins::kSameNumberOfElements)) return nullptr;
  const symtab& re = *args.Peek(0);
  const std::size_t n = CountOf(re);
  const std::size_t m = Radix2 && n > 0 ? numerics::Radix2Length(n) : n;
  if ((n > 0 && m == 0) || !FitsResult(m)) return nullptr;
  const numerics::Radix2Scratch work = numerics::ScratchArrays(m > 0 ? m : 1);
  if (work.im == nullptr) return args.Fail(builtins::kOutOfMemory);
  builtins::OwnedRecord out(NewVectorLike(re, m));
  if (n > 0) {
    if constexpr (Radix2)
      numerics::Radix2Transform(re.data, args.Peek(1)->data, n, m, out->data, work.im,
                                Direction::kInverse);
    else
      numerics::DirectTransform(re.data, args.Peek(1)->data, n, out->data, work.im,
                                Direction::kInverse);
  }
  return args.Release(out.release());
}

// freq(t) and dfreq(t): the frequency lines of a transform of samples t[1] -
// t[0] apart.
template <bool Radix2>
symtab* Frequencies(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1) || !args.Check(0, IsVectorArg, builtins::kInvalidArgType)) return nullptr;
  const symtab& t = *args.Peek(0);
  const std::size_t n = CountOf(t);
  if (n < 2) return args.Fail(builtins::kNoData);
  const double dt = t.data[1] - t.data[0];
  if (dt == 0.0) return args.Fail(builtins::kSamplingIntervalZero);
  const std::size_t m = Radix2 ? numerics::Radix2Length(n) : n;
  if (m == 0 || !FitsResult(m)) return nullptr;
  symtab* out = NewVectorLike(t, m);
  numerics::TransformAxis(m, dt, Direction::kForward, false, out->data);
  return args.Release(out);
}

// fold(x): the one-sided spectrum of the first half, the lines above zero
// doubled.
symtab* Fold(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1) || !args.Check(0, IsVectorArg, builtins::kInvalidArgType)) return nullptr;
  const symtab& x = *args.Peek(0);
  const std::size_t n = CountOf(x);
  if (n < 2) return args.Fail(builtins::kNoData);
  symtab* out = NewVectorLike(x, n / 2);
  out->data[0] = x.data[0];
  for (std::size_t i = 1; i < n / 2; ++i) out->data[i] = 2.0 * x.data[i];
  return args.Release(out);
}

// hilbert(x): the magnitude of the analytic signal, from the spectrum with
// the negative frequencies removed and the positive ones doubled.
symtab* Hilbert(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1) || !args.Check(0, IsVectorArg, builtins::kInvalidArgType)) return nullptr;
  const symtab& x = *args.Peek(0);
  const std::size_t n = CountOf(x);
  if (n == 0) return args.Release(NewVectorLike(x, 0));
  const std::size_t m = numerics::Radix2Length(n);
  if (m == 0 || !FitsResult(m)) return nullptr;
  std::vector<double> work(4 * m);
  double *re = work.data(), *im = re + m, *back_re = im + m, *back_im = back_re + m;
  numerics::Radix2Transform(x.data, nullptr, n, m, re, im);
  for (std::size_t k = 1; k < m / 2; ++k) re[k] *= 2.0, im[k] *= 2.0;
  for (std::size_t k = m / 2 + 1; k < m; ++k) re[k] = im[k] = 0.0;
  numerics::Radix2Transform(re, im, m, m, back_re, back_im, Direction::kInverse);
  symtab* out = NewVectorLike(x, n);
  for (std::size_t i = 0; i < n; ++i)
    out->data[i] = std::sqrt(back_re[i] * back_re[i] + back_im[i] * back_im[i]);
  return args.Release(out);
}

// fcorr(x, y) and dcorr(x, y): r[k] = (1/n) sum_j x[j] y[j + k] for the lags
// -(n-1) .. n-1, the inverse transform of conj(X) Y / n with both padded so
// that the circular correlation holds the linear one.
template <bool Radix2>
symtab* Correlation(sym_list* list) {
  Args args(list);
  if (!TwoVectors(args, builtins::kSameNumberOfElements)) return nullptr;
  const symtab &x = *args.Peek(0), &y = *args.Peek(1);
  const std::size_t n = CountOf(x);
  if (n == 0) return args.Release(NewVectorLike(x, 0));
  const std::size_t lags = 2 * n - 1;
  const std::size_t p = Radix2 ? numerics::Radix2Length(lags) : lags;
  if (p == 0 || !FitsResult(p)) return nullptr;
  std::vector<double> work(4 * p);
  double *xr = work.data(), *xi = xr + p, *yr = xi + p, *yi = yr + p;
  auto transform = [&](const double* re, const double* im, std::size_t count, double* out_re,
                       double* out_im, Direction direction) {
    if constexpr (Radix2)
      numerics::Radix2Transform(re, im, count, p, out_re, out_im, direction);
    else if (count == p)
      numerics::DirectTransform(re, im, p, out_re, out_im, direction);
    else {  // the direct engine does not pad: pad a copy
      std::vector<double> padded(p, 0.0);
      std::copy(re, re + count, padded.begin());
      numerics::DirectTransform(padded.data(), nullptr, p, out_re, out_im, direction);
    }
  };
  transform(x.data, nullptr, n, xr, xi, Direction::kForward);
  transform(y.data, nullptr, n, yr, yi, Direction::kForward);
  numerics::CrossSpectrum(xr, xi, yr, yi, p, static_cast<double>(n), yr, yi);
  transform(yr, yi, p, xr, xi, Direction::kInverse);
  symtab* out = NewVectorLike(x, lags);
  for (std::size_t i = 0; i < lags; ++i) out->data[i] = xr[i + 1 < n ? i + 1 + p - n : i + 1 - n];
  return args.Release(out);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example, reads in place.
constexpr BuiltinEntry kTransformBuiltins[] = {
    {"dcorr",    Correlation<false>,          2, kNone, nullptr,
     "dcorr(x, y)", "cross-correlation (1/n) sum x[j] y[j+k] for lags -(n-1)..n-1, direct transform",
     "dcorr({1, 2, 3}, {0, 1, 0.5})", true},
    {"dfreq",    Frequencies<false>,          1, kNone, nullptr,
     "dfreq(t)", "frequency lines i / (n dt) of the direct transform of samples at times t",
     "dfreq({0, 0.1, 0.2, 0.3, 0.4})", true},
    {"dftimag",  DftPart<Part::kImaginary>,   1, kNone, nullptr,
     "dftimag(x)", "imaginary part of the direct Fourier transform of x (n lines)",
     "dftimag({1, 2, 0})", true},
    {"dftmag",   DftPart<Part::kMagnitude>,   1, kNone, nullptr,
     "dftmag(x)", "magnitude of the direct Fourier transform of x (n lines, no padding)",
     "dftmag({1, 2, 0})", true},
    {"dftphase", DftPart<Part::kPhase>,       1, kNone, nullptr,
     "dftphase(x)", "phase in radians of the direct Fourier transform of x",
     "dftphase({1, 2, 0})", true},
    {"dftreal",  DftPart<Part::kReal>,        1, kNone, nullptr,
     "dftreal(x)", "real part of the direct Fourier transform of x", "dftreal({1, 2, 0})", true},
    {"fcorr",    Correlation<true>,           2, kNone, nullptr,
     "fcorr(x, y)", "cross-correlation (1/n) sum x[j] y[j+k] for lags -(n-1)..n-1, radix-2 transform",
     "fcorr({1, 2, 3}, {0, 1, 0.5})", true},
    {"fftimag",  FftPart<Part::kImaginary>,   1, kNone, nullptr,
     "fftimag(x [, s]) or fftimag(re, im)", "imaginary part of the radix-2 transform (zero padded "
     "to a power of two); s not 0 divides by the point count", "fftimag({1, 2, 0, -1})", true},
    {"fftmag",   FftPart<Part::kMagnitude>,   1, kNone, nullptr,
     "fftmag(x [, s]) or fftmag(re, im)", "magnitude of the radix-2 transform (zero padded to a "
     "power of two); s not 0 divides by the point count", "fftmag({1, 2, 0, -1})", true},
    {"fftphase", FftPart<Part::kPhase>,       1, kNone, nullptr,
     "fftphase(x [, s]) or fftphase(re, im)", "phase in radians of the radix-2 transform (zero "
     "padded to a power of two)", "fftphase({1, 2, 0, -1})", true},
    {"fftreal",  FftPart<Part::kReal>,        1, kNone, nullptr,
     "fftreal(x [, s]) or fftreal(re, im)", "real part of the radix-2 transform (zero padded to a "
     "power of two); s not 0 divides by the point count", "fftreal({1, 2, 0, -1})", true},
    {"fold",     Fold,                        1, kNone, nullptr,
     "fold(x)", "one-sided spectrum of a two-sided one: the first n/2 lines, all but line 0 doubled",
     "fold({4, 1, 2, 1})", true},
    {"freq",     Frequencies<true>,           1, kNone, nullptr,
     "freq(t)", "frequency lines i / (M dt) of the radix-2 transform of samples at times t",
     "freq({0, 0.1, 0.2, 0.3, 0.4})", true},
    {"hilbert",  Hilbert,                     1, kNone, nullptr,
     "hilbert(x)", "envelope of x: the magnitude of its analytic signal",
     "hilbert({1, 0, -1, 0})", true},
    {"idft",     Inverse<false>,              2, kNone, nullptr,
     "idft(re, im)", "real part of the inverse direct transform (n points)",
     "idft({2, 0, 0}, {0, 0, 0})", true},
    {"ifft",     Inverse<true>,               2, kNone, nullptr,
     "ifft(re, im)", "real part of the inverse radix-2 transform (zero padded to a power of two)",
     "ifft({4, 0, 0, 0}, {0, 0, 0, 0})", true},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> TransformBuiltins() { return kTransformBuiltins; }

}  // namespace quorvix
