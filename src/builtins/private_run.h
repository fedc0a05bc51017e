// What eval and fill share: a private parser set up from the caller's, and
// a host error function kept quiet while the private run goes on (its
// failure becomes a value of the call, not an error of the caller).
#ifndef QUORVIX_BUILTINS_PRIVATE_RUN_H
#define QUORVIX_BUILTINS_PRIVATE_RUN_H

#include "quorvix/math_parser.h"

namespace quorvix::builtins {

// Gives `inner` the caller's policy (its trust and limits), get functions,
// string-escape option and a copy of every variable. Nothing without a
// caller.
inline void ShareCallerState(MathParser* caller, MathParser& inner) {
  if (caller == nullptr) return;
  inner.SetPolicy(caller->SharedPolicy());
  inner.CopyGetFuncs(caller);
  inner.AllowEscapeCharactersInStrings(caller->AllowEscapeCharactersInStrings());
  for (const auto& entry : caller->Variables()) inner.AddVariable(entry.second);
}

class QuietErrors {
 public:
  QuietErrors() : saved_(MathParser::err_fun) { MathParser::err_fun = nullptr; }
  ~QuietErrors() { MathParser::err_fun = saved_; }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;

 private:
  ErrorFunc saved_;
};

}  // namespace quorvix::builtins

#endif  // QUORVIX_BUILTINS_PRIVATE_RUN_H
