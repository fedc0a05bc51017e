// The exception for a limit passed deep inside code that has no way to
// report (the allocation of a value's array, a long numerical kernel past
// the time limit). The evaluation guard of MathParser catches it and ends
// the evaluation with its message, like any other error.
#ifndef QUORVIX_UTIL_LIMIT_ERROR_H
#define QUORVIX_UTIL_LIMIT_ERROR_H

#include <stdexcept>

namespace quorvix {

class LimitExceeded : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace quorvix

#endif
