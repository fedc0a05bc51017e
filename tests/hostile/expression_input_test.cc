// Hostile expressions and templates end with a message naming the limit they
// hit, never with a crash. The table runs on a thread with a 1 MB stack, as a
// host's worker thread may have; rows within every limit give their value.
#include <gtest/gtest.h>

#include <string>

#include "quorvix/filler.h"
#include "quorvix/math_parser.h"
#include "quorvix/value_format.h"
#include "support/support.h"

namespace {

std::string Rep(const std::string& s, int n) {
  std::string out;
  for (int i = 0; i < n; ++i) out += s;
  return out;
}

std::string g_message;
void Capture(const char* m) { g_message = m ? m : ""; }

struct Case {
  const char* name;
  std::string input;  // a template when it starts with '{', else an expression
  std::string want;   // the value or the message (which a template's error text holds)
  std::string limit;  // the limit hit ("" when none); set to `value` when that is not 0
                      // (milliseconds for "seconds")
  long long value;
};

// The error text, or the value (the output of a template).
std::string Run(const Case& c) {
  MathParser parser;
  quorvix::Limits& limits = parser.policy().limits;
  if (c.value != 0) {
    if (c.limit == "elements") limits.elements = c.value;
    if (c.limit == "string_bytes") limits.string_bytes = static_cast<std::size_t>(c.value);
    if (c.limit == "derivative_nodes") limits.derivative_nodes = static_cast<std::size_t>(c.value);
    if (c.limit == "stack_bytes") limits.stack_bytes = static_cast<std::size_t>(c.value);
    if (c.limit == "seconds") limits.seconds = static_cast<double>(c.value) / 1000.0;
  }
  if (c.input[0] == '{') {
    Filler filler(&parser);
    char* errors = nullptr;
    char* out = filler.Fill(c.input.c_str(), &errors);
    std::string r = errors ? errors : out ? out : "";
    delete[] out;
    delete[] errors;
    return r;
  }
  g_message.clear();
  symtab* v = parser.Evaluate(c.input.c_str());
  if (v == nullptr) return g_message;
  std::string out;
  quorvix::FormatValue(*v, quorvix::ValueFormat{}, out);
  v->Delete();
  return out;
}

void RunTable() {
  const Case cases[] = {
      {"RecursionThroughDeepTrees",
       "{function f(n){if n <= 0; return 0; endif; return f(n-1)" + Rep("+0", 990) + "}}{f(63)}",
       "expression uses too much stack (limit 786432 bytes)", "stack_bytes", 0},
      {"DeepSumOnASmallBudget", "1" + Rep("+1", 999),
       "expression uses too much stack (limit 20000 bytes)", "stack_bytes", 20000},
      {"DeepSum", "1" + Rep("+1", 999), "1000", "", 0},
      {"DeepNot", Rep("!", 999) + "0", "1", "", 0},
      {"DeepBrackets", Rep("(", 200) + "7" + Rep(")", 200), "7", "", 0},
      {"DeepDerivative", "x=1, @derivative(x" + Rep("*x", 899) + ")", "900", "", 0},
      {"TooDeep", Rep("!", 1000) + "0", "expression nested too deeply (limit 1000)", "tree", 0},
      {"FunctionRecursion",
       "{function g(n){if n <= 0; return 0; endif; return n + g(n - 1)}}{g(60)}", "1830", "", 0},
      {"EndlessRecursion", "{function h(n){return h(n + 1)}}{h(1)}",
       "fills nested too deeply (limit 64)", "fills", 0},
      {"EndlessMacro", "{define r()}x{r()}{enddefine}{r()}",
       "sources nested too deeply (limit 1000)", "sources", 0},
      {"DeepConditions", Rep("{if 1}", 1030) + Rep("{endif}", 1030),
       "conditions nested too deeply (limit 1024)", "conditions", 0},
      {"HugeMatrixProduct", "x = 1:30000:1, x'*x", "array too large (limit 100000000 elements)",
       "elements", 0},
      {"ProductPastIntRange", "x = 1:50000:1, x'*x", "array too large (limit 100000000 elements)",
       "elements", 0},
      // Long kernels stop between blocks of work once the time is up.
      {"SlowProduct", "a = sin({1:1500:1}' * {1:1500:1}), numpts(a * a)",
       "time limit exceeded (0.05 s)", "seconds", 50},
      {"SlowInverse", "a = sin({1:1500:1}' * {1:1500:1}), numpts(inverse(a))",
       "time limit exceeded (0.05 s)", "seconds", 50},
      {"MatrixProduct", "v = {1,2,3}, v'*v", "array too large (limit 8 elements)", "elements", 8},
      {"Range", "1:9:1", "array too large (limit 8 elements)", "elements", 8},
      {"Literal", "v = {1,2,3,4,5,6,7,8,9}", "array too large (limit 8 elements)", "elements", 8},
      {"MatrixLiteral", "v = {{1,2,3},{4,5,6},{7,8,9}}", "array too large (limit 8 elements)",
       "elements", 8},
      {"RowSelection", "m = {{1,2},{3,4}}, m[{0,1,0,1,0}]", "array too large (limit 8 elements)",
       "elements", 8},
      {"StringDoubling", "{s = \"x\"}{for (i = 0; i < 40; i = i + 1)}{s = s + s}{endloop}",
       "string too long (limit 1048576 bytes)", "string_bytes", 1 << 20},
      {"StringList", "v = {\"ab\", \"c\"} + \"defg\"", "string too long (limit 8 bytes)",
       "string_bytes", 8},
      {"NumberJoin", "\"abcdef\" + 123", "string too long (limit 8 bytes)", "string_bytes", 8},
      {"NumberJoinFits", "\"abcde\" + 123", "abcde123", "", 0},
      {"StringSelection", "s = {\"abcd\", \"e\"}, s[{0,0,0}]", "string too long (limit 8 bytes)",
       "string_bytes", 8},
      {"ReplaceGrowth", "replace(\"abcdefgh\", \"\", \"xyz\")",
       "replace failed: result longer than 16 bytes", "string_bytes", 16},
      {"ReplaceBacktracking", "replace(\"" + Rep("a", 40) + "b\", \"(a+)+$\", \"x\")",
       "replace failed: match limit exceeded", "", 0},
      {"ConvertWidth", "convert(1, \"%999999999g\")",
       "convert format must hold exactly one number conversion (%g, %f, %e or %a), with width "
       "and precision at most 1000",
       "", 0},
      {"ConvertPastTheStringLimit", "convert(1, \"%20g\")", "string too long (limit 16 bytes)",
       "string_bytes", 16},
      {"TimeFormatPastItsBuffer", "strlen(time(\"" + Rep("%Y", 300) + "\"))",
       "Invalid format specifier " + Rep("%Y", 300), "", 0},
      {"NestedDerivatives", "x = 2, " + Rep("@derivative(", 11) + "x^x" + Rep(")", 11),
       "derivative too large (limit 1000000 nodes)", "derivative_nodes", 0},
      // A text that fills or evaluates itself.
      {"FillOfItself", "{t = \"{fill(t)}\"}{fill(t)}", "fills nested too deeply (limit 64)",
       "fills", 0},
      {"EvalOfEvalOfItself", "e = \"eval(e)\", eval(\"eval(e)\")",
       "eval nested too deeply (limit 64)", "", 0},
      {"EvalOfItselfOnASmallStack", "e = \"eval(e)\", eval(e)",
       "expression uses too much stack (limit 60000 bytes)", "stack_bytes", 60000},
      {"SelfRedefinition", "{function k(){function k(){return 2}; return 1}}{k()}{k()}", "12", "",
       0},
  };
  for (const Case& c : cases) {
    const std::string got = Run(c);
    // A template's error text adds the place and the functions it passed through.
    if (c.input[0] == '{' && !c.limit.empty())
      EXPECT_NE(got.find(c.want), std::string::npos) << c.name << ": " << got.substr(0, 200);
    else
      EXPECT_EQ(got, c.want) << c.name;
  }
}

TEST(HostileInputTest, EveryCaseEndsWithItsValueOrItsLimit) {
  const ErrorFunc saved = MathParser::err_fun;
  MathParser::SetErrorFunction(Capture);
  qt::RunOnSmallStack(RunTable);
  MathParser::SetErrorFunction(saved);
}

}  // namespace
