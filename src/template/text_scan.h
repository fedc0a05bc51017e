// Small helpers over template text shared by the engine's units.
#ifndef QUORVIX_TEMPLATE_TEXT_SCAN_H
#define QUORVIX_TEMPLATE_TEXT_SCAN_H

#include <cctype>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace quorvix {

// The text that an ended source reads: nothing. It is never written.
inline char kEmptyText[1] = {'\0'};

// Letters and digits as the C locale has them, and '_', without a call.
inline bool IsWordChar(char c) {
  const auto u = static_cast<unsigned char>(c);
  return (u >= '0' && u <= '9') || ((u | 0x20) >= 'a' && (u | 0x20) <= 'z') || u == '_';
}
inline bool IsAlpha(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }
// White space as the C locale has it, without a call per character.
inline bool IsBlank(char c) {
  return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// A zero-terminated copy of `text` (which may hold NUL bytes of its own).
// `text` without one pair of surrounding double quotes.
inline std::string Unquoted(std::string text) {
  if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
    return text.substr(1, text.size() - 2);
  return text;
}

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

// The end of the expression that starts at `p`: the first ';', '}', ',' or
// ')' outside brackets and quotes, or `stop`, or the end of the text.
inline const char* BalanceEnd(const char* p, char stop = '\0') {
  int depth = 0;
  while (*p != '\0' && *p != stop) {
    const char c = *p;
    if (c == '"') {
      p = SkipQuoted(p, stop);
      continue;
    }
    if (depth == 0 && (c == ';' || c == '}' || c == ',' || c == ')')) break;
    if (c == '(' || c == '[' || c == '{') ++depth;
    if ((c == ')' || c == ']' || c == '}') && depth > 0) --depth;
    ++p;
  }
  return p;
}

}  // namespace quorvix

#endif
