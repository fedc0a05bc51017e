#include "util/stack_budget.h"

namespace quorvix {

thread_local StackMark t_stack_mark __attribute__((tls_model("initial-exec")));

StackScope::StackScope(std::size_t limit) : saved_(t_stack_mark) {
  if (t_stack_mark.base != 0) return;
  const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
  t_stack_mark.base = here;
  t_stack_mark.floor = limit == 0 ? 0 : limit < here ? here - limit : 1;  // 0: no budget
  t_stack_mark.limit = limit;
}

std::string StackMessage() {
  return "expression uses too much stack (limit " + std::to_string(t_stack_mark.limit) + " bytes)";
}

}  // namespace quorvix
