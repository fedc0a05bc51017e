// Subcommands of the quorvix program. Each takes the arguments after its
// name and returns the exit status.
#ifndef QUORVIX_TOOLS_COMMANDS_H
#define QUORVIX_TOOLS_COMMANDS_H

#include <string>
#include <vector>

#include "quorvix/policy.h"

namespace quorvix::cli {

using Args = std::vector<std::string>;

int RunEval(const Args& args);
int RunFill(const Args& args);
int RunFunctions(const Args& args);
int RunParams(const Args& args);
int RunDoe(const Args& args);
int RunInspect(const Args& args);
int RunHelp(const Args& args);

// Writes the built-in reference (docs/builtins.md) to standard output.
int PrintBuiltinMarkdown();

// Reads the value of --time-limit: seconds, a number >= 0 (0: no limit).
// False for anything else.
bool ParseSeconds(const std::string& text, double& seconds);

// The options of trust and resources that fill and eval share:
// --restricted, --allow-env NAME, --max-elements N and (fill only)
// --max-output BYTES. Restricted mode bounds values and output by default.
struct TrustOptions {
  bool restricted = false;
  std::vector<std::string> allowed_env;
  long long max_elements = 0;  // 0: the default
  long long max_output = 0;    // 0: the default
};

// Reads args[i] (and its value, advancing i) when it is one of these
// options. 1: taken; 0: not one of them; -1: a bad value, reported on
// standard error.
int ParseTrustOption(const Args& args, std::size_t& i, TrustOptions& o, bool with_output,
                     const char* command);

// Applies the options to a parser's policy.
void ApplyTrust(const TrustOptions& o, Policy& policy);

// Makes the parser's messages (not its output) lines on standard error.
void SendMessagesToStandardError(Policy& policy);

// Exit statuses shared by the subcommands.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

}  // namespace quorvix::cli

#endif
