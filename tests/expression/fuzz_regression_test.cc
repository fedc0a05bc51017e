// Inputs that once crashed the evaluator, tripped a sanitizer or gave a wrong
// answer under fuzzing. Each must now come back cleanly: a value, or exactly
// the stated message. Run them under the sanitizer build as well.
#include <string>
#include <vector>

#include "support/support.h"

namespace {

TEST(FuzzRegression, EvaluatesWithoutFault) {
  struct Case {
    std::string input;    // may hold any byte; add new findings minimised
    const char* message;  // empty when a value is expected
  };
  const Case cases[] = {
      // memcpy from a null row pointer while building a matrix of empty rows.
      {"{{}}", ""},
      {"{{}}'", ""},
      // Subscripts beyond a 32-bit index wrapped around instead of failing.
      {"{7,8}[4294967296]", "Subscript out of range"},
      {"{7,8}[4294967297]", "Subscript out of range"},
      {"{7,8}[2^64]", "Subscript out of range"},
      {"(v={1})[-2^2^32]", "Subscript out of range"},
  };
  qt::ErrorCapture errors;
  for (const Case& c : cases) {
    errors.Clear();
    MathParser parser;
    // A terminated private copy of exactly this size, for the sanitizer.
    std::vector<char> text(c.input.c_str(), c.input.c_str() + c.input.size() + 1);
    symtab* value = parser.Evaluate(text.data());
    EXPECT_EQ(value == nullptr, *c.message != '\0') << c.input << ": " << errors.first;
    EXPECT_EQ(errors.first, c.message) << c.input;
    if (value != nullptr) value->Delete();
    MathParser::ClearError();
  }
}

}  // namespace
