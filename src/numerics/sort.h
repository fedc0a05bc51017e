// Ordering of doubles for the sorting built-ins: one total order, so that
// every sort is deterministic whatever NaNs the data holds.
//
// The order: numbers by value, -0 before +0 (the IEEE total order of the
// numbers), every NaN after every number. Descending reverses the numbers
// only: NaNs still come last. Equal keys keep their input order.
#ifndef QUORVIX_NUMERICS_SORT_H
#define QUORVIX_NUMERICS_SORT_H

#include <bit>
#include <cmath>
#include <cstdint>
#include <span>

namespace quorvix::numerics {

// An unsigned key whose natural order is the order above: bigger keys sort
// later. Every NaN maps to the largest key.
inline std::uint64_t SortKey(double x, bool descending) {
  if (std::isnan(x)) return ~std::uint64_t{0};
  const std::uint64_t bits = std::bit_cast<std::uint64_t>(x);
  const std::uint64_t ascending = (bits >> 63) != 0 ? ~bits : bits | (std::uint64_t{1} << 63);
  // Ascending keys of numbers lie in [2^52 - 1, 2^64 - 2^52]; the complement
  // stays below the NaN key too.
  return descending ? ~ascending : ascending;
}

// True when a sorts before b in ascending order: a strict weak ordering even
// with NaNs, for std::sort and friends.
inline bool AscendingBefore(double a, double b) { return SortKey(a, false) < SortKey(b, false); }

// Sorts v in place in the order above (stable; equal numbers are identical
// bit patterns apart from NaNs, which keep their input order).
void SortDoubles(std::span<double> v, bool descending);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_SORT_H
