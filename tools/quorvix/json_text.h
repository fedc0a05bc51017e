// Text as a JSON string literal, for the commands' --json output.
#ifndef QUORVIX_TOOLS_JSON_TEXT_H
#define QUORVIX_TOOLS_JSON_TEXT_H

#include <string>

namespace quorvix::cli {

std::string JsonString(const std::string& text);

}  // namespace quorvix::cli

#endif
