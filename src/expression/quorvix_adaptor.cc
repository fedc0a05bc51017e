#include "expression/quorvix_adaptor.h"

#include <cmath>
#include <cstring>

#include "expression/function_call.h"
#include "parser/core/error.h"
#include "quorvix/math_parser.h"
#include "values/value_limits.h"
#include "values/value_ops.h"

namespace MathParser_NS {

using ParserCore_NS::Error;

namespace {

// Raises the pending message of a failed value operation (the first error of
// the evaluation wins).
[[noreturn]] void RaisePending(int pos, const char* fallback = "Internal error") {
  const std::string& text = MathParser::ErrorText();
  throw Error(text.empty() ? std::string(fallback) : text, pos);
}

void Check(bool ok, int pos) {
  if (!ok) RaisePending(pos);
}

bool ScalarOf(const symtab& v, double& out) {
  if (v.type == SYM_SCALAR) {
    out = v.value;
    return true;
  }
  if (v.type == SYM_ARRAY && v.rows * v.cols == 1) {
    out = v.data[0];
    return true;
  }
  return false;
}

// Copies the payload (not the name) of `from` into `to`.
void CopyPayload(const symtab& from, symtab& to) {
  if (from.type == SYM_SCALAR) {
    to.SetScalar(from.value);
  } else {
    to = from;
    to.DropName();
  }
  to.shared = 0;
  to.frozen = from.frozen;
}

unsigned CutIndex(double d) {
  if (!(d > -1.0) || d >= 4294967296.0) return ~0u;  // NaN, negative, huge: out of range
  return static_cast<unsigned>(d);
}

[[noreturn]] void Fail(const char* message, int pos) { throw Error(message, pos); }

void CheckElements(long long rows, long long cols, int pos) {
  if (!quorvix::ElementCountFits(rows, cols)) throw Error(quorvix::ArrayTooLargeMessage(), pos);
}

// Bytes of the strings at `idx` in `v`, checked against the string limit.
void CheckStringBytes(const symtab& v, const std::vector<unsigned>& idx, int pos) {
  std::size_t bytes = 0;
  for (unsigned i : idx) bytes += std::strlen(v.str_list[i]);
  if (bytes > quorvix::CurrentLimits().string_bytes)
    throw Error(quorvix::StringTooLongMessage(), pos);
}

// Looks the function up again when the registry has changed since the
// node's memo was filled.
void Refresh(const std::string& name, ParserCore_NS::FunctionCache& cache) {
  if (cache.generation == MathParser::RegistryGeneration()) return;
  cache.entry = MathParser::FunLook(name.c_str());
  cache.generation = MathParser::RegistryGeneration();
  cache.scalar = PureKernel(cache.entry);
}

// Checks that a value can be stored as one element of a numeric array.
double ElementValue(const symtab& value, int pos) {
  double d;
  if (ScalarOf(value, d)) return d;
  if (value.type == SYM_STRINGS) Fail("Incompatable array types", pos);
  Fail("Incompatable array dimensions", pos);
}

void StoreElement(symtab& rec, const unsigned* idx, int count, const symtab& value, int pos) {
  switch (rec.type) {
    case SYM_STRINGS: {
      if (count > 1) Fail("Too many subscripts", pos);
      if (idx[0] >= static_cast<unsigned>(rec.num_strings)) Fail("Subscript out of range", pos);
      if (value.type != SYM_STRINGS || value.num_strings != 1)
        Fail("Incompatable array types", pos);
      char* copy = newstrdup(value.str_list[0]);
      delete[] rec.str_list[idx[0]];
      rec.str_list[idx[0]] = copy;
      return;
    }
    case SYM_ARRAY: {
      if (rec.rows == 1 || rec.cols == 1) {
        if (count > 1) Fail("Too many subscripts", pos);
        if (idx[0] >= static_cast<unsigned>(rec.rows * rec.cols))
          Fail("Subscript out of range", pos);
        rec.data[idx[0]] = ElementValue(value, pos);
        return;
      }
      if (idx[0] >= static_cast<unsigned>(rec.rows)) Fail("Subscript out of range", pos);
      if (count == 2) {
        if (idx[1] >= static_cast<unsigned>(rec.cols)) Fail("Subscript out of range", pos);
        rec.data[idx[0] * static_cast<unsigned>(rec.cols) + idx[1]] = ElementValue(value, pos);
        return;
      }
      // One index into a matrix: the value replaces a whole row.
      if (value.type == SYM_STRINGS) Fail("Incompatable array types", pos);
      if (value.type == SYM_SCALAR) Fail("Too few subscripts", pos);
      if (value.type != SYM_ARRAY || value.rows * value.cols != rec.cols)
        Fail("Incompatable array dimensions", pos);
      std::memcpy(rec.data + static_cast<std::size_t>(idx[0]) * rec.cols, value.data,
                  sizeof(double) * static_cast<std::size_t>(rec.cols));
      return;
    }
    default:
      Fail("Array access to scalar type", pos);
  }
}

// Indices of a subrange subscript, checked against `limit`.
std::vector<unsigned> RangeIndices(const symtab& sub, int limit, int pos) {
  if (!sub.IsVector() || sub.rows * sub.cols == 0) Fail("Illegal subrange", pos);
  std::vector<unsigned> out(static_cast<std::size_t>(sub.rows) * sub.cols);
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = CutIndex(sub.data[i]);
    if (out[i] >= static_cast<unsigned>(limit)) Fail("Subscript out of range", pos);
  }
  return out;
}

void StoreRange(symtab& rec, const symtab& sub, const symtab& value, int pos) {
  if (rec.type == SYM_STRINGS) {
    std::vector<unsigned> idx = RangeIndices(sub, rec.num_strings, pos);
    if (value.type != SYM_STRINGS) Fail("Incompatable array types", pos);
    if (value.num_strings != 1 && value.num_strings != static_cast<int>(idx.size()))
      Fail("Incompatable array dimensions", pos);
    if (value.num_strings == 1 &&
        std::strlen(value.str_list[0]) > quorvix::CurrentLimits().string_bytes / idx.size())
      Fail(quorvix::StringTooLongMessage().c_str(), pos);
    for (std::size_t i = 0; i < idx.size(); ++i) {
      char* copy = newstrdup(value.str_list[value.num_strings == 1 ? 0 : i]);
      delete[] rec.str_list[idx[i]];
      rec.str_list[idx[i]] = copy;
    }
    return;
  }
  if (rec.type != SYM_ARRAY) Fail("Array access to scalar type", pos);
  if (rec.rows != 1 && rec.cols != 1) Fail("Illegal subrange", pos);
  std::vector<unsigned> idx = RangeIndices(sub, rec.rows * rec.cols, pos);
  if (value.type == SYM_STRINGS) Fail("Incompatable array types", pos);
  double d;
  if (ScalarOf(value, d)) {
    for (unsigned i : idx) rec.data[i] = d;
    return;
  }
  if (value.type != SYM_ARRAY || value.rows * value.cols != static_cast<int>(idx.size()))
    Fail("Incompatable array dimensions", pos);
  for (std::size_t i = 0; i < idx.size(); ++i) rec.data[idx[i]] = value.data[i];
}

}  // namespace

