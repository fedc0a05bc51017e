// Reading a result file's bytes through the policy: its head for the
// formats' sniffing and the whole file mapped.
#ifndef QUORVIX_RESULTS_FILE_BYTES_H
#define QUORVIX_RESULTS_FILE_BYTES_H

#include <cstddef>
#include <string>
#include <string_view>

#include "quorvix/policy.h"

namespace quorvix::results {

// The first `max` bytes (fewer for a shorter file).
bool ReadFileHead(const std::string& path, const Policy& policy, std::size_t max, std::string& head,
                  std::string* why);

// A file's bytes mapped read-only for as long as this lives: no copy and
// no zero-filling of a buffer, which for large text files costs more than
// the parsing.
class MappedFile {
 public:
  MappedFile() = default;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;
  ~MappedFile();
  // False with `why` set when the file cannot be opened or mapped.
  bool Open(const std::string& path, const Policy& policy, std::string* why);
  std::string_view bytes() const { return {data_, size_}; }

 private:
  const char* data_ = nullptr;
  std::size_t size_ = 0;
  void* map_ = nullptr;
};

}  // namespace quorvix::results

#endif  // QUORVIX_RESULTS_FILE_BYTES_H
