// The `fill` built-in: runs the template engine over a string. It lives
// with the engine it runs and joins the built-in table from here.
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "builtins/builtin_support.h"
#include "builtins/builtin_table.h"
#include "builtins/private_run.h"
#include "quorvix/filler.h"
#include "util/run_budget.h"

namespace quorvix {
namespace {

using builtins::Args;

// The limit or refusal that ended a nested fill, from its error text; empty
// when another error ended it. These are passed on: recursion through fill
// must end with its limit, and a refusal must not come back as the
// unfilled text.
std::string LimitOrRefusalIn(std::string_view errors) {
  constexpr std::string_view kSuffix = " in expression:";
  while (!errors.empty()) {
    const std::size_t end = errors.find_first_of("\r\n");
    std::string_view line = errors.substr(0, end);
    if (line.size() >= kSuffix.size() && line.substr(line.size() - kSuffix.size()) == kSuffix)
      line.remove_suffix(kSuffix.size());
    if (IsLimitMessage(line) || Policy::IsRefusal(std::string(line))) return std::string(line);
    if (end == std::string_view::npos) break;
    errors.remove_prefix(end + 1);
  }
  return {};
}

// A private filler whose parser sees the caller's get functions and a copy
// of its variables. A failed fill gives the text back unchanged.
symtab* FillText(sym_list* list) {
  Args args(list);
  if (!args.HasCount(1)) return nullptr;
  if (!args.Check(0, builtins::HasString, "String expected in FILL function")) return nullptr;
  Filler filler;
  builtins::ShareCallerState(MathParser::current_parser, *filler.GetMathParser());
  char* errors = nullptr;
  std::unique_ptr<char[]> out;
  {
    builtins::QuietErrors quiet;
    out.reset(filler.Fill(args.Peek(0)->str_list[0], &errors));
  }
  std::unique_ptr<char[]> error_text(errors);
  MathParser::ClearError();
  symtab* v = args.Take(0);
  if (error_text != nullptr) {
    const std::string limit = LimitOrRefusalIn(error_text.get());
    if (!limit.empty()) return args.Fail(limit.c_str());
    return args.Release(v);
  }
  v->SetString(out != nullptr ? out.get() : "");
  return args.Release(v);
}

// clang-format off
constexpr BuiltinEntry kFillBuiltins[] = {
    {"fill", FillText, 1, kEvaluatesText, nullptr,
     "fill(text)", "the template text filled; the text itself when the fill fails", "fill(\"{1 + 2} apples\")"},
};
// clang-format on

std::span<const BuiltinEntry> FillBuiltins() { return kFillBuiltins; }

const bool g_fill_registered = (AddBuiltinFamily(&FillBuiltins, "Templates"), true);

}  // namespace
}  // namespace quorvix
