// Printing a tree back to text (what @printable yields): the text must read
// back as the same expression, so evaluating it gives the same value.
#include <string>

#include "support/support.h"

namespace {

using PrintTest = qt::ParserTest;

// The printed text has the value of the expression and prints as itself. A
// minus before a negative operand must not print as the decrement "--".
TEST_F(PrintTest, PrintedTextReadsBack) {
  for (const char* setup :
       {"a=3", "b=2", "c=5", "d=0", "u={1,2,3}", "v={4,5,6}", "m={{1,2},{3,4}}", "s=\"t\\\"q\""})
    ASSERT_EQ(Eval(setup), "") << setup;
  for (const char* e : {"(a+b)*c",
                        "a-(b-c)",
                        "a-b-c",
                        "a/(b*c)",
                        "a/b*c",
                        "2^3^2",
                        "(2^3)^2",
                        "-(a^2)",
                        "(-a)^2",
                        "-a^2",
                        "a%(b*c)",
                        "(a||d)&&d",
                        "a||d&&d",
                        "(a<b)==(c>a)",
                        "a<(b==c)",
                        "!(a&&d)",
                        "!a&&d",
                        "(a ? b : c) ? d : c",
                        "a ? b : c ? d : a",
                        "d ? (a ? b : c) : a",
                        "(1:5:2)[1]",
                        "u dot (v cross u)",
                        "(u dot v)*2",
                        "u dot v*2",
                        "(u+v)'",
                        "-u'",
                        "(-u)'",
                        "m'*m",
                        "(m*m)[1][0]",
                        "2^-1",
                        "a^-b",
                        "-a*-b",
                        "a<-b",
                        "a!=-b",
                        "{a, b+1, c*2}",
                        "{u, v}",
                        "\"x\"+s",
                        "sin(a)^2+cos(a)^2",
                        "atan2(b, a+1)",
                        "iffunc(d, a, b)",
                        "1.5e-3+.5+5.",
                        "2E+4",
                        "-(-a)",
                        "- -a",
                        "a- -b",
                        "a-(-b)",
                        "2 - -1",
                        "-(-(-a))"}) {
    std::string printed = Eval("@printable(" + std::string(e) + ")");
    ASSERT_EQ(printed.rfind("error", 0), std::string::npos) << e << " -> " << printed;
    EXPECT_EQ(Eval(printed), Eval(e)) << e << " printed as " << printed;
    EXPECT_EQ(Eval("@printable(" + printed + ")"), printed) << e;
  }
}

}  // namespace
