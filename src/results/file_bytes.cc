#include "results/file_bytes.h"

#include <sys/stat.h>

#include <cstdio>
#include <memory>
#include <new>

namespace quorvix::results {

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File Open(const std::string& path, const Policy& policy, std::string* why) {
  return File(policy.OpenFile(path, FileMode::kRead, why), &std::fclose);
}

bool ReadFailed(const std::string& path, std::string* why) {
  if (why != nullptr) *why = "could not read " + path;
  return false;
}

}  // namespace

bool ReadFileHead(const std::string& path, const Policy& policy, std::size_t max, std::string& head,
                  std::string* why) {
  File f = Open(path, policy, why);
  if (f == nullptr) return false;
  head.resize(max);
  head.resize(std::fread(head.data(), 1, max, f.get()));
  return !std::ferror(f.get()) || ReadFailed(path, why);
}

bool ReadFileBytes(const std::string& path, const Policy& policy, std::string& text,
                   std::string* why) {
  File f = Open(path, policy, why);
  if (f == nullptr) return false;
  struct stat st {};
  if (::fstat(::fileno(f.get()), &st) != 0) return ReadFailed(path, why);
  try {
    text.resize(static_cast<std::size_t>(st.st_size));
    std::size_t got = std::fread(text.data(), 1, text.size(), f.get());
    text.resize(got);
    // A file that grew since its status was taken: the rest in blocks.
    char block[1 << 16];
    while (got > 0 && (got = std::fread(block, 1, sizeof block, f.get())) > 0)
      text.append(block, got);
  } catch (const std::bad_alloc&) {
    if (why != nullptr) *why = "out of memory reading " + path;
    return false;
  }
  return !std::ferror(f.get()) || ReadFailed(path, why);
}

}  // namespace quorvix::results