// A scalar call skips the policy check, so an entry with call flags never
// takes its kernel.
double (*PureKernel(const funtab* e))(double) {
  if (e == nullptr || e->is_external || e->is_user || e->is_library || e->has_context ||
      e->call_flags != 0)
    return nullptr;
  return e->scalar_kernel;
}

void QuorvixSymtabAdaptor::copyValue(const symtab& from, symtab& to, int) { CopyPayload(from, to); }

void QuorvixSymtabAdaptor::makeRange(symtab& start, symtab& end, symtab& step, symtab& out,
                                     int pos) {
  double a, b, s;
  if (!ScalarOf(start, a)) Fail("Parameter one of range operator must be a scalar", pos);
  if (!ScalarOf(end, b)) Fail("Parameter two of range operator must be a scalar", pos);
  if (!ScalarOf(step, s)) Fail("Parameter three of range operator must be a scalar", pos);
  if (s == 0.0) Fail("Invalid step size", pos);
  double count = 1.0 + std::floor((b - a) / s * 1.000000001);
  if (!(count >= 1.0)) Fail("Invalid step size", pos);
  if (count > static_cast<double>(quorvix::ElementLimit()))
    Fail(quorvix::ArrayTooLargeMessage().c_str(), pos);
  int n = static_cast<int>(count);
  double* d = out.SetArray(1, n);
  for (int i = 0; i < n; ++i) d[i] = a + i * s;
}

