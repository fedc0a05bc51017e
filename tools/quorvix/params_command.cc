// quorvix params: the design parameters a template and its includes declare.
#include <cstdio>
#include <string>
#include <vector>

#include "commands.h"
#include "design_template.h"
#include "fill_options.h"
#include "json_text.h"
#include "quorvix/filler.h"

namespace quorvix::cli {

namespace {

constexpr const char* kParamsUsage = "usage: quorvix params [--json] [-I DIR]... FILE\n";

// Tabs and line ends would split a field of the line format.
std::string OneLine(const std::string& text) {
  std::string out = text;
  for (char& c : out)
    if (c == '\t' || c == '\n' || c == '\r') c = ' ';
  return out;
}

// NAME TYPE NOMINAL LOWER UPPER, or NAME TYPE "LEVEL"..., or NAME alone when
// the declaration is incomplete; tab-separated.
std::string Line(const std::string& name, const OptimizationParameter* p) {
  std::string line = OneLine(name);
  if (p == nullptr) return line;
  line += "\t" + OneLine(p->type);
  if (p->levels.empty()) {
    for (const std::string* field : {&p->nominal, &p->lower, &p->upper})
      line += "\t" + OneLine(*field);
  } else {
    for (const std::string& level : p->levels) line += "\t\"" + OneLine(level) + "\"";
  }
  return line;
}

std::string Json(const std::string& name, const OptimizationParameter* p) {
  std::string json = "{\"name\": " + JsonString(name);
  if (p != nullptr) {
    json += ", \"type\": " + JsonString(p->type);
    if (p->levels.empty()) {
      json += ", \"nominal\": " + JsonString(p->nominal) + ", \"lower\": " + JsonString(p->lower) +
              ", \"upper\": " + JsonString(p->upper);
    } else {
      json += ", \"levels\": [";
      for (std::size_t i = 0; i < p->levels.size(); ++i)
        json += (i ? ", " : "") + JsonString(p->levels[i]);
      json += "]";
    }
  }
  return json + "}";
}

}  // namespace

int RunParams(const Args& args) {
  bool json = false;
  std::vector<std::string> includes, files;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (int taken = ParseIncludeOption(args, i, includes, "params", kParamsUsage); taken != 0) {
      if (taken < 0) return kExitUsage;
    } else if (a == "--json") {
      json = true;
    } else if (a == "-h" || a == "--help") {
      std::fputs(kParamsUsage, stdout);
      return kExitOk;
    } else if (a.size() > 1 && a[0] == '-') {
      std::fprintf(stderr, "quorvix params: unknown option '%s'\n%s", a.c_str(), kParamsUsage);
      return kExitUsage;
    } else {
      files.push_back(a);
    }
  }
  if (files.size() != 1) {
    std::fputs(kParamsUsage, stderr);
    return kExitUsage;
  }
  for (const std::string& dir : includes) FillerBase::IncludePath().push_back(dir);
  DOEFiller filler;
  std::vector<std::string> names;
  if (!ScanTemplate(files[0], filler, names, "params")) return kExitUsage;
  if (json) std::fputs(names.empty() ? "[]\n" : "[\n", stdout);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const OptimizationParameter* p = filler.GetOptimizationParameter(names[i].c_str());
    if (json) {
      std::printf("  %s%s\n", Json(names[i], p).c_str(), i + 1 < names.size() ? "," : "");
    } else {
      std::printf("%s\n", Line(names[i], p).c_str());
    }
  }
  if (json && !names.empty()) std::fputs("]\n", stdout);
  return kExitOk;
}

}  // namespace quorvix::cli
