// The template engine's way to the Tcl interpreter. The engine cannot name
// Tcl; the Tcl module installs these when the library is loaded, and a
// build without Tcl leaves them null.
#ifndef QUORVIX_TEMPLATE_TCL_HOOKS_H
#define QUORVIX_TEMPLATE_TCL_HOOKS_H

#include <memory>

class ostream_fast;
class MessageServiceBase;

namespace quorvix {

struct TclHooks {
  // A stream whose text is evaluated in MathParser::tcl_interp when it is
  // deleted; a Tcl error then goes to `messages` (when not null). Null when
  // there is no interpreter.
  std::unique_ptr<ostream_fast> (*make_stream)(MessageServiceBase* messages) = nullptr;
  // Creates an interpreter and stores it in MathParser::tcl_interp unless one
  // is there; false when none could be made.
  bool (*create_interpreter)() = nullptr;
};

TclHooks& InstalledTclHooks();

}  // namespace quorvix

#endif
