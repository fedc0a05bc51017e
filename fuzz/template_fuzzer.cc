// libFuzzer target: any template handed to Filler::Fill must come back with
// its output and error text, never a crash, hang or sanitizer report, and
// the same output and errors whether loop bodies run their remembered brace
// groups or read every group again. Each fill starts from a copy of the same
// parser. The fill runs in a scratch directory holding a few files to
// include; inputs that could reach outside it (a '/' together with a file
// statement) are passed over, as are those that could read the clock or the
// random generator, which would differ between the two fills.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "template/group_memo.h"

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"

namespace {

void IgnoreMessage(const char*) {}

void WriteFile(const char* name, const char* text) {
  if (std::FILE* f = std::fopen(name, "wb")) {
    std::fputs(text, f);
    std::fclose(f);
  }
}

MathParser& Setup() {
  static MathParser* parser = [] {
    char dir[] = "/tmp/quorvix-fuzz-XXXXXX";
    if (mkdtemp(dir) == nullptr || chdir(dir) != 0) std::abort();
    WriteFile("a.txt", "A{x = 1}{x}\n");
    WriteFile("stm.txt", "y = 2}after\n");
    WriteFile("self.txt", "{n = n + 1}{if n < 3}{include \"self.txt\"}{endif}\n");
    WriteFile("loop.txt", "{for (i = 0; i < 2; i = i + 1)}L{i}\n");
    MathParser::SetErrorFunction(IgnoreMessage);
    // Loops without end are stopped by the engine; keep them short here.
    auto* p = new MathParser;
    // No process, no writing, no environment; reading only in the fuzz
    // directory: fuzzed text must never reach outside.
    p->policy().restricted = true;
    p->policy().read_dirs = {dir};
    p->policy().limits.work = 10000;
    p->policy().limits.elements = 10'000'000;
    p->policy().limits.string_bytes = 1u << 20;
    return p;
  }();
  return *parser;
}

bool ReachesOutside(const std::string& text) {
  if (text.find('/') == std::string::npos) return false;
  for (const char* word : {"include", "readfill", "path"})
    if (text.find(word) != std::string::npos) return true;
  return false;
}

// Functions defined by one input must not change how the next one parses.
void RemoveUserFunctions() {
  std::vector<std::string> names;
  for (const auto& [key, entry] : MathParser::func_list)
    if (entry->is_user) names.push_back(key);
  for (const std::string& name : names) MathParser::RemoveUserFn(name.c_str());
}

struct Outcome {
  std::string output, errors;
  bool operator==(const Outcome&) const = default;
};

Outcome FillOnce(const MathParser& base, const std::string& text, bool general_groups) {
  quorvix::ForceGeneralGroups(general_groups);
  MathParser parser(base);
  Outcome o;
  {
    Filler filler(&parser);
    char* errors = nullptr;
    char* out = filler.Fill(text.c_str(), &errors);
    o.output = out != nullptr ? out : "";
    o.errors = errors != nullptr ? errors : "";
    delete[] out;
    delete[] errors;
  }
  quorvix::ForceGeneralGroups(false);
  FillerBase::IncludePath().clear();
  RemoveUserFunctions();
  return o;
}

bool ReadsClockOrRandom(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  for (const char* word : {"rand", "time", "date"})
    if (text.find(word) != std::string::npos) return true;
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MathParser& base = Setup();
  std::string text(reinterpret_cast<const char*>(data), size);
  if (text.find('\0') != std::string::npos || ReachesOutside(text) || ReadsClockOrRandom(text))
    return 0;
  const Outcome remembered = FillOnce(base, text, false);
  const Outcome general = FillOnce(base, text, true);
  if (!(remembered == general)) {
    std::fprintf(stderr, "remembered groups:\n%s\n--- errors:\n%s\n", remembered.output.c_str(),
                 remembered.errors.c_str());
    std::fprintf(stderr, "general path:\n%s\n--- errors:\n%s\n", general.output.c_str(),
                 general.errors.c_str());
    std::abort();
  }
  return 0;
}
