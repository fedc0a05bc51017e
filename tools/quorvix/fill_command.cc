// quorvix fill: fill template files (or standard input) and write the result.
#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

#include "commands.h"
#include "quorvix/filler.h"
#include "quorvix/math_parser.h"

namespace quorvix::cli {

namespace {

struct FillOptions {
  std::string output;
  std::vector<std::string> includes;
  std::vector<std::pair<std::string, std::string>> defines;
  bool lf = false;
  bool safe_quotes = false;
  std::vector<std::string> files;
};

constexpr const char* kFillUsage =
    "usage: quorvix fill [-o FILE] [-I DIR]... [-D NAME=EXPR]... [--lf] [--safe-quotes] [FILE...]\n";

// Returns false after printing a usage error.
bool ParseOptions(const Args& args, FillOptions& o) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&](std::string& out) {
      if (i + 1 >= args.size()) {
        std::fprintf(stderr, "quorvix fill: %s needs a value\n%s", a.c_str(), kFillUsage);
        return false;
      }
      out = args[++i];
      return true;
    };
    std::string v;
    if (a == "-o" || a == "--output") {
      if (!value(o.output)) return false;
    } else if (a == "-I" || a == "--include") {
      if (!value(v)) return false;
      o.includes.push_back(v);
    } else if (a.rfind("-I", 0) == 0 && a.size() > 2) {
      o.includes.push_back(a.substr(2));
    } else if (a == "-D" || a == "--define" || (a.rfind("-D", 0) == 0 && a.size() > 2)) {
      if (a.size() > 2 && a[1] == 'D') {
        v = a.substr(2);
      } else if (!value(v)) {
        return false;
      }
      std::size_t eq = v.find('=');
      if (eq == std::string::npos || eq == 0) {
        std::fprintf(stderr, "quorvix fill: bad definition '%s' (expected NAME=EXPR)\n", v.c_str());
        return false;
      }
      o.defines.emplace_back(v.substr(0, eq), v.substr(eq + 1));
    } else if (a == "--lf") {
      o.lf = true;
    } else if (a == "--safe-quotes") {
      o.safe_quotes = true;
    } else if (a == "-h" || a == "--help") {
      std::fputs(kFillUsage, stdout);
      std::exit(kExitOk);
    } else if (a.size() > 1 && a[0] == '-' && a != "-") {
      std::fprintf(stderr, "quorvix fill: unknown option '%s'\n%s", a.c_str(), kFillUsage);
      return false;
    } else {
      o.files.push_back(a);
    }
  }
  if (o.files.empty()) o.files.push_back("-");
  return true;
}

std::string g_message;
void CaptureError(const char* message) { g_message = message ? message : ""; }

std::string ToLf(std::string text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    out += text[i];
  }
  return out;
}

}  // namespace

int RunFill(const Args& args) {
  FillOptions o;
  if (!ParseOptions(args, o)) return kExitUsage;

  for (const std::string& dir : o.includes) FillerBase::IncludePath().push_back(dir);
  MathParser parser;
  MathParser::SetErrorFunction(CaptureError);
  for (const auto& [name, expr] : o.defines) {
    g_message.clear();
    symtab* value = parser.Evaluate(const_cast<char*>(expr.c_str()));
    if (value == nullptr) {
      std::fprintf(stderr, "quorvix fill: -D %s: %s\n", name.c_str(), g_message.c_str());
      return kExitUsage;
    }
    value->SetName(name.c_str());
    parser.AddVariable(value);
    value->Delete();
  }

  Filler filler(&parser);
  filler.SafeQuotes(o.safe_quotes ? 1 : 0);
  std::string output;
  bool failed = false;
  for (const std::string& file : o.files) {
    char* errors = nullptr;
    char* text = nullptr;
    if (file == "-") {
      std::string input((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
      text = filler.Fill(input.c_str(), &errors);
    } else {
      text = filler.FillFile(file.c_str(), &errors);
      if (text == nullptr) {
        std::fprintf(stderr, "quorvix fill: cannot read '%s'\n", file.c_str());
        return kExitUsage;
      }
    }
    output += text;
    delete[] text;
    if (errors != nullptr) {
      std::string e = o.lf ? ToLf(errors) : std::string(errors);
      std::fputs(e.c_str(), stderr);
      delete[] errors;
      failed = true;
    }
  }
  if (o.lf) output = ToLf(std::move(output));

  if (o.output.empty()) {
    std::fwrite(output.data(), 1, output.size(), stdout);
  } else {
    std::FILE* f = std::fopen(o.output.c_str(), "wb");
    if (f == nullptr) {
      std::fprintf(stderr, "quorvix fill: cannot write '%s'\n", o.output.c_str());
      return kExitUsage;
    }
    std::fwrite(output.data(), 1, output.size(), f);
    std::fclose(f);
  }
  return failed ? kExitFailed : kExitOk;
}

}  // namespace quorvix::cli
