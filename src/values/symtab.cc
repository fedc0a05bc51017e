#include "quorvix/symtab.h"

#include <cstring>
#include <new>
#include <utility>

#include "util/limit_error.h"
#include "values/record_pool.h"
#include "values/value_limits.h"

namespace {

constexpr bool kPoolRecords = quorvix::record_pool::kEnabled;

// Freed arrays kept for the next array of the same element count, so that
// an array expression evaluated again reuses memory whose pages are already
// mapped instead of faulting in fresh ones (and zeroing them) every time.
// Small arrays are left to malloc; the cache holds at most kCachedArrays
// arrays and kCachedBytes bytes, the oldest leaving first. Arrays come from
// new[] as before, so a host may still delete[] any record's data.
class ArrayCache {
 public:
  double* Take(std::size_t n) {
    if (kPoolRecords && n >= kMinElements) {
      for (std::size_t i = count_; i-- > 0;) {
        if (slots_[i].n != n) continue;
        double* p = slots_[i].data;
        bytes_ -= n * sizeof(double);
        for (std::size_t j = i + 1; j < count_; ++j) slots_[j - 1] = slots_[j];
        --count_;
        return p;
      }
    }
    return new double[n];
  }
  void Give(double* p, std::size_t n) {
    const std::size_t size = n * sizeof(double);
    if (!kPoolRecords || p == nullptr || n < kMinElements || size > kCachedBytes) {
      delete[] p;
      return;
    }
    while (count_ > 0 && (count_ == kCachedArrays || bytes_ + size > kCachedBytes)) {
      delete[] slots_[0].data;
      bytes_ -= slots_[0].n * sizeof(double);
      for (std::size_t j = 1; j < count_; ++j) slots_[j - 1] = slots_[j];
      --count_;
    }
    slots_[count_++] = {p, n};
    bytes_ += size;
  }

 private:
  static constexpr std::size_t kMinElements = 4096;
  static constexpr std::size_t kCachedArrays = 8;
  static constexpr std::size_t kCachedBytes = std::size_t{64} << 20;
  struct Slot {
    double* data;
    std::size_t n;
  };
  Slot slots_[kCachedArrays] = {};
  std::size_t count_ = 0;
  std::size_t bytes_ = 0;
};
// Trivially destructible, so records freed during static destruction still
// find it.
ArrayCache g_arrays;

// The element count a record's array was made with, or 0 when it holds none.
std::size_t ArrayCount(const symtab& v) {
  if (v.type != SYM_ARRAY || v.rows <= 0 || v.cols <= 0) return 0;
  return static_cast<std::size_t>(v.rows) * static_cast<std::size_t>(v.cols);
}

void FreeStrings(char** list, int n) {
  if (list == nullptr) return;
  for (int i = n - 1; i >= 0; --i) delete[] list[i];
  delete[] list;
}

char** CopyStrings(char* const* list, int n) {
  if (list == nullptr || n <= 0) return nullptr;
  char** out = new char*[n];
  for (int i = 0; i < n; ++i) out[i] = newstrdup(list[i]);
  return out;
}

}  // namespace

char* newstrdup(const char* s) {
  if (s == nullptr) return nullptr;
  std::size_t n = std::strlen(s) + 1;
  char* d = new char[n];
  std::memcpy(d, s, n);
  return d;
}

namespace quorvix::record_pool {
List g_list;
}  // namespace quorvix::record_pool

void* symtab::operator new(std::size_t size) {
  if (size == sizeof(symtab))
    if (void* p = quorvix::record_pool::Take()) return p;
  return ::operator new(size);
}

void symtab::operator delete(void* p, std::size_t size) noexcept {
  if (p == nullptr) return;
  if (size == sizeof(symtab) && quorvix::record_pool::Give(p)) return;
  ::operator delete(p);
}

symtab::symtab(const symtab& other) { *this = other; }

symtab& symtab::operator=(const symtab& other) {
  if (this == &other) return *this;
  char* new_name = newstrdup(other.name);
  double* new_data = nullptr;
  if (other.data != nullptr && other.rows > 0 && other.cols > 0) {
    std::size_t n = static_cast<std::size_t>(other.rows) * other.cols;
    new_data = g_arrays.Take(n);
    std::memcpy(new_data, other.data, n * sizeof(double));
  }
  char** new_strings = CopyStrings(other.str_list, other.num_strings);
  ReleasePayload();
  delete[] name;
  name = new_name;
  data = new_data;
  str_list = new_strings;
  value = other.value;
  type = other.type;
  rows = other.rows;
  cols = other.cols;
  num_strings = new_strings ? other.num_strings : 0;
  reserved1 = other.reserved1;
  reserved2 = other.reserved2;
  shared = other.shared;
  frozen = other.frozen;
  reserved3 = other.reserved3;
  return *this;
}

