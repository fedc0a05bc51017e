// The design parameters a template declares, for the params and doe
// commands.
#ifndef QUORVIX_TOOLS_DESIGN_TEMPLATE_H
#define QUORVIX_TOOLS_DESIGN_TEMPLATE_H

#include <string>
#include <vector>

#include "quorvix/filler.h"

namespace quorvix::cli {

// Reads the template at `path` and scans its declarations (and those of the
// files it includes) into `filler`. `names` gets each declared name once,
// in the order first met. False after reporting an unreadable template on
// standard error.
bool ScanTemplate(const std::string& path, DOEFiller& filler, std::vector<std::string>& names,
                  const char* command);

}  // namespace quorvix::cli

#endif  // QUORVIX_TOOLS_DESIGN_TEMPLATE_H
