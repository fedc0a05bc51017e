// The options of trust and resources shared by quorvix fill and eval.
#include <cstdio>
#include <cstdlib>
#include <string>

#include "commands.h"

namespace quorvix::cli {
namespace {

bool ParsePositive(const std::string& text, long long& n) {
  char* end = nullptr;
  const long long v = std::strtoll(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || v <= 0) return false;
  n = v;
  return true;
}

}  // namespace

int ParseTrustOption(const Args& args, std::size_t& i, TrustOptions& o, bool with_output,
                     const char* command) {
  const std::string& a = args[i];
  if (a == "--restricted") {
    o.restricted = true;
    return 1;
  }
  const bool env = a == "--allow-env", elements = a == "--max-elements";
  const bool output = with_output && a == "--max-output";
  if (!env && !elements && !output) return 0;
  if (i + 1 >= args.size()) {
    std::fprintf(stderr, "quorvix %s: %s needs a value\n", command, a.c_str());
    return -1;
  }
  const std::string& v = args[++i];
  if (env) {
    o.allowed_env.push_back(v);
    return 1;
  }
  if (!ParsePositive(v, elements ? o.max_elements : o.max_output)) {
    std::fprintf(stderr, "quorvix %s: bad value '%s' for %s (expected a positive integer)\n",
                 command, v.c_str(), a.c_str());
    return -1;
  }
  return 1;
}

void ApplyTrust(const TrustOptions& o, Policy& policy) {
  policy.SetTrust(o.restricted, o.allowed_env, o.max_elements, o.max_output);
}

}  // namespace quorvix::cli
