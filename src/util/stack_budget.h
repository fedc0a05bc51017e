// The stack budget of evaluation. Hostile input can nest evaluation,
// printing, differentiation and fills inside one another far deeper than any
// single depth limit foresees, so every place that recurses compares its own
// frame against the mark the outermost entry on the thread left, and stops
// with a message before the budget is spent. The check is a load and a
// compare; it needs no depth counters threaded through the calls.
#ifndef QUORVIX_UTIL_STACK_BUDGET_H
#define QUORVIX_UTIL_STACK_BUDGET_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace quorvix {

struct StackMark {
  std::uintptr_t base = 0;   // frame of the outermost entry; 0: none
  std::uintptr_t floor = 0;  // lowest address the budget allows (stacks grow down)
  std::size_t limit = 0;
};

extern thread_local StackMark t_stack_mark __attribute__((tls_model("initial-exec")));

// Marks the outermost entry of the thread (an evaluation or a fill) with a
// budget of `limit` bytes; nested scopes keep the outer mark. Restored on
// every way out.
class StackScope {
 public:
  explicit StackScope(std::size_t limit);
  ~StackScope() { t_stack_mark = saved_; }
  StackScope(const StackScope&) = delete;
  StackScope& operator=(const StackScope&) = delete;

 private:
  StackMark saved_;
};

// True when the calling thread has used more stack than its budget since
// the outermost scope (always false outside any scope).
__attribute__((always_inline)) inline bool StackExhausted() {
  return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)) < t_stack_mark.floor;
}

// "expression uses too much stack (limit N bytes)" for the current budget.
std::string StackMessage();

}  // namespace quorvix

#endif
