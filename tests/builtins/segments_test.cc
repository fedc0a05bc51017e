// Segmentation seen from the host: a request for more segment work than the
// time limit allows ends with the limit's message instead of running on.
// Values and messages are in tests/cases/expressions/segments.txt.
#include <string>

#include <gtest/gtest.h>

#include "quorvix/math_parser.h"
#include "support/support.h"

namespace quorvix {
namespace {

using SegmentsTest = test::ParserTest;

TEST_F(SegmentsTest, LongSegmentWorkStopsAtTheTimeLimit) {
  parser_.policy().limits.seconds = 0.2;
  // A million samples; about 1e10 products each.
  Eval("ys=0:1:1e-6");
  for (const char* call : {"vtsegtime(ys, \"none\", 100000, 99999, ys, ys, \"slices\")",
                           "vtsegrps(ys, \"none\", 100000, 1e-5, ys, 60+ys, \"slices\")"})
    EXPECT_EQ(Eval(call), "error: time limit exceeded (0.2 s)") << call;
}

}  // namespace
}  // namespace quorvix
