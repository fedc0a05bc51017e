// The reference entries of the built-in functions and the template
// statements, read from their registration tables, for hosts and tools that
// show help (`quorvix help`, `quorvix functions --long`).
#ifndef QUORVIX_REFERENCE_H
#define QUORVIX_REFERENCE_H

#include <string>
#include <vector>

namespace quorvix {

// A call that fails, with the message it reports.
struct ReferenceFailure {
  std::string call;
  std::string message;
};

struct ReferenceEntry {
  std::string name;      // "sin", "foreach"
  std::string group;     // the family's title: "Elementary math", "Control flow"
  std::string usage;     // "sin(x)", "{foreach (x = values)} ... {endloop}"
  std::string synopsis;  // one line
  std::string example;   // an expression (built-in) or template text (statement)
  int nargs = 0;         // built-ins: the argument word
  // Empty when the example gives the same result everywhere; else what its
  // result depends on ("the environment", "the Tcl interpreter").
  std::string note;
  // Built-ins: calls that fail, with their messages (for the messages a
  // function reports beyond the common ones).
  std::vector<ReferenceFailure> failures;
};

// Every built-in of the library's tables (the Tcl functions when the module
// is loaded), family by family, each family sorted by name.
std::vector<ReferenceEntry> BuiltinReference();

// Every statement keyword, family by family.
std::vector<ReferenceEntry> StatementReference();

}  // namespace quorvix

#endif
