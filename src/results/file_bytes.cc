#include "results/file_bytes.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <cstdio>
#include <memory>

namespace quorvix::results {

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File OpenStream(const std::string& path, const Policy& policy, std::string* why) {
  return File(policy.OpenFile(path, FileMode::kRead, why), &std::fclose);
}

bool ReadFailed(const std::string& path, std::string* why) {
  if (why != nullptr) *why = "could not read " + path;
  return false;
}

}  // namespace

bool ReadFileHead(const std::string& path, const Policy& policy, std::size_t max, std::string& head,
                  std::string* why) {
  File f = OpenStream(path, policy, why);
  if (f == nullptr) return false;
  head.resize(max);
  head.resize(std::fread(head.data(), 1, max, f.get()));
  return !std::ferror(f.get()) || ReadFailed(path, why);
}

MappedFile::~MappedFile() {
  if (map_ != nullptr) ::munmap(map_, size_);
}

bool MappedFile::Open(const std::string& path, const Policy& policy, std::string* why) {
  File f = OpenStream(path, policy, why);
  if (f == nullptr) return false;
  struct stat st {};
  if (::fstat(::fileno(f.get()), &st) != 0) return ReadFailed(path, why);
  size_ = static_cast<std::size_t>(st.st_size);
  if (size_ == 0) return true;
  void* map = ::mmap(nullptr, size_, PROT_READ, MAP_PRIVATE | MAP_POPULATE, ::fileno(f.get()), 0);
  if (map == MAP_FAILED) {
    size_ = 0;
    return ReadFailed(path, why);
  }
  ::madvise(map, size_, MADV_SEQUENTIAL);
  map_ = map;
  data_ = static_cast<const char*>(map);
  return true;
}

}  // namespace quorvix::results