void QuorvixSymtabAdaptor::makeString(std::string_view text, symtab& out, int) {
  std::string copy(text);
  out.SetString(copy.c_str());
}

void QuorvixSymtabAdaptor::makeArray(std::vector<symtab>& elements, symtab& out, int pos) {
  enum { kNone, kScalars, kStrings, kVectors } kind = kNone;
  int width = 0;
  for (const symtab& e : elements) {
    if (e.type == SYM_STRINGS) {
      if (e.num_strings != 1) Fail("Two dimensional arrays of strings not supported", pos);
      if (kind != kNone && kind != kStrings)
        Fail("Array contains both numeric and string elements", pos);
      kind = kStrings;
    } else if (e.type == SYM_SCALAR) {
      if (kind == kStrings) Fail("Array contains both numeric and string elements", pos);
      if (kind == kVectors) Fail("Malformed array", pos);
      kind = kScalars;
    } else if (e.type == SYM_ARRAY && (e.rows == 1 || e.cols == 1)) {
      if (kind == kStrings) Fail("Array contains both numeric and string elements", pos);
      if (kind == kScalars) Fail("Malformed array", pos);
      int n = e.rows * e.cols;
      if (kind == kVectors && n != width) Fail("Malformed array", pos);
      kind = kVectors;
      width = n;
    } else if (e.type == SYM_ARRAY) {
      Fail("Three dimensional arrays not supported", pos);
    } else {
      Fail("Malformed array", pos);
    }
  }
  const int count = static_cast<int>(elements.size());
  switch (kind) {
    case kNone:
      out.SetArray(1, 0);
      return;
    case kScalars: {
      CheckElements(1, count, pos);
      double* d = out.SetArray(1, count);
      for (int i = 0; i < count; ++i) d[i] = elements[i].value;
      return;
    }
    case kStrings: {
      char** list = new char*[count];
      for (int i = 0; i < count; ++i) {
        // Take the string over instead of copying it.
        list[i] = elements[i].str_list[0];
        elements[i].str_list[0] = nullptr;
      }
      out.SetStrings(list, count);
      return;
    }
    case kVectors: {
      CheckElements(count, width, pos);
      double* d = out.SetArray(count, width);
      if (width == 0) return;
      for (int i = 0; i < count; ++i)
        std::memcpy(d + static_cast<std::size_t>(i) * width, elements[i].data,
                    sizeof(double) * static_cast<std::size_t>(width));
      return;
    }
  }
}

void QuorvixSymtabAdaptor::makeNumber(double value, symtab& out, int) { out.SetScalar(value); }

void QuorvixSymtabAdaptor::assignValue(symtab& to, const symtab& from, int) {
  CopyPayload(from, to);
}

void QuorvixSymtabAdaptor::releaseValue(symtab& v) {
  v.ReleasePayload();
  v.DropName();
}

