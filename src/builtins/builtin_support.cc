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

Args::~Args() {
  for (int i = 0; i < num_taken_; ++i)
    if (taken_[i] != nullptr) taken_[i]->Delete();
  for (symtab* v : more_taken_)
    if (v != nullptr) v->Delete();
}

bool Args::HasCount(int min, int max, ErrorAt at) const {
  if (list_ != nullptr && list_->count >= min && list_->count <= max) return true;
  Report(kInvalidArgCount, at);
  return false;
}

symtab* Args::Take(int i) {
  symtab* v = list_->Take(i);
  if (v == nullptr) return nullptr;
  v->DropName();
  if (num_taken_ < kInline)
    taken_[num_taken_++] = v;
  else
    more_taken_.push_back(v);
  return v;
}

symtab* Args::Take(int i, bool (*accepts)(const symtab&), const char* message, ErrorAt at) {
  symtab* v = Take(i);
  if (v != nullptr && accepts(*v)) return v;
  return Fail(message, at);
}

bool Args::Check(int i, bool (*accepts)(const symtab&), const char* message, ErrorAt at) const {
  const symtab* v = Peek(i);
  if (v != nullptr && accepts(*v)) return true;
  Report(message, at);
  return false;
}

void Args::Forget(const symtab* v) {
  if (v == nullptr) return;
  for (int i = 0; i < num_taken_; ++i)
    if (taken_[i] == v) taken_[i] = nullptr;
  for (symtab*& t : more_taken_)
    if (t == v) t = nullptr;
}

symtab* Args::Release(symtab* v) {
  Forget(v);
  return v;
}

void Args::PutBack(int i, symtab* v) {
  Forget(v);
  list_->args[i] = v;
}

symtab* Args::Fail(const char* message, ErrorAt at) const {
  Report(message, at);
  return nullptr;
}

}  // namespace quorvix::builtins
