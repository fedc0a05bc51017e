// The abscissas of an equally spaced segment: where its centre lies in time,
// speed and revolutions. A triggered segment's abscissas are its trigger
// (time, level, revolutions at the trigger) and need nothing from here.
#ifndef QUORVIX_NUMERICS_SEGMENT_ABSCISSA_H
#define QUORVIX_NUMERICS_SEGMENT_ABSCISSA_H

#include <cstddef>

#include "numerics/revolutions.h"

namespace quorvix::numerics {

struct SegmentAbscissa {
  double time;
  double rpm;
  double revolutions;
};

// The speed channel rpm (sampled at rising t, n >= 1) linearly interpolated
// at tau, held at the ends outside the record.
double SpeedAt(const double* t, const double* rpm, std::size_t n, double tau);

// A time-domain segment of `size` samples from s0: centre time
// (t[s0] + t[s0 + size - 1]) / 2, the speed and the revolutions there.
// `rev` is built on (t, rpm) and valid.
SegmentAbscissa TimeSegmentCentre(const Revolutions& rev, const double* t, const double* rpm,
                                  std::size_t n, std::size_t s0, std::size_t size);

// An angle-domain segment of `size` angle samples from s0 at spr samples
// a revolution: centre angle (s0 + (size - 1) / 2) / spr, the time at which
// the revolutions reach it (closed-form inverse) and the speed then.
SegmentAbscissa AngleSegmentCentre(Revolutions& rev, const double* t, const double* rpm,
                                   std::size_t n, int spr, std::size_t s0, std::size_t size);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_SEGMENT_ABSCISSA_H
