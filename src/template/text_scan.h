// Small scanners over template text shared by the statement readers.
#ifndef QUORVIX_TEMPLATE_TEXT_SCAN_H
#define QUORVIX_TEMPLATE_TEXT_SCAN_H

namespace quorvix {

// `p` points at an opening double quote: returns the position behind the
// closing one (or the end of the text). A backslash takes the next
// character with it, so an escaped quote does not end the passage.
inline const char* SkipQuoted(const char* p) {
  ++p;
  while (*p != '\0' && *p != '"') {
    if (*p == '\\' && p[1] != '\0') ++p;
    ++p;
  }
  return *p == '"' ? p + 1 : p;
}

}  // namespace quorvix

#endif
