// The options shared by the commands that fill templates.
#include "fill_options.h"

#include <cstdio>

#include "quorvix/filler.h"

namespace quorvix::cli {

namespace {

// Takes the value of the option at args[i]; false after reporting a
// missing one.
bool OptionValue(const Args& args, std::size_t& i, std::string& out, const char* command,
                 const char* usage) {
  if (i + 1 >= args.size()) {
    std::fprintf(stderr, "quorvix %s: %s needs a value\n%s", command, args[i].c_str(), usage);
    return false;
  }
  out = args[++i];
  return true;
}

std::string g_message;
void CaptureError(const char* message) { g_message = message ? message : ""; }

}  // namespace

int ParseIncludeOption(const Args& args, std::size_t& i, std::vector<std::string>& includes,
                       const char* command, const char* usage) {
  const std::string& a = args[i];
  if (a.rfind("-I", 0) == 0 && a.size() > 2) {
    includes.push_back(a.substr(2));
    return 1;
  }
  if (a != "-I" && a != "--include") return 0;
  std::string v;
  if (!OptionValue(args, i, v, command, usage)) return -1;
  includes.push_back(v);
  return 1;
}

int ParseFillOption(const Args& args, std::size_t& i, FillOptions& o, const char* command,
                    const char* usage) {
  if (int taken = ParseTrustOption(args, i, o.trust, true, command); taken != 0) return taken;
  if (int taken = ParseIncludeOption(args, i, o.includes, command, usage); taken != 0) return taken;
  const std::string& a = args[i];
  std::string v;
  if (a == "-D" || a == "--define" || (a.rfind("-D", 0) == 0 && a.size() > 2)) {
    if (a.size() > 2 && a[1] == 'D') {
      v = a.substr(2);
    } else if (!OptionValue(args, i, v, command, usage)) {
      return -1;
    }
    std::size_t eq = v.find('=');
    if (eq == std::string::npos || eq == 0) {
      std::fprintf(stderr, "quorvix %s: bad definition '%s' (expected NAME=EXPR)\n", command,
                   v.c_str());
      return -1;
    }
    o.defines.emplace_back(v.substr(0, eq), v.substr(eq + 1));
  } else if (a == "--lf") {
    o.lf = true;
  } else if (a == "--safe-quotes") {
    o.safe_quotes = true;
  } else if (a == "--time-limit") {
    if (!OptionValue(args, i, v, command, usage)) return -1;
    if (!ParseSeconds(v, o.seconds)) {
      std::fprintf(stderr, "quorvix %s: bad time limit '%s' (expected seconds >= 0)\n", command,
                   v.c_str());
      return -1;
    }
  } else {
    return 0;
  }
  return 1;
}

void ApplyFillOptions(const FillOptions& o, MathParser& parser) {
  for (const std::string& dir : o.includes) FillerBase::IncludePath().push_back(dir);
  MathParser::SetErrorFunction(CaptureError);
  // The definitions are held to the same trust as the templates.
  ApplyTrust(o.trust, parser.policy());
  SendMessagesToStandardError(parser.policy());
}

bool EvaluateDefinitions(const FillOptions& o, MathParser& parser, const char* command) {
  for (const auto& [name, expr] : o.defines) {
    g_message.clear();
    symtab* value = parser.Evaluate(const_cast<char*>(expr.c_str()));
    if (value == nullptr) {
      std::fprintf(stderr, "quorvix %s: -D %s: %s\n", command, name.c_str(), g_message.c_str());
      return false;
    }
    value->SetName(name.c_str());
    parser.AddVariable(value);
    value->Delete();
  }
  return true;
}

void ApplyFillerOptions(const FillOptions& o, FillerBase& filler) {
  filler.SafeQuotes(o.safe_quotes ? 1 : 0);
  filler.SetLfInFiles(o.lf);
}

}  // namespace quorvix::cli
