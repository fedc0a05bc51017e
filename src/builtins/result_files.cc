// Result-file built-ins: read, readsubcase and getvalue read result files
// through the data-import library (quorvix/vector_file.h); getvalueatindex,
// getval2 and curval look values up in variables and vectors.
#include <algorithm>
#include <climits>
#include <cmath>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/spectral_support.h"
#include "quorvix/math_parser.h"
#include "quorvix/vector_file.h"
#include "results/result_cache.h"
#include "util/huge_pages.h"
#include "util/search_path.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ArgumentMustBe;
using builtins::FirstString;
using builtins::HasString;
using builtins::MustBe;
using builtins::OwnedRecord;
using builtins::Report;

constexpr char kReadFilename[] = "Filename string expected for READ function";
constexpr char kReadTypename[] = "Typename string expected for READ function";
constexpr char kReadRequestName[] = "Request name string expected for READ function";
constexpr char kReadComponentName[] = "Component name string expected for READ function";
constexpr char kReadRequestNumber[] = "Request number expected in READ function";
constexpr char kReadComponentNumber[] = "Component number expected in READ function";
constexpr char kGetvalueFilename[] = "Filename string expected for GETVALUE function";
constexpr char kGetvalueVarname[] = "Varname string expected for GETVALUE function";
constexpr char kGetvalueRecord[] = "Record index expected for GETVALUE function";
constexpr char kGetvalueEntity[] = "Entity index expected for GETVALUE function";
constexpr char kGetvalueType[] = "Type index expected for GETVALUE function";
constexpr char kGetvalueRequest[] = "Request index expected for GETVALUE function";
constexpr char kGetvalueComponent[] = "Component index expected for GETVALUE function";
constexpr char kFileNotFound[] = "FILENOTFOUND";
constexpr char kValueNotFound[] = "VALUENOTFOUND";
constexpr char kAtIndexString[] =
    "The ParserGetValueAtIndex function takes a string for its first parameter";
constexpr char kAtIndexScalar[] =
    "The ParserGetValueAtIndex function takes a scalar for its second parameter";
constexpr char kNoVariable[] = "Unable to find variable";
constexpr char kWrongVariableType[] = "Variable is not of the correct type";
constexpr char kValueNotFoundMessage[] = "Value not found";
constexpr char kValueFoundOutOfRange[] = "Value found out of range";
constexpr char kNoTime[] = "No time is available";
// The variable curval reads the current time from.
constexpr char kCurrentTime[] = "curtime";

// A number: kind 1, or an array of one element.
bool IsScalarArg(const symtab& v) { return v.IsScalar() != 0; }

double ScalarOf(const symtab& v) { return builtins::NumericElements(v)[0]; }

int IndexOf(const symtab& v) {
  return static_cast<int>(
      std::clamp<long long>(builtins::TruncateToInteger(ScalarOf(v)), INT_MIN, INT_MAX));
}

// The file argument looked up along the search directories into `path`
// (empty when it is nowhere). False after reporting a refusal of
// restricted mode, which stops the evaluation like any error.
bool Resolve(const Args& args, std::string& path) {
  std::string refusal;
  path = FindOnSearchPath(results::CurrentPolicy(), FirstString(*args.Peek(0)), refusal);
  if (path.empty() && !refusal.empty()) {
    Report(refusal.c_str());
    return false;
  }
  return true;
}

// The first argument turned into the result: a row vector of the numbers,
// or the scalar 1 when nothing was read.
symtab* VectorResult(Args& args, const std::optional<std::vector<double>>& values) {
  symtab* v = args.Take(0);
  if (!values || values->empty()) {
    builtins::ReduceToScalar(*v, 1.0);
  } else {
    double* row = v->SetArray(1, static_cast<int>(values->size()));
    AdviseHugePages(row, values->size() * sizeof(double));
    std::copy(values->begin(), values->end(), row);
  }
  return args.Release(v);
}

symtab* StringResult(Args& args, const char* text) {
  symtab* v = args.Take(0);
  v->SetString(text);
  return args.Release(v);
}

