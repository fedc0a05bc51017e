// Text built-ins: line ends and platform names, character codes, case,
// searching, substrings, regular-expression replacement and number/text
// conversion.
#include <sys/utsname.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "quorvix/app_info.h"
#include "quorvix/math_parser.h"
#include "util/regex.h"
#include "values/value_limits.h"

namespace quorvix {
namespace {

using builtins::Args;
using builtins::ErrorAt;
using builtins::FirstString;
using builtins::HasString;
using builtins::IsArray;
using builtins::IsNumber;
using builtins::kInvalidArgCount;
using builtins::kInvalidArgType;
using builtins::ReduceToScalar;
using builtins::Report;
using builtins::TruncateToInteger;

constexpr char kStrlenString[] = "The STRLEN function takes a string parameter";
constexpr char kAscString[] = "String expected in ASC function";
constexpr char kChrScalar[] = "The CHR function requires a scalar value";
constexpr char kCaseString[] = "The input parameter must be a string in the TOUPPER function";
constexpr char kStrchrFirst[] = "The STRCHR function takes a string for its first parameter";
constexpr char kStrchrSecond[] =
    "The STRCHR function takes a string or number for its second parameter";
constexpr char kStrstrFirst[] = "The STRSTR function takes a string for its first parameter";
constexpr char kStrstrSecond[] = "The STRSTR function takes a string for its second parameter";
constexpr char kMidTwoDimensional[] = "The MID function does not work on two dimensional arrays";
constexpr char kMidScalar[] = "The MID function does not work on scalars";
constexpr char kMidIndex[] = "The MID function requires a scalar index";
constexpr char kMidLength[] = "The MID function requires a scalar length";
constexpr char kReplaceCount[] = "Invalid number of arguments in REPLACE function";
constexpr char kReplaceString[] = "String expected in REPLACE function";
constexpr char kConvertFormat[] = "The format specifier must be a string in CONVERT function";
constexpr char kConvertKind[] = "String or scalar expected in CONVERT function";
// Ours: the format of convert is checked before it reaches printf.
constexpr char kConvertBadFormat[] =
    "convert format must hold exactly one number conversion (%g, %f, %e or %a), "
    "with width and precision at most 1000";

// The byte of a character code: its low 8 bits, so that negative codes from
// asc come back as the same byte.
char CodeByte(double code) { return static_cast<char>(TruncateToInteger(code) & 0xff); }

// A new record holding one string.
symtab* NewString(const char* text) {
  auto* v = new symtab;
  v->SetString(text);
  return v;
}

// ---- Constants -----------------------------------------------------------

template <const char* (*Text)()>
symtab* ConstantText(sym_list* list) {
  Args args(list);
  if (!args.HasCount(0)) return nullptr;
  return NewString(Text());
}

const char* LineEnd() { return "\r\n"; }

// The kernel's name in lower case ("linux", "darwin", "freebsd").
const char* SystemName() {
  static const std::string name = [] {
    utsname u{};
    std::string s = uname(&u) == 0 ? u.sysname : "unknown";
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
  }();
  return name.c_str();
}

symtab* SysArch(sym_list* list) {
  Args args(list);
  if (!args.HasCount(0)) return nullptr;
  const VQApplicationInfo* info = MathParser::GetAppInfo();
  return NewString(info != nullptr ? info->GetProductArchitecture().c_str() : "");
}

// ---- Lengths, codes, kinds, case -----------------------------------------

symtab* Strlen(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1, ErrorAt::kNone)) return nullptr;
  symtab* s = args.Take(0, HasString, kStrlenString, ErrorAt::kNone);
  if (s == nullptr) return nullptr;
  ReduceToScalar(*s, static_cast<double>(std::strlen(FirstString(*s))));
  return args.Release(s);
}

