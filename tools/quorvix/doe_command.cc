// quorvix doe: a design study, one fill of a template per row of a run
// matrix, a few fills at a time in separate processes.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "commands.h"
#include "design_template.h"
#include "fill_options.h"
#include "quorvix/filler.h"
#include "quorvix/output_sink.h"
#include "run_matrix.h"
#include "run_pool.h"

namespace quorvix::cli {

namespace {

constexpr const char* kDoeUsage =
    "usage: quorvix doe TEMPLATE --runs CSV --out PATTERN [-j N] [--rows FIRST:LAST]\n"
    "                   [-I DIR]... [-D NAME=EXPR]... [--lf] [--safe-quotes]\n"
    "                   [--time-limit SECONDS] [--restricted] [--allow-env NAME]...\n"
    "                   [--max-elements N] [--max-output BYTES]\n";

constexpr int kMaxParallel = 256;

struct DoeOptions {
  std::string template_path, runs, pattern;
  int parallel = 1;
  int first = 1, last = 0;
  FillOptions fill;
};

bool Usage(const std::string& message) {
  std::fprintf(stderr, "quorvix doe: %s\n%s", message.c_str(), kDoeUsage);
  return false;
}

bool ParsePositiveInt(const std::string& text, int& value, int max) {
  char* end = nullptr;
  const long v = std::strtol(text.c_str(), &end, 10);
  if (text.empty() || *end != '\0' || v < 1 || v > max) return false;
  value = static_cast<int>(v);
  return true;
}

bool ParseOptions(const Args& args, DoeOptions& o) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (int taken = ParseFillOption(args, i, o.fill, "doe", kDoeUsage); taken != 0) {
      if (taken < 0) return false;
      continue;
    }
    if (a == "-h" || a == "--help") {
      std::fputs(kDoeUsage, stdout);
      std::exit(kExitOk);
    }
    const bool valued = a == "--runs" || a == "--out" || a == "-j" || a == "--rows";
    if (valued && i + 1 >= args.size()) return Usage(a + " needs a value");
    if (a == "--runs") {
      o.runs = args[++i];
    } else if (a == "--out") {
      o.pattern = args[++i];
    } else if (a == "-j") {
      if (!ParsePositiveInt(args[++i], o.parallel, kMaxParallel))
        return Usage("bad -j '" + args[i] + "' (expected 1 to 256)");
    } else if (a == "--rows") {
      const std::string& v = args[++i];
      const std::size_t colon = v.find(':');
      if (colon == std::string::npos || !ParsePositiveInt(v.substr(0, colon), o.first, 1 << 30) ||
          !ParsePositiveInt(v.substr(colon + 1), o.last, 1 << 30) || o.first > o.last)
        return Usage("bad --rows '" + v + "' (expected FIRST:LAST with 1 <= FIRST <= LAST)");
    } else if (a.size() > 1 && a[0] == '-') {
      return Usage("unknown option '" + a + "'");
    } else if (o.template_path.empty()) {
      o.template_path = a;
    } else {
      return Usage("more than one template ('" + a + "')");
    }
  }
  if (o.template_path.empty()) return Usage("no template");
  if (o.runs.empty()) return Usage("--runs CSV is required");
  if (o.pattern.empty()) return Usage("--out PATTERN is required");
  return true;
}

// The value a run gives a parameter: a number where one is expected or the
// text reads as one, else the text.
void SetValue(symtab& value, const std::string& text, bool as_text) {
  double number = 0.0;
  if (!as_text && ParseNumber(text, number)) {
    value.SetScalar(number);
  } else {
    value.SetString(text.c_str());
  }
}

