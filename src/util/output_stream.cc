#include "util/output_stream.h"

#include <cstdio>

void ostream_fast::write_int(long long v) {
  char buf[32];
  int n = std::snprintf(buf, sizeof buf, "%lld", v);
  write(buf, static_cast<std::size_t>(n));
}

void ostream_fast::write_double(double v) {
  char buf[64];
  int n = std::snprintf(buf, sizeof buf, "%g", v);
  write(buf, static_cast<std::size_t>(n));
}

char* ostrstream_fast::str() {
  char* out = new char[buf_.size() + 1];
  std::memcpy(out, buf_.data(), buf_.size());
  out[buf_.size()] = '\0';
  buf_.clear();
  return out;
}

ofstream_fast::ofstream_fast(const char* path, int mode)
    : ostream_fast(64 * 1024) {
  file_ = std::fopen(path, mode == kAppend ? "ab" : "wb");
}

ofstream_fast::~ofstream_fast() {
  if (file_ != nullptr) {
    flush();
    std::fclose(file_);
  }
}

void ofstream_fast::flush() {
  // Hands the buffer to stdio, which does its own buffering; the file is
  // flushed for good when the stream closes.
  if (file_ != nullptr && !buf_.empty()) std::fwrite(buf_.data(), 1, buf_.size(), file_);
  buf_.clear();
}
