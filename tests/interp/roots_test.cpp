#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

#include "construct/problem.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/task.h"
#include "task/df_task.h"

#include <ravenfit/spline_tools.h>

namespace {

using problem::Problem;
using problem::size;
using support::interpolate;
using support::Task;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
using Sites = std::vector<double>;
using Statuses = std::vector<std::int32_t>;

Sites solve(const Task& task, std::int32_t function, double value, double a, double b) {
  std::int64_t count = -1;
  EXPECT_EQ(dfTaskSolve(task.get(), function, value, a, b, 0, nullptr, &count), DF_STATUS_OK);
  Sites sites(static_cast<std::size_t>(count) + 1, -77.0);
  EXPECT_EQ(dfTaskSolve(task.get(), function, value, a, b, count, sites.data(), &count), DF_STATUS_OK);
  EXPECT_EQ(sites.back(), -77.0);
  sites.pop_back();
  return sites;
}

// Every change of sign between neighbours of a dense grid has its site, and every site its change of sign.
TEST(Roots, AreWhereADenseScanChangesSign) {
  problem::forEach(2, {6, 41}, [](const Problem& p) {
    Task task = p.task();
    ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK) << p.name();
    support::Settings s = p.settings();
    if (s.kind == DF_KIND_SUBBOTIN) {
      ASSERT_EQ(dfTaskEditSpline(task.get(), 3, 1, s.bcType, s.bc, s.icType, s.ic + 1, nullptr, 0), 0);
    }
    const double a = p.x.front() - 0.21;
    const double b = p.x.back() + 0.17;
    constexpr std::int32_t cells = 8000;
    Sites grid;
    for (std::int32_t i = 0; i <= cells; ++i)
      grid.push_back(i == cells ? b : a + (b - a) / cells * i);
    Sites values(2 * grid.size());
    ASSERT_EQ(interpolate(task, {.sites = grid}, values), DF_STATUS_OK);
    for (const double value : {0.317, -0.0713, 1.9})
      for (std::int32_t f = 0; f < 2; ++f) {
        const Sites sites = solve(task, f, value, a, b);
        std::size_t found = 0;
        for (std::size_t i = 0; i + 1 < grid.size(); ++i) {
          const double here = values[size(f) * grid.size() + i] - value;
          const double next = values[size(f) * grid.size() + i + 1] - value;
          if (here * next > 0.0) continue;
          ASSERT_LT(found, sites.size()) << p.name() << ", " << value << ", near " << grid[i];
          EXPECT_TRUE(sites[found] >= grid[i] - 1e-9 && sites[found] <= grid[i + 1] + 1e-9) << sites[found];
          ++found;
        }
        EXPECT_EQ(found, sites.size()) << p.name() << ", " << value;
        Sites back(2 * sites.size());
        if (sites.empty()) continue;
        ASSERT_EQ(interpolate(task, {.sites = sites}, back), DF_STATUS_OK);
        for (std::size_t i = 0; i < sites.size(); ++i)
          EXPECT_NEAR(back[size(f) * sites.size() + i], value, 1e-11) << p.name() << " at " << sites[i];
      }
  });
}