void QuorvixSymtabAdaptor::add(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::Add(l, r), pos);
}
void QuorvixSymtabAdaptor::subtract(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::Subtract(l, r), pos);
}
void QuorvixSymtabAdaptor::multiply(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::Multiply(l, r), pos);
}
void QuorvixSymtabAdaptor::divide(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::Divide(l, r), pos);
}
void QuorvixSymtabAdaptor::modulus(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::Modulus(l, r), pos);
}
void QuorvixSymtabAdaptor::power(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::Power(l, r), pos);
}
void QuorvixSymtabAdaptor::negate(symtab& v, int pos) { Check(quorvix::ops::Negate(v), pos); }
void QuorvixSymtabAdaptor::transpose(symtab& v, int pos) { Check(quorvix::ops::Transpose(v), pos); }
void QuorvixSymtabAdaptor::dot(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::Dot(l, r), pos);
}
void QuorvixSymtabAdaptor::cross(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::Cross(l, r), pos);
}
void QuorvixSymtabAdaptor::compare(symtab& l, symtab& r, unsigned relation, int pos) {
  Check(quorvix::ops::Compare(l, r, relation), pos);
}
void QuorvixSymtabAdaptor::logicalAnd(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::LogicalAnd(l, r), pos);
}
void QuorvixSymtabAdaptor::logicalOr(symtab& l, symtab& r, int pos) {
  Check(quorvix::ops::LogicalOr(l, r), pos);
}
void QuorvixSymtabAdaptor::logicalNot(symtab& v, int pos) {
  Check(quorvix::ops::LogicalNot(v), pos);
}

void QuorvixSymtabAdaptor::increment(symtab& v, int pos) {
  if (v.type == SYM_SCALAR)
    v.value += 1.0;
  else if (v.type == SYM_ARRAY && v.rows * v.cols == 1)
    v.data[0] += 1.0;
  else
    Fail("Cannot increment non-scalar", pos);
}

void QuorvixSymtabAdaptor::decrement(symtab& v, int pos) {
  if (v.type == SYM_SCALAR)
    v.value -= 1.0;
  else if (v.type == SYM_ARRAY && v.rows * v.cols == 1)
    v.data[0] -= 1.0;
  else
    Fail("Cannot dencrement non-scalar", pos);
}

bool QuorvixSymtabAdaptor::isZero(const symtab& v, int pos) {
  double d;
  if (ScalarOf(v, d)) return d == 0.0;
  if (v.type == SYM_STRINGS && v.num_strings == 1) return v.str_list[0][0] == '\0';
  Fail("Scalar value expected", pos);
}

bool QuorvixSymtabAdaptor::isOne(const symtab& v, int) {
  double d;
  return ScalarOf(v, d) && d == 1.0;
}

bool QuorvixSymtabAdaptor::isScalar(const symtab& v) { return v.type == SYM_SCALAR; }

bool QuorvixSymtabAdaptor::isSingleString(const symtab& v) {
  return v.type == SYM_STRINGS && v.num_strings == 1;
}

double QuorvixSymtabAdaptor::toDouble(const symtab& v, int pos) {
  double d;
  if (!ScalarOf(v, d)) Fail("Scalar value expected", pos);
  return d;
}

std::string QuorvixSymtabAdaptor::toString(const symtab& v, int pos) {
  if (!isSingleString(v)) Fail("String value expected", pos);
  return v.str_list[0];
}

void QuorvixSymtabAdaptor::subscript(symtab& v, const unsigned* idx, int count, int pos) {
  switch (v.type) {
    case SYM_STRINGS: {
      if (count > 1) Fail("Too many subscripts", pos);
      if (idx[0] >= static_cast<unsigned>(v.num_strings)) Fail("Subscript out of range", pos);
      char** list = new char*[1];
      list[0] = v.str_list[idx[0]];
      v.str_list[idx[0]] = nullptr;
      v.SetStrings(list, 1);
      return;
    }
    case SYM_ARRAY: {
      if (v.rows == 1 || v.cols == 1) {
        if (count > 1) Fail("Too many subscripts", pos);
        if (idx[0] >= static_cast<unsigned>(v.rows * v.cols)) Fail("Subscript out of range", pos);
        v.SetScalar(v.data[idx[0]]);
        return;
      }
      if (idx[0] >= static_cast<unsigned>(v.rows)) Fail("Subscript out of range", pos);
      if (count == 2) {
        if (idx[1] >= static_cast<unsigned>(v.cols)) Fail("Subscript out of range", pos);
        v.SetScalar(v.data[idx[0] * static_cast<unsigned>(v.cols) + idx[1]]);
        return;
      }
      // Row i moves to the front and the array shrinks to one row.
      int cols = v.cols;
      std::memmove(v.data, v.data + static_cast<std::size_t>(idx[0]) * cols,
                   sizeof(double) * static_cast<std::size_t>(cols));
      v.rows = 1;
      return;
    }
    default:
      Fail("Array access to scalar type", pos);
  }
}

