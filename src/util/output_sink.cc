#include "quorvix/output_sink.h"

#include <cstring>

namespace quorvix {

bool FileSink::Write(const char* data, std::size_t n) {
  if (!lf_) return n == 0 || std::fwrite(data, 1, n, file_) == n;
  const char* end = data + n;
  const char* p = data;
  if (held_cr_ && p < end) {
    held_cr_ = false;
    // The CR of a pair split across writes is dropped; a lone CR is kept.
    if (*p != '\n' && std::fputc('\r', file_) == EOF) return false;
  }
  while (p < end) {
    const char* cr =
        static_cast<const char*>(std::memchr(p, '\r', static_cast<std::size_t>(end - p)));
    const char* stop = cr != nullptr ? cr : end;
    if (stop > p && std::fwrite(p, 1, static_cast<std::size_t>(stop - p), file_) !=
                        static_cast<std::size_t>(stop - p))
      return false;
    if (cr == nullptr) break;
    if (cr + 1 == end) {
      held_cr_ = true;
      break;
    }
    if (cr[1] != '\n' && std::fputc('\r', file_) == EOF) return false;
    p = cr + 1;
  }
  return true;
}

bool FileSink::Finish() {
  if (held_cr_) {
    held_cr_ = false;
    if (std::fputc('\r', file_) == EOF) return false;
  }
  return std::fflush(file_) == 0;
}

std::string WithLfLineEnds(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    out.push_back(text[i]);
  }
  return out;
}

}  // namespace quorvix
