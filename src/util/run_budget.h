// The work, the time and the stack of one outermost fill or evaluation on
// this thread.
//
// The outermost call opens a Scope with its parser's limits; fills and
// evaluations nested inside it (user functions, fill and eval built-ins,
// includes) join that scope, so recursion through any of them spends from one
// budget instead of each level starting afresh.
#ifndef QUORVIX_UTIL_RUN_BUDGET_H
#define QUORVIX_UTIL_RUN_BUDGET_H

#include <string>
#include <string_view>

#include "quorvix/policy.h"
#include "util/stack_budget.h"

namespace quorvix {

class RunBudget {
 public:
  class Scope {
   public:
    explicit Scope(const Limits& limits);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    bool outermost_;
    StackScope stack_;  // marks the stack budget (util/stack_budget.h)
  };

  // One level of fills and evaluations nested inside one another (user
  // functions, the fill and eval built-ins); Limits::fills bounds the depth.
  class Nesting {
   public:
    Nesting();
    ~Nesting();
    Nesting(const Nesting&) = delete;
    Nesting& operator=(const Nesting&) = delete;
    // True when this level lies beyond `limit`.
    bool too_deep(int limit) const { return depth_ > limit; }

   private:
    int depth_;
  };

  // Spends one unit of work: a loop pass, an include, a macro expansion or a
  // user-function call. False past the work limit or the deadline, with the
  // message in `why`. Outside any scope nothing is counted.
  static bool Spend(std::string* why);
  // Checks the deadline only.
  static bool InTime(std::string* why);
  // For long numerical kernels, between blocks of work: past the deadline
  // it throws LimitExceeded, which ends the evaluation with the message.
  static void CheckTime();
  // Units spent in the current outermost scope.
  static long long Spent();
  // Seconds left before the deadline of the current outermost scope (0 once
  // passed); negative when there is no deadline.
  static double SecondsLeft();

  static std::string WorkMessage(long long limit);
  static std::string TimeMessage(double seconds);
};

// True for the messages with which nesting, stack, work, time and output
// limits end work. A nested fill or evaluation whose failure would
// otherwise be swallowed passes these on, so that runaway recursion ends
// with its limit instead of unwinding silently.
bool IsLimitMessage(std::string_view message);

}  // namespace quorvix

#endif
