#include "builtins/builtin_support.h"

#include <cstddef>

#include "quorvix/math_parser.h"

namespace quorvix::builtins {
namespace {

// One row of literals per position; the column order follows ArgKind.
#define QUORVIX_ARGUMENT_ROW(n)                                                    \
  {                                                                                \
    "Argument " #n " must be scalar", "Argument " #n " must be vector",            \
        "Argument " #n " must be string", "Argument " #n " must be positive",      \
        "Argument " #n " must be a scalar", "Argument " #n " must be a vector",    \
        "Argument " #n " must be a string"                                         \
  }

constexpr int kArgKinds = static_cast<int>(ArgKind::kAString) + 1;
constexpr int kMaxPosition = 10;

constexpr const char* kArgumentMessages[kMaxPosition][kArgKinds] = {
    QUORVIX_ARGUMENT_ROW(1), QUORVIX_ARGUMENT_ROW(2), QUORVIX_ARGUMENT_ROW(3),
    QUORVIX_ARGUMENT_ROW(4), QUORVIX_ARGUMENT_ROW(5), QUORVIX_ARGUMENT_ROW(6),
    QUORVIX_ARGUMENT_ROW(7), QUORVIX_ARGUMENT_ROW(8), QUORVIX_ARGUMENT_ROW(9),
    QUORVIX_ARGUMENT_ROW(10),
};

#undef QUORVIX_ARGUMENT_ROW

}  // namespace

void Report(const char* message, ErrorAt at) {
  if (at != ErrorAt::kNone) MathParser::BackupTo(static_cast<char>(at), 1, 0);
  MathParser::Error(message);
}

symtab* Fail(symtab* taken, const char* message, ErrorAt at) {
  Report(message, at);
  if (taken != nullptr) taken->Delete();
  return nullptr;
}

bool HasArgCount(const sym_list* args, int min, int max, ErrorAt at) {
  if (args != nullptr && args->count >= min && args->count <= max) return true;
  Report(kInvalidArgCount, at);
  return false;
}

symtab* TakeArg(sym_list* args, int i) {
  symtab* v = args->Take(i);
  if (v != nullptr) v->DropName();
  return v;
}

const char* ArgumentMessage(int position, ArgKind kind) {
  int k = static_cast<int>(kind);
  if (position < 1 || position > kMaxPosition || k < 0 || k >= kArgKinds) return kInvalidArgType;
  return kArgumentMessages[position - 1][k];
}

std::span<double> NumericElements(symtab& v) {
  if (IsNumber(v)) return {&v.value, 1};
  if (IsArray(v) && v.data != nullptr && v.rows > 0 && v.cols > 0)
    return {v.data, static_cast<std::size_t>(v.rows) * static_cast<std::size_t>(v.cols)};
  return {};
}

void ReduceToScalar(symtab& v, double x) {
  v.SetScalar(x);
  v.rows = 1;
  v.cols = 1;
}

symtab* ApplyElementwise(sym_list* args, double (*f)(double)) {
  if (!HasArgCount(args, 1, 1, ErrorAt::kNone)) return nullptr;
  symtab* v = TakeArg(args, 0);
  if (v == nullptr || !IsNumeric(*v)) {
    Report(kInvalidArgType, ErrorAt::kNone);
    return v;
  }
  for (double& x : NumericElements(*v)) x = f(x);
  return v;
}

}  // namespace quorvix::builtins
