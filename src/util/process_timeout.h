// The time limit on the programs the library starts (external functions and
// system commands). It is process-wide: the template statement "timeout"
// sets it and every later start reads it.
#ifndef QUORVIX_UTIL_PROCESS_TIMEOUT_H
#define QUORVIX_UTIL_PROCESS_TIMEOUT_H

namespace quorvix {

// Seconds a started program may run before it is killed; 0 or less: none.
double ProcessTimeout();
void SetProcessTimeout(double seconds);

}  // namespace quorvix

#endif
