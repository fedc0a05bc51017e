// Subcommands of the quorvix program. Each takes the arguments after its
// name and returns the exit status.
#ifndef QUORVIX_TOOLS_COMMANDS_H
#define QUORVIX_TOOLS_COMMANDS_H

#include <string>
#include <vector>

namespace quorvix::cli {

using Args = std::vector<std::string>;

int RunEval(const Args& args);
int RunFill(const Args& args);
int RunFunctions(const Args& args);

// Reads the value of --time-limit: seconds, a number >= 0 (0: no limit).
// False for anything else.
bool ParseSeconds(const std::string& text, double& seconds);

// Exit statuses shared by the subcommands.
inline constexpr int kExitOk = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

}  // namespace quorvix::cli

#endif
