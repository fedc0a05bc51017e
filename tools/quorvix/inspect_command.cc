// quorvix inspect: what a result file holds (subcases, data types,
// requests, components with unit and length), so that a user can write
// the read calls.
#include <cstdio>
#include <string>

#include "commands.h"
#include "json_text.h"
#include "quorvix/vector_file.h"

namespace quorvix::cli {

namespace {

constexpr const char* kInspectUsage = "usage: quorvix inspect [--json] FILE\n";

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string Length(long long n) { return n < 0 ? std::string("?") : std::to_string(n); }

// One subcase as indented lines: index and name at each level.
void PrintText(int s, VectorFileControl& file) {
  std::printf("subcase %d %s\n", s, Quoted(file.GetSubcaseLabel(s)).c_str());
  for (int t = 0; t < file.GetNumDatatypes(); ++t) {
    std::printf("  type %d %s\n", t, Quoted(file.GetDataTypeName(t)).c_str());
    for (int r = 0; r < file.GetNumRequests(t); ++r) {
      std::printf("    request %d %s\n", r, Quoted(file.GetRequestName(t, r)).c_str());
      for (int c = 0; c < file.GetNumComponents(t, r); ++c) {
        const std::string unit = file.GetComponentUnit(t, r, c);
        std::printf("      component %d %s%s length %s\n", c,
                    Quoted(file.GetComponentName(t, r, c)).c_str(),
                    unit.empty() ? "" : (" [" + unit + "]").c_str(),
                    Length(file.GetComponentLength(t, r, c)).c_str());
      }
    }
  }
}

std::string Json(int s, VectorFileControl& file) {
  std::string out = "{\"label\": " + JsonString(file.GetSubcaseLabel(s)) + ", \"types\": [";
  for (int t = 0; t < file.GetNumDatatypes(); ++t) {
    out += (t ? ", " : "") + ("{\"name\": " + JsonString(file.GetDataTypeName(t))) +
           ", \"requests\": [";
    for (int r = 0; r < file.GetNumRequests(t); ++r) {
      out += (r ? ", " : "") + ("{\"name\": " + JsonString(file.GetRequestName(t, r))) +
             ", \"components\": [";
      for (int c = 0; c < file.GetNumComponents(t, r); ++c) {
        const long long n = file.GetComponentLength(t, r, c);
        out += (c ? ", " : "") + ("{\"name\": " + JsonString(file.GetComponentName(t, r, c))) +
               ", \"unit\": " + JsonString(file.GetComponentUnit(t, r, c)) +
               ", \"length\": " + (n < 0 ? std::string("null") : std::to_string(n)) + "}";
      }
      out += "]}";
    }
    out += "]}";
  }
  return out + "]}";
}

}  // namespace

int RunInspect(const Args& args) {
  bool json = false;
  std::string file;
  for (const std::string& a : args) {
    if (a == "--json" && !json) {
      json = true;
    } else if (file.empty() && !a.empty() && a[0] != '-') {
      file = a;
    } else {
      std::fputs(kInspectUsage, stderr);
      return kExitUsage;
    }
  }
  if (file.empty()) {
    std::fputs(kInspectUsage, stderr);
    return kExitUsage;
  }
  // The reason a file cannot be read goes to standard error as a warning.
  auto first = VectorFileList::Add(0, file);
  if (first == nullptr) return kExitFailed;
  const int subcases = first->GetNumSubcases();
  if (json) {
    std::string out = "{\"file\": " + JsonString(file) +
                      ", \"format\": " + JsonString(first->Format()) + ", \"subcases\": [";
    for (int s = 0; s < subcases; ++s) {
      auto control = VectorFileList::Add(s, file);
      if (control == nullptr) return kExitFailed;
      out += (s ? ", " : "") + Json(s, *control);
    }
    std::printf("%s]}\n", out.c_str());
    return kExitOk;
  }
  std::printf("file %s\nformat %s\n", Quoted(file).c_str(), first->Format().c_str());
  for (int s = 0; s < subcases; ++s) {
    auto control = VectorFileList::Add(s, file);
    if (control == nullptr) return kExitFailed;
    PrintText(s, *control);
  }
  return kExitOk;
}

}  // namespace quorvix::cli
