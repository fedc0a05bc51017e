// Small scanners over template text shared by the statement readers.
#ifndef QUORVIX_TEMPLATE_TEXT_SCAN_H
#define QUORVIX_TEMPLATE_TEXT_SCAN_H

#include <cstring>
#include <memory>
#include <string_view>

namespace quorvix {

// A zero-terminated copy of `text` (which may hold NUL bytes of its own).
inline std::unique_ptr<char[]> CopyText(std::string_view text) {
  auto out = std::make_unique<char[]>(text.size() + 1);
  std::memcpy(out.get(), text.data(), text.size());
  out[text.size()] = '\0';
  return out;
}

// `p` points at an opening double quote: returns the position behind the
// closing one (or the end of the text, or `stop` when it comes first). A
// backslash takes the next character with it, so an escaped quote does not
// end the passage.
inline const char* SkipQuoted(const char* p, char stop = '\0') {
  ++p;
  while (*p != '\0' && *p != stop && *p != '"') {
    if (*p == '\\' && p[1] != '\0' && p[1] != stop) ++p;
    ++p;
  }
  return *p == '"' ? p + 1 : p;
}

}  // namespace quorvix

#endif
