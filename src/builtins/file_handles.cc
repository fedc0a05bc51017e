#include "builtins/file_handles.h"

#include <cinttypes>
#include <cstdlib>
#include <unordered_map>

namespace quorvix::builtins {
namespace {

struct Table {
  std::mutex lock;
  std::unordered_map<std::uintptr_t, std::shared_ptr<OpenStream>> streams;
};

Table& Streams() {
  static Table* table = new Table;  // outlives every static that might close a stream
  return *table;
}

// The handle's number; 0 (never a stream) when it is no hexadecimal number.
std::uintptr_t Parse(const char* handle) {
  if (handle == nullptr) return 0;
  char* end = nullptr;
  const unsigned long long n = std::strtoull(handle, &end, 16);
  return end == handle ? 0 : static_cast<std::uintptr_t>(n);
}

}  // namespace

std::string AddStream(std::FILE* file) {
  const auto key = reinterpret_cast<std::uintptr_t>(file);
  char text[2 * sizeof key + 1];
  std::snprintf(text, sizeof text, "%" PRIxPTR, key);
  Table& t = Streams();
  std::lock_guard<std::mutex> hold(t.lock);
  t.streams[key] = std::make_shared<OpenStream>(file);
  return text;
}

std::shared_ptr<OpenStream> FindStream(const char* handle) {
  const std::uintptr_t key = Parse(handle);
  Table& t = Streams();
  std::lock_guard<std::mutex> hold(t.lock);
  auto it = t.streams.find(key);
  return it == t.streams.end() ? nullptr : it->second;
}

bool CloseStream(const char* handle) {
  const std::uintptr_t key = Parse(handle);
  std::shared_ptr<OpenStream> stream;  // closes after the lock is let go
  Table& t = Streams();
  std::lock_guard<std::mutex> hold(t.lock);
  auto it = t.streams.find(key);
  if (it == t.streams.end()) return false;
  stream = std::move(it->second);
  t.streams.erase(it);
  return true;
}

}  // namespace quorvix::builtins
