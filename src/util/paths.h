// Path arithmetic on text, POSIX style. Nothing here touches the file
// system except for the working directory that relative bases start from;
// symbolic links are not followed.
#ifndef QUORVIX_UTIL_PATHS_H
#define QUORVIX_UTIL_PATHS_H

#include <string>

namespace quorvix {

// `path` with "." and empty components dropped and each ".." taking away the
// component before it ("/a/./b//../c" is "/a/c"); ".." at the root stays at
// the root. A relative path keeps its leading ".." components; an empty
// result is ".".
std::string NormalizePath(const std::string& path);

// `path` made absolute: unchanged (normalised) when it starts with '/',
// otherwise joined to `base` (itself made absolute against the working
// directory; an empty base is the working directory) and normalised.
std::string RelativeToAbs(const std::string& path, const std::string& base);

// `path` as seen from the directory `base`, both first made absolute as by
// RelativeToAbs against the working directory: "../" for each component of
// base below the common part, then the rest of path. "." when they are the
// same directory.
std::string AbsToRelative(const std::string& path, const std::string& base);

// The file name after the last '/' or '\' (both separate directories);
// the whole text when it has neither.
std::string RemoveFilePath(const std::string& path);

}  // namespace quorvix

#endif  // QUORVIX_UTIL_PATHS_H
