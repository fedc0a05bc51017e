// Reading a result file's bytes through the policy: its head for the
// formats' sniffing and the whole file in one read.
#ifndef QUORVIX_RESULTS_FILE_BYTES_H
#define QUORVIX_RESULTS_FILE_BYTES_H

#include <cstddef>
#include <string>

#include "quorvix/policy.h"

namespace quorvix::results {

// The first `max` bytes (fewer for a shorter file).
bool ReadFileHead(const std::string& path, const Policy& policy, std::size_t max, std::string& head,
                  std::string* why);

// The whole file, sized once from its status.
bool ReadFileBytes(const std::string& path, const Policy& policy, std::string& text,
                   std::string* why);

}  // namespace quorvix::results

#endif  // QUORVIX_RESULTS_FILE_BYTES_H
