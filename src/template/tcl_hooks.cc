#include "template/tcl_hooks.h"

#include "quorvix/tcl_setup.h"

namespace quorvix {

TclHooks& InstalledTclHooks() {
  static TclHooks hooks;
  return hooks;
}

bool CreateTclInterpreter() {
  auto create = InstalledTclHooks().create_interpreter;
  return create != nullptr && create();
}

}  // namespace quorvix
