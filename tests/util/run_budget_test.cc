#include "util/run_budget.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace {

using quorvix::RunBudget;

TEST(RunBudgetTest, NestedScopesSpendFromTheOutermostBudget) {
  std::string why;
  EXPECT_TRUE(RunBudget::Spend(&why));  // outside any scope nothing counts
  quorvix::Limits limits;
  limits.work = 3;
  RunBudget::Scope outer(limits);
  EXPECT_TRUE(RunBudget::Spend(&why));
  {
    quorvix::Limits roomy;
    RunBudget::Scope inner(roomy);  // joins: its own limits do not apply
    EXPECT_TRUE(RunBudget::Spend(&why));
    EXPECT_TRUE(RunBudget::Spend(&why));
    EXPECT_FALSE(RunBudget::Spend(&why));
  }
  EXPECT_EQ(why,
            "work exceeds the limit (3 loop passes, includes, macro expansions and "
            "function calls)");
  EXPECT_EQ(RunBudget::Spent(), 4);
}

TEST(RunBudgetTest, DeadlineEndsWork) {
  quorvix::Limits limits;
  limits.seconds = 0.01;
  RunBudget::Scope scope(limits);
  std::string why;
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  bool stopped = false;
  for (int i = 0; i < 2048 && !stopped; ++i) stopped = !RunBudget::Spend(&why);
  EXPECT_TRUE(stopped);
  EXPECT_EQ(why, "time limit exceeded (0.01 s)");
}

}  // namespace
