#include "util/process_timeout.h"

#include <atomic>

namespace quorvix {

namespace {
std::atomic<double> timeout_seconds{0.0};
}  // namespace

double ProcessTimeout() { return timeout_seconds.load(std::memory_order_relaxed); }

void SetProcessTimeout(double seconds) {
  timeout_seconds.store(seconds, std::memory_order_relaxed);
}

}  // namespace quorvix
