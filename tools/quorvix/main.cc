// quorvix: fill templates and evaluate expressions from the command line.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "commands.h"

namespace {

using quorvix::cli::Args;

constexpr const char* kUsage =
    "usage: quorvix <command> [arguments]\n"
    "\n"
    "commands:\n"
    "  fill [options] [FILE...]         fill each template FILE (standard input when none or -)\n"
    "      -o, --output FILE      write the output to FILE\n"
    "      -I, --include DIR      append DIR to the include path (repeatable)\n"
    "      -D, --define NAME=EXPR set NAME to the value of EXPR before the fill (repeatable)\n"
    "      --lf                   write LF line ends instead of CR LF\n"
    "      --safe-quotes          start with safe quotes on\n"
    "      --time-limit SECONDS   stop each fill after SECONDS (default: no limit)\n"
    "      --restricted           restricted mode: no processes, no writing, reading only\n"
    "                             in the include path and the template's directory\n"
    "      --allow-env NAME       let getenv answer NAME in restricted mode (repeatable)\n"
    "      --max-elements N       at most N elements in one value (restricted: 10000000)\n"
    "      --max-output BYTES     at most BYTES of output per fill (restricted: 100000000)\n"
    "  eval [-D NAME=EXPR]... [--time-limit SECONDS] [--restricted] [--allow-env NAME]...\n"
    "       [--max-elements N] EXPR...\n"
    "                                   evaluate each EXPR in order and print its value\n"
    "  functions [--long]               list the registered functions with their argument word; "
    "--long: usage and synopsis\n"
    "  params [--json] [-I DIR]... FILE list the design parameters FILE and its includes declare,\n"
    "                                   one a line, tab-separated: NAME TYPE NOMINAL LOWER UPPER,\n"
    "                                   or NAME TYPE \"LEVEL\"... for levels, or NAME alone for "
    "an\n"
    "                                   incomplete declaration; --json: an array of objects\n"
    "  doe TEMPLATE --runs CSV --out PATTERN [-j N] [--rows FIRST:LAST] [fill options]\n"
    "                                   fill TEMPLATE once per row of CSV (header: the "
    "parameters,\n"
    "                                   optionally run), writing PATTERN with {run} and {NAME}\n"
    "                                   filled in; N fills at a time; a report line per run\n"
    "  inspect [--json] FILE            list the subcases, types, requests and components\n"
    "                                   (with unit and length) of a result file\n"
    "  help NAME                        print the reference entry of a built-in function or a "
    "statement\n"
    "\n"
    "options:\n"
    "  --help      show this text\n"
    "  --version   show the version\n";

struct Command {
  const char* name;
  int (*run)(const Args&);
};

constexpr Command kCommands[] = {
    {"fill", quorvix::cli::RunFill},
    {"eval", quorvix::cli::RunEval},
    {"functions", quorvix::cli::RunFunctions},
    {"params", quorvix::cli::RunParams},
    {"doe", quorvix::cli::RunDoe},
    {"inspect", quorvix::cli::RunInspect},
    {"help", quorvix::cli::RunHelp},
};

}  // namespace

namespace quorvix::cli {

bool ParseSeconds(const std::string& text, double& seconds) {
  char* end = nullptr;
  const double v = std::strtod(text.c_str(), &end);
  if (text.empty() || end == nullptr || *end != '\0' || !(v >= 0.0) || v > 1e9) return false;
  seconds = v;
  return true;
}

}  // namespace quorvix::cli

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fputs(kUsage, stderr);
    return quorvix::cli::kExitUsage;
  }
  std::string first = argv[1];
  if (first == "--help" || first == "-h") {
    std::fputs(kUsage, stdout);
    return quorvix::cli::kExitOk;
  }
  if (first == "--version") {
    std::printf("quorvix %s\n", QUORVIX_VERSION_TEXT);
    return quorvix::cli::kExitOk;
  }
  for (const Command& c : kCommands) {
    if (first == c.name) return c.run(Args(argv + 2, argv + argc));
  }
  std::fprintf(stderr, "quorvix: unknown command '%s'\n%s", first.c_str(), kUsage);
  return quorvix::cli::kExitUsage;
}
