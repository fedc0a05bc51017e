// Revolutions of a rotating shaft from its speed channel, and the angle
// domain built on them: the machinery of revolution resampling and of the
// order-based segmentation and tracking functions.
//
// A speed channel rpm[i] (revolutions per minute) is sampled at times t[i].
// Between samples the speed is taken as linear, so the revolutions are its
// exact integral (the cumulative trapezoid) and the time at which a given
// revolution count is reached solves a quadratic in closed form:
//
//   Revolutions rev(t, rpm, n);        // theta[i] at each sample
//   rev.total();                       // revolutions over the record
//   rev.TimeAt(v);                     // first time theta reaches v
//   SamplesPerRevolution(dt, max_rpm); // angle sampling for a record
//   AngleSampleCount(total, spr);      // samples theta_k = k / spr
//   AngleResample(...);                // times and spline values at theta_k
//
// Inputs are the caller's to check (Revolutions::Valid tells a usable speed
// channel); nothing here reports.
#ifndef QUORVIX_NUMERICS_REVOLUTIONS_H
#define QUORVIX_NUMERICS_REVOLUTIONS_H

#include <cstddef>
#include <vector>

namespace quorvix::numerics {

class Revolutions {
 public:
  // theta[0] = 0, theta[i+1] = theta[i] + (t[i+1] - t[i]) (rpm[i] + rpm[i+1]) / 120.
  // The arrays must outlive the object.
  Revolutions(const double* t, const double* rpm, std::size_t n);

  // True when n >= 2, t rises strictly, every rpm is finite and >= 0 and the
  // total is finite and above 0. TimeAt and total need a valid channel.
  bool Valid() const { return valid_; }
  double total() const { return theta_.empty() ? 0.0 : theta_.back(); }
  const std::vector<double>& theta() const { return theta_; }

  // The time at which the revolutions first reach v: in the first interval
  // with theta[i] < v <= theta[i+1], u = 2c / (rpm[i] + sqrt(rpm[i]^2 + 2 a c)),
  // c = 60 (v - theta[i]), a the speed's slope there; v <= 0 gives t[0], v
  // beyond the total t[n-1]. Rising queries walk forward in constant time;
  // others bisect.
  double TimeAt(double v);

  // The revolutions at time tau inside [t[0], t[n-1]] (clamped to it).
  double At(double tau) const;

 private:
  const double* t_;
  const double* rpm_;
  std::vector<double> theta_;
  std::size_t cursor_ = 0;
  double last_query_ = 0.0;
  bool valid_ = false;
};

// 2^ceil(log2(60 / (dt max_rpm))) clamped to 4 .. 65536: at top speed the
// angle samples are at least as dense as the time samples. A zero, negative
// or non-finite product gives the top of the range.
int SamplesPerRevolution(double dt, double max_rpm);

// The angle samples k / spr, k = 0 .. floor(total spr (1 + 1e-12)), as a
// count; a double so that the caller can check it against its limits
// before it allocates. NaN or a negative total gives 0.
double AngleSampleCount(double total, int spr);

// Fills, for k < m, theta_out[k] = k / spr, time_out[k] = TimeAt(k / spr)
// and y_out[k] = the natural cubic spline through (t, y) at that time. t
// rises strictly; m from AngleSampleCount. Calls RunBudget::CheckTime
// between blocks, so it may throw LimitExceeded.
void AngleResample(Revolutions& rev, const double* t, const double* y, std::size_t n, int spr,
                   std::size_t m, double* theta_out, double* time_out, double* y_out);

// The time at which channel c (sampled at t) first reaches `level` from the
// start of the record: at a sample equal to it, t[i]; inside an interval
// where c[i] - level and c[i+1] - level have opposite signs, linearly
// between t[i] and t[i+1]. Searches from sample `from`; false when the level
// is not reached. `index` and `fraction` tell where (fraction 0 at a sample).
struct Crossing {
  double time;
  std::size_t index;
  double fraction;
};
bool FirstCrossing(const double* t, const double* c, std::size_t n, double level, std::size_t from,
                   Crossing* out);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_REVOLUTIONS_H
