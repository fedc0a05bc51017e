// libFuzzer target: any template handed to Filler::Fill must come back with
// its output and error text, never a crash, hang or sanitizer report. The
// fill runs in a scratch directory holding a few files to include; inputs
// that could reach outside it (a '/' together with a file statement) are
// passed over.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  MathParser& parser = Setup();
  std::string text(reinterpret_cast<const char*>(data), size);
  if (text.find('\0') != std::string::npos || ReachesOutside(text)) return 0;
  {
    Filler filler(&parser);
    char* errors = nullptr;
    char* out = filler.Fill(text.c_str(), &errors);
    delete[] out;
    delete[] errors;
  }
  parser.ClearStack();
  parser.AllowEscapeCharactersInStrings(true);
  FillerBase::IncludePath().clear();
  RemoveUserFunctions();
  return 0;
}