void QuorvixSymtabAdaptor::subrange(symtab& v, const symtab& sub, int pos) {
  switch (v.type) {
    case SYM_STRINGS: {
      std::vector<unsigned> idx = RangeIndices(sub, v.num_strings, pos);
      CheckStringBytes(v, idx, pos);
      char** list = new char*[idx.size()];
      for (std::size_t i = 0; i < idx.size(); ++i) list[i] = newstrdup(v.str_list[idx[i]]);
      v.SetStrings(list, static_cast<int>(idx.size()));
      return;
    }
    case SYM_ARRAY: {
      bool vector = v.rows == 1 || v.cols == 1;
      std::vector<unsigned> idx = RangeIndices(sub, vector ? v.rows * v.cols : v.rows, pos);
      const int n = static_cast<int>(idx.size());
      symtab result;
      if (vector) {
        double* d = v.rows == 1 ? result.SetArray(1, n) : result.SetArray(n, 1);
        for (int i = 0; i < n; ++i) d[i] = v.data[idx[i]];
      } else {
        CheckElements(n, v.cols, pos);
        double* d = result.SetArray(n, v.cols);
        for (int i = 0; i < n; ++i)
          std::memcpy(d + static_cast<std::size_t>(i) * v.cols,
                      v.data + static_cast<std::size_t>(idx[i]) * v.cols,
                      sizeof(double) * static_cast<std::size_t>(v.cols));
      }
      v = std::move(result);
      return;
    }
    default:
      Fail("Array access to scalar type", pos);
  }
}

bool QuorvixSymtabAdaptor::functionExists(const char* name) {
  return MathParser::FunLook(name) != nullptr;
}

funtab* QuorvixSymtabAdaptor::functionIndex(const char* name) { return MathParser::FunLook(name); }

void QuorvixSymtabAdaptor::setEmpty(symtab& v) { releaseValue(v); }

// The list record of an argument that the call site left unevaluated:
// for a handler that only reads its arguments, a view of the variable's own
// array (marked shared: the payload is the variable's, see
// funtab::reads_in_place); otherwise a copy, as reading the variable gives.
static symtab* ArgumentFromRecord(const symtab& record, bool in_place) {
  auto* v = new symtab;
  if (in_place && record.type == SYM_ARRAY) {
    v->type = SYM_ARRAY;
    v->data = record.data;
    v->rows = record.rows;
    v->cols = record.cols;
    v->frozen = record.frozen;
    v->shared = 1;
    return v;
  }
  try {
    CopyPayload(record, *v);
  } catch (...) {
    v->Delete();
    throw;
  }
  return v;
}

