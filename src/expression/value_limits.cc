#include "expression/value_limits.h"

#include <climits>

#include "quorvix/math_parser.h"

namespace quorvix {

const Limits& CurrentLimits() {
  static const Limits defaults;
  const MathParser* p = MathParser::current_parser;
  return p != nullptr ? p->policy().limits : defaults;
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
  MathParser::Error(ArrayTooLargeMessage().c_str());
  return false;
}

std::string StringTooLongMessage() {
  return "string too long (limit " + std::to_string(CurrentLimits().string_bytes) + " bytes)";
}

bool CheckedStringBytes(std::size_t bytes) {
  if (bytes <= CurrentLimits().string_bytes) return true;
  MathParser::Error(StringTooLongMessage().c_str());
  return false;
}

}  // namespace quorvix