// One run, in its own process: the parameters take the row's values, the
// definitions follow, and the output goes to the run's file. Returns the
// exit status; the error text goes to `fd`.
int FillRun(DOEFiller& filler, const DoeOptions& o, const RunMatrix& matrix, const Run& run,
            const std::vector<symtab>& definitions, int fd) {
  MathParser& parser = *filler.GetMathParser();
  for (std::size_t c = 0; c < matrix.columns.size(); ++c) {
    if (OptimizationParameter* p = filler.GetOptimizationParameter(matrix.columns[c].c_str()))
      SetValue(*p->value, run.values[c], !p->levels.empty());
  }
  filler.InitializeOptimizationParameters(nullptr);
  // A declaration without its upper bound has no record, but its name is
  // declared all the same.
  for (std::size_t c = 0; c < matrix.columns.size(); ++c) {
    if (filler.GetOptimizationParameter(matrix.columns[c].c_str()) != nullptr) continue;
    symtab v;
    v.SetName(matrix.columns[c].c_str());
    SetValue(v, run.values[c], false);
    parser.AddVariable(&v);
  }
  for (const symtab& d : definitions) parser.AddVariable(const_cast<symtab*>(&d));

  namespace fs = std::filesystem;
  std::error_code ec;
  const fs::path out(run.output);
  if (out.has_parent_path()) fs::create_directories(out.parent_path(), ec);
  std::FILE* file = std::fopen(run.output.c_str(), "wb");
  if (file == nullptr) {
    WriteAll(fd, "cannot write '" + run.output + "'\n");
    return kExitFailed;
  }
  FileSink sink(file, o.fill.lf);
  char* errors = nullptr;
  const int status = filler.FillFileTo(o.template_path.c_str(), sink, &errors);
  const bool closed = std::fclose(file) == 0;
  std::string report = errors != nullptr ? errors : "";
  delete[] errors;
  if (status < 0) report = "cannot read '" + o.template_path + "'\n";
  if (!closed) report += "cannot write '" + run.output + "'\n";
  WriteAll(fd, report);
  return status == 0 && closed ? kExitOk : kExitFailed;
}

// The error text of a run, one line each, indented under the run's line.
void PrintIndented(const std::string& text) {
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    std::size_t stop = end;
    if (stop > start && text[stop - 1] == '\r') --stop;
    std::printf("  %.*s\n", static_cast<int>(stop - start), text.c_str() + start);
    start = end + 1;
  }
}

}  // namespace

int RunDoe(const Args& args) {
  DoeOptions o;
  if (!ParseOptions(args, o)) return kExitUsage;

  MathParser parser;
  ApplyFillOptions(o.fill, parser);
  DOEFiller filler(&parser);
  ApplyFillerOptions(o.fill, filler);
  std::vector<std::string> declared;
  if (!ScanTemplate(o.template_path, filler, declared, "doe")) return kExitUsage;

  MatrixRequest request{o.runs, declared, {}, o.pattern, o.first, o.last};
  for (const auto& [name, p] : filler.GetParameterList())
    if (p->levels.empty()) request.numeric.insert(name);
  RunMatrix matrix;
  std::string error;
  if (!ReadRunMatrix(request, matrix, error)) {
    std::fprintf(stderr, "quorvix doe: %s\n", error.c_str());
    return kExitUsage;
  }

  // The definitions are evaluated once, here; every run gets their values.
  std::vector<symtab> definitions;
  const std::set<std::string> names(declared.begin(), declared.end());
  for (const auto& [name, expr] : o.fill.defines) {
    if (names.contains(name)) {
      std::fprintf(stderr, "quorvix doe: -D %s: a design parameter takes its value from the runs\n",
                   name.c_str());
      return kExitUsage;
    }
  }
  if (!EvaluateDefinitions(o.fill, parser, "doe")) return kExitUsage;
  for (const auto& [name, expr] : o.fill.defines) {
    const auto& vars = parser.Variables();
    if (auto it = vars.find(name); it != vars.end()) {
      definitions.emplace_back(*it->second);
      definitions.back().shared = 0;
    }
  }
  parser.policy().limits.seconds = o.fill.seconds;

  std::size_t failed = 0;
  RunInChildren(
      matrix.runs.size(), o.parallel,
      [&](std::size_t i, int fd) {
        return FillRun(filler, o, matrix, matrix.runs[i], definitions, fd);
      },
      [&](std::size_t i, const JobResult& result) {
        const Run& run = matrix.runs[i];
        std::printf("run %s: %s %s\n", run.id.c_str(), result.ok ? "ok" : "failed",
                    run.output.c_str());
        if (!result.ok) ++failed;
        PrintIndented(result.text);
      });
  std::printf("%zu runs, %zu failed\n", matrix.runs.size(), failed);
  return failed > 0 ? kExitFailed : kExitOk;
}

}  // namespace quorvix::cli