symtab* Read(sym_list* list) {
  Args args(list);
  if (args.size() != 2 && args.size() != 4) {
    // The first argument comes back, not null.
    Report(builtins::kInvalidArgCount);
    return args.size() > 0 ? args.Release(args.Take(0)) : nullptr;
  }
  if (!args.Check(0, HasString, kReadFilename)) return nullptr;
  const bool by_name = HasString(*args.Peek(1));
  if (!by_name && !args.Check(1, IsScalarArg, kReadTypename)) return nullptr;
  if (args.size() == 4) {
    if (by_name ? !args.Check(2, HasString, kReadRequestName) ||
                      !args.Check(3, HasString, kReadComponentName)
                : !args.Check(2, IsScalarArg, kReadRequestNumber) ||
                      !args.Check(3, IsScalarArg, kReadComponentNumber))
      return nullptr;
  }
  std::string path;
  if (!Resolve(args, path)) return nullptr;
  Importlib::SuspendFileNotFound quiet;
  std::optional<std::vector<double>> values;
  if (path.empty()) return VectorResult(args, values);
  if (args.size() == 2) {
    values = by_name ? VectorFile::GetVector(path, FirstString(*args.Peek(1)), "", "")
                     : VectorFile::GetVector(path, IndexOf(*args.Peek(1)), 0, 0);
  } else if (by_name) {
    if (auto control = VectorFileList::Add(0, path)) {
      const char* request = FirstString(*args.Peek(2));
      const char* component = FirstString(*args.Peek(3));
      int t = control->GetDataTypeIndex(FirstString(*args.Peek(1)), request, component, nullptr);
      values = control->Read(0, t, control->GetRequestIndex(t, request, nullptr),
                             control->GetComponentIndex(t, component, nullptr));
    }
  } else {
    values = VectorFile::GetVector(path, IndexOf(*args.Peek(1)), IndexOf(*args.Peek(2)),
                                   IndexOf(*args.Peek(3)));
  }
  return VectorResult(args, values);
}

// An index argument of readsubcase: a name through `by_name`, or a number
// below `count`; -1 otherwise.
template <typename ByName>
int LevelIndex(const symtab& v, int count, ByName by_name) {
  if (HasString(v)) return by_name(FirstString(v));
  if (!IsScalarArg(v)) return -1;
  int i = IndexOf(v);
  return i >= 0 && i < count ? i : -1;
}

symtab* ReadSubcase(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1, 5)) return nullptr;
  if (!args.Check(0, HasString, kReadFilename)) return nullptr;
  std::string path;
  if (!Resolve(args, path)) return nullptr;
  Importlib::SuspendFileNotFound quiet;
  auto file = path.empty() ? nullptr : VectorFileList::Add(0, path);
  if (file == nullptr && args.size() < 3) return args.Fail(builtins::kInvalidArgCount);
  std::optional<std::vector<double>> values;
  if (file == nullptr || args.size() < 3) return VectorResult(args, values);
  const int s = LevelIndex(*args.Peek(1), file->GetNumSubcases(), [&](const char* label) {
    return file->GetSubcaseIndexFromLabel(label);
  });
  // Names of types, requests and components are looked up in that subcase.
  auto control = s > 0 ? VectorFileList::Add(s, path) : file;
  if (control == nullptr) return VectorResult(args, values);
  const int t = LevelIndex(*args.Peek(2), control->GetNumDatatypes(), [&](const char* name) {
    return control->GetDataTypeIndex(name, nullptr, nullptr, nullptr);
  });
  if (args.size() < 5) return VectorResult(args, values);
  const int r = LevelIndex(*args.Peek(3), control->GetNumRequests(t), [&](const char* name) {
    return control->GetRequestIndex(t, name, nullptr);
  });
  const int c = LevelIndex(*args.Peek(4), control->GetNumComponents(t), [&](const char* name) {
    return control->GetComponentIndex(t, name, nullptr);
  });
  if (s >= 0 && t >= 0 && r >= 0 && c >= 0) values = control->Read(s, t, r, c);
  return VectorResult(args, values);
}

