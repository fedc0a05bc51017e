// Giving the expression service a Tcl interpreter, for hosts that have none
// of their own. The library links Tcl when it was built with it; a host
// calling this needs no Tcl headers or library itself.
#ifndef QUORVIX_TCL_SETUP_H
#define QUORVIX_TCL_SETUP_H

namespace quorvix {

// Creates a Tcl interpreter (its init script is run when one is installed)
// and stores it in MathParser::tcl_interp, unless an interpreter is there
// already. The interpreter lives until the process ends. Returns false, and
// changes nothing, when the library was built without Tcl.
bool CreateTclInterpreter();

}  // namespace quorvix

#endif
