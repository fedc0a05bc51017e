// The compiled scalar program: what it follows (variables changing kind or
// going away, other parsers, the registry, the assignment switch), how a
// failure hands the evaluation to the tree, and that trees stay alive while
// an evaluation changes the parse cache under them. Its values are compared
// with the tree path's on the case tables in tests/cases/scalar_paths_test.cc.
#include <vector>

#include "expression/parse_cache.h"
#include "expression/scalar_program.h"
#include "support/support.h"

namespace {

using Program = quorvix::ScalarProgram;

class ScalarProgramTest : public qt::ParserTest {
 protected:
  void SetUp() override {
    Eval("x = 3");
    Eval("y = 0.5");
  }
  static const Program* ProgramOf(const char* text) {
    return quorvix::ParseExpression(text, true)->program.get();
  }
  std::unique_ptr<MathParserExpression> Expr(const char* text) {
    return std::unique_ptr<MathParserExpression>(parser_.CreateExpression(text));
  }
};

TEST_F(ScalarProgramTest, FoldsConstantsAndTakesOperandsIntoInstructions) {
  EXPECT_EQ(Eval("x*sin(0)+2^3*x-y/4"), "23.875");
  const Program* p = ProgramOf("x*sin(0)+2^3*x-y/4");
  ASSERT_NE(p, nullptr);
  std::vector<int> ops;
  for (const Program::Instruction& i : p->code()) ops.push_back(i.op);
  // x*0, then 8*x (2^3 and sin(0) folded), y/4: each one instruction.
  const std::vector<int> want = {Program::kMultiplyVariableConst,
                                 Program::kMultiplyConstVariable,
                                 Program::kAdd,
                                 Program::kDivideVariableConst,
                                 Program::kSubtract,
                                 Program::kEnd};
  EXPECT_EQ(ops, want);
  // Not covered: the tree evaluates these.
  EXPECT_EQ(Eval("x > 1 ? x : y"), "3");
  EXPECT_EQ(ProgramOf("x > 1 ? x : y"), nullptr);
  EXPECT_EQ(Eval("1 + 1/0"), "error: Divide by zero");
  EXPECT_EQ(ProgramOf("1 + 1/0"), nullptr);
}

TEST_F(ScalarProgramTest, FollowsVariablesThatChangeKindOrGoAway) {
  auto e = Expr("x*2+1");
  EXPECT_EQ(Eval(parser_, e.get()), "7");
  Eval("x = {1, 2}");
  EXPECT_EQ(Eval(parser_, e.get()), "3, 5");
  Eval("x = 4");
  EXPECT_EQ(Eval(parser_, e.get()), "9");
  parser_.ClearVariable("x");
  EXPECT_EQ(Eval(parser_, e.get()), "error: Invalid multiplication type");
  EXPECT_EQ(Eval("x"), "error: Unknown symbol \"x\"");
  Eval("x = 5");
  EXPECT_EQ(Eval(parser_, e.get()), "11");
  // The same cached tree in another parser reads that parser's table.
  MathParser other;
  EXPECT_EQ(Eval(other, "x*2+1"), "error: Invalid multiplication type");
  Eval(other, "x = 10");
  EXPECT_EQ(Eval(other, "x*2+1"), "21");
  EXPECT_EQ(Eval("x*2+1"), "11");
}

TEST_F(ScalarProgramTest, FailuresReportAsTheTreeDoes) {
  Eval("y = 0");
  EXPECT_EQ(Eval("1+x/y"), "error: Divide by zero");
  EXPECT_EQ(parser_.ErrorPosition(), 3);
  Eval("y = 0.5");
  EXPECT_EQ(Eval("1+x/y"), "7");
  parser_.AllowAssign(0);
  EXPECT_EQ(Eval("x"), "error: Unknown symbol \"x\"");
  parser_.AllowAssign(1);
  EXPECT_EQ(Eval("x"), "3");
}

double Twice(double v) { return 2 * v; }
double Thrice(double v) { return 3 * v; }
symtab* ByKernel(sym_list* args, double (*kernel)(double)) {
  return qt::New(qt::Scalar(kernel(args->args[0]->value)));
}
symtab* TwiceHandler(sym_list* args) { return ByKernel(args, Twice); }
symtab* ThriceHandler(sym_list* args) { return ByKernel(args, Thrice); }

TEST_F(ScalarProgramTest, RecompilesWhenTheRegistryChanges) {
  MathParser::AddFunc("qvx_scaled", TwiceHandler, 1, 0, Twice);
  auto e = Expr("qvx_scaled(x)+1");
  EXPECT_EQ(Eval(parser_, e.get()), "7");
  MathParser::RemoveFunc("qvx_scaled");
  EXPECT_EQ(Eval(parser_, e.get()), "error: Unknown function");
  MathParser::AddFunc("qvx_scaled", ThriceHandler, 1, 0, Thrice);
  EXPECT_EQ(Eval(parser_, e.get()), "10");
  MathParser::RemoveFunc("qvx_scaled");
}

// Registers a function (which empties the parse cache) and evaluates a new
// text in the middle of the outer evaluation.
symtab* Reenter(sym_list*) {
  MathParser::AddFunc("qvx_reentered", TwiceHandler, 1, 0, Twice);
  symtab* v = MathParser::current_parser->Evaluate("qvx_reentered(4)");
  return v;
}

TEST_F(ScalarProgramTest, TreesOutliveACacheEmptiedDuringTheirEvaluation) {
  MathParser::AddFunc("qvx_reenter", Reenter, 1);
  // The outer tree is read after the call: its right operand.
  EXPECT_EQ(Eval("qvx_reenter(1) + x"), "11");
  EXPECT_EQ(Eval("qvx_reenter(1) + x"), "11");
  MathParser::RemoveFunc("qvx_reenter");
  MathParser::RemoveFunc("qvx_reentered");
}

}  // namespace
