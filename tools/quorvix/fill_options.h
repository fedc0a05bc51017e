// The options that commands which fill templates share (fill, doe):
// include directories, definitions, line ends, safe quotes, the time limit
// and the options of trust.
#ifndef QUORVIX_TOOLS_FILL_OPTIONS_H
#define QUORVIX_TOOLS_FILL_OPTIONS_H

#include <string>
#include <utility>
#include <vector>

#include "commands.h"
#include "quorvix/filler.h"
#include "quorvix/math_parser.h"

namespace quorvix::cli {

struct FillOptions {
  std::vector<std::string> includes;
  std::vector<std::pair<std::string, std::string>> defines;
  bool lf = false;
  bool safe_quotes = false;
  double seconds = 0.0;
  TrustOptions trust;
};

// Reads args[i] (and its value, advancing i) when it is "-I DIR" or
// "--include DIR" (also "-IDIR"). 1: taken; 0: not; -1: reported on
// standard error (a missing value followed by `usage`).
int ParseIncludeOption(const Args& args, std::size_t& i, std::vector<std::string>& includes,
                       const char* command, const char* usage);

// As ParseIncludeOption, for every option of FillOptions.
int ParseFillOption(const Args& args, std::size_t& i, FillOptions& o, const char* command,
                    const char* usage);

// Appends the include directories to the include path and sets up the
// parser's trust and messages (the time limit is the caller's to set once
// the definitions are evaluated).
void ApplyFillOptions(const FillOptions& o, MathParser& parser);

// Sets the filler's switches from the options: safe quotes, and LF line
// ends in the files the template opens.
void ApplyFillerOptions(const FillOptions& o, FillerBase& filler);

// Evaluates the definitions in order and adds each as a variable; false
// after reporting the first that fails.
bool EvaluateDefinitions(const FillOptions& o, MathParser& parser, const char* command);

}  // namespace quorvix::cli

#endif  // QUORVIX_TOOLS_FILL_OPTIONS_H
