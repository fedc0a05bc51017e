// How the registered readers (external programs, import templates, shared
// reader plug-ins) decide that a file is theirs.
#ifndef QUORVIX_RESULTS_REGISTERED_MATCH_H
#define QUORVIX_RESULTS_REGISTERED_MATCH_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "quorvix/policy.h"
#include "results/result_tree.h"

namespace quorvix::results {

// True when the file name of `path` ends in the extension `ext` ("dat",
// ".dat" and "*.dat" alike), compared case-insensitively.
bool ExtensionMatches(const std::string& path, std::string_view ext);

// Whether a reader registered with `ext` takes the file: by its extension,
// and for an empty extension every file that no built-in reader knows by
// its content.
bool RegisteredExtensionTakes(const std::string& path, const std::string& head,
                              std::string_view ext);

// The index of the first of `exts` (in registration order) whose reader
// takes the file; -1 when none does.
int FirstTaker(const std::string& path, const std::string& head,
               const std::vector<std::string>& exts);

// The first bytes of the file (up to 4 KiB), read through `policy`. False
// with `why` set when it does not open.
bool ReadHead(const std::string& path, const Policy& policy, std::string& head, std::string* why);

// The tree of the delimited text a registered reader wrote (`what` names
// the reader in messages), as many numbers as the policy's element limit
// allows; its format is the registered `type`, or `fallback` when none was
// given.
std::unique_ptr<ResultTree> TreeOfOutput(std::string_view text, const std::string& what,
                                         const std::string& type, const char* fallback,
                                         const Policy& policy, std::string* why);

}  // namespace quorvix::results

#endif  // QUORVIX_RESULTS_REGISTERED_MATCH_H
