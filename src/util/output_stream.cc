#include "util/output_stream.h"

#include <cstdio>
#include <string>

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

void ocappedstream_fast::spill() {
  if (!cut_) {
    buf_.truncate(cap_);
    buf_.append("\r\n... cut at " + std::to_string(cap_) + " bytes\r\n");
    cut_ = true;
    spill_at_ = buf_.size() + 1;
  }
  // Whatever came after the cut is dropped.
  buf_.truncate(spill_at_ - 1);
}

ofstream_fast::ofstream_fast(std::FILE* file) : ostream_fast(64 * 1024), file_(file) {}

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
  handed_on_ += buf_.size();
  buf_.clear();
}

void osinkstream_fast::flush() {
  if (buf_.empty()) return;
  // After a refused write the rest is dropped: memory must not grow while
  // the fill winds down.
  if (good_) good_ = sink_.Write(buf_.data(), buf_.size());
  handed_on_ += buf_.size();
  buf_.clear();
}

bool osinkstream_fast::finish() {
  flush();
  if (good_) good_ = sink_.Finish();
  return good_;
}