symtab* Asc(sym_list* list) {
  Args args(list);
  if (args.size() == 0) return nullptr;  // no message: a departure of its own
  symtab* s = args.Take(0);
  if (args.size() > 1) {
    Report(kInvalidArgCount);
    return args.Release(s);  // the taken record, not null
  }
  if (s == nullptr || !HasString(*s)) return args.Fail(kAscString);
  ReduceToScalar(*s, static_cast<double>(static_cast<signed char>(FirstString(*s)[0])));
  return args.Release(s);
}

symtab* Chr(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  symtab* v = args.Take(0, IsNumber, kChrScalar);
  if (v == nullptr) return nullptr;
  const char text[2] = {CodeByte(v->value), '\0'};
  v->SetString(text);
  return args.Release(v);
}

symtab* TypeOf(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  symtab* v = args.Take(0);
  if (v == nullptr) return args.Fail(kInvalidArgType);
  ReduceToScalar(*v, static_cast<double>(v->type));
  return args.Release(v);
}

// toupper and tolower: every string of the list in place. Both errors hand
// the taken record back after the report.
template <int (*Convert)(int)>
symtab* ChangeCase(sym_list* list) {
  Args args(list);
  if (args.size() == 0) return nullptr;  // no message
  symtab* v = args.Take(0);
  if (args.size() > 1 || v == nullptr || v->type != SYM_STRINGS) {
    Report(args.size() > 1 ? kInvalidArgCount : kCaseString);
    return args.Release(v);
  }
  for (int i = 0; i < v->num_strings; ++i)
    for (char* c = v->str_list[i]; c != nullptr && *c != '\0'; ++c)
      *c = static_cast<char>(Convert(static_cast<unsigned char>(*c)));
  return args.Release(v);
}

int ToUpper(int c) { return std::toupper(c); }
int ToLower(int c) { return std::tolower(c); }

// ---- Searching -----------------------------------------------------------

bool IsStringOrNumber(const symtab& v) { return HasString(v) || IsNumber(v); }

// strchr and strrchr: the index of the first (last) occurrence of a
// character, given by code or as the first character of a string; -1 when
// it does not occur. The character 0 never occurs.
template <bool Last>
symtab* FindChar(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  symtab* s = args.Take(0, HasString, kStrchrFirst);
  if (s == nullptr || !args.Check(1, IsStringOrNumber, kStrchrSecond)) return nullptr;
  const symtab& what = *args.Peek(1);
  const char c = IsNumber(what) ? CodeByte(what.value) : FirstString(what)[0];
  const std::string_view text = FirstString(*s);
  const std::size_t at = c == '\0' ? std::string_view::npos : Last ? text.rfind(c) : text.find(c);
  ReduceToScalar(*s, at == std::string_view::npos ? -1.0 : static_cast<double>(at));
  return args.Release(s);
}

symtab* Strstr(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2)) return nullptr;
  symtab* s = args.Take(0, HasString, kStrstrFirst);
  if (s == nullptr || !args.Check(1, HasString, kStrstrSecond)) return nullptr;
  const std::size_t at = std::string_view(FirstString(*s)).find(FirstString(*args.Peek(1)));
  ReduceToScalar(*s, at == std::string_view::npos ? -1.0 : static_cast<double>(at));
  return args.Release(s);
}

// ---- Substrings ----------------------------------------------------------

