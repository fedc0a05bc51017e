// quorvix fill: fill template files (or standard input) and write the result.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

#include "commands.h"
#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/tcl_setup.h"

namespace quorvix::cli {

namespace {

struct FillOptions {
  std::string output;
  std::vector<std::string> includes;
  std::vector<std::pair<std::string, std::string>> defines;
  bool lf = false;
  bool safe_quotes = false;
  std::string pref;
  double seconds = 0.0;
  TrustOptions trust;
  std::vector<std::string> files;
};

constexpr const char* kFillUsage =
    "usage: quorvix fill [-o FILE] [-I DIR]... [-D NAME=EXPR]... [--lf] [--safe-quotes]\n"
    "                    [--time-limit SECONDS] [--restricted] [--allow-env NAME]...\n"
    "                    [--max-elements N] [--max-output BYTES] [--pref FILE] [FILE...]\n"
    "  --pref FILE  read a preference file (registrations) with the fill's parser first;\n"
    "               exit 2 when it cannot be read, 1 when its fill fails or it is refused\n";

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
    if (int taken = ParseTrustOption(args, i, o.trust, true, "fill"); taken != 0) {
      if (taken < 0) return false;
    } else if (a == "-o" || a == "--output") {
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
    } else if (a == "--pref") {
      if (!value(o.pref)) return false;
    } else if (a == "--safe-quotes") {
      o.safe_quotes = true;
    } else if (a == "--time-limit") {
      if (!value(v)) return false;
      if (!ParseSeconds(v, o.seconds)) {
        std::fprintf(stderr, "quorvix fill: bad time limit '%s' (expected seconds >= 0)\n",
                     v.c_str());
        return false;
      }
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

}  // namespace

int RunFill(const Args& args) {
  FillOptions o;
  if (!ParseOptions(args, o)) return kExitUsage;

  for (const std::string& dir : o.includes) FillerBase::IncludePath().push_back(dir);
  MathParser parser;
  MathParser::SetErrorFunction(CaptureError);
  // The definitions are held to the same trust as the templates.
  ApplyTrust(o.trust, parser.policy());
  SendMessagesToStandardError(parser.policy());
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

  // Every file must be readable before anything is written.
  for (const std::string& file : o.files) {
    std::FILE* f = file == "-" ? nullptr : std::fopen(file.c_str(), "rb");
    if (file != "-" && f == nullptr) {
      std::fprintf(stderr, "quorvix fill: cannot read '%s'\n", file.c_str());
      return kExitUsage;
    }
    if (f != nullptr) std::fclose(f);
  }
  parser.policy().limits.seconds = o.seconds;
  // Registrations come first, so that nothing is written when they fail.
  if (!o.pref.empty()) {
    if (std::FILE* f = std::fopen(o.pref.c_str(), "rb"); f != nullptr) {
      std::fclose(f);
    } else {
      std::fprintf(stderr, "quorvix fill: cannot read preference file '%s'\n", o.pref.c_str());
      return kExitUsage;
    }
    if (Filler::GetTemplatesViaPreferenceFile(o.pref.c_str(), &parser) != 0) {
      std::fprintf(stderr, "quorvix fill: preference file '%s' failed\n", o.pref.c_str());
      return kExitFailed;
    }
  }
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> destination(nullptr, &std::fclose);
  if (!o.output.empty()) {
    destination.reset(std::fopen(o.output.c_str(), "wb"));
    if (destination == nullptr) {
      std::fprintf(stderr, "quorvix fill: cannot write '%s'\n", o.output.c_str());
      return kExitUsage;
    }
  }
  // The output goes out as the fill makes it: memory stays flat however
  // much a template writes.
  FileSink sink(destination != nullptr ? destination.get() : stdout, o.lf);

  // Templates may write to the "TCL" stream and call the Tcl functions.
  if (!o.trust.restricted) CreateTclInterpreter();
  Filler filler(&parser);
  filler.SafeQuotes(o.safe_quotes ? 1 : 0);
  filler.SetLfInFiles(o.lf);
  bool failed = false;
  for (const std::string& file : o.files) {
    char* errors = nullptr;
    int status = 0;
    if (file == "-") {
      std::string input((std::istreambuf_iterator<char>(std::cin)),
                        std::istreambuf_iterator<char>());
      status = filler.FillTo(input.c_str(), sink, &errors);
    } else {
      status = filler.FillFileTo(file.c_str(), sink, &errors);
      if (status < 0) {
        std::fprintf(stderr, "quorvix fill: cannot read '%s'\n", file.c_str());
        return kExitUsage;
      }
    }
    if (errors != nullptr) {
      // The error text takes the same line ends as the output.
      FileSink messages(stderr, o.lf);
      messages.Write(errors, std::strlen(errors));
      messages.Finish();
      delete[] errors;
    }
    failed = failed || status != 0;
  }
  return failed ? kExitFailed : kExitOk;
}

}  // namespace quorvix::cli
