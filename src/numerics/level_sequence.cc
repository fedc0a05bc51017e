#include "numerics/level_sequence.h"

#include <cmath>

namespace quorvix::numerics {

LevelSequence StepLevels(double rpm0, double lo, double hi, double step) {
  constexpr double kSlack = 1e-9;
  const double size = std::abs(step);
  LevelSequence s;
  s.step = step;
  s.first = step > 0.0 ? std::ceil(rpm0 / size) * size : std::floor(rpm0 / size) * size;
  // Levels to go past the first, in steps, toward the extreme ahead.
  const double room = step > 0.0 ? (hi - s.first) / size : (s.first - lo) / size;
  s.count = room >= -kSlack ? std::floor(room + kSlack) + 1.0 : 0.0;
  return s;
}

}  // namespace quorvix::numerics
