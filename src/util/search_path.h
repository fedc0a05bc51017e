// The process-wide list of search directories. The template engine looks
// included files up along it ("path", -I, FillerBase::IncludePath) and the
// file built-ins share it (addfilepath, fileopen). In restricted mode the
// directories on it are also the ones files may be read from.
#ifndef QUORVIX_UTIL_SEARCH_PATH_H
#define QUORVIX_UTIL_SEARCH_PATH_H

#include <string>
#include <vector>

#include "quorvix/policy.h"

namespace quorvix {

// The list itself; lives for the process.
std::vector<std::string>& SearchPath();

// Appends `dir` unless it is already there: a "path" in a loop would
// otherwise grow the list for the life of the process.
void AddSearchDirectory(const std::string& dir);

// Looks a file up: first `name` against the working directory, then along
// the search path (joined with "/", after dropping a leading "./" or "x/"
// the way the engine always has). Only files the policy lets us read count.
// Empty when it is nowhere; `refusal` then holds the first refusal of
// restricted mode met on the way, if any.
std::string FindOnSearchPath(const Policy& policy, const std::string& name, std::string& refusal);

// The directory of the template file being filled on this thread, while a
// scope of it lives (nested scopes stack). Restricted mode reads inside it.
class TemplateDirScope {
 public:
  explicit TemplateDirScope(const std::string& file_path);
  ~TemplateDirScope();
  TemplateDirScope(const TemplateDirScope&) = delete;
  TemplateDirScope& operator=(const TemplateDirScope&) = delete;
};

// The directories of the template files being filled on this thread.
const std::vector<std::string>& TemplateDirectories();

}  // namespace quorvix

#endif  // QUORVIX_UTIL_SEARCH_PATH_H
