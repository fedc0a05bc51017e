// Tracking seen from the host: a request for more single-line sums than the
// time limit allows ends with the limit's message instead of running on.
// Values and messages are in tests/cases/expressions/tracking.txt.
#include <string>

#include <gtest/gtest.h>

#include "quorvix/math_parser.h"
#include "support/support.h"

namespace quorvix {
namespace {

using TrackingTest = test::ParserTest;

TEST_F(TrackingTest, LongTrackingWorkStopsAtTheTimeLimit) {
  parser_.policy().limits.seconds = 0.2;
  // A million samples and segments of 100,000: about 1e10 products each.
  Eval("ys=0:1:1e-6");
  Eval("lv=0:1:1e-5");
  for (const char* call :
       {"vtdft(ys, ys, 60+ys, 100000, {1, 2}, lv, \"none\", \"frequency\", \"time\", \"peak\")",
        "vtfreq(ys, \"none\", 100000, 1e-3, ys, 60+ys, {1, 2})"})
    EXPECT_EQ(Eval(call), "error: time limit exceeded (0.2 s)") << call;
}

}  // namespace
}  // namespace quorvix
