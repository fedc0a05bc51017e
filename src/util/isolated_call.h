// Runs work that a third-party library may crash on (decoding a damaged
// file) in a forked child, so that a crash ends the child, not the host.
// The child hands back one string of bytes through a pipe.
#ifndef QUORVIX_UTIL_ISOLATED_CALL_H
#define QUORVIX_UTIL_ISOLATED_CALL_H

#include <functional>
#include <string>

namespace quorvix {

enum class IsolatedResult {
  kDone,     // the work returned; `out` holds what it gave
  kDied,     // the child crashed, was killed or ran past the time limit
  kNoChild,  // no child could be started (the caller may run the work itself)
};

// Calls `work` in a child process and puts its string into `out`. The child
// ends with _exit: no exit handlers run, no stream buffers are flushed
// twice. The child is always reaped; past `seconds` (0: no limit) it is
// killed. The caller holds whatever locks `work` needs; the child inherits
// them held by its only thread.
IsolatedResult RunIsolated(const std::function<std::string()>& work, std::string& out,
                           double seconds = 0);

}  // namespace quorvix

#endif  // QUORVIX_UTIL_ISOLATED_CALL_H
