#include "numerics/radix2.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

namespace quorvix::numerics {

std::size_t Radix2Length(std::size_t n) {
  std::size_t m = 1;
  while (m < n && m < kMaxRadix2Length) m <<= 1;
  return m < n ? 0 : m;
}

namespace {

// The angle of twiddle j at the stage of span 2^s, written as the algorithm
// states it so that every table and the reference agree to the bit.
double TwiddleAngle(std::size_t j, std::size_t stride, std::size_t m) {
  const double two_pi = 2.0 * (4.0 * std::atan(1.0));
  return static_cast<double>(j) * static_cast<double>(stride) * two_pi / static_cast<double>(m);
}

unsigned ReverseBits(std::size_t x, int bits) {
  unsigned r = 0;
  for (int b = 0; b < bits; ++b) r = (r << 1) | static_cast<unsigned>((x >> b) & 1);
  return r;
}

// Everything a length needs: bit reversal through two small tables (the low
// and the high half of the index), and per stage the cosines and sines of
// its twiddles side by side, the stage of half span h at offset h - 1, so
// that every pass reads its twiddles in order.
struct Plan {
  std::size_t m = 0;
  int bits = 0;
  int low_bits = 0;
  std::vector<std::uint32_t> reverse_low, reverse_high;
  std::vector<double> cos, sin;

  explicit Plan(std::size_t length) : m(length) {
    while ((std::size_t{1} << bits) < m) ++bits;
    low_bits = bits / 2;
    reverse_low.resize(std::size_t{1} << low_bits);
    reverse_high.resize(std::size_t{1} << (bits - low_bits));
    for (std::size_t i = 0; i < reverse_low.size(); ++i) reverse_low[i] = ReverseBits(i, low_bits);
    for (std::size_t i = 0; i < reverse_high.size(); ++i)
      reverse_high[i] = ReverseBits(i, bits - low_bits);
    if (m < 2) return;
    // Twiddle j of half span h has angle index j (m / 2h), an exact integer,
    // so every stage samples the table of the last stage.
    const std::size_t half = m / 2;
    cos.resize(m - 1);
    sin.resize(m - 1);
    double* last_cos = cos.data() + half - 1;
    double* last_sin = sin.data() + half - 1;
    for (std::size_t k = 0; k < half; ++k) {
      const double a = TwiddleAngle(k, 1, m);
      last_cos[k] = std::cos(a);
      last_sin[k] = std::sin(a);
    }
    for (std::size_t h = 1; h < half; h *= 2)
      for (std::size_t j = 0; j < h; ++j) {
        cos[h - 1 + j] = last_cos[j * (half / h)];
        sin[h - 1 + j] = last_sin[j * (half / h)];
      }
  }

