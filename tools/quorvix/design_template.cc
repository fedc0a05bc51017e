// Reading a template's design parameters.
#include "design_template.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

namespace quorvix::cli {

bool ScanTemplate(const std::string& path, DOEFiller& filler, std::vector<std::string>& names,
                  const char* command) {
  std::error_code ec;
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  if (!std::filesystem::is_regular_file(path, ec) || !in || (text << in.rdbuf(), in.bad())) {
    std::fprintf(stderr, "quorvix %s: cannot read '%s'\n", command, path.c_str());
    return false;
  }
  // Restricted mode reads the template's own directory, as a fill does.
  const std::size_t slash = path.find_last_of('/');
  filler.GetMathParser()->policy().read_dirs.push_back(
      slash == std::string::npos ? "." : path.substr(0, slash == 0 ? 1 : slash));
  std::set<std::string> seen;
  names.clear();
  for (std::string& name : filler.ScanForOptimizationParameters(text.str().c_str()))
    if (seen.insert(name).second) names.push_back(std::move(name));
  return true;
}

}  // namespace quorvix::cli
