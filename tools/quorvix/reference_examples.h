// Runs the examples of reference entries, as help and the generated
// reference show them.
#ifndef QUORVIX_TOOLS_REFERENCE_EXAMPLES_H
#define QUORVIX_TOOLS_REFERENCE_EXAMPLES_H

#include <string>

#include "quorvix/reference.h"

namespace quorvix::cli {

// What running an example gave: its printed value or filled text (LF line
// ends), or the error it reported.
struct ExampleResult {
  bool ok = false;
  std::string text;
};

// Each runs in a fresh temporary working directory, removed afterwards, so
// that examples which write files leave nothing behind.
ExampleResult RunBuiltinExample(const ReferenceEntry& entry);
ExampleResult RunStatementExample(const ReferenceEntry& entry);

}  // namespace quorvix::cli

#endif