symtab* Mid(sym_list* list) {
  Args args(list);
  if (!args.HasCount(2, 3)) return nullptr;
  symtab* x = args.Take(0);
  if (x == nullptr) return args.Fail(kInvalidArgType);
  if (IsNumber(*x)) return args.Fail(kMidScalar);
  if (IsArray(*x) && x->rows > 1 && x->cols > 1) return args.Fail(kMidTwoDimensional);
  if (!IsArray(*x) && !HasString(*x)) return args.Fail(kInvalidArgType);
  if (!args.Check(1, IsNumber, kMidIndex)) return nullptr;
  if (args.size() == 3 && !args.Check(2, IsNumber, kMidLength)) return nullptr;
  const long long start = TruncateToInteger(args.Peek(1)->value);
  const long long length = args.size() == 3 ? TruncateToInteger(args.Peek(2)->value) : 1;

  if (IsArray(*x)) {
    // A negative start counts from the first element; the kept elements move
    // to the front and the vector shrinks to them.
    const long long n = static_cast<long long>(x->rows) * x->cols;
    const long long from = std::max(0LL, start);
    const long long count = from >= n ? 0 : std::clamp(length, 0LL, n - from);
    if (count > 0) std::memmove(x->data, x->data + from, sizeof(double) * count);
    if (x->rows == 1)
      x->cols = static_cast<int>(count);
    else
      x->rows = static_cast<int>(count);
    return args.Release(x);
  }
  const std::string_view text = FirstString(*x);
  std::string part;
  if (start >= 0 && start < static_cast<long long>(text.size()))
    part = text.substr(static_cast<std::size_t>(start),
                       static_cast<std::size_t>(std::max(0LL, length)));
  x->SetString(part.c_str());
  return args.Release(x);
}

// ---- Replacement ---------------------------------------------------------

// Every match of the pattern in the whole text replaced; $1 and ${name}
// refer to groups. A replacement that leaves nothing returns the text as it
// was.
symtab* Replace(sym_list* list) {
  Args args(list);
  if (args.size() != 3) return args.Fail(kReplaceCount);
  for (int i = 0; i < 3; ++i)
    if (!args.Check(i, HasString, kReplaceString)) return nullptr;
  symtab* s = args.Take(0);
  const Regex pattern(FirstString(*args.Peek(1)));
  if (!pattern.ok()) return args.Fail(("invalid pattern in replace: " + pattern.error()).c_str());
  std::string out;
  if (!pattern.ReplaceAll(FirstString(*s), FirstString(*args.Peek(2)), out,
                          CurrentLimits().string_bytes))
    return args.Fail(("replace failed: " + pattern.error()).c_str());
  if (!out.empty()) s->SetString(out.c_str());
  return args.Release(s);
}

// ---- Conversion ----------------------------------------------------------

// Accepts literal text, "%%", and exactly one conversion of a double:
// %[flags][width][.precision][l]c with c one of a A e E f F g G. Width and
// precision are plain digits (no '*') of at most kMaxField, which bounds the
// text printf can make.
bool IsNumberFormat(const char* f) {
  constexpr long kMaxField = 1000;
  auto field = [](const char*& p) {
    long v = 0;
    while (std::isdigit(static_cast<unsigned char>(*p)) && v <= kMaxField)
      v = v * 10 + (*p++ - '0');
    return v <= kMaxField;
  };
  int conversions = 0;
  for (const char* p = f; *p != '\0'; ++p) {
    if (*p != '%') continue;
    if (*++p == '%') continue;
    while (*p != '\0' && std::strchr("-+ #0'", *p) != nullptr) ++p;
    if (!field(p)) return false;
    if (*p == '.' && !field(++p)) return false;
    if (*p == 'l') ++p;
    if (*p == '\0' || std::strchr("aAeEfFgG", *p) == nullptr) return false;
    ++conversions;
  }
  return conversions == 1;
}

// atoi, convert and itoa: a number becomes text through a printf format
// ("%g" by default), a text becomes a number through strtod. The three
// errors hand the taken record back after the report.
symtab* Convert(sym_list* list) {
  Args args(list);
  if (args.size() == 0) return nullptr;  // no message
  symtab* v = args.Take(0);
  if (args.size() > 2) {
    Report(kInvalidArgCount);
    return args.Release(v);
  }
  const char* format = "%g";
  if (args.size() == 2) {
    format = args.Peek(1) != nullptr ? FirstString(*args.Peek(1)) : nullptr;
    if (format == nullptr) {
      Report(kConvertFormat);
      return args.Release(v);
    }
  }
  if (v != nullptr && HasString(*v)) {
    ReduceToScalar(*v, std::strtod(FirstString(*v), nullptr));
    return args.Release(v);
  }
  if (v == nullptr || !IsNumber(*v)) {
    Report(kConvertKind);
    return args.Release(v);
  }
  if (!IsNumberFormat(format)) return args.Fail(kConvertBadFormat);
  const int length = std::snprintf(nullptr, 0, format, v->value);
  if (length < 0 || !CheckedStringBytes(static_cast<std::size_t>(length))) return nullptr;
  std::string text(static_cast<std::size_t>(length), '\0');
  std::snprintf(text.data(), text.size() + 1, format, v->value);
  v->SetString(text.c_str());
  return args.Release(v);
}

