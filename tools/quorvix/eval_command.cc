// quorvix eval: evaluate expressions in one parser and print each value as
// the template engine writes it with its default formats.
#include <cstdio>
#include <string>

#include "commands.h"
#include "quorvix/math_parser.h"
#include "quorvix/tcl_setup.h"
#include "quorvix/value_format.h"

namespace quorvix::cli {

namespace {

std::string g_message;

void CaptureError(const char* message) { g_message = message ? message : ""; }

// The message, then the expression with a caret under the failing position.
void ReportFailure(const MathParser& parser, const std::string& expr) {
  std::fprintf(stderr, "quorvix: %s\n",
               g_message.empty() ? "evaluation failed" : g_message.c_str());
  std::fprintf(stderr, "  %s\n", expr.c_str());
  int pos = parser.ErrorPosition();
  if (pos < 0 || static_cast<std::size_t>(pos) > expr.size()) pos = 0;
  std::fprintf(stderr, "  %*s^\n", pos, "");
}

// Evaluates `expr`; null after reporting the failure.
symtab* EvaluateOrReport(MathParser& parser, const std::string& expr) {
  g_message.clear();
  symtab* value = parser.Evaluate(const_cast<char*>(expr.c_str()));
  if (value == nullptr) ReportFailure(parser, expr);
  return value;
}

}  // namespace

int RunEval(const Args& args) {
  MathParser parser;
  MathParser::SetErrorFunction(CaptureError);

  std::vector<std::pair<std::string, std::string>> defines;
  std::vector<std::string> exprs;
  TrustOptions trust;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    std::string define;
    if (int taken = ParseTrustOption(args, i, trust, false, "eval"); taken != 0) {
      if (taken < 0) return kExitUsage;
      continue;
    } else if (a == "-D" || a == "--define") {
      if (i + 1 >= args.size()) {
        std::fprintf(stderr, "quorvix eval: %s needs NAME=EXPR\n", a.c_str());
        return kExitUsage;
      }
      define = args[++i];
    } else if (a.rfind("-D", 0) == 0 && a.size() > 2) {
      define = a.substr(2);
    } else if (a == "--time-limit") {
      double seconds = 0.0;
      if (i + 1 >= args.size() || !ParseSeconds(args[i + 1], seconds)) {
        std::fprintf(stderr, "quorvix eval: --time-limit needs seconds >= 0\n");
        return kExitUsage;
      }
      parser.policy().limits.seconds = seconds;
      ++i;
      continue;
    } else if (a == "--") {
      exprs.insert(exprs.end(), args.begin() + static_cast<long>(i) + 1, args.end());
      break;
    } else {
      exprs.push_back(a);
      continue;
    }
    std::size_t eq = define.find('=');
    if (eq == std::string::npos || eq == 0) {
      std::fprintf(stderr, "quorvix eval: bad definition '%s' (expected NAME=EXPR)\n",
                   define.c_str());
      return kExitUsage;
    }
    defines.emplace_back(define.substr(0, eq), define.substr(eq + 1));
  }
  if (exprs.empty()) {
    std::fputs(
        "usage: quorvix eval [-D NAME=EXPR]... [--time-limit SECONDS] [--restricted]\n"
        "                    [--allow-env NAME]... [--max-elements N] EXPR...\n",
        stderr);
    return kExitUsage;
  }
  ApplyTrust(trust, parser.policy());
  SendMessagesToStandardError(parser.policy());
  if (!trust.restricted) CreateTclInterpreter();

  for (const auto& [name, expr] : defines) {
    symtab* value = EvaluateOrReport(parser, expr);
    if (value == nullptr) return kExitFailed;
    value->SetName(name.c_str());
    parser.AddVariable(value);
    value->Delete();
  }

  ValueFormat format;
  for (const std::string& expr : exprs) {
    symtab* value = EvaluateOrReport(parser, expr);
    if (value == nullptr) return kExitFailed;
    std::string text;
    bool ok = FormatValue(*value, format, text);
    value->Delete();
    if (!ok) {
      std::fputs("quorvix: Undefined value type\n", stderr);
      return kExitFailed;
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
  }
  return kExitOk;
}

}  // namespace quorvix::cli