  std::size_t Reverse(std::size_t p) const {
    const std::size_t low = p & ((std::size_t{1} << low_bits) - 1);
    return (static_cast<std::size_t>(reverse_low[low]) << (bits - low_bits)) |
           reverse_high[p >> low_bits];
  }
};

// A few recent plans; a plan in use stays alive after it leaves the cache.
std::shared_ptr<const Plan> PlanFor(std::size_t m) {
  static std::mutex mutex;
  static std::vector<std::shared_ptr<const Plan>> recent;
  constexpr std::size_t kKept = 6;
  {
    std::lock_guard<std::mutex> lock(mutex);
    for (std::size_t i = 0; i < recent.size(); ++i)
      if (recent[i]->m == m) {
        std::shared_ptr<const Plan> p = recent[i];
        std::rotate(recent.begin(), recent.begin() + static_cast<std::ptrdiff_t>(i),
                    recent.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        return p;
      }
  }
  auto plan = std::make_shared<const Plan>(m);  // outside the lock: large ones take a while
  std::lock_guard<std::mutex> lock(mutex);
  recent.insert(recent.begin(), plan);
  if (recent.size() > kKept) recent.pop_back();
  return plan;
}

// ---- Loading: zero padding and bit reversal ---------------------------------

// Position p receives sample Reverse(p) (xor the half for a centred inverse,
// which swaps its input halves back). Tiles of 8 x 8 keep both the lines read
// and the lines written in the first-level cache.
void Load(const Plan& plan, const double* re_in, const double* im_in, std::size_t n, double* re,
          double* im, std::size_t flip) {
  auto put = [&](std::size_t p, std::size_t q) {
    q ^= flip;
    re[p] = q < n ? re_in[q] : 0.0;
    im[p] = im_in != nullptr && q < n ? im_in[q] : 0.0;
  };
  constexpr int kTile = 3;
  const int bits = plan.bits;
  if (bits < 2 * kTile) {
    for (std::size_t p = 0; p < plan.m; ++p) put(p, plan.Reverse(p));
    return;
  }
  constexpr std::size_t kSide = std::size_t{1} << kTile;
  std::size_t tile_reverse[kSide];
  for (std::size_t c = 0; c < kSide; ++c) tile_reverse[c] = ReverseBits(c, kTile);
  const int top = bits - kTile;
  const std::size_t middles = std::size_t{1} << (bits - 2 * kTile);
  for (std::size_t mid = 0; mid < middles; ++mid) {
    const std::size_t mid_reverse = plan.Reverse(mid << kTile);  // the middle bits, reversed
    for (std::size_t a = 0; a < kSide; ++a) {
      const std::size_t row = (a << top) | (mid << kTile);
      const std::size_t from = mid_reverse | tile_reverse[a];
      for (std::size_t c = 0; c < kSide; ++c) put(row | c, (tile_reverse[c] << top) | from);
    }
  }
}

// ---- Butterflies -------------------------------------------------------------

#define QUORVIX_INLINE inline __attribute__((always_inline))

// The vector helpers are always inlined, so no vector crosses a call: the
// warning about the calling convention of wide vectors does not apply.
#pragma GCC diagnostic ignored "-Wpsabi"

typedef double V2 __attribute__((vector_size(16)));
typedef double V4 __attribute__((vector_size(32)));

template <class V>
QUORVIX_INLINE V LoadV(const double* p) {
  V v;
  std::memcpy(&v, p, sizeof v);
  return v;
}
template <class V>
QUORVIX_INLINE void StoreV(double* p, V v) {
  std::memcpy(p, &v, sizeof v);
}

// a + w b and a - w b with w = c - i s forward (c + i s inverse): the
// textbook products with wi = -s (or s), whose sign folds into the sum
// without changing a bit.
template <bool Inverse, class T>
QUORVIX_INLINE void Butterfly(T& ar, T& ai, T& br, T& bi, T c, T s) {
  T tr, ti;
  if constexpr (Inverse) {
    tr = c * br - s * bi;
    ti = c * bi + s * br;
  } else {
    tr = c * br + s * bi;
    ti = c * bi - s * br;
  }
  br = ar - tr;
  bi = ai - ti;
  ar = ar + tr;
  ai = ai + ti;
}

// The stages of half span 1 and 2 together, four points at a time.
template <bool Inverse>
QUORVIX_INLINE void FirstTwoStages(const Plan& plan, double* re, double* im, std::size_t len) {
  const double c1 = plan.cos[0], s1 = plan.sin[0];
  const double c20 = plan.cos[1], s20 = plan.sin[1], c21 = plan.cos[2], s21 = plan.sin[2];
  for (std::size_t b = 0; b < len; b += 4) {
    double r0 = re[b], r1 = re[b + 1], r2 = re[b + 2], r3 = re[b + 3];
    double i0 = im[b], i1 = im[b + 1], i2 = im[b + 2], i3 = im[b + 3];
    Butterfly<Inverse>(r0, i0, r1, i1, c1, s1);
    Butterfly<Inverse>(r2, i2, r3, i3, c1, s1);
    Butterfly<Inverse>(r0, i0, r2, i2, c20, s20);
    Butterfly<Inverse>(r1, i1, r3, i3, c21, s21);
    re[b] = r0, re[b + 1] = r1, re[b + 2] = r2, re[b + 3] = r3;
    im[b] = i0, im[b + 1] = i1, im[b + 2] = i2, im[b + 3] = i3;
  }
}

// One stage of half span h >= the lane count over len points.
template <class V, bool Inverse>
QUORVIX_INLINE void OneStage(const Plan& plan, double* re, double* im, std::size_t len,
                             std::size_t h) {
  constexpr std::size_t kLanes = sizeof(V) / sizeof(double);
  const double* cs = plan.cos.data() + h - 1;
  const double* sn = plan.sin.data() + h - 1;
  for (std::size_t b = 0; b < len; b += 2 * h)
    for (std::size_t j = 0; j < h; j += kLanes) {
      double *pa = re + b + j, *qa = im + b + j;
      V ar = LoadV<V>(pa), ai = LoadV<V>(qa), br = LoadV<V>(pa + h), bi = LoadV<V>(qa + h);
      Butterfly<Inverse>(ar, ai, br, bi, LoadV<V>(cs + j), LoadV<V>(sn + j));
      StoreV(pa, ar), StoreV(qa, ai), StoreV(pa + h, br), StoreV(qa + h, bi);
    }
}

// The stages of half span h and 2h in one pass: each group of four points
// goes through both while it is in registers.
template <class V, bool Inverse>
QUORVIX_INLINE void TwoStages(const Plan& plan, double* re, double* im, std::size_t len,
                              std::size_t h) {
  constexpr std::size_t kLanes = sizeof(V) / sizeof(double);
  const double* c1 = plan.cos.data() + h - 1;
  const double* s1 = plan.sin.data() + h - 1;
  const double* c2 = plan.cos.data() + 2 * h - 1;
  const double* s2 = plan.sin.data() + 2 * h - 1;
  for (std::size_t b = 0; b < len; b += 4 * h)
    for (std::size_t j = 0; j < h; j += kLanes) {
      double *p = re + b + j, *q = im + b + j;
      V r0 = LoadV<V>(p), r1 = LoadV<V>(p + h), r2 = LoadV<V>(p + 2 * h), r3 = LoadV<V>(p + 3 * h);
      V i0 = LoadV<V>(q), i1 = LoadV<V>(q + h), i2 = LoadV<V>(q + 2 * h), i3 = LoadV<V>(q + 3 * h);
      const V c = LoadV<V>(c1 + j), s = LoadV<V>(s1 + j);
      Butterfly<Inverse>(r0, i0, r1, i1, c, s);
      Butterfly<Inverse>(r2, i2, r3, i3, c, s);
      Butterfly<Inverse>(r0, i0, r2, i2, LoadV<V>(c2 + j), LoadV<V>(s2 + j));
      Butterfly<Inverse>(r1, i1, r3, i3, LoadV<V>(c2 + j + h), LoadV<V>(s2 + j + h));
      StoreV(p, r0), StoreV(p + h, r1), StoreV(p + 2 * h, r2), StoreV(p + 3 * h, r3);
      StoreV(q, i0), StoreV(q + h, i1), StoreV(q + 2 * h, i2), StoreV(q + 3 * h, i3);
    }
}

// Stages from half span h up to (not including) len, in pairs.
template <class V, bool Inverse>
QUORVIX_INLINE void StagesFrom(const Plan& plan, double* re, double* im, std::size_t len,
                               std::size_t h) {
  for (; 4 * h <= len; h *= 4) TwoStages<V, Inverse>(plan, re, im, len, h);
  if (2 * h <= len) OneStage<V, Inverse>(plan, re, im, len, h);
}

// All stages: first every block that fits the cache through its own stages,
// then the stages that span blocks.
template <class V, bool Inverse>
QUORVIX_INLINE void AllStages(const Plan& plan, double* re, double* im) {
  constexpr std::size_t kBlock = std::size_t{1} << 13;
  const std::size_t m = plan.m;
  const std::size_t block = m < kBlock ? m : kBlock;
  for (std::size_t b = 0; b < m; b += block) {
    FirstTwoStages<Inverse>(plan, re + b, im + b, block);
    StagesFrom<V, Inverse>(plan, re + b, im + b, block, 4);
  }
  StagesFrom<V, Inverse>(plan, re, im, m, block);
}

template <bool Inverse>
void StagesSse(const Plan& plan, double* re, double* im) {
  AllStages<V2, Inverse>(plan, re, im);
}

#if defined(__x86_64__)
// AVX without FMA: the same products and sums, four lanes wide.
template <bool Inverse>
__attribute__((target("avx"))) void StagesAvx(const Plan& plan, double* re, double* im) {
  AllStages<V4, Inverse>(plan, re, im);
}
bool HaveAvx() {
  static const bool have = __builtin_cpu_supports("avx");
  return have;
}
#endif

template <bool Inverse>
void Stages(const Plan& plan, double* re, double* im) {
  if (plan.m < 4) {
    if (plan.m == 2) Butterfly<Inverse>(re[0], im[0], re[1], im[1], plan.cos[0], plan.sin[0]);
    return;
  }
#if defined(__x86_64__)
  if (HaveAvx()) return StagesAvx<Inverse>(plan, re, im);
#endif
  StagesSse<Inverse>(plan, re, im);
}

}  // namespace

void Radix2Transform(const double* re_in, const double* im_in, std::size_t n, std::size_t m,
                     double* out_re, double* out_im, Direction direction, bool centred) {
  const std::shared_ptr<const Plan> plan = PlanFor(m);
  const bool inverse = direction == Direction::kInverse;
  Load(*plan, re_in, im_in, n, out_re, out_im, inverse && centred ? m / 2 : 0);
  if (inverse) {
    Stages<true>(*plan, out_re, out_im);
    const double scale = 1.0 / static_cast<double>(m);  // a power of two: exact as a division
    for (std::size_t i = 0; i < m; ++i) out_re[i] *= scale;
    for (std::size_t i = 0; i < m; ++i) out_im[i] *= scale;
    return;
  }
  Stages<false>(*plan, out_re, out_im);
  if (centred)
    for (std::size_t i = 0; i < m / 2; ++i) {
      std::swap(out_re[i], out_re[i + m / 2]);
      std::swap(out_im[i], out_im[i + m / 2]);
    }
}

void TransformAxis(std::size_t length, double dt, Direction direction, bool centred, double* axis) {
  const double len = static_cast<double>(length);
  for (std::size_t i = 0; i < length; ++i) {
    const double x = static_cast<double>(i);
    axis[i] = direction == Direction::kInverse ? x * dt
              : centred                        ? x / (dt * len) - 0.5 / dt
                                               : x / (dt * len);
  }
}

Radix2Scratch ScratchArrays(std::size_t length) {
  thread_local std::unique_ptr<double[]> re, im;
  thread_local std::size_t capacity = 0;
  if (length > capacity) {
    re.reset();
    im.reset();
    capacity = 0;
    re.reset(new (std::nothrow) double[length]);
    im.reset(new (std::nothrow) double[length]);
    if (re == nullptr || im == nullptr) {
      re.reset();
      im.reset();
      return {nullptr, nullptr};
    }
    capacity = length;
  }
  return {re.get(), im.get()};
}

void Radix2Reference(const double* re_in, const double* im_in, std::size_t n, std::size_t m,
                     double* out_re, double* out_im, Direction direction) {
  int bits = 0;
  while ((std::size_t{1} << bits) < m) ++bits;
  for (std::size_t p = 0; p < m; ++p) {
    const std::size_t q = ReverseBits(p, bits);
    out_re[p] = q < n ? re_in[q] : 0.0;
    out_im[p] = im_in != nullptr && q < n ? im_in[q] : 0.0;
  }
  const double sign = direction == Direction::kInverse ? -1.0 : 1.0;
  for (int s = 1; s <= bits; ++s) {
    const std::size_t span = std::size_t{1} << s, h = span / 2, stride = m / span;
    for (std::size_t b = 0; b < m; b += span)
      for (std::size_t j = 0; j < h; ++j) {
        const double a = sign * TwiddleAngle(j, stride, m);
        const double wr = std::cos(a), wi = -std::sin(a);
        double &ar = out_re[b + j], &ai = out_im[b + j];
        double &br = out_re[b + j + h], &bi = out_im[b + j + h];
        const double tr = wr * br - wi * bi, ti = wr * bi + wi * br;
        br = ar - tr;
        bi = ai - ti;
        ar = ar + tr;
        ai = ai + ti;
      }
  }
  if (direction == Direction::kInverse)
    for (std::size_t i = 0; i < m; ++i) {
      out_re[i] /= static_cast<double>(m);
      out_im[i] /= static_cast<double>(m);
    }
}

}  // namespace quorvix::numerics