void QuorvixSymtabAdaptor::callFunction(const std::string& name,
                                        ParserCore_NS::FunctionCache& cache, symtab* args,
                                        int count, const ParserCore_NS::ArgumentSource* sources,
                                        symtab& out, int pos) {
  Refresh(name, cache);
  if (cache.scalar != nullptr && count == 1 && args[0].type == SYM_SCALAR) {
    out.SetScalar(cache.scalar(args[0].value));
    return;
  }
  funtab* entry = cache.entry;
  if (entry == nullptr) Fail("Unknown function", pos);

  // The argument list lives on the stack for the usual short calls; whatever
  // the handler leaves in it is freed here, on every way out.
  constexpr int kInline = 6;
  symtab* inline_slots[kInline];
  std::vector<symtab*> heap_slots;
  symtab** slots = inline_slots;
  if (count > kInline) {
    heap_slots.resize(static_cast<std::size_t>(count));
    slots = heap_slots.data();
  }
  struct SlotGuard {
    sym_list list;
    ~SlotGuard() {
      for (int i = 0; i < list.count; ++i) {
        symtab* v = list.args[i];
        if (v == nullptr) continue;
        // A view's payload is the variable's: detach it before freeing.
        if (v->shared) v->data = nullptr;
        v->Delete();
      }
      list.args = nullptr;
      list.count = 0;
    }
  } guard;
  guard.list.args = slots;
  const bool in_place = entry->reads_in_place != 0 && !entry->is_external && !entry->is_user &&
                        !entry->is_library && !entry->has_context;
  const bool wants_names =
      (entry->call_flags & quorvix::kWritesVariables) != 0 ||
      (MathParser::current_parser != nullptr && MathParser::current_parser->GetStatsPacket());
  for (int i = 0; i < count; ++i) {
    const ParserCore_NS::ArgumentSource* source = sources != nullptr ? &sources[i] : nullptr;
    slots[i] = source != nullptr && source->record != nullptr
                   ? ArgumentFromRecord(*source->record, in_place)
                   : new symtab(std::move(args[i]));
    guard.list.count = i + 1;
    // Only the handlers that ask which variable an argument is learn its
    // name (a name costs an allocation per argument and call): the ones that
    // store back into variables, and any while a statistics packet is
    // attached, which answers for x and y. Results drop the name.
    if (wants_names && source != nullptr && source->variable != nullptr)
      slots[i]->SetName(source->variable->c_str());
  }

  symtab* result = quorvix::CallEntry(entry, &guard.list, pos);
  if (MathParser::ErrorPending()) {
    if (result) result->Delete();
    RaisePending(pos);
  }
  if (result == nullptr) {
    out.ReleasePayload();
    return;
  }
  out.Swap(*result);
  result->Delete();
}

// Replaces a table record's value, keeping its name.
static void StoreWhole(symtab& rec, const symtab& value) {
  if (&value != &rec) {
    if (value.type == SYM_SCALAR) {
      rec.SetScalar(value.value);
      rec.frozen = value.frozen;
    } else {
      char* keep = rec.name;
      rec.name = nullptr;
      rec = value;
      rec.DropName();
      rec.name = keep;
    }
  }
  rec.shared = 1;
}

// The host's set functions hear of every assignment.
static void NotifySetters(MathParser& mp, const std::string& name, symtab* rec) {
  if (mp.NumSetFuncs() == 0) return;
  std::vector<char> buffer(name.begin(), name.end());
  buffer.push_back('\0');
  for (int i = 0; i < mp.NumSetFuncs(); ++i) mp.SetFuncAt(i)(buffer.data(), rec);
}

// The table record of a variable through the node's memo; null when the
// table is not consulted (no parser, or assignments off).
static symtab* TableRecord(const std::string& name, ParserCore_NS::VariableCache& cache) {
  MathParser* mp = MathParser::current_parser;
  if (mp == nullptr || !mp->AllowAssign()) return nullptr;
  if (cache.owner != mp || cache.generation != mp->VariablesGeneration()) {
    cache.record = mp->SymLook(name.c_str());
    cache.owner = mp;
    cache.generation = mp->VariablesGeneration();
  }
  return cache.record;
}

const symtab* QuorvixSymtabAdaptor::peekValue(const std::string& name,
                                              ParserCore_NS::VariableCache& cache) {
  const symtab* rec = TableRecord(name, cache);
  if (rec == nullptr) return nullptr;
  if (rec->type == SYM_ARRAY && rec->data != nullptr) return rec;
  if (rec->type == SYM_STRINGS && rec->str_list != nullptr) return rec;
  return nullptr;
}