constexpr unsigned kNone = kNoCallFlags;

// clang-format off
// name, handler, argument word, call flags, scalar kernel;
//   usage, synopsis, example.
constexpr BuiltinEntry kTextBuiltins[] = {
    {"asc",     Asc,                     1, kNone, nullptr,
     "asc(s)", "code of the first byte of s, as a signed 8-bit number", "asc(\"A\")"},
    {"atoi",    Convert,                 1, kNone, nullptr,
     "atoi(x [, format])", "text to number (strtod), or number to text (printf format)",
     "atoi(\"2.5e3\")"},
    {"chr",     Chr,                     1, kNone, nullptr,
     "chr(code)", "one-character string of the low 8 bits of code", "chr(65)"},
    {"convert", Convert,                 1, kNone, nullptr,
     "convert(x [, format])", "text to number (strtod), or number to text (printf format)",
     "convert(3.14159, \"%.2f\")"},
    {"cr",      ConstantText<LineEnd>,   1, kNone, nullptr,
     "cr()", "the line end \"\\r\\n\"", "cr()"},
    {"itoa",    Convert,                 1, kNone, nullptr,
     "itoa(x [, format])", "number to text (printf format, default %g), or text to number",
     "itoa(42)"},
    {"mid",     Mid,                     2, kNone, nullptr,
     "mid(x, start [, length])", "length (default 1) characters or vector elements from start",
     "mid(\"abcdef\", 2, 3)"},
    {"replace", Replace,                 1, kNone, nullptr,
     "replace(s, pattern, replacement)",
     "every match of the regular expression replaced; $1 names a group",
     "replace(\"a1b22\", \"[0-9]+\", \"#\")"},
    {"strchr",  FindChar<false>,         2, kNone, nullptr,
     "strchr(s, c)", "index of the first c (code or string) in s, or -1", "strchr(\"abc\", \"b\")"},
    {"strlen",  Strlen,                  1, kNone, nullptr,
     "strlen(s)", "length of s in bytes", "strlen(\"abc\")"},
    {"strrchr", FindChar<true>,          2, kNone, nullptr,
     "strrchr(s, c)", "index of the last c (code or string) in s, or -1",
     "strrchr(\"abcb\", \"b\")"},
    {"strstr",  Strstr,                  2, kNone, nullptr,
     "strstr(s, t)", "index of the first t in s, or -1", "strstr(\"abcabc\", \"ca\")"},
    {"sysarch", SysArch,                 1, kNone, nullptr,
     "sysarch()", "the host product's architecture; empty when the host gives none", "sysarch()"},
    {"sysid",   ConstantText<SystemName>, 1, kNone, nullptr,
     "sysid()", "name of the operating system (\"linux\")", "sysid()"},
    {"tolower", ChangeCase<ToLower>,     1, kNone, nullptr,
     "tolower(s)", "every string of s in lower case", "tolower(\"ABC\")"},
    {"toupper", ChangeCase<ToUpper>,     1, kNone, nullptr,
     "toupper(s)", "every string of s in upper case", "toupper({\"ab\", \"cd\"})"},
    {"typeof",  TypeOf,                  1, kNone, nullptr,
     "typeof(x)", "kind of x: 0 undefined, 1 scalar, 2 numeric array, 3 strings", "typeof(\"a\")"},
};
// clang-format on

}  // namespace

std::span<const BuiltinEntry> TextBuiltins() { return kTextBuiltins; }

}  // namespace quorvix
