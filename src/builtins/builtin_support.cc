#include "builtins/builtin_support.h"

#include <cstddef>
#include <cstring>

#include "quorvix/math_parser.h"

namespace quorvix::builtins {
void Report(const char* message, ErrorAt at) {
  if (at != ErrorAt::kNone) MathParser::BackupTo(static_cast<char>(at), 1, 0);
  MathParser::Error(message);
}

const char* ArgumentMustBe(int position, MustBe kind) {
  // Literals, not text put together per call: each is a message of its own.
  static constexpr const char* kScalar[] = {
      "Argument 1 must be scalar", "Argument 2 must be scalar", "Argument 3 must be scalar",
      "Argument 4 must be scalar", "Argument 5 must be scalar", "Argument 6 must be scalar",
      "Argument 7 must be scalar", "Argument 8 must be scalar", "Argument 9 must be scalar",
      "Argument 10 must be scalar"};
  static constexpr const char* kVector[] = {
      "Argument 1 must be vector", "Argument 2 must be vector", "Argument 3 must be vector",
      "Argument 4 must be vector", "Argument 5 must be vector", "Argument 6 must be vector",
      "Argument 7 must be vector", "Argument 8 must be vector", "Argument 9 must be vector",
      "Argument 10 must be vector"};
  static constexpr const char* kString[] = {
      "Argument 1 must be string", "Argument 2 must be string", "Argument 3 must be string",
      "Argument 4 must be string", "Argument 5 must be string", "Argument 6 must be string",
      "Argument 7 must be string", "Argument 8 must be string", "Argument 9 must be string",
      "Argument 10 must be string"};
  if (position < 1 || position > 10) return nullptr;
  switch (kind) {
    case MustBe::kScalar:
      return kScalar[position - 1];
    case MustBe::kVector:
      return kVector[position - 1];
    case MustBe::kString:
      return kString[position - 1];
  }
  return nullptr;
}

std::span<double> NumericElements(symtab& v) {
  if (IsNumber(v)) return {&v.value, 1};
  if (IsArray(v) && v.data != nullptr && v.rows > 0 && v.cols > 0)
    return {v.data, static_cast<std::size_t>(v.rows) * static_cast<std::size_t>(v.cols)};
  return {};
}

symtab* NewScalar(double x) {
  auto* v = new symtab;
  v->SetScalar(x);
  return v;
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
  symtab* v = list_->args[i];
  if (v == nullptr) return nullptr;
  // A view of a variable's array (see funtab::reads_in_place) becomes the
  // taker's own copy; while the copy is made the list still holds the view.
  if (v->shared) {
    if (v->type == SYM_ARRAY && v->data != nullptr) {
      const std::size_t n = static_cast<std::size_t>(v->rows) * static_cast<std::size_t>(v->cols);
      double* own = new double[n];
      std::memcpy(own, v->data, n * sizeof(double));
      v->data = own;
    }
    v->shared = 0;
  }
  list_->Take(i);
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
