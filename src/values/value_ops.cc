// Element-wise arithmetic: addition and subtraction of numbers, modulus,
// power and negation, plus the helpers every operation unit shares.
#include "values/value_ops.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace quorvix::ops {
namespace {

void IgnoreError(const char*) {}
ErrorSink g_error_sink = IgnoreError;

}  // namespace

void SetErrorSink(ErrorSink sink) { g_error_sink = sink != nullptr ? sink : IgnoreError; }

void ReportError(const char* message) { g_error_sink(message); }

namespace detail {

bool Fail(const char* msg) {
  g_error_sink(msg);
  return false;
}

void AdoptArray(symtab& dst, symtab& src) {
  dst.ReleasePayload();
  dst.type = SYM_ARRAY;
  dst.data = src.data;
  dst.rows = src.rows;
  dst.cols = src.cols;
  src.data = nullptr;
  src.ReleasePayload();
}

void AdoptStrings(symtab& dst, symtab& src) {
  dst.SetStrings(src.str_list, src.num_strings);
  src.str_list = nullptr;
  src.ReleasePayload();
}

}  // namespace detail

using detail::ApplyNumeric;
using detail::Fail;

void AppendNumber(char* buffer, double x) {
  char* end = buffer + std::strlen(buffer);
  if (std::fabs(x) < 2147483647.0 && std::floor(x) == x)
    std::snprintf(end, kNumberTextRoom, "%d", static_cast<int>(x));
  else
    std::snprintf(end, kNumberTextRoom, "%g", x);
}

bool Add(symtab& left, symtab& right) {
  if (left.type == SYM_STRINGS || right.type == SYM_STRINGS) return detail::AddStrings(left, right);
  return ApplyNumeric(
      left, right, [](double a, double b, bool&) { return a + b; }, nullptr,
      "Invalid addition type");
}

bool Subtract(symtab& left, symtab& right) {
  if (left.type == SYM_STRINGS && right.type == SYM_STRINGS)
    return detail::SubtractStrings(left, right);
  return ApplyNumeric(
      left, right, [](double a, double b, bool&) { return a - b; }, nullptr,
      "Invalid subtraction type");
}

bool Modulus(symtab& left, symtab& right) {
  if (left.type == SYM_STRINGS) return Fail("Invalid left hand side");
  if (right.type == SYM_STRINGS) return Fail("Invalid right hand side");
  return ApplyNumeric(
      left, right,
      [](double a, double b, bool& ok) {
        ok &= b != 0.0;
        return std::fmod(a, b);
      },
      "Operand two cannot be zero", "Invalid modulus type");
}

bool Power(symtab& left, symtab& right) {
  if (left.type == SYM_SCALAR && right.type == SYM_SCALAR && right.value == 2.0) {
    left.value *= left.value;
    return true;
  }
  constexpr const char* kDomain = "Domain error";
  constexpr const char* kType = "Invalid power type";
  // The domain checks guard a scalar exponent only; with an array exponent
  // the runtime library's pow decides (NaN or infinity).
  if (right.type == SYM_SCALAR) {
    return ApplyNumeric(
        left, right,
        [](double base, double exponent, bool& ok) {
          const double magnitude = std::fabs(exponent);
          ok &= !(base < 0.0 && magnitude < 1.0 && exponent != 0.0);
          ok &= !(base == 0.0 && exponent < 0.0);
          return std::pow(base, exponent);
        },
        kDomain, kType);
  }
  return ApplyNumeric(
      left, right, [](double base, double exponent, bool&) { return std::pow(base, exponent); },
      nullptr, kType);
}

bool Negate(symtab& v) {
  switch (v.type) {
    case SYM_SCALAR:
      v.value = -v.value;
      return true;
    case SYM_ARRAY:
      for (std::size_t i = 0, n = detail::Count(v); i < n; ++i) v.data[i] = -v.data[i];
      return true;
    case SYM_STRINGS:
      return Fail("Cannot negate string variable");
    default:
      return Fail("Invalid right hand side");
  }
}

}  // namespace quorvix::ops
