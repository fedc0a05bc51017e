// Calls of functions in shared libraries (MathParser::AddExtDLLFunc) through
// the C interface of quorvix/extension.h.
#include <dlfcn.h>

#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "expression/function_call.h"
#include "quorvix/extension.h"
#include "quorvix/math_parser.h"
#include "values/value_limits.h"

namespace quorvix {
namespace {

symtab* Fail(const std::string& message) {
  MathParser::Error(message.c_str());
  return nullptr;
}

// Libraries stay loaded for the rest of the process: functions found in
// them may be called again at any time, and unloading code that a host or
// the library itself still points into is never safe.
void* LoadLibrary(const std::string& path, std::string* why) {
  static std::mutex mutex;
  static std::map<std::string, void*> loaded;
  std::lock_guard lock(mutex);
  if (auto it = loaded.find(path); it != loaded.end()) return it->second;
  void* handle = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    const char* error = ::dlerror();
    *why = "could not load library " + path + ": " + (error != nullptr ? error : "unknown error");
    return nullptr;
  }
  loaded.emplace(path, handle);
  return handle;
}

// What the function answered through the setters.
struct Result {
  enum { kNone, kNumbers, kString, kError } kind = kNone;
  int rows = 0;
  int cols = 0;
  std::vector<double> numbers;
  std::string text;
};

Result& Of(quorvix_call* call) { return *static_cast<Result*>(call->result); }

void SetNumbers(quorvix_call* call, int rows, int cols, const double* data) {
  Result& r = Of(call);
  if (rows < 0 || cols < 0 || (data == nullptr && rows > 0 && cols > 0) ||
      !ElementCountFits(rows, cols)) {
    r.kind = Result::kError;
    r.text = "library function gave an invalid array";
    return;
  }
  r.kind = Result::kNumbers;
  r.rows = rows;
  r.cols = cols;
  r.numbers.assign(data, data + static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols));
}

void SetString(quorvix_call* call, const char* text) {
  Result& r = Of(call);
  r.kind = Result::kString;
  r.text = text != nullptr ? text : "";
}

void SetError(quorvix_call* call, const char* message) {
  Result& r = Of(call);
  r.kind = Result::kError;
  r.text = message != nullptr ? message : "";
}

bool Describe(const symtab& arg, quorvix_value& value) {
  if (arg.IsString()) {
    value = {QUORVIX_STRING, 1, 1, nullptr, arg.str_list[0]};
    return true;
  }
  if (arg.type == SYM_SCALAR) {
    value = {QUORVIX_NUMBERS, 1, 1, &arg.value, nullptr};
    return true;
  }
  if (arg.type != SYM_ARRAY) return false;
  value = {QUORVIX_NUMBERS, arg.rows, arg.cols, arg.data, nullptr};
  return true;
}

symtab* CallLibrary(funtab* entry, sym_list* args) {
  const std::string name = entry->name != nullptr ? entry->name : "";
  const std::string path = entry->library != nullptr ? entry->library : "";
  const std::string symbol = entry->program != nullptr ? entry->program : "";
  std::string why;
  void* handle = LoadLibrary(path, &why);
  if (handle == nullptr) return Fail(why);
  auto function = reinterpret_cast<quorvix_extension_function>(::dlsym(handle, symbol.c_str()));
  if (function == nullptr) return Fail("entry point " + symbol + " not found in " + path);
  const int count = args != nullptr ? args->count : 0;
  std::vector<quorvix_value> values(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    if (args->args[i] == nullptr || !Describe(*args->args[i], values[static_cast<std::size_t>(i)]))
      return Fail("Argument " + std::to_string(i) + " is an invalid type");
  Result result;
  quorvix_call call{QUORVIX_EXTENSION_VERSION,
                    entry->nargs,
                    entry->library_word,
                    count,
                    values.data(),
                    &SetNumbers,
                    &SetString,
                    &SetError,
                    &result};
  const int status = function(&call);
  if (result.kind == Result::kError) return Fail(name + ": " + result.text);
  if (status != 0) return Fail("library function " + name + " failed");
  if (result.kind == Result::kNone) return Fail("library function " + name + " gave no result");
  auto* value = new symtab;
  if (result.kind == Result::kString) {
    value->SetString(result.text.c_str());
  } else if (result.rows == 1 && result.cols == 1) {
    value->SetScalar(result.numbers[0]);
  } else {
    std::copy(result.numbers.begin(), result.numbers.end(),
              value->SetArray(result.rows, result.cols));
  }
  return value;
}

const bool g_installed = (Callers().library = &CallLibrary, true);

}  // namespace
}  // namespace quorvix
