// Time built-ins: the local time and date as formatted text, and a timer of
// processor-clock ticks.
#include <cstddef>
#include <ctime>
#include <memory>
#include <span>
#include <string>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::IsNumber;
using builtins::kInvalidArgCount;

// Both time and date report with these texts.
constexpr char kFormatExpected[] = "Format string expected for TIME function";

// The default formats fit a small buffer; a format of the caller's gets a
// larger one. A text that does not fit is reported like a bad format.
constexpr std::size_t kDefaultBuffer = 32;
constexpr std::size_t kFormatBuffer = 1024;

// The current local time formatted with the argument, or with the default
// format when there is none. glibc's strftime copies an unknown conversion
// as it stands and never aborts, so no handler needs replacing around it.
template <const char* DefaultFormat>
symtab* FormatNow(sym_list* list) {
  Args args(list);
  if (!args.HasCount(0, 1)) return nullptr;
  std::unique_ptr<symtab> fresh;
  symtab* result;
  const char* format = DefaultFormat;
  std::size_t capacity = kDefaultBuffer;
  if (args.size() == 1) {
    result = args.Take(0, builtins::HasString, kFormatExpected);
    if (result == nullptr) return nullptr;
    format = builtins::FirstString(*result);
    capacity = kFormatBuffer;
  } else {
    fresh = std::make_unique<symtab>();
    result = fresh.get();
  }
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  char text[kFormatBuffer];
  const std::size_t length = std::strftime(text, capacity, format, &local);
  if (length == 0) {
    // The result is the empty string, returned after the report.
    builtins::Report((std::string("Invalid format specifier ") + format).c_str());
    text[0] = '\0';
  }
  result->SetString(text);
  fresh.release();
  return args.Release(result);
}

constexpr char kTimeFormat[] = "%I:%M:%S %p";
constexpr char kDateFormat[] = "%m/%d/%y";

// Start of the timer in clock ticks; 0 until timer(x) sets it.
std::clock_t g_timer_start = 0;

symtab* Timer(sym_list* list) {
  Args args(list);
  if (!args.HasCount(0, 1)) return nullptr;
  if (args.size() == 0) {
    auto* elapsed = new symtab;
    elapsed->SetScalar(static_cast<double>(std::clock() - g_timer_start));
    return elapsed;
  }
  symtab* x = args.Take(0, IsNumber, kInvalidArgCount);
  if (x == nullptr) return nullptr;
  g_timer_start = std::clock() - static_cast<std::clock_t>(builtins::TruncateToInteger(x->value));
  return args.Release(x);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kTimeDateBuiltins[] = {
    {"date",  FormatNow<kDateFormat>, 1, kNone, nullptr,
     "date([format])", "local date as text (strftime format, default \"%m/%d/%y\")",
     "date(\"%Y-%m-%d\")"},
    {"time",  FormatNow<kTimeFormat>, 1, kNone, nullptr,
     "time([format])", "local time as text (strftime format, default \"%I:%M:%S %p\")",
     "time(\"%H:%M\")"},
    {"timer", Timer,                  1, kNone, nullptr,
     "timer([start])", "processor-clock ticks since the timer's start; timer(x) restarts it at x",
     "timer()"},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> TimeDateBuiltins() { return kTimeDateBuiltins; }

}  // namespace quorvix
