// Inputs that once crashed the evaluator, tripped a sanitizer or gave a wrong
// answer under fuzzing. Each must now come back cleanly: either a value or
// exactly the stated message. Run them under the sanitizer build as well,
// where the original faults abort the test binary.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "quorvix/math_parser.h"
#include "quorvix/symtab.h"

namespace {

struct Regression {
  const char* name;     // test name suffix
  std::string input;    // evaluated as it stands (may hold any byte)
  const char* message;  // expected error message; empty when a value is expected
};

// Add new findings at the end, minimised, with the message they owe.
const std::vector<Regression>& Regressions() {
  static const std::vector<Regression> cases = {
      // memcpy from a null row pointer while building a matrix of empty rows.
      {"EmptyRowsInArrayLiteral", "{{}}", ""},
      {"TransposeOfEmptyRows", "{{}}'", ""},
      // Subscripts beyond the range of a 32-bit index used to wrap around
      // (and overflow the conversion to an integer) instead of failing.
      {"SubscriptOfTwoToThe32", "{7,8}[4294967296]", "Subscript out of range"},
      {"SubscriptOfTwoToThe32PlusOne", "{7,8}[4294967297]", "Subscript out of range"},
      {"SubscriptBeyondLongLong", "{7,8}[2^64]", "Subscript out of range"},
      {"SubscriptOfHugeNegative", "(v={1})[-2^2^32]", "Subscript out of range"},
  };
  return cases;
}

// Keeps the parameter dump in test names and failures readable.
void PrintTo(const Regression& c, std::ostream* os) { *os << '"' << c.input << '"'; }

std::string g_reported;

// The first message of an evaluation, as a host's error function receives it.
void Capture(const char* message) {
  if (g_reported.empty() && message != nullptr) g_reported = message;
}

class FuzzRegressionTest : public ::testing::TestWithParam<Regression> {
 protected:
  void SetUp() override {
    saved_ = MathParser::err_fun;
    MathParser::SetErrorFunction(Capture);
    g_reported.clear();
  }
  void TearDown() override {
    MathParser::SetErrorFunction(saved_);
    MathParser::ClearError();
  }

 private:
  ErrorFunc saved_ = nullptr;
};

TEST_P(FuzzRegressionTest, EvaluatesWithoutFault) {
  const Regression& c = GetParam();
  MathParser parser;
  // Evaluate reads up to a NUL, so hand it a terminated private copy.
  std::vector<char> text(c.input.begin(), c.input.end());
  text.push_back('\0');
  symtab* value = parser.Evaluate(text.data());
  const std::string message = c.message;
  if (message.empty()) {
    EXPECT_NE(value, nullptr) << "unexpected error: " << g_reported;
  } else {
    EXPECT_EQ(value, nullptr);
  }
  EXPECT_EQ(g_reported, message);
  if (value != nullptr) value->Delete();
}

INSTANTIATE_TEST_SUITE_P(Inputs, FuzzRegressionTest, ::testing::ValuesIn(Regressions()),
                         [](const ::testing::TestParamInfo<Regression>& info) {
                           return std::string(info.param.name);
                         });

}  // namespace
