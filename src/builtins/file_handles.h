// The streams that fileopen hands out. A handle is the stream's address in
// lower-case hexadecimal; it is only ever looked up in this process-wide
// table, so a forged, closed or foreign handle finds nothing instead of being
// taken for a pointer.
#ifndef QUORVIX_BUILTINS_FILE_HANDLES_H
#define QUORVIX_BUILTINS_FILE_HANDLES_H

#include <cstdio>
#include <memory>
#include <mutex>
#include <string>

namespace quorvix::builtins {

// An open stream. Reading and positioning hold `lock`; the stream closes
// when the table and every caller have let go of it.
struct OpenStream {
  explicit OpenStream(std::FILE* f) : file(f) {}
  ~OpenStream() { std::fclose(file); }
  OpenStream(const OpenStream&) = delete;
  OpenStream& operator=(const OpenStream&) = delete;
  std::FILE* file;
  std::mutex lock;
};

// Takes ownership of `file` and returns its handle.
std::string AddStream(std::FILE* file);
// The stream of `handle`, or null when the table has none under it.
std::shared_ptr<OpenStream> FindStream(const char* handle);
// Removes the stream from the table (it closes once no call uses it);
// false when the handle names none.
bool CloseStream(const char* handle);

}  // namespace quorvix::builtins

#endif  // QUORVIX_BUILTINS_FILE_HANDLES_H
