#include "util/chunked_output.h"

#include <cstring>
#include <utility>

namespace {

constexpr std::size_t kChunk = std::size_t{1} << 18;
// A chunk spills after kChunk new characters; the room past that takes
// the open line carried over and the write that crosses the spill point,
// so that a chunk is not grown, and copied, on its way.
constexpr std::size_t kRoom = kChunk + (std::size_t{1} << 14);
// At most this many spare chunks (32 MiB) wait for the next fill.
constexpr std::size_t kMaxSpare = 128;

// The library is single-threaded by contract, so the spares need no lock.
std::vector<TextBuffer>& Spares() {
  static auto* spares = new std::vector<TextBuffer>();
  return *spares;
}

TextBuffer TakeSpare() {
  auto& spares = Spares();
  if (spares.empty()) {
    TextBuffer s;
    s.reserve(kRoom);
    return s;
  }
  TextBuffer s = std::move(spares.back());
  spares.pop_back();
  s.clear();
  return s;
}

void GiveSpare(TextBuffer&& s) {
  auto& spares = Spares();
  if (spares.size() < kMaxSpare && s.capacity() >= kRoom) spares.push_back(std::move(s));
}

}  // namespace

ochunkedstream_fast::ochunkedstream_fast() {
  buf_ = TakeSpare();
  spill_at_ = kChunk;
}

ochunkedstream_fast::~ochunkedstream_fast() {
  for (TextBuffer& c : chunks_) GiveSpare(std::move(c));
  GiveSpare(std::move(buf_));
}

void ochunkedstream_fast::spill() {
  const std::size_t nl = buf_.find_last('\n');
  if (nl == TextBuffer::npos) {
    // One line longer than a chunk: the buffer grows until it ends.
    spill_at_ = buf_.size() + kChunk;
    return;
  }
  TextBuffer next = TakeSpare();
  next.append(buf_.data() + nl + 1, buf_.size() - nl - 1);
  buf_.truncate(nl + 1);
  handed_on_ += buf_.size();
  chunks_.push_back(std::move(buf_));
  buf_ = std::move(next);
  spill_at_ = buf_.size() + kChunk;
}

char* ochunkedstream_fast::str() {
  char* out = new char[handed_on_ + buf_.size() + 1];
  char* p = out;
  for (TextBuffer& c : chunks_) {
    std::memcpy(p, c.data(), c.size());
    p += c.size();
    GiveSpare(std::move(c));
  }
  chunks_.clear();
  std::memcpy(p, buf_.data(), buf_.size());
  p[buf_.size()] = '\0';
  buf_.clear();
  handed_on_ = 0;
  spill_at_ = kChunk;
  return out;
}
