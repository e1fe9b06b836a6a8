#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "construct/problem.h"
#include "support/compare.h"
#include "task/df_task.h"

// The forms of the knots of Subbotin's spline.

namespace {

using problem::Problem;
using support::Task;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr std::int32_t nx = 6;

Problem subbotin(bool uniform) {
  return {problem::families()[7], DF_END_LEFT_SLOPE + DF_END_RIGHT_CURVATURE, uniform, nx, 2};
}

// The knots given as `ic` and `icType`; null by an empty array, which edit refuses but kernels take.
std::int32_t construct(const Problem& p, std::int64_t icType, const std::vector<double>& ic,
                       std::vector<double>& coeff) {
  Task task = p.task();
  EXPECT_EQ(task.status, DF_STATUS_OK);
  task.get()->icType = icType;
  task.get()->ic = ic.empty() ? nullptr : ic.data();
  const std::int32_t status = dfTaskConstruct(task.get(), 0, 0);
  coeff = task.coeff();
  return status;
}

TEST(Subbotin, FormsOfKnotsAgree) {
  for (const bool uniform : {false, true}) {
    const Problem p = subbotin(uniform);
    std::vector<double> midpoints = {p.x[0]};
    for (std::size_t k = 1; k < p.x.size(); ++k)
      midpoints.push_back(0.5 * (p.x[k - 1] + p.x[k]));
    midpoints.push_back(p.x.back());
    std::vector<double> expected;
    std::vector<double> coeff;
    ASSERT_EQ(construct(p, DF_IC_KNOTS, midpoints, expected), DF_STATUS_OK);
    for (const std::int64_t icType : {8, 12}) {
      ASSERT_EQ(construct(p, icType, {}, coeff), DF_STATUS_OK);
      EXPECT_TRUE(support::close(coeff, expected, std::vector<double>(coeff.size(), 1e-12)));
    }
    // Midpoints of equal steps are an equidistant run themselves.
    if (!uniform) continue;
    ASSERT_EQ(construct(p, DF_IC_KNOTS + DF_IC_KNOT_ENDS, {midpoints[1], midpoints[nx - 1]}, coeff), 0);
    EXPECT_TRUE(support::close(coeff, expected, std::vector<double>(coeff.size(), 1e-12)));
  }
}

TEST(Subbotin, KnotsMustBeWhereTheyBelong) {
  const struct {
    const char* name;
    bool uniform;
    std::size_t knot;
    double value;  // instead of a good knot, relative to the breakpoint of the same number
    std::int32_t status;
  } cases[] = {
      {"first end off", false, 0, 1e-15, DF_ERROR_NULL_INTERNAL},
      {"last end off", false, nx, 1e-15, DF_ERROR_NULL_INTERNAL},
      {"first end off by rounding", true, 0, 1e-13, DF_STATUS_OK},
      {"last end off by rounding", true, nx, -1e-13, DF_STATUS_OK},
      {"first end off by more", true, 0, 1e-12, DF_ERROR_NULL_INTERNAL},
      {"last end off by more", true, nx, 1e-12, DF_ERROR_NULL_INTERNAL},
      {"knot at its breakpoint", false, 2, 0.0, DF_ERROR_NULL_INTERNAL},
      {"knot at its breakpoint, uniform", true, 2, 0.0, DF_ERROR_NULL_INTERNAL},
      {"knot beyond its breakpoint", false, 1, 0.01, DF_ERROR_NULL_INTERNAL},
      {"knot before the last breakpoint", false, 3, -1.0, DF_ERROR_NULL_INTERNAL},
      {"last knot, not tested", false, nx - 1, 0.01, DF_STATUS_OK},
      {"knot is no number", false, 2, nan, DF_ERROR_NULL_INTERNAL},
      {"end is no number", true, 0, nan, DF_ERROR_NULL_INTERNAL},
  };
  for (const auto& c : cases) {
    const Problem p = subbotin(c.uniform);
    std::vector<double> knots = p.ic;
    const double breakpoint = c.knot == nx ? p.x.back() : p.x[c.knot];
    knots[c.knot] = breakpoint + c.value;
    std::vector<double> coeff;
    EXPECT_EQ(construct(p, DF_IC_KNOTS, knots, coeff), c.status) << c.name;
    const std::vector<double> untouched(coeff.size(), -77.0);
    EXPECT_TRUE(c.status == DF_STATUS_OK || support::same(coeff, untouched)) << c.name;
  }
  // The two ends of an equidistant run, strictly inside.
  const Problem p = subbotin(true);
  std::vector<double> coeff;
  for (const std::vector<double>& run :
       {std::vector<double>{p.x[0], 0.0}, {p.x[0] + 0.1, p.x.back()}, {p.x[1], 0.1}, {nan, 0.1}, {-0.9, nan}})
    EXPECT_EQ(construct(p, DF_IC_KNOTS + DF_IC_KNOT_ENDS, run, coeff), DF_ERROR_NULL_INTERNAL);
}

// Construction takes all knots t_0 .. t_n; interpolation reads its array from t_1 on.
TEST(Subbotin, InterpolationTakesTheKnotsFromTheSecondOn) {
  const Problem p = subbotin(false);
  Task task = p.task();
  ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
  ASSERT_EQ(
      dfTaskEditSpline(task.get(), 3, 1, p.bcType, p.bc.data(), DF_IC_KNOTS, p.ic.data() + 1, nullptr, 0),
      DF_STATUS_OK);
  std::vector<double> sites;
  std::vector<double> expected;
  for (std::size_t k = 0; k < p.x.size(); ++k) {
    const double* c = task.coeff().data() + 3 * k;
    for (const double part : {0.0, 0.3, 0.9}) {
      const double left = p.ic[k];
      const double site = part == 0.0 ? p.x[k] : left + part * (p.ic[k + 1] - left);
      const double t = site - p.x[k];
      sites.push_back(site);
      expected.push_back((c[2] * t + c[1]) * t + c[0]);
    }
    ASSERT_EQ(c[0], p.y[k]);
  }
  std::vector<double> r(2 * sites.size());
  ASSERT_EQ(dfTaskInterpolate(task.get(), 1, 1, static_cast<std::int32_t>(sites.size()), sites.data(), 0, 0,
                              nullptr, nullptr, r.data(), DF_RESULTS_DERIVS_INNER, nullptr),
            DF_STATUS_OK);
  r.resize(sites.size());
  EXPECT_TRUE(support::close(r, expected, std::vector<double>(r.size(), 1e-12)));
}

}  // namespace