symtab::symtab(symtab&& other) noexcept { Swap(other); }

symtab& symtab::operator=(symtab&& other) noexcept {
  if (this != &other) {
    ReleasePayload();
    delete[] name;
    name = nullptr;
    shared = frozen = 0;
    Swap(other);
  }
  return *this;
}

symtab::~symtab() {
  // Most records are anonymous scalars that own nothing.
  if (data != nullptr || str_list != nullptr) ReleasePayload();
  delete[] name;
}

void symtab::Delete() { delete this; }

void symtab::Clear() {
  if (data != nullptr) g_arrays.Give(data, ArrayCount(*this));
  data = nullptr;
  FreeStrings(str_list, num_strings);
  str_list = nullptr;
  rows = cols = 0;
  // num_strings stays: numpts and maxindex read it after clearing.
}

void symtab::ReleasePayload() {
  if (data != nullptr) g_arrays.Give(data, ArrayCount(*this));
  data = nullptr;
  FreeStrings(str_list, num_strings);
  str_list = nullptr;
  rows = cols = num_strings = 0;
  value = 0.0;
  type = SYM_UNDEFINED;
}

int symtab::NumElements() const {
  switch (type) {
    case SYM_SCALAR:
      return 1;
    case SYM_ARRAY:
      return rows * cols;
    case SYM_STRINGS:
      return num_strings;
    default:
      return 0;
  }
}

symtab* symtab::Element(int i) const {
  if (i < 0 || i >= NumElements()) return nullptr;
  auto* e = new symtab;
  switch (type) {
    case SYM_SCALAR:
      e->SetScalar(value);
      break;
    case SYM_ARRAY:
      e->SetScalar(data[i]);
      break;
    case SYM_STRINGS:
      e->SetString(str_list[i]);
      break;
    default:
      break;
  }
  return e;
}

short symtab::IsScalar() const {
  return type == SYM_SCALAR || (type == SYM_ARRAY && rows * cols == 1);
}
short symtab::IsVector() const { return type == SYM_ARRAY && (rows == 1 || cols == 1); }
short symtab::IsRowVector() const { return type == SYM_ARRAY && rows == 1; }
short symtab::IsMatrix() const { return type == SYM_ARRAY && rows > 1 && cols > 1; }
short symtab::IsString() const { return type == SYM_STRINGS && num_strings == 1; }
short symtab::IsStringList() const { return type == SYM_STRINGS; }

void symtab::SetScalar(double v) {
  if (type != SYM_SCALAR) ReleasePayload();
  type = SYM_SCALAR;
  value = v;
}

double* symtab::SetArray(int r, int c) {
  // Callers check sizes and report at their own position; this is the last
  // line for one that did not.
  if (!quorvix::ElementCountFits(r, c))
    throw quorvix::LimitExceeded(quorvix::ArrayTooLargeMessage());
  ReleasePayload();
  type = SYM_ARRAY;
  rows = r;
  cols = c;
  std::size_t n = static_cast<std::size_t>(r > 0 ? r : 0) * (c > 0 ? c : 0);
  data = n ? g_arrays.Take(n) : nullptr;
  return data;
}

void symtab::SetString(const char* s) {
  char** list = new char*[1];
  list[0] = newstrdup(s ? s : "");
  SetStrings(list, 1);
}

void symtab::SetStrings(char** list, int n) {
  ReleasePayload();
  type = SYM_STRINGS;
  str_list = list;
  num_strings = n;
}

void symtab::SetName(const char* n) {
  char* copy = newstrdup(n);
  delete[] name;
  name = copy;
}

void symtab::DropName() {
  delete[] name;
  name = nullptr;
}

void symtab::Swap(symtab& o) noexcept {
  std::swap(name, o.name);
  std::swap(str_list, o.str_list);
  std::swap(data, o.data);
  std::swap(value, o.value);
  std::swap(type, o.type);
  std::swap(rows, o.rows);
  std::swap(cols, o.cols);
  std::swap(num_strings, o.num_strings);
  std::swap(reserved1, o.reserved1);
  std::swap(reserved2, o.reserved2);
  std::swap(shared, o.shared);
  std::swap(frozen, o.frozen);
  std::swap(reserved3, o.reserved3);
}

sym_list::sym_list(int n) : args(n > 0 ? new symtab*[n]() : nullptr), count(n) {}

sym_list::~sym_list() {
  for (int i = 0; i < count; ++i)
    if (args[i] != nullptr) args[i]->Delete();
  delete[] args;
}

funtab::~funtab() {
  delete[] name;
  delete[] program;
  delete[] body;
  if (arg_names != nullptr) {
    for (int i = 0; i < nargs; ++i) delete[] arg_names[i];
    delete[] arg_names;
  }
  delete[] library;
}
