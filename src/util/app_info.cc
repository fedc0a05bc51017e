#include "quorvix/app_info.h"

#include <sys/utsname.h>

#include <cstdlib>

namespace {
std::string Env(const char* name) {
  const char* v = std::getenv(name);
  return v ? std::string(v) : std::string();
}
}  // namespace

std::string VQApplicationInfo::GetOrvantHome() const { return Env("ORVANT_HOME"); }

std::string VQApplicationInfo::GetSpecifiedPath(const std::string& which) const {
  std::string home = GetOrvantHome();
  if (home.empty()) return {};
  if (which.empty() || which == "home") return home;
  return home + "/" + which;
}

std::string VQApplicationInfo::GetProductArchitecture() const {
  utsname u{};
  if (uname(&u) != 0) return {};
  return u.machine;
}

std::string VQApplicationInfo::GetApplicationVersion() const {
  std::string v = Env("ORVANT_PROD_VER");
  if (v.empty()) v = Env("VERSION");
  return v.empty() ? std::string(QUORVIX_VERSION_TEXT) : v;
}
