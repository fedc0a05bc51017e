// Output streams of the template engine: an in-memory stream and a file
// stream sharing one buffer. Writing a character or a run of text is an
// inline append; only a full file buffer calls through the virtual spill,
// so there is no virtual call per character.
#ifndef QUORVIX_UTIL_OUTPUT_STREAM_H
#define QUORVIX_UTIL_OUTPUT_STREAM_H

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "quorvix/output_sink.h"
#include "util/text_buffer.h"

class ostream_fast {
 public:
  virtual ~ostream_fast() = default;
  ostream_fast(const ostream_fast&) = delete;
  ostream_fast& operator=(const ostream_fast&) = delete;

  void put(char c) {
    buf_.push_back(c);
    if (buf_.size() >= spill_at_) spill();
  }
  void write(const char* s, std::size_t n) {
    buf_.append(s, n);
    if (buf_.size() >= spill_at_) spill();
  }
  void write(std::string_view s) { write(s.data(), s.size()); }
  // `n` copies of `c`.
  void put_n(char c, std::size_t n) {
    if (n == 0) return;
    char* at = reserve(n);
    std::memset(at, c, n);
    commit(at + n);
  }
  void puts(const char* s) { write(s, std::strlen(s)); }
  // Room for `n` characters, to be written in place and then taken in by
  // commit(end), which may be anywhere from the room's start to n past it;
  // nothing is written until the commit, so a writer may give up.
  char* reserve(std::size_t n) { return buf_.room(n); }
  void commit(const char* end) {
    buf_.commit(end);
    if (buf_.size() >= spill_at_) spill();
  }
  // The engine's line end is CR LF on every platform.
  void endl() { write("\r\n", 2); }
  void write_double(double v);
  virtual void flush() {}
  // Characters written and not yet handed on.
  std::size_t pending() const { return buf_.size(); }
  // The length of the last line among the characters not yet handed on.
  std::size_t line_length() const {
    const std::size_t nl = buf_.find_last('\n');
    return nl == TextBuffer::npos ? buf_.size() : buf_.size() - nl - 1;
  }
  // Characters written since the stream was made.
  std::size_t written() const { return handed_on_ + buf_.size(); }

 protected:
  explicit ostream_fast(std::size_t spill_at) : spill_at_(spill_at) {}
  // Called when the buffer reaches spill_at_; a sink empties it.
  virtual void spill() {}

  TextBuffer buf_;
  std::size_t spill_at_;
  std::size_t handed_on_ = 0;  // characters flushed out of buf_
};

// Accumulates everything in memory.
class ostrstream_fast : public ostream_fast {
 public:
  ostrstream_fast() : ostream_fast(static_cast<std::size_t>(-1)) { buf_.reserve(4096); }
  // Hands over the accumulated characters as a new[] zero-terminated string
  // and empties the stream.
  char* str();
  std::string_view text() const { return buf_.view(); }
  void clear() { buf_.clear(); }
};

// An in-memory stream that keeps at most `cap` characters and then a line
// saying the rest was cut: for texts a hostile input could grow without
// end, such as the error text of a loop that fails on every pass.
class ocappedstream_fast : public ostrstream_fast {
 public:
  explicit ocappedstream_fast(std::size_t cap) : cap_(cap) { spill_at_ = cap + 1; }
  char* str() {
    Reset();
    return ostrstream_fast::str();
  }
  void clear() {
    Reset();
    ostrstream_fast::clear();
  }

 protected:
  void spill() override;

 private:
  void Reset() { cut_ = false, spill_at_ = cap_ + 1; }
  std::size_t cap_;
  bool cut_ = false;
};

// Writes to a file through a 64 KiB buffer. The file comes open (every file
// the library opens goes through the policy) and is closed with the stream.
class ofstream_fast : public ostream_fast {
 public:
  explicit ofstream_fast(std::FILE* file);
  ~ofstream_fast() override;
  void flush() override;

 protected:
  void spill() override { flush(); }

 private:
  std::FILE* file_ = nullptr;
};

// Hands the output to a host's sink in 64 KiB pieces as the fill goes.
class osinkstream_fast : public ostream_fast {
 public:
  explicit osinkstream_fast(quorvix::OutputSink& sink) : ostream_fast(64 * 1024), sink_(sink) {}
  void flush() override;
  // Flushes and tells the sink the output is complete; false when the sink
  // refused a write or the end.
  bool finish();

 protected:
  void spill() override { flush(); }

 private:
  quorvix::OutputSink& sink_;
  bool good_ = true;
};

#endif
