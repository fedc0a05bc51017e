// Fits seen from the host: the reports of polyfit and expfit on the
// parser's message service, and nonlinfit's private parser keeping the
// caller's trust and time limit. Values and messages are in
// tests/cases/expressions/fitting.txt.
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quorvix/math_parser.h"
#include "quorvix/message_service.h"
#include "support/support.h"

namespace quorvix {
namespace {

class FittingTest : public test::ParserTest {
 protected:
  void SetUp() override { parser_.policy().messages = &service_; }
  test::MessageLines service_;
};

TEST_F(FittingTest, PolyfitReportsItsCoefficientsAndQuality) {
  // numpy.polyfit gives 1.13571, 0.926429, 1.01071; RMS of the residuals
  // 0.143593, correlation 0.999907.
  EXPECT_EQ(Eval("polyfit({0, 1, 2, 3, 4, 5}, {1.2, 2.9, 7.1, 13.2, 20.8, 31.1}, 2)"),
            "1.13571, 3.07286, 7.03143, 13.0114, 21.0129, 31.0357");
  EXPECT_EQ(service_.lines,
            (std::vector<std::string>{
                "Polynomial coefficients: 1.13571 * X^0 + 0.926429 * X^1 + 1.01071 * X^2",
                "Mean deviation: 0.143593", "Correlation coefficient: 0.999907"}));
  service_.lines.clear();
  Eval("polyfit({0, 1, 2, 3, 4, 5}, {1.2, 2.9, 7.1, 13.2, 20.8, 31.1}, 2, 1)");
  EXPECT_TRUE(service_.lines.empty());  // the coefficients are the answer
}

TEST_F(FittingTest, ExpfitReportsItsCoefficientsAndQuality) {
  Eval("expfit({0, 1, 2, 3}, {1, 2.7, 7.4, 20.1})");
  EXPECT_EQ(service_.lines, (std::vector<std::string>{
                                "Exponential coefficients: 0.997308 * exp(1.00104 * X)",
                                "Mean deviation: 0.0108826", "Correlation coefficient: 0.999999"}));
  // A constant fit of constant data correlates perfectly by convention.
  service_.lines.clear();
  Eval("expfit({0, 1, 2}, {2, 2, 2})");
  EXPECT_EQ(service_.lines.at(2), "Correlation coefficient: 1");
}

TEST_F(FittingTest, NonlinfitModelKeepsTheCallersRestrictions) {
  parser_.policy().restricted = true;
  EXPECT_EQ(Eval("nonlinfit(\"a*x+numpts(system(\\\"true\\\"))\", {\"a\"}, {1}, {1, 2}, {2, 4})"),
            "error: system is not allowed in restricted mode");
}

TEST_F(FittingTest, NonlinfitStopsAtTheTimeLimit) {
  parser_.policy().limits.seconds = 0.2;
  Eval("xs=0:1:1e-5");  // 100001 points, each one evaluation of the model
  EXPECT_EQ(Eval("nonlinfit(\"a*exp(-b*x)+c\", {\"a\", \"b\", \"c\"}, {1, 1, 1}, xs, sin(xs))"),
            "error: time limit exceeded (0.2 s)");
}

}  // namespace
}  // namespace quorvix
