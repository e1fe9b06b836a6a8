#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "construct/problem.h"

// What sets the natural family apart; the rest stands with the other families.

namespace {

using problem::Problem;
using support::Task;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const problem::Family& natural() {
  return problem::families()[3];
}

std::vector<double> constructed(const Problem& p, std::int32_t expected = DF_STATUS_OK) {
  Task task = p.task();
  EXPECT_EQ(task.status, DF_STATUS_OK);
  EXPECT_EQ(dfTaskConstruct(task.get(), 0, 0), expected);
  return task.coeff();
}

// Ends that differ, or are no numbers: complete coefficients of the data as given, and the status.
TEST(Natural, CompletesPeriodicDataThatDoNotClose) {
  for (const double last : {7.0, nan}) {
    Problem p(natural(), DF_END_PERIODIC, false, 8, 2);
    p.y[15] = last;
    const std::vector<double> coeff = constructed(p, DF_ERROR_PERIODIC_VALUES);
    for (std::size_t f = 0; f < 2; ++f)
      for (std::size_t i = 0; i < 7; ++i)
        EXPECT_EQ(coeff[28 * f + 4 * i], p.y[8 * f + i]);
  }
}

// A NaN in one function leaves the others alone, in the solver's block of eight too.
TEST(Natural, FunctionsDoNotMeet) {
  Problem p(natural(), DF_END_FREE, false, 8, 9);
  const std::vector<double> expected = constructed(p);
  p.y[3 * 8 + 4] = nan;
  const std::vector<double> got = constructed(p);
  for (std::size_t i = 0; i < got.size(); ++i)
    ASSERT_TRUE(i / 28 == 3 || got[i] == expected[i]) << i;
  EXPECT_TRUE(std::isnan(got[3 * 28 + 1]));
}

// Not-a-knot over three breakpoints, and a partition that stands still.
TEST(Natural, RefusesSingularSystems) {
  Problem three(natural(), DF_END_NOT_A_KNOT, false, 3, 1);
  three.x = {0.0, 1.0, 2.0};
  EXPECT_EQ(constructed(three, DF_ERROR_SOLVER), std::vector<double>(8, -77.0));
  Problem still(natural(), DF_END_FREE, false, 4, 1);
  still.x.assign(4, 1.0);
  constructed(still, DF_ERROR_SOLVER);
}

TEST(Natural, FewerThanOneFunctionCountsAsOne) {
  const Problem p(natural(), DF_END_FREE, false, 8, 1);
  std::vector<double> coeff(28);
  DfTask* task = nullptr;
  ASSERT_EQ(dfTaskCreate(&task, 8, p.x.data(), 0, -3, p.y.data(), DF_VALUES_BY_BREAKPOINT), DF_STATUS_OK);
  ASSERT_EQ(dfTaskEditSpline(task, 4, 2, 2, nullptr, 0, nullptr, coeff.data(), DF_COEFF_FIRST_ROW),
            DF_STATUS_OK);
  EXPECT_EQ(dfTaskConstruct(task, 0, 0), DF_STATUS_OK);
  EXPECT_EQ(coeff, constructed(p));
  dfTaskDestroy(&task);
}

}  // namespace
