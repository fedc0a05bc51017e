// Registration of readers and external functions on behalf of the host and
// the preference file: the file checks, the warnings about missing files
// and the lookups of shared reader modules. The template statements use the
// lists directly (they ignore missing files without a word).
#ifndef QUORVIX_RESULTS_READER_REGISTRATION_H
#define QUORVIX_RESULTS_READER_REGISTRATION_H

#include <string>
#include <vector>

#include "quorvix/math_parser.h"

namespace quorvix {

// The file extension of shared reader modules.
inline constexpr const char* kSharedReaderSuffix = ".so";

// One warning line: to the message service of `parser` when one is given,
// else to the active message service, else to standard error.
void ReportWarning(const std::string& text, const MathParser* parser = nullptr);

// True when `path` is a file that opens for reading.
bool FileOpens(const std::string& path);

// Each registers when the file is there and warns otherwise
// ("External function <path> not found." and so on); the warnings go as
// ReportWarning sends them for `messages_from`.
void RegisterExternalFunction(const char* name, const char* path, const MathParser* messages_from);
// Does not add a path that is listed already.
void RegisterExternalReader(const char* path, const char* type, const char* ext,
                            const MathParser* messages_from);
// A null type or extension is not listed.
void RegisterImportTemplate(const char* path, const char* type, const char* ext,
                            const MathParser* messages_from);

// `name` itself when it ends in the module suffix and exists, else the
// first of dir + "/" + name + suffix that exists; empty when none does.
std::string FindSharedReader(const std::string& name, const std::vector<std::string>& dirs);

// The module a preference file names: `text` when that file exists, else
// the application's reader directory ("vq_readers") + "/" + text + suffix
// without checking it; empty when there is no application information or
// it knows no such directory.
std::string SharedReaderForPreference(const std::string& text);

}  // namespace quorvix

#endif  // QUORVIX_RESULTS_READER_REGISTRATION_H
