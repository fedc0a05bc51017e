// A host program built against an installed quorvix: evaluates an expression
// and fills a template with the same parser, and prints both.
#include <cstdio>
#include <string>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/value_format.h"

int main() {
  MathParser parser;
  symtab* value = parser.Evaluate("sum({1, 2, 3}) * 7");
  if (value == nullptr) {
    std::fprintf(stderr, "eval failed: %s\n", MathParser::ErrorText().c_str());
    return 1;
  }
  std::string text;
  quorvix::FormatValue(*value, quorvix::ValueFormat{}, text);
  value->Delete();
  std::printf("eval: %s\n", text.c_str());

  Filler filler(&parser);
  char* errors = nullptr;
  char* out =
      filler.Fill("squares:{for (i = 1; i <= 3; i = i + 1)} {i * i}{endloop}{k = 5}", &errors);
  if (out == nullptr || (errors != nullptr && *errors != '\0')) {
    std::fprintf(stderr, "fill failed: %s\n", errors != nullptr ? errors : "");
    return 1;
  }
  std::printf("fill: %s\n", out);
  delete[] out;
  delete[] errors;
  value = parser.Evaluate("k + 1");
  std::printf("after fill: %g\n", value != nullptr ? value->value : -1.0);
  if (value != nullptr) value->Delete();
  return 0;
}
