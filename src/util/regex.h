// Regular expressions (PCRE2, Perl syntax) for the text built-ins.
//
// A pattern is compiled once and searched many times. Matching runs under a
// bound on backtracking, so a pathological pattern fails the search instead of
// running for hours.
#ifndef QUORVIX_UTIL_REGEX_H
#define QUORVIX_UTIL_REGEX_H

#include <cstddef>
#include <string>
#include <string_view>

namespace quorvix {

class Regex {
 public:
  // Compiles `pattern`; ok() tells whether it compiled, error() why not.
  explicit Regex(std::string_view pattern);
  ~Regex();
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;

  bool ok() const { return code_ != nullptr; }
  const std::string& error() const { return error_; }

  // The first match at or after byte `start` of `text`: true with its offset
  // and length. False when there is none, the pattern did not compile or the
  // search gave up at the backtracking bound (error() then says so).
  bool Search(std::string_view text, std::size_t start, std::size_t* offset,
              std::size_t* length) const;

  // `text` with every match replaced by `replacement`, in which $1, ${name}
  // and $$ refer to groups and a dollar sign. False (and `out` untouched)
  // when the pattern did not compile, the replacement is malformed or the
  // result would pass `max_bytes`.
  bool ReplaceAll(std::string_view text, std::string_view replacement, std::string& out,
                  std::size_t max_bytes = static_cast<std::size_t>(-1)) const;

 private:
  void* code_ = nullptr;  // pcre2_code_8*
  mutable std::string error_;
};

}  // namespace quorvix

#endif  // QUORVIX_UTIL_REGEX_H
