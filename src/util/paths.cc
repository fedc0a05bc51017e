#include "util/paths.h"

#include <unistd.h>

#include <vector>

namespace quorvix {
namespace {

std::vector<std::string> Components(const std::string& path) {
  std::vector<std::string> parts;
  const bool absolute = !path.empty() && path[0] == '/';
  std::size_t i = 0;
  while (i <= path.size()) {
    std::size_t slash = path.find('/', i);
    if (slash == std::string::npos) slash = path.size();
    std::string part = path.substr(i, slash - i);
    i = slash + 1;
    if (part.empty() || part == ".") continue;
    if (part == "..") {
      if (!parts.empty() && parts.back() != "..") {
        parts.pop_back();
        continue;
      }
      if (absolute) continue;  // nothing above the root
    }
    parts.push_back(std::move(part));
  }
  return parts;
}

std::string Join(const std::vector<std::string>& parts, bool absolute) {
  std::string out = absolute ? "/" : "";
  for (std::size_t i = 0; i < parts.size(); ++i) out += (i > 0 ? "/" : "") + parts[i];
  return out.empty() ? "." : out;
}

std::string WorkingDirectory() {
  char cwd[4096];
  return ::getcwd(cwd, sizeof cwd) != nullptr ? std::string(cwd) : std::string("/");
}

}  // namespace

std::string NormalizePath(const std::string& path) {
  return Join(Components(path), !path.empty() && path[0] == '/');
}

std::string RelativeToAbs(const std::string& path, const std::string& base) {
  if (!path.empty() && path[0] == '/') return NormalizePath(path);
  std::string dir = base.empty() ? WorkingDirectory() : base;
  if (dir[0] != '/') dir = WorkingDirectory() + "/" + dir;
  return NormalizePath(dir + "/" + path);
}

std::string AbsToRelative(const std::string& path, const std::string& base) {
  const std::vector<std::string> to = Components(RelativeToAbs(path, ""));
  const std::vector<std::string> from = Components(RelativeToAbs(base, ""));
  std::size_t common = 0;
  while (common < to.size() && common < from.size() && to[common] == from[common]) ++common;
  std::vector<std::string> parts(from.size() - common, "..");
  parts.insert(parts.end(), to.begin() + static_cast<long>(common), to.end());
  return Join(parts, false);
}

std::string RemoveFilePath(const std::string& path) {
  const std::size_t sep = path.find_last_of("/\\");
  return sep == std::string::npos ? path : path.substr(sep + 1);
}

}  // namespace quorvix
