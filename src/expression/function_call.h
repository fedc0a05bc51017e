// Calls of registry entries that are not plain built-ins. User-defined,
// external-program and shared-library functions are served by their own
// modules, which install a caller here; an entry whose caller is missing
// reports that its kind is unavailable.
#ifndef QUORVIX_EXPRESSION_FUNCTION_CALL_H
#define QUORVIX_EXPRESSION_FUNCTION_CALL_H

#include "quorvix/symtab.h"

namespace quorvix {

using EntryCaller = symtab* (*)(funtab* entry, sym_list* args);

struct FunctionCallers {
  EntryCaller external = nullptr;
  EntryCaller user = nullptr;
  EntryCaller library = nullptr;
};

FunctionCallers& Callers();

// Marks a call of `entry` as running for its lifetime: an entry displaced
// or removed meanwhile is freed only when its last running call ends.
class RunningEntry {
 public:
  explicit RunningEntry(funtab* entry);
  ~RunningEntry();
  RunningEntry(const RunningEntry&) = delete;
  RunningEntry& operator=(const RunningEntry&) = delete;

 private:
  funtab* entry_;
};

// Calls the entry with the arguments, dispatching on its kind flags (external,
// user, library, context, plain). Returns the handler's record or null. When
// the current parser's policy refuses the entry's call flags, reports the
// refusal and returns null without calling anything.
symtab* CallEntry(funtab* entry, sym_list* args, int position);

}  // namespace quorvix

#endif
