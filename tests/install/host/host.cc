// A host built against an installed quorvix: evaluates an expression, fills a
// template with the same parser, and reads back a variable the template set.
#include <cstdio>
#include <string>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/value_format.h"

int main() {
  MathParser parser;
  symtab* value = parser.Evaluate("sum({1, 2, 3}) * 7");
  std::string text;
  if (value == nullptr || !quorvix::FormatValue(*value, quorvix::ValueFormat{}, text)) return 1;
  value->Delete();
  std::printf("eval: %s\n", text.c_str());

  Filler filler(&parser);
  char* errors = nullptr;
  char* out =
      filler.Fill("squares:{for (i = 1; i <= 3; i = i + 1)} {i * i}{endloop}{k = 5}", &errors);
  if (out == nullptr || (errors != nullptr && *errors != '\0')) return 1;
  std::printf("fill: %s\n", out);
  delete[] out;
  delete[] errors;
  value = parser.Evaluate("k + 1");
  if (value == nullptr) return 1;
  std::printf("after fill: %g\n", value->value);
  value->Delete();
}
