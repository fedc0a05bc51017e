// String joining (+) and string removal (-) on string lists.
#include <cstring>

#include "values/value_limits.h"
#include "values/value_ops.h"

namespace quorvix::ops::detail {
namespace {

using quorvix::CheckedStringBytes;

constexpr const char* kInvalidAddition = "Invalid addition type";

// New array allocation holding a followed by b.
char* Join(const char* a, const char* b) {
  const std::size_t la = std::strlen(a);
  const std::size_t lb = std::strlen(b);
  char* out = new char[la + lb + 1];
  std::memcpy(out, a, la);
  std::memcpy(out + la, b, lb + 1);
  return out;
}

void Replace(char*& slot, char* text) {
  delete[] slot;
  slot = text;
}

// "<number><text>" or "<text><number>" with the integral formatting rule;
// null (reported) past the string limit.
char* JoinNumber(const char* text, double x, bool number_first) {
  char number[kNumberTextRoom + 1] = "";
  AppendNumber(number, x);
  if (!CheckedStringBytes(std::strlen(text) + std::strlen(number))) return nullptr;
  return number_first ? Join(number, text) : Join(text, number);
}

// Removes every occurrence of pat (of length m > 0) from s in place. Each
// kept character is pushed onto the output; whenever the output then ends
// with pat, the match is popped. The output never holds a match, so this is
// the same as searching again from the start after every removal, including
// occurrences that a removal makes anew, without rescanning the text.
void RemoveAll(char* s, const char* pat, std::size_t m) {
  const char last = pat[m - 1];
  std::size_t w = 0;
  for (const char* r = s; *r != '\0'; ++r) {
    s[w++] = *r;
    if (*r == last && w >= m && std::memcmp(s + w - m, pat, m) == 0) w -= m;
  }
  s[w] = '\0';
}

std::size_t Bytes(const symtab& v) {
  std::size_t bytes = 0;
  for (int i = 0; i < v.num_strings; ++i) bytes += std::strlen(v.str_list[i]);
  return bytes;
}

std::size_t Length(const symtab& v) { return std::strlen(v.str_list[0]); }

bool JoinLists(symtab& left, symtab& right) {
  const int n = left.num_strings;
  const int m = right.num_strings;
  // The bytes of the whole result, checked before anything is joined.
  const std::size_t bytes = n == m   ? Bytes(left) + Bytes(right)
                            : m == 1 ? Bytes(left) + static_cast<std::size_t>(n) * Length(right)
                            : n == 1 ? static_cast<std::size_t>(m) * Length(left) + Bytes(right)
                                     : 0;
  if (!CheckedStringBytes(bytes)) return false;
  if (n == m) {
    for (int i = 0; i < n; ++i)
      Replace(left.str_list[i], Join(left.str_list[i], right.str_list[i]));
    return true;
  }
  if (m == 1) {
    for (int i = 0; i < n; ++i)
      Replace(left.str_list[i], Join(left.str_list[i], right.str_list[0]));
    return true;
  }
  if (n == 1) {
    // The right list already has the result's length: prefix into it.
    for (int i = 0; i < m; ++i)
      Replace(right.str_list[i], Join(left.str_list[0], right.str_list[i]));
    AdoptStrings(left, right);
    return true;
  }
  return Fail(kIncompatible);
}

}  // namespace

bool AddStrings(symtab& left, symtab& right) {
  if (left.type == SYM_STRINGS) {
    if (right.type == SYM_STRINGS) return JoinLists(left, right);
    if (right.type != SYM_SCALAR) return Fail(kInvalidAddition);
    if (left.num_strings != 1) return Fail(kIncompatible);
    char* joined = JoinNumber(left.str_list[0], right.value, false);
    if (joined == nullptr) return false;
    Replace(left.str_list[0], joined);
    return true;
  }
  if (left.type != SYM_SCALAR) return Fail(kInvalidAddition);
  // A number plus a list of other than one string keeps the number.
  if (right.num_strings != 1) return true;
  char* joined = JoinNumber(right.str_list[0], left.value, true);
  if (joined == nullptr) return false;
  Replace(right.str_list[0], joined);
  AdoptStrings(left, right);
  return true;
}

bool SubtractStrings(symtab& left, symtab& right) {
  if (right.num_strings != 1) return Fail(kIncompatible);
  const char* pat = right.str_list[0];
  const std::size_t m = std::strlen(pat);
  // Nothing to remove; the search loop would never end on an empty pattern.
  if (m == 0) return true;
  for (int i = 0; i < left.num_strings; ++i) RemoveAll(left.str_list[i], pat, m);
  return true;
}

}  // namespace quorvix::ops::detail
