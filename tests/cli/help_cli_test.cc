// quorvix help and quorvix functions --long.
#include <string>

#include "support/support.h"

namespace {

TEST(HelpCli, BuiltinEntryShowsItsExampleAndResult) {
  const qt::Outcome r = qt::RunCli({"help", "sqrt"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out,
            "sqrt(x)  (built-in function, Elementary math)\n"
            "  square root of x >= 0, element by element\n"
            "  argument word: 1\n"
            "  example:\n"
            "    sqrt({4, 9})\n"
            "  result:\n"
            "    2, 3\n"
            "  fails, for example:\n"
            "    sqrt(-1): Domain violation\n"
            "    sqrt(\"a\"): Invalid argument type\n");
}

TEST(HelpCli, StatementEntryShowsItsTemplateAndOutput) {
  const qt::Outcome r = qt::RunCli({"help", "for"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out,
            "{for (init; c; step)} ... {endloop}  (statement, Control flow)\n"
            "  runs init, then repeats the text and step while c is non-zero\n"
            "  example:\n"
            "    {for (i = 1; i <= 3; i = i + 1)}line {i}\n"
            "    {endloop}\n"
            "  output:\n"
            "    line 1\n"
            "    line 2\n"
            "    line 3\n");
}

TEST(HelpCli, UnknownNameIsAUsageError) {
  const qt::Outcome r = qt::RunCli({"help", "nosuch"});
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err,
            "quorvix help: no built-in function or statement named 'nosuch' "
            "(quorvix functions lists the functions)\n");
  EXPECT_EQ(qt::RunCli({"help"}).err, "usage: quorvix help NAME\n");
}

TEST(HelpCli, LongFunctionListGivesUsageAndSynopsis) {
  const qt::Outcome r = qt::RunCli({"functions", "--long"});
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("\natan2 2  atan2(y, x)  angle of the point (x, y), in radians, element "
                       "by element\n"),
            std::string::npos);
  EXPECT_EQ(qt::RunCli({"functions", "--wide"}).err,
            "usage: quorvix functions [--long | --markdown]\n");
}

}  // namespace