symtab* GetValue(sym_list* list) {
  Args args(list);
  if (!args.HasCount(4, 5)) return nullptr;
  if (!args.Check(0, HasString, kGetvalueFilename)) return nullptr;
  const bool by_name = args.size() == 4;
  if (by_name ? !args.Check(1, HasString, kGetvalueVarname) ||
                    !args.Check(2, IsScalarArg, kGetvalueRecord) ||
                    !args.Check(3, IsScalarArg, kGetvalueEntity)
              : !args.Check(1, IsScalarArg, kGetvalueType) ||
                    !args.Check(2, IsScalarArg, kGetvalueRequest) ||
                    !args.Check(3, IsScalarArg, kGetvalueComponent) ||
                    !args.Check(4, IsScalarArg, kGetvalueEntity))
    return nullptr;
  std::string path;
  if (!Resolve(args, path)) return nullptr;
  Importlib::SuspendFileNotFound quiet;
  auto control = path.empty() ? nullptr : VectorFileList::Add(0, path);
  if (control == nullptr) return StringResult(args, kFileNotFound);
  auto lookup = [&]() -> const ValuePair* {
    if (by_name)
      return control->qdfGetValuePair(FirstString(*args.Peek(1)), IndexOf(*args.Peek(2)),
                                      IndexOf(*args.Peek(3)));
    const int entity = IndexOf(*args.Peek(4));
    const ValuePair* pair = control->qdfGetValuePair(IndexOf(*args.Peek(1)), IndexOf(*args.Peek(2)),
                                                     IndexOf(*args.Peek(3)));
    if (entity < 0) return nullptr;
    for (int i = 0; i < entity && pair != nullptr; ++i) pair = control->qdfGetNextValuePair(pair);
    return pair;
  };
  const ValuePair* pair = lookup();
  if (pair == nullptr) {
    control->SetMark(0, 0, 0, true);
    control->GetData();
    pair = lookup();
  }
  return StringResult(args, pair != nullptr ? pair->text.c_str() : kValueNotFound);
}

// The element of a variable: a numeric array's by its row-major (flat)
// index, so a matrix answers like its list of elements; a scalar's at 0;
// a string list's string at the index.
symtab* GetValueAtIndex(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  if (!args.Check(0, HasString, kAtIndexString) || !args.Check(1, IsScalarArg, kAtIndexScalar))
    return nullptr;
  MathParser* parser = MathParser::current_parser;
  OwnedRecord stored(parser != nullptr ? parser->GetVariable(FirstString(*args.Peek(0))) : nullptr);
  if (stored == nullptr) return args.Fail(kNoVariable);
  const long long i = builtins::TruncateToInteger(ScalarOf(*args.Peek(1)));
  if (stored->type == SYM_STRINGS) {
    if (i < 0 || i >= stored->num_strings) return args.Fail(builtins::kIndexOutOfRange);
    return StringResult(args, stored->str_list[i]);
  }
  if (!builtins::IsNumeric(*stored)) return args.Fail(kWrongVariableType);
  std::span<const double> xs = builtins::NumericElements(*stored);
  if (i < 0 || i >= static_cast<long long>(xs.size())) return args.Fail(builtins::kIndexOutOfRange);
  symtab* v = args.Take(0);
  builtins::ReduceToScalar(*v, xs[i]);
  return args.Release(v);
}

bool IsVectorArg(const symtab& v) { return builtins::IsVectorLike(v); }

// y where x first reaches v: an element equal to v, or a strict change of
// sign of x - v between neighbours (y interpolated), whichever comes first.
symtab* GetVal2(sym_list* list) {
  Args args(list);
  if (!args.HasCount(3)) return nullptr;
  if (!args.Check(0, IsVectorArg, ArgumentMustBe(1, MustBe::kVector)) ||
      !args.Check(1, IsVectorArg, ArgumentMustBe(2, MustBe::kVector)) ||
      !args.Check(2, IsScalarArg, ArgumentMustBe(3, MustBe::kScalar)))
    return nullptr;
  std::span<const double> x = builtins::NumericElements(*args.Peek(0));
  std::span<const double> y = builtins::NumericElements(*args.Peek(1));
  const double v = ScalarOf(*args.Peek(2));
  for (std::size_t i = 0; i < x.size(); ++i) {
    if (x[i] == v) {
      if (i >= y.size()) return args.Fail(kValueFoundOutOfRange);
      return args.Release(builtins::NewScalar(y[i]));
    }
    if (i + 1 < x.size() && (x[i] - v) * (x[i + 1] - v) < 0) {
      if (i + 1 >= y.size()) return args.Fail(kValueFoundOutOfRange);
      const double f = (v - x[i]) / (x[i + 1] - x[i]);
      return args.Release(builtins::NewScalar(y[i] + f * (y[i + 1] - y[i])));
    }
  }
  return args.Fail(kValueNotFoundMessage);
}

