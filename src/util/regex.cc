#include "util/regex.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <memory>

namespace quorvix {
namespace {

// Enough for every sane pattern on a few megabytes of text; exponential
// backtracking hits it in well under a second.
constexpr uint32_t kMatchLimit = 10'000'000;
constexpr uint32_t kDepthLimit = 100'000;

std::string ErrorText(int code) {
  PCRE2_UCHAR buffer[256];
  int n = pcre2_get_error_message(code, buffer, sizeof buffer);
  return n > 0 ? std::string(reinterpret_cast<const char*>(buffer), static_cast<std::size_t>(n))
               : std::string("regular expression error");
}

struct MatchContext {
  pcre2_match_context* ctx = pcre2_match_context_create(nullptr);
  MatchContext() {
    pcre2_set_match_limit(ctx, kMatchLimit);
    pcre2_set_depth_limit(ctx, kDepthLimit);
  }
  ~MatchContext() { pcre2_match_context_free(ctx); }
};

pcre2_match_context* Context() {
  static thread_local MatchContext context;
  return context.ctx;
}

pcre2_code* Code(void* p) { return static_cast<pcre2_code*>(p); }

}  // namespace

Regex::Regex(std::string_view pattern) {
  int code = 0;
  PCRE2_SIZE at = 0;
  code_ = pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.data()), pattern.size(), 0, &code, &at,
                        nullptr);
  if (code_ == nullptr) error_ = ErrorText(code) + " at offset " + std::to_string(at);
}

Regex::~Regex() { pcre2_code_free(Code(code_)); }

bool Regex::Search(std::string_view text, std::size_t start, std::size_t* offset,
                   std::size_t* length) const {
  if (code_ == nullptr || start > text.size()) return false;
  std::unique_ptr<pcre2_match_data, void (*)(pcre2_match_data*)> match(
      pcre2_match_data_create_from_pattern(Code(code_), nullptr), &pcre2_match_data_free);
  if (match == nullptr) return false;
  int rc = pcre2_match(Code(code_), reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(), start,
                       0, match.get(), Context());
  if (rc < 0) {
    if (rc != PCRE2_ERROR_NOMATCH) error_ = ErrorText(rc);
    return false;
  }
  const PCRE2_SIZE* ov = pcre2_get_ovector_pointer(match.get());
  *offset = ov[0];
  *length = ov[1] >= ov[0] ? ov[1] - ov[0] : 0;
  return true;
}

bool Regex::ReplaceAll(std::string_view text, std::string_view replacement, std::string& out,
                       std::size_t max_bytes) const {
  if (code_ == nullptr) return false;
  constexpr uint32_t kOptions = PCRE2_SUBSTITUTE_GLOBAL | PCRE2_SUBSTITUTE_OVERFLOW_LENGTH;
  std::string result(text.size() + replacement.size() + 64, '\0');
  for (int attempt = 0; attempt < 2; ++attempt) {
    PCRE2_SIZE size = result.size();
    int rc = pcre2_substitute(Code(code_), reinterpret_cast<PCRE2_SPTR>(text.data()), text.size(),
                              0, kOptions, nullptr, Context(),
                              reinterpret_cast<PCRE2_SPTR>(replacement.data()), replacement.size(),
                              reinterpret_cast<PCRE2_UCHAR*>(result.data()), &size);
    // On success size is the length; on overflow the length plus the
    // terminator.
    const PCRE2_SIZE length = rc >= 0 ? size : size - 1;
    if ((rc >= 0 || rc == PCRE2_ERROR_NOMEMORY) && length > max_bytes) {
      error_ = "result longer than " + std::to_string(max_bytes) + " bytes";
      return false;
    }
    if (rc >= 0) {
      result.resize(size);
      out = std::move(result);
      return true;
    }
    if (rc != PCRE2_ERROR_NOMEMORY) {
      error_ = ErrorText(rc);
      return false;
    }
    // The first call reported the size it needs.
    result.assign(size, '\0');
  }
  return false;
}

}  // namespace quorvix