// Pieces over breakpoints 0, 1, 2 whose roots are known from their factors.
TEST(Roots, OfPolynomialsAreTheirFactors) {
  const struct {
    const char* name;
    std::int32_t order;
    Sites coeff;
    double a, b;
    Sites want;
  } cases[] = {
      {"three in a piece", 4, {-0.09375, 0.6875, -1.5, 1, 0.09375, 1, 1, 1}, 0, 2, {0.25, 0.5, 0.75}},
      {"touch", 3, {0.25, -1, 1, 0.25, 1, 1}, 0, 2, {0.5}},
      {"touch that rounding lifts", 3, {0.25 + 0x1p-54, -1, 1, 0.25, 1, 1}, 0, 2, {0.5}},
      {"no touch", 3, {0.25 + 1e-9, -1, 1, 0.25, 1, 1}, 0, 2, {}},
      {"touch of third order", 4, {-0.125, 0.75, -1.5, 1, 0.125, 0.75, 1.5, 1}, 0, 2, {0.5}},
      {"at the breakpoint, once", 2, {-1, 1, 0, 1}, 0, 2, {1}},
      {"at both ends", 2, {0, 1, 1, -1}, 0, 2, {0, 2}},
      {"lost between pieces", 2, {-1, 1 - 0x1p-50, 0x1p-50, 1}, 0, 2, {1}},
      {"a stretch", 2, {0, 0, 0, 1}, 0, 2, {0}},
      {"a stretch behind a slope", 2, {-1, 1, 0, 0}, 0, 2, {1}},
      {"a jump across", 2, {-1, 0.5, 3, 1}, 0, 2, {1}},
      {"a jump above", 2, {1, 0.5, 3, 1}, 0, 2, {}},
      {"continued", 2, {1, 1, 2, -1}, -5, 5, {-1, 3}},
      {"to the end of the doubles", 4, {-8, 0, 0, 1, -7, 3, 3, 1}, -infinity, infinity, {2}},
      // (t - 4) (t^2 + 1): Newton's step from the extremum is long, and Halley's none.
      {"behind an extremum", 4, {-4, 0, 0, 0, -4, 1, -4, 1}, -infinity, infinity, {5}},
      {"far away", 3, {1e300, 1, 0, 1e300, 1, 0}, -infinity, infinity, {-1e300}},
      {"one point", 2, {-1, 1, 0, 1}, 1, 1, {1}},
      {"beside it", 2, {-1, 1, 0, 1}, 1.5, 2, {}},
      {"not finite", 2, {nan, 1, -1, 2}, 0, 2, {1.5}},
      {"not finite either", 4, {-1, 2, 0, 0, 1, infinity, 0, 0}, 0, 2, {0.5}},
  };
  for (const auto& one : cases)
    for (const bool uniform : {false, true})
      for (const double sign : {1.0, -1.0}) {
        SCOPED_TRACE(one.name);
        Task task(3, uniform ? Sites{0, 2} : Sites{0, 1, 2}, uniform ? DF_XHINT_UNIFORM : 0, 1, Sites(3), 0,
                  {one.order, 0, 0});
        for (std::size_t i = 0; i < one.coeff.size(); ++i)
          task.coeff()[i] = sign * one.coeff[i];
        const Sites got = solve(task, 0, 0.0, one.a, one.b);
        ASSERT_EQ(got.size(), one.want.size());
        for (std::size_t i = 0; i < got.size(); ++i)
          EXPECT_NEAR(got[i], one.want[i], 1e-15 * std::max(1.0, std::fabs(one.want[i])));
      }
}

// Pieces of coefficients between 1e-30 and 1e30: a site where the sign changes from 0 to h, and roundings left there.
TEST(Roots, OfWildPiecesLeaveRoundings) {
  std::mt19937_64 random(3);
  std::normal_distribution<double> normal;
  for (int turn = 0; turn < 20000; ++turn) {
    const double h = std::exp(5.0 * normal(random));
    const std::int32_t order = 2 + turn % 3;
    Task task(2, {0.0, h}, 0, 1, Sites(2), 0, {order, 0, 0});
    for (double& c : task.coeff())
      c = normal(random) * std::exp(20.0 * normal(random));
    const auto value = [&](double t, bool sizes) {
      double sum = 0.0;
      for (std::size_t k = task.coeff().size(); k-- > 0;)
        sum = sum * t + (sizes ? std::fabs(task.coeff()[k]) : task.coeff()[k]);
      return sum;
    };
    const Sites sites = solve(task, 0, 0.0, 0.0, h);
    EXPECT_EQ(sites.size() % 2 == 1, value(0.0, false) * value(h, false) < 0.0) << turn;
    for (const double s : sites)
      EXPECT_LE(std::fabs(value(s, false)), 0x1p-47 * value(s, true)) << turn << " at " << s;
  }
}

TEST(Roots, AnswerWithStatuses) {
  const Problem p(problem::families()[0], 0, false, 9, 2);
  Task task = p.task();
  DfTask* const t = task.get();
  ASSERT_EQ(dfTaskConstruct(t, 0, 0), DF_STATUS_OK);
  double r[2] = {-77.0, -77.0};
  const double v = 0.5;
  std::int64_t n = -7;
  ASSERT_EQ(dfTaskSetOutside(t, DF_OUTSIDE_REFUSE, DF_OUTSIDE_CLAMP, 0.0), DF_STATUS_OK);
  const Statuses got = {dfTaskSolve(nullptr, 0, v, 0, 1, 1, r, &n),
                        dfTaskSolve(t, 0, v, 0, 1, -1, r, &n),
                        dfTaskSolve(t, 0, v, 0, 1, 1, nullptr, &n),
                        dfTaskSolve(t, 0, v, 0, 1, 1, r, nullptr),
                        dfTaskSolve(t, 0, v, 1, 0.5, 1, r, &n),
                        dfTaskSolve(t, 0, v, nan, 1, 1, r, &n),
                        dfTaskSolve(t, 0, nan, 0, 1, 1, r, &n),
                        dfTaskSolve(t, 2, v, 0, 1, 1, r, &n),
                        dfTaskSolve(t, -1, v, 0, 1, 1, r, &n),
                        dfTaskSolve(t, 0, v, -1.5, 1, 1, r, &n),
                        dfTaskInverse(nullptr, 0, 1, &v, r),
                        dfTaskInverse(t, 0, 0, &v, r),
                        dfTaskInverse(t, 0, 1, nullptr, r),
                        dfTaskInverse(t, 0, 1, &v, nullptr),
                        dfTaskInverse(t, 2, 1, &v, r),
                        dfTaskInverse(t, 0, 1, &v, r)};
  EXPECT_EQ(got, (Statuses{-1000, -1045, -1045, -1045, -1044, -1044, -1047, -1043, -1043, -1042, -1000, -1046,
                           -1047, -1022, -1043, -1048}));
  {
    const support::FailingHeap heap(1);
    EXPECT_EQ(dfTaskInverse(t, 0, 1, &v, r), DF_ERROR_MEMORY);
  }
  EXPECT_TRUE(n == -7 && r[0] == -77.0);
  EXPECT_EQ(dfTaskSolve(t, 0, v, -1.0, infinity, 1, r, &n), DF_STATUS_OK);
  EXPECT_TRUE(n > 1 && r[1] == -77.0);
  EXPECT_EQ(dfTaskSolve(t, 0, v, 2.0, 3.0, 1, r, &n), DF_STATUS_OK);
  EXPECT_EQ(n, 0);
  for (const auto& [order, status] : {std::pair{5, -1010}, std::pair{0, -1011}}) {
    t->order = order;
    EXPECT_EQ(dfTaskSolve(t, 0, v, 0, 1, 1, r, &n), status);
    EXPECT_EQ(dfTaskInverse(t, 0, 1, &v, r), status);
  }
}

