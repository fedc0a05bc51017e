// libFuzzer target: any text handed to MathParser::Evaluate must come back
// with a value or a reported error, never a crash, hang or sanitizer report.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

namespace {

// Messages are expected for most inputs; printing them would only slow the run.
void IgnoreMessage(const char*) {}

MathParser& Parser() {
  static MathParser* parser = [] {
    MathParser::SetErrorFunction(IgnoreMessage);
    // Values past these end with a message; smaller limits keep each input
    // fast and well inside the fuzzer's memory limit.
    auto* p = new MathParser;
    // No process, no file and no environment: fuzzed text must never reach
    // outside the process.
    p->policy().restricted = true;
    p->policy().limits.elements = 10'000'000;
    p->policy().limits.string_bytes = 1u << 20;
    return p;
  }();
  return *parser;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  MathParser& parser = Parser();
  // Evaluate reads up to the terminating NUL; the fuzzer's buffer has none.
  std::vector<char> text(size + 1, '\0');
  if (size != 0) std::memcpy(text.data(), data, size);
  symtab* value = parser.Evaluate(text.data());
  if (value != nullptr) value->Delete();
  // Assignments would otherwise carry over to later inputs and make a crash
  // depend on the whole run instead of the one input that libFuzzer saves.
  parser.ClearStack();
  return 0;
}
