// The speed levels at which rpm-stepped segmentation and tracking place their
// segments. step > 0 (run-up): L0 = ceil(rpm0 / step) step, then L0 + j step
// while <= max; step < 0 (run-down): L0 = floor(rpm0 / |step|) |step|, then
// decreasing while >= min. Both ends allow a slack of 1e-9 |step|.
#ifndef QUORVIX_NUMERICS_LEVEL_SEQUENCE_H
#define QUORVIX_NUMERICS_LEVEL_SEQUENCE_H

namespace quorvix::numerics {

struct LevelSequence {
  double first = 0.0;
  double step = 0.0;
  // A double so that the caller can check it against its limits before it
  // allocates; 0 when no level lies in range.
  double count = 0.0;
  double At(double j) const { return first + j * step; }
};

// rpm0 the first speed sample, lo and hi the extremes of the channel; all
// finite, step finite and nonzero.
LevelSequence StepLevels(double rpm0, double lo, double hi, double step);

}  // namespace quorvix::numerics

#endif  // QUORVIX_NUMERICS_LEVEL_SEQUENCE_H