// Data with flat stretches and steep ones; whatever lies between them is given back by evaluation.
TEST(Inverse, GivesBackTheValuesOfMonotoneSplines) {
  for (std::int32_t c = 0; c < 48; ++c) {
    const std::int32_t kind = c % 3 == 0 ? DF_KIND_DEFAULT : c % 3 == 1 ? DF_KIND_PCHIP : DF_KIND_STEFFEN;
    const std::int32_t nx = c % 4 == 0 ? 3 : c % 4 == 1 ? 17 : c % 4 == 2 ? 18 : 300;
    const bool uniform = c / 12 % 2 == 0;
    const double direction = c / 24 == 0 ? 1.0 : -1.0;
    SCOPED_TRACE(testing::Message() << kind << ", nx " << nx << ", uniform " << uniform);
    Sites x;
    Sites y;
    for (std::int32_t i = 0; i < nx; ++i) {
      x.push_back(3.0 + 0.5 * i + (uniform ? 0.0 : 0.2 * std::sin(7.0 * i)));
      const double step = i % 5 == 2 ? 0.0 : i % 3 == 0 ? 1e-3 : 2.0;
      y.push_back(i == 0 ? -direction : y.back() + direction * step);
    }
    const std::int32_t order = kind == DF_KIND_DEFAULT ? 2 : 4;
    Task task(nx, uniform ? Sites{x.front(), x.back()} : x, uniform ? 4 : 0, 1, y, 0, {order, kind, 0});
    ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
    Sites values = y;
    for (std::int32_t i = 0; i < 517; ++i)
      values.push_back(y.front() + (y.back() - y.front()) * (i * 211 % 517) / 517.0);
    Sites sites(values.size());
    const auto n = static_cast<std::int32_t>(values.size());
    ASSERT_EQ(dfTaskInverse(task.get(), 0, n, values.data(), sites.data()), DF_STATUS_OK);
    Sites back(values.size());
    ASSERT_EQ(interpolate(task, {.sites = sites}, back), DF_STATUS_OK);
    for (std::size_t i = 0; i < values.size(); ++i)
      EXPECT_NEAR(back[i], values[i], 1e-12 * std::max(1.0, std::fabs(values[i]))) << i;
    for (std::size_t i = 0; i < y.size(); ++i) {
      const std::size_t first = i > 0 && y[i - 1] == y[i] ? i - 1 : i;
      EXPECT_NEAR(sites[i], x[first], 1e-13 * x[first]) << i;
    }
    Sites out = {y.front() - direction * 1e-9, y.back() + direction * 1e-9, nan, infinity, -infinity};
    ASSERT_EQ(dfTaskInverse(task.get(), 0, 5, out.data(), out.data()), DF_STATUS_OK);
    EXPECT_TRUE(support::same(out, Sites(5, nan)));
    task.coeff()[task.coeff().size() - size(order) + 1] -= direction * 9.0;
    EXPECT_EQ(dfTaskInverse(task.get(), 0, 1, y.data(), out.data()), DF_ERROR_NOT_MONOTONE);
    task.coeff()[0] = nan;
    EXPECT_EQ(dfTaskInverse(task.get(), 0, 1, y.data(), out.data()), DF_ERROR_NOT_MONOTONE);
  }
}

}  // namespace
