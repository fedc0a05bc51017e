#include "util/run_budget.h"

#include <chrono>
#include <cstdio>

#include "util/limit_error.h"

namespace quorvix {
namespace {

using Clock = std::chrono::steady_clock;

struct State {
  int depth = 0;
  long long spent = 0;
  long long work_limit = 0;
  double seconds = 0.0;
  Clock::time_point deadline{};
  bool expired = false;
  int nesting = 0;
};

// Initial-exec: every evaluation touches this, and the general model would
// make each access a call into the dynamic loader.
thread_local State t_state __attribute__((tls_model("initial-exec")));

// Reading the clock costs about as much as a pass of a tight loop, so the
// deadline is looked at once every this many units.
constexpr long long kClockEvery = 64;

bool PastDeadline() {
  if (t_state.seconds <= 0.0) return false;
  if (!t_state.expired && Clock::now() >= t_state.deadline) t_state.expired = true;
  return t_state.expired;
}

}  // namespace

RunBudget::Scope::Scope(const Limits& limits)
    : outermost_(t_state.depth == 0), stack_(limits.stack_bytes) {
  ++t_state.depth;
  if (!outermost_) return;
  t_state.spent = 0;
  t_state.work_limit = limits.work;
  t_state.seconds = limits.seconds;
  t_state.expired = false;
  if (limits.seconds > 0.0)
    t_state.deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                          std::chrono::duration<double>(limits.seconds));
}

RunBudget::Scope::~Scope() { --t_state.depth; }

RunBudget::Nesting::Nesting() : depth_(++t_state.nesting) {}

RunBudget::Nesting::~Nesting() { --t_state.nesting; }

std::string RunBudget::WorkMessage(long long limit) {
  return "work exceeds the limit (" + std::to_string(limit) +
         " loop passes, includes, macro expansions and function calls)";
}

std::string RunBudget::TimeMessage(double seconds) {
  char text[64];
  std::snprintf(text, sizeof text, "time limit exceeded (%g s)", seconds);
  return text;
}

bool RunBudget::Spend(std::string* why) {
  if (t_state.depth == 0) return true;
  if (++t_state.spent > t_state.work_limit) {
    if (why) *why = WorkMessage(t_state.work_limit);
    return false;
  }
  if (t_state.spent % kClockEvery == 0 && PastDeadline()) {
    if (why) *why = TimeMessage(t_state.seconds);
    return false;
  }
  return true;
}

bool RunBudget::InTime(std::string* why) {
  if (t_state.depth == 0 || !PastDeadline()) return true;
  if (why) *why = TimeMessage(t_state.seconds);
  return false;
}

void RunBudget::CheckTime() {
  std::string why;
  if (!InTime(&why)) throw LimitExceeded(why);
}

bool IsLimitMessage(std::string_view message) {
  for (std::string_view mark :
       {"nested too deeply", "too much stack", "exceeds the limit", "time limit exceeded"})
    if (message.find(mark) != std::string_view::npos) return true;
  return false;
}

long long RunBudget::Spent() { return t_state.depth == 0 ? 0 : t_state.spent; }

double RunBudget::SecondsLeft() {
  if (t_state.depth == 0 || t_state.seconds <= 0.0) return -1.0;
  const std::chrono::duration<double> left = t_state.deadline - Clock::now();
  return left.count() > 0.0 ? left.count() : 0.0;
}

}  // namespace quorvix