void QuorvixSymtabAdaptor::subscriptOf(const symtab& base, const unsigned* idx, int count,
                                       symtab& out, int pos) {
  if (base.type == SYM_ARRAY) {
    const bool vector = base.rows == 1 || base.cols == 1;
    if (vector && count == 1 && idx[0] < static_cast<unsigned>(base.rows * base.cols)) {
      out.SetScalar(base.data[idx[0]]);
      return;
    }
    if (!vector && count == 2 && idx[0] < static_cast<unsigned>(base.rows) &&
        idx[1] < static_cast<unsigned>(base.cols)) {
      out.SetScalar(base.data[idx[0] * static_cast<unsigned>(base.cols) + idx[1]]);
      return;
    }
  } else if (base.type == SYM_STRINGS && count == 1 &&
             idx[0] < static_cast<unsigned>(base.num_strings)) {
    out.SetString(base.str_list[idx[0]]);
    return;
  }
  // Rows of a matrix and every error: through the general path on a copy.
  CopyPayload(base, out);
  subscript(out, idx, count, pos);
}

bool QuorvixSymtabAdaptor::readScalar(const std::string& name, ParserCore_NS::VariableCache& cache,
                                      double& out) {
  if (TableRecord(name, cache) == nullptr || cache.record->type != SYM_SCALAR) return false;
  out = cache.record->value;
  return true;
}

bool QuorvixSymtabAdaptor::callScalar(const std::string& name, ParserCore_NS::FunctionCache& cache,
                                      double x, double& out) {
  Refresh(name, cache);
  if (cache.scalar == nullptr) return false;
  out = cache.scalar(x);
  return true;
}

void QuorvixSymtabAdaptor::readVariable(const std::string& name,
                                        ParserCore_NS::VariableCache& cache, symtab& out, int) {
  MathParser* mp = MathParser::current_parser;
  if (mp != nullptr) {
    if (TableRecord(name, cache) != nullptr) {
      if (cache.record->type == SYM_SCALAR && out.type == SYM_UNDEFINED) {
        out.type = SYM_SCALAR;
        out.value = cache.record->value;
        out.shared = 0;
        out.frozen = cache.record->frozen;
        return;
      }
      if (cache.record->type != SYM_UNDEFINED) {
        CopyPayload(*cache.record, out);
        return;
      }
    }
    std::vector<char> buffer(name.begin(), name.end());
    buffer.push_back('\0');
    for (int i = 0; i < mp->NumGetFuncs(); ++i) {
      if (symtab* got = mp->GetFuncAt(i)(buffer.data())) {
        out.Swap(*got);
        got->Delete();
        out.DropName();
        out.shared = 0;
        return;
      }
    }
  }
  out.ReleasePayload();
  out.SetName(name.c_str());
}

void QuorvixSymtabAdaptor::assign(const std::string& name, std::vector<symtab>& subs,
                                  const symtab& value, int pos) {
  MathParser* mp = MathParser::current_parser;
  if (mp == nullptr || !mp->AllowAssign()) Fail("Assignments not allowed", pos);
  symtab* rec = mp->SymLook(name.c_str());
  if (subs.empty()) {
    StoreWhole(*rec, value);
  } else {
    unsigned idx[2];
    int count = 0;
    for (std::size_t i = 0; i < subs.size(); ++i) {
      const symtab& sub = subs[i];
      if (sub.type == SYM_ARRAY && sub.rows * sub.cols != 1) {
        if (count || i + 1 != subs.size()) Fail("Illegal subrange", pos);
        StoreRange(*rec, sub, value, pos);
        count = -1;
        break;
      }
      double d;
      if (!ScalarOf(sub, d)) Fail("Non-scalar subscript", pos);
      if (count == 2) Fail("Too many array subscripts", pos);
      idx[count++] = CutIndex(d);
    }
    if (count > 0) StoreElement(*rec, idx, count, value, pos);
  }
  NotifySetters(*mp, name, rec);
}

void QuorvixSymtabAdaptor::assignVariable(const std::string& name,
                                          ParserCore_NS::VariableCache& cache, const symtab& value,
                                          int pos) {
  symtab* rec = TableRecord(name, cache);
  if (rec == nullptr) Fail("Assignments not allowed", pos);
  StoreWhole(*rec, value);
  NotifySetters(*MathParser::current_parser, name, rec);
}

bool QuorvixSymtabAdaptor::allowEscapes() {
  MathParser* mp = MathParser::current_parser;
  return mp == nullptr || mp->AllowEscapeCharactersInStrings();
}

}  // namespace MathParser_NS
