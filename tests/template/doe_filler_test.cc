// DOEFiller's host operations: the parameter list, the scan of a template
// and its includes, and the values the host sets before a fill.
#include <string>
#include <vector>

#include "quorvix/optimization_parameter.h"
#include "support/support.h"

namespace {

using Names = std::vector<std::string>;

void AddNamed(MathParser& parser, const char* name, symtab v) {
  v.SetName(name);
  parser.AddVariable(&v);
}

class DOEFillerTest : public TempDirTest {};

TEST_F(DOEFillerTest, ScanFollowsIncludesOnceAndFindsSwitchedOffDeclarations) {
  // a is found along the include path and includes itself and b; b
  // includes a again: each file is read once.
  const std::string b = dir_.string() + "/doe_scan_b.txt";
  Write("doe_scan_a.txt",
        "{parameter(m, \"level\", \"steel\", \"alu\")}{include \"doe_scan_a.txt\"}"
        "{include \"" +
            b + "\"}");
  Write("doe_scan_b.txt",
        "{parameter(n, int, 4, 1)} {parameter ( t ,real, 5, 0 , max({9, 2}) )}"
        "{include \"doe_scan_a.txt\"}{include \"no_such_doe_file.txt\"}");
  FillerBase::IncludePath().push_back(dir_.string());
  DOEFiller filler;
  filler.SetOptimizationParameter("stale", "real", 1.0, 0.0, 2.0);
  Names names = filler.ScanForOptimizationParameters(
      "{if 0}{parameter(t, real, 2, 1, 3)}{endif} parameters(x, y, 1, 2, 3)\n"
      "{include \"doe_scan_a.txt\"}");
  FillerBase::IncludePath().pop_back();

  EXPECT_EQ(names, (Names{"t", "m", "n", "t"}));
  EXPECT_EQ(filler.GetParameterList().size(), 2u);
  EXPECT_EQ(filler.GetOptimizationParameter("stale"), nullptr);
  EXPECT_EQ(filler.GetOptimizationParameter("n"), nullptr);  // no upper bound
  OptimizationParameter* t = filler.GetOptimizationParameter("t");
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(t->type, "real");
  EXPECT_EQ(t->nominal, "5");  // the later declaration
  EXPECT_EQ(t->lower, "0");
  EXPECT_EQ(t->upper, "max({9, 2})");
  EXPECT_EQ(t->value->type, SYM_SCALAR);
  EXPECT_EQ(t->value->value, 0.0);
  EXPECT_STREQ(t->value->name, "t");
  OptimizationParameter* m = filler.GetOptimizationParameter("m");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->type, "level");
  EXPECT_EQ(m->levels, (Names{"steel", "alu"}));
}

TEST(DOEFillerRecords, NumericRecordsAreWrittenWithPercentFAndReplaced) {
  DOEFiller filler;
  OptimizationParameter* w = filler.SetOptimizationParameter("w", "real", 2.5, -1.0, 4.0);
  EXPECT_EQ(w->nominal, "2.500000");
  EXPECT_EQ(w->lower, "-1.000000");
  EXPECT_EQ(w->upper, "4.000000");
  EXPECT_EQ(w->value->value, 2.5);
  filler._SetOptimizationParameter("w", nullptr);
  EXPECT_EQ(filler.GetOptimizationParameter("w"), w);
  auto* replacement = new OptimizationParameter("w", "int", "1", "0", "2");
  filler._SetOptimizationParameter("w", replacement);
  EXPECT_EQ(filler.GetOptimizationParameter("w"), replacement);
  filler._SetOptimizationParameter("w", replacement);  // storing it again keeps it
  EXPECT_EQ(filler.GetOptimizationParameter("w")->type, "int");
  DOEFiller copy(filler);
  EXPECT_NE(copy.GetOptimizationParameter("w"), replacement);
  EXPECT_EQ(copy.GetOptimizationParameter("w")->nominal, "1");
  filler.ResetParameterList();
  EXPECT_TRUE(filler.GetParameterList().empty());
  EXPECT_EQ(copy.GetParameterList().size(), 1u);
}

TEST(DOEFillerRecords, FillAfterInitializeUsesTheHostsValues) {
  const char* text =
      "{parameter(t, real, 2.5, 1, 4)}{parameter(m, s, \"steel\", \"alu\")}"
      "{parameter(k, real, 7, 0, 9)}t={t} m={m} k={k}{ifdef \"junk\"} junk{endif}";
  DOEFiller filler;
  symtab* junk = filler.GetMathParser()->Evaluate("junk = 1");
  ASSERT_NE(junk, nullptr);
  junk->Delete();
  ASSERT_EQ(filler.ScanForOptimizationParameters(text), (Names{"t", "m", "k"}));
  MathParser host;
  AddNamed(host, "t", qt::Scalar(3.25));
  AddNamed(host, "m", qt::Strings({"alu"}));
  filler.InitializeOptimizationParameters(&host);
  qt::Filled r = qt::Fill(filler, text);
  // k has no host value: its record's own value (0) stands, not the nominal.
  EXPECT_EQ(r.output, "t=3.25 m=alu k=0");
  EXPECT_TRUE(r.errors_null);
}

}  // namespace
