#include "util/search_path.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

namespace quorvix {
namespace {
thread_local std::vector<std::string> t_template_dirs;

bool Readable(const Policy& policy, const std::string& path, std::string& refusal) {
  std::string why;
  bool refused = false;
  std::FILE* f = policy.OpenFile(path, "rb", &why, &refused);
  if (f == nullptr) {
    if (refused && refusal.empty()) refusal = why;
    return false;
  }
  std::fclose(f);
  return true;
}

}  // namespace

std::vector<std::string>& SearchPath() {
  static std::vector<std::string> path;
  return path;
}

void AddSearchDirectory(const std::string& dir) {
  std::vector<std::string>& path = SearchPath();
  if (std::find(path.begin(), path.end(), dir) == path.end()) path.push_back(dir);
}

std::string FindOnSearchPath(const Policy& policy, const std::string& name, std::string& refusal) {
  if (name.compare(0, 2, "\\:") != 0) {
    std::string absolute = name;
    if (name.empty() || name[0] != '/') {
      char cwd[4096];
      if (::getcwd(cwd, sizeof cwd) != nullptr) absolute = std::string(cwd) + "/" + name;
    }
    if (Readable(policy, absolute, refusal)) return absolute;
  }
  std::string stripped = name;
  if (!name.empty() && (name[0] == '.' || (name.size() > 1 && (name[1] == '/' || name[1] == '\\'))))
    stripped = name.size() > 2 ? name.substr(2) : std::string();
  for (const std::string& dir : SearchPath()) {
    std::string candidate = dir + "/" + stripped;
    if (Readable(policy, candidate, refusal)) return candidate;
  }
  return {};
}

TemplateDirScope::TemplateDirScope(const std::string& file_path) {
  const std::size_t slash = file_path.find_last_of('/');
  t_template_dirs.push_back(slash == std::string::npos ? std::string(".")
                            : slash == 0               ? std::string("/")
                                                       : file_path.substr(0, slash));
}

TemplateDirScope::~TemplateDirScope() { t_template_dirs.pop_back(); }

const std::vector<std::string>& TemplateDirectories() { return t_template_dirs; }

}  // namespace quorvix
