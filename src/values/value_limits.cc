#include "values/value_limits.h"

#include <climits>

#include "values/value_ops.h"

namespace quorvix {
namespace {

LimitsSource g_limits_source = nullptr;

}  // namespace

void SetLimitsSource(LimitsSource source) { g_limits_source = source; }

const Limits& CurrentLimits() {
  static const Limits defaults;
  const Limits* limits = g_limits_source != nullptr ? g_limits_source() : nullptr;
  return limits != nullptr ? *limits : defaults;
}

long long ElementLimit() {
  const long long limit = CurrentLimits().elements;
  return limit < 0 ? 0 : limit > INT_MAX ? INT_MAX : limit;
}

std::string ArrayTooLargeMessage() {
  return "array too large (limit " + std::to_string(ElementLimit()) + " elements)";
}

bool ElementCountFits(long long rows, long long cols) {
  if (rows <= 0 || cols <= 0) return true;
  const long long limit = ElementLimit();
  return rows <= limit && cols <= limit / rows;  // rows * cols <= limit, without overflow
}

bool CheckedElementCount(long long rows, long long cols) {
  if (ElementCountFits(rows, cols)) return true;
  ops::ReportError(ArrayTooLargeMessage().c_str());
  return false;
}

std::string StringTooLongMessage() {
  return "string too long (limit " + std::to_string(CurrentLimits().string_bytes) + " bytes)";
}

bool CheckedStringBytes(std::size_t bytes) {
  if (bytes <= CurrentLimits().string_bytes) return true;
  ops::ReportError(StringTooLongMessage().c_str());
  return false;
}

}  // namespace quorvix
