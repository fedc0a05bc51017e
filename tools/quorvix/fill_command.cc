// quorvix fill: fill template files (or standard input) and write the result.
#include <cstdio>
#include <cstring>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>

#include "commands.h"
#include "fill_options.h"
#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/tcl_setup.h"

namespace quorvix::cli {

namespace {

struct FillCommandOptions {
  std::string output;
  FillOptions fill;
  std::string pref;
  std::vector<std::string> files;
};

constexpr const char* kFillUsage =
    "usage: quorvix fill [-o FILE] [-I DIR]... [-D NAME=EXPR]... [--lf] [--safe-quotes]\n"
    "                    [--time-limit SECONDS] [--restricted] [--allow-env NAME]...\n"
    "                    [--max-elements N] [--max-output BYTES] [--pref FILE] [FILE...]\n"
    "  --pref FILE  read a preference file (registrations) with the fill's parser first;\n"
    "               exit 2 when it cannot be read, 1 when its fill fails or it is refused\n";

// Returns false after printing a usage error.
bool ParseOptions(const Args& args, FillCommandOptions& o) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (int taken = ParseFillOption(args, i, o.fill, "fill", kFillUsage); taken != 0) {
      if (taken < 0) return false;
    } else if (a == "-o" || a == "--output") {
      if (i + 1 >= args.size()) {
        std::fprintf(stderr, "quorvix fill: %s needs a value\n%s", a.c_str(), kFillUsage);
        return false;
      }
      o.output = args[++i];
    } else if (a == "--pref") {
      if (i + 1 >= args.size()) {
        std::fprintf(stderr, "quorvix fill: %s needs a value\n%s", a.c_str(), kFillUsage);
        return false;
      }
      o.pref = args[++i];
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

}  // namespace

int RunFill(const Args& args) {
  FillCommandOptions o;
  if (!ParseOptions(args, o)) return kExitUsage;

  MathParser parser;
  ApplyFillOptions(o.fill, parser);
  if (!EvaluateDefinitions(o.fill, parser, "fill")) return kExitUsage;

  // Every file must be readable before anything is written.
  for (const std::string& file : o.files) {
    std::FILE* f = file == "-" ? nullptr : std::fopen(file.c_str(), "rb");
    if (file != "-" && f == nullptr) {
      std::fprintf(stderr, "quorvix fill: cannot read '%s'\n", file.c_str());
      return kExitUsage;
    }
    if (f != nullptr) std::fclose(f);
  }
  parser.policy().limits.seconds = o.fill.seconds;
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
  FileSink sink(destination != nullptr ? destination.get() : stdout, o.fill.lf);

  // Templates may write to the "TCL" stream and call the Tcl functions.
  if (!o.fill.trust.restricted) CreateTclInterpreter();
  Filler filler(&parser);
  ApplyFillerOptions(o.fill, filler);
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
      FileSink messages(stderr, o.fill.lf);
      messages.Write(errors, std::strlen(errors));
      messages.Finish();
      delete[] errors;
    }
    failed = failed || status != 0;
  }
  return failed ? kExitFailed : kExitOk;
}

}  // namespace quorvix::cli