// The current time: the variable, else the parser's get hooks.
OwnedRecord CurrentTime() {
  MathParser* parser = MathParser::current_parser;
  if (parser == nullptr) return nullptr;
  if (symtab* v = parser->GetVariable(kCurrentTime)) return OwnedRecord(v);
  std::string name = kCurrentTime;
  for (int i = 0; i < parser->NumGetFuncs(); ++i)
    if (symtab* v = parser->GetFuncAt(i)(name.data())) return OwnedRecord(v);
  return nullptr;
}

// y at the current time, linearly interpolated in t (ascending).
symtab* CurVal(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  if (!args.Check(0, IsVectorArg, ArgumentMustBe(1, MustBe::kVector)) ||
      !args.Check(1, IsVectorArg, ArgumentMustBe(2, MustBe::kVector)))
    return nullptr;
  OwnedRecord now = CurrentTime();
  if (now == nullptr || !IsScalarArg(*now)) return args.Fail(kNoTime);
  const double c = ScalarOf(*now);
  std::span<const double> t = builtins::NumericElements(*args.Peek(0));
  std::span<const double> y = builtins::NumericElements(*args.Peek(1));
  const std::size_t n = std::min(t.size(), y.size());
  if (n == 0 || !(c >= t[0] && c <= t[n - 1])) return args.Fail(builtins::kValueOutOfRange);
  const std::size_t hi = std::lower_bound(t.begin(), t.begin() + n, c) - t.begin();
  if (hi >= n || t[hi] == c || hi == 0)
    return args.Release(builtins::NewScalar(y[std::min(hi, n - 1)]));
  const std::size_t lo = hi - 1;
  const double f = (c - t[lo]) / (t[hi] - t[lo]);
  return args.Release(builtins::NewScalar(y[lo] + f * (y[hi] - y[lo])));
}

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kResultFileBuiltins[] = {
    {"curval", CurVal, 2, kNoCallFlags, nullptr,
     "curval(t, y)", "y at the current time (the variable curtime), interpolated in t", "curval({0, 1}, {0, 10 * numpts(curtime = 0.5)})"},
    {"getval2", GetVal2, 3, kNoCallFlags, nullptr,
     "getval2(x, y, v)", "y where x first reaches v, interpolated", "getval2({0, 10, 20}, {5, 6, 8}, 15)"},
    {"getvalue", GetValue, 3, kReadsFiles, nullptr,
     "getvalue(file, name, record, entity)", "a value of a result file as text; FILENOTFOUND or VALUENOTFOUND", "getvalue(\"results.csv\", \"speed\", 0, 0)"},
    {"getvalueatindex", GetValueAtIndex, 1, kNoCallFlags, nullptr,
     "getvalueatindex(name, i)", "element i of the variable name (flat index; a string of a list)", "getvalueatindex(\"w\", numpts(w = {4, 5, 6}))"},
    {"read", Read, 1, kReadsFiles, nullptr,
     "read(file, name)", "a column, variable or dataset of a result file as a row vector; 1 when nothing is read", "read(\"results.csv\", \"speed\")"},
    {"readsubcase", ReadSubcase, 1, kReadsFiles, nullptr,
     "readsubcase(file, subcase, type, request, component)", "a vector of a subcase of a result file; 1 when nothing is read", "readsubcase(\"results.csv\", 0, 0, 0, 0)"},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> ResultFileBuiltins() { return kResultFileBuiltins; }

}  // namespace quorvix
