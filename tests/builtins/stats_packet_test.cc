// The statistics packet through the host interface: what GetStatistics puts
// in it, and which calls answer from it once a host attaches it. Expected
// statistics are numpy's (var and std with ddof=1, median, trapz for the
// signed area); skewness, absolute area and centroid are the segment and
// moment formulas computed in Python.
#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "quorvix/math_parser.h"
#include "quorvix/stat_functions.h"
#include "support/support.h"

namespace quorvix {
namespace {

const std::vector<double> kX = {0, 0.5, 1.3, 2, 3.1, 4.0};
const std::vector<double> kY = {1, -2, 0.5, 3, -1, 2.0};

TEST(StatFunctions, GetStatisticsFillsEveryEntry) {
  StatsPacket p;
  StatFunctions::GetStatistics(kX.data(), 6, kY.data(), 6, &p);
  const double* v = p.values;
  struct Entry {
    int index;
    double expected;
  };
  using S = StatsPacket;
  const Entry entries[] = {
      {S::kPoints, 6},
      {S::kCurveLength, 15.542998867191354},
      {S::kAbsArea, 4.446666666666666},
      {S::kSignedArea, 1.9249999999999998},
      {S::kCentroidX, 2.166704147926037},
      {S::kCentroidY, 0.22819840079960024},
      {S::kReserved, 0},
      {S::kDeltaX, 4},
      {S::kDeltaY, 1},
      {S::kX + S::kMean, 1.8166666666666667},
      {S::kX + S::kAvgDev, 1.2166666666666666},
      {S::kX + S::kStdDev, 1.53286224647444},
      {S::kX + S::kVariance, 2.349666666666667},
      {S::kX + S::kSkewness, 0.19025913971532268},
      {S::kX + S::kRms, 2.2931056088486925},
      {S::kX + S::kMedian, 1.65},
      {S::kX + S::kMin, 0},
      {S::kX + S::kMax, 4},
      {S::kX + S::kZeroCrossings, 0},
      {S::kX + S::kCount, 6},
      {S::kY + S::kMean, 0.5833333333333334},
      {S::kY + S::kAvgDev, 1.4166666666666667},
      {S::kY + S::kStdDev, 1.8551729479125838},
      {S::kY + S::kVariance, 3.4416666666666664},
      {S::kY + S::kSkewness, -0.10912632762922683},
      {S::kY + S::kRms, 1.7911821050170564},
      {S::kY + S::kMedian, 0.75},
      {S::kY + S::kMin, -2},
      {S::kY + S::kMax, 3},
      {S::kY + S::kZeroCrossings, 4},
      {S::kY + S::kCount, 6},
  };
  for (const Entry& e : entries)
    EXPECT_NEAR(v[e.index], e.expected, 1e-14 * (1 + std::fabs(e.expected))) << "entry " << e.index;
}

TEST(StatFunctions, CompareMedianOrdersNaNLast) {
  const double a = 1, b = 2, nan = std::nan("");
  const double *pa = &a, *pb = &b, *pn = &nan;
  EXPECT_LT(StatFunctions::CompareMedian(&pa, &pb), 0);
  EXPECT_GT(StatFunctions::CompareMedian(&pb, &pa), 0);
  EXPECT_LT(StatFunctions::CompareMedian(&pb, &pn), 0);
  EXPECT_GT(StatFunctions::CompareMedian(&pn, &pa), 0);
  EXPECT_EQ(StatFunctions::CompareMedian(&pn, &pn), 0);
}

// A packet whose entries are 100 + index, attached to a parser whose x and
// y hold other data.
class StatsPacketTest : public test::ParserTest {
 protected:
  void SetUp() override {
    for (int i = 0; i < StatsPacket::kSize; ++i) packet_.values[i] = 100 + i;
    SetVariable("x", test::Array(1, 3, {1, 2, 6}));
    SetVariable("y", test::Array(1, 3, {4, 0, 2}));
    parser_.SetStatsPacket(&packet_);
  }
  void SetVariable(const char* name, symtab v) {
    v.SetName(name);
    parser_.AddVariable(&v);
  }
  StatsPacket packet_;
};

TEST_F(StatsPacketTest, StatisticsOfXAndYAnswerFromThePacket) {
  struct Row {
    const char* text;
    const char* expected;
  };
  const Row rows[] = {
      {"mean(x)", "109"},
      {"avgdev(x)", "110"},
      {"variance(x)", "112"},
      {"skewness(x)", "113"},
      {"rms(x)", "114"},
      {"median(x)", "115"},
      {"min(x)", "116"},
      {"max(x)", "117"},
      {"zerocrossings(x)", "118"},
      {"delta(x)", "107"},
      {"delta(y)", "108"},
      {"mean(y)", "120"},
      {"zerocrossings(y)", "129"},
      {"MEAN(Y)", "120"},
      {"curvelength(x, y)", "101"},
      {"absarea(x, y)", "102"},
      {"signedarea(x, y)", "103"},
      {"centroid(x, y)", "104, 105"},
      // Not answered: sum has no entry; the curves only for (x, y).
      {"sum(x)", "9"},
      {"curvelength(y, x)", "8.59524"},
      {"mean(x+0)", "3"},
  };
  for (const Row& r : rows) EXPECT_EQ(Eval(r.text), r.expected) << r.text;
}

TEST_F(StatsPacketTest, NamesCompareWithoutCaseAndHostVariablesCount) {
  SetVariable("X", test::Array(1, 2, {1, 2}));
  EXPECT_EQ(Eval("max(X)"), "117");
  // A variable the host's getter supplies is a variable all the same.
  parser_.AddGetFunc([](char* name) -> symtab* {
    if (std::string(name) != "Y") return nullptr;
    return test::New(test::Array(1, 2, {5, 7}));
  });
  EXPECT_EQ(Eval("min(Y)"), "127");
  parser_.SetStatsPacket(nullptr);
  EXPECT_EQ(Eval("min(Y)"), "5");
  EXPECT_EQ(Eval("mean(x)"), "3");
}

}  // namespace
}  // namespace quorvix
