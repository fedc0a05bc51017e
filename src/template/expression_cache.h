// Parsed expressions of a fill, remembered by their place in the template
// text. A loop body is read again on every pass; its expressions are found
// here by address and reused once the text there is checked to be the same
// (buffers of ended sources may be reused for other text).
#ifndef QUORVIX_TEMPLATE_EXPRESSION_CACHE_H
#define QUORVIX_TEMPLATE_EXPRESSION_CACHE_H

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "quorvix/math_parser.h"

namespace quorvix {

class ExpressionCache {
 public:
  struct Entry {
    std::string source;  // the expression text and the character that ended it
    std::unique_ptr<MathParserExpression> expression;
    std::uint64_t registry_generation = 0;
    bool escapes = true;
  };

  // The entry for an expression starting at `at`, or null.
  Entry* Find(const char* at, bool escapes);
  void Remember(const char* at, const std::string& text, char terminator,
                std::unique_ptr<MathParserExpression> expression, bool escapes);
  void Clear() {
    entries_.clear();
    recent_.fill({});
  }

 private:
  static constexpr std::size_t kMaxEntries = 10000;
  static constexpr std::size_t kRecent = 256;
  static std::size_t Slot(const char* at) {
    return (reinterpret_cast<std::uintptr_t>(at) >> 2) & (kRecent - 1);
  }
  std::unordered_map<const char*, Entry> entries_;
  // A direct-mapped memo in front of the map: a loop body's few statements
  // are found without hashing.
  std::array<std::pair<const char*, Entry*>, kRecent> recent_{};
};

}  // namespace quorvix

#endif
