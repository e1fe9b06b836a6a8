#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <thread>
#include <vector>

#include "construct/problem.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/task.h"

#include <ravenfit/spline_tools.h>

namespace {

using problem::Problem;
using problem::size;
using support::close;
using support::interpolate;
using support::Task;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

// Points between which the splines of a problem are polynomials, also one period beyond both ends.
std::vector<double> joints(const Problem& p) {
  std::vector<double> all;
  const double period = p.x.back() - p.x.front();
  for (const double shift : {-period, 0.0, period})
    for (const auto& points : {p.x, p.family->kind == DF_KIND_SUBBOTIN ? p.ic : p.x})
      for (const double point : points)
        all.push_back(point + shift);
  std::sort(all.begin(), all.end());
  return all;
}

// By the rule of three points (C. F. Gauss, 1814), exact up to degree 5, on every stretch between joints.
std::vector<double> quadrature(const Task& task, std::int32_t ny, std::vector<double> cuts, double a,
                               double b) {
  const double low = std::min(a, b);
  const double high = std::max(a, b);
  cuts.insert(cuts.end(), {low, high});
  std::sort(cuts.begin(), cuts.end());
  std::vector<double> sum(size(ny));
  for (std::size_t i = 0; i + 1 < cuts.size(); ++i) {
    if (cuts[i] < low || cuts[i + 1] > high) continue;
    const double half = 0.5 * (cuts[i + 1] - cuts[i]);
    const double middle = cuts[i] + half;
    const double away = half * std::sqrt(0.6);
    std::vector<double> r(size(3 * ny));
    EXPECT_EQ(interpolate(task, {.sites = {middle - away, middle, middle + away}}, r), DF_STATUS_OK);
    for (std::size_t f = 0; f < sum.size(); ++f)
      sum[f] += (b < a ? -half : half) * (5.0 * r[3 * f] + 8.0 * r[3 * f + 1] + 5.0 * r[3 * f + 2]) / 9.0;
  }
  return sum;
}

// Interpolation under the same mode is the integrand.
TEST(Integrals, AreThoseOfTheValuesInsideAndOutside) {
  problem::forEach(2, {9}, [](const Problem& p) {
    Problem shifted = p;
    if (p.family->kind == DF_KIND_SUBBOTIN) shifted.ic.erase(shifted.ic.begin());
    Task task = p.task();
    ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK) << p.name();
    const support::Settings s = shifted.settings();
    ASSERT_EQ(dfTaskEditSpline(task.get(), s.order, s.kind, s.bcType, s.bc, s.icType, s.ic, nullptr, 0), 0);
    std::vector<double> left;
    std::vector<double> right;
    const double points[] = {p.x[0] - 0.7, p.x[0], p.x[2] + 0.01, p.x[2] + 0.02,
                             p.x[5],       p.x[8], p.x[8] + 0.9};
    for (const double a : points)
      for (const double b : points) {
        left.push_back(a);
        right.push_back(b);
      }
    const auto n = static_cast<std::int32_t>(left.size());
    for (const std::int32_t mode : {0, 1, 2, 4}) {
      ASSERT_EQ(dfTaskSetOutside(task.get(), mode, mode, 0.625), DF_STATUS_OK);
      std::vector<double> want;
      for (std::int32_t i = 0; i < n; ++i) {
        const std::vector<double> both = quadrature(task, 2, joints(p), left[size(i)], right[size(i)]);
        want.insert(want.end(), both.begin(), both.end());
      }
      std::vector<double> bySite(want.size());
      EXPECT_EQ(dfTaskIntegrate(task.get(), n, left.data(), right.data(), bySite.data(), 64), DF_STATUS_OK);
      EXPECT_TRUE(close(bySite, want, std::vector<double>(want.size(), 2e-12))) << p.name() << ", " << mode;
      std::vector<double> rows(want.size());
      EXPECT_EQ(dfTaskIntegrate(task.get(), n, left.data(), right.data(), rows.data(), 0), DF_STATUS_OK);
      for (std::int32_t i = 0; i < n; ++i)
        for (std::int32_t f = 0; f < 2; ++f)
          EXPECT_EQ(rows[size(f * n + i)], bySite[size(i * 2 + f)]);
    }
  });
}

// Coefficients of any order, whose antiderivative and derivative are evaluated as splines of their own.
TEST(Integrals, AntiderivativeAndDerivativeAreSplines) {
  for (const bool uniform : {false, true})
    for (std::int32_t order = 2; order < 8; ++order) {
      const Problem p(problem::families()[0], 0, uniform, 12, 2);
      const auto over = [&](std::int32_t ofOrder) {
        return Task(12, p.partition(), uniform ? DF_XHINT_UNIFORM : 0, 2, p.y, 0, {ofOrder, 0, 0});
      };
      Task task = over(order);
      for (std::size_t i = 0; i < task.coeff().size(); ++i)
        task.coeff()[i] = std::sin(1.0 + static_cast<double>(i * i % 101));
      std::vector<double> sites;
      for (std::int32_t i = 0; i < 40; ++i)
        sites.push_back(p.x[0] - 0.1 + 0.075 * i);
      const std::vector<double> starts(sites.size(), p.x[0]);
      std::vector<double> integrals(80);
      ASSERT_EQ(dfTaskIntegrate(task.get(), 40, starts.data(), sites.data(), integrals.data(), 0), 0);
      Task above = over(order + 1);
      ASSERT_EQ(dfTaskAntiderivative(task.get(), above.coeff().data()), DF_STATUS_OK);
      std::vector<double> got(80);
      ASSERT_EQ(interpolate(above, {.sites = sites}, got), DF_STATUS_OK);
      EXPECT_TRUE(close(got, integrals, std::vector<double>(80, 1e-13))) << order;
      std::vector<double> back(task.coeff().size());
      ASSERT_EQ(dfTaskDerivative(above.get(), back.data()), DF_STATUS_OK);
      EXPECT_TRUE(close(back, task.coeff(), std::vector<double>(back.size(), 1e-15))) << order;
    }
}

// Broken lines between large values: the trapezia of a short stretch far from x_0, summed in long double.
TEST(Integrals, FarFromTheFirstBreakpointLoseNothing) {
  const std::int32_t nx = 100001;
  std::vector<double> x;
  std::vector<double> y;
  for (std::int32_t i = 0; i < nx; ++i) {
    x.push_back(0.3 * i);
    y.push_back(i < nx - 10 ? 1e9 + i % 7 : 0.001 * (i % 3));
  }
  Task task(nx, x, 0, 1, y, 0, {DF_ORDER_LINEAR, 0, 0});
  ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
  long double want = 0.0L;
  for (std::size_t i = size(nx) - 10; i + 1 < size(nx); ++i)
    want += (static_cast<long double>(x[i + 1]) - x[i]) * 0.5L * (static_cast<long double>(y[i]) + y[i + 1]);
  double got = 0.0;
  EXPECT_EQ(dfTaskIntegrate(task.get(), 1, &x[size(nx) - 10], &x.back(), &got, 0), DF_STATUS_OK);
  EXPECT_NEAR(got, static_cast<double>(want), 1e-12 * static_cast<double>(want));
}

// The sums follow the coefficients, and what cannot be had leaves everything as it was.
TEST(Integrals, AnswerWithStatuses) {
  const Problem p(problem::families()[3], 2, false, 9, 1);
  Task task = p.task();
  ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
  const double a[2] = {0.0, 0.1};
  const double b[2] = {0.5, -9.0};
  double r[2] = {-77.0, -77.0};
  double first[2];
  const auto integrate = [&](std::int32_t n = 2, std::int32_t rhint = 0) {
    return dfTaskIntegrate(task.get(), n, a, b, r, rhint);
  };
  EXPECT_EQ(dfTaskIntegrate(nullptr, 2, a, b, r, 0), DF_ERROR_NULL_TASK);
  EXPECT_EQ(integrate(0), DF_ERROR_LIMIT_COUNT);
  EXPECT_EQ(dfTaskIntegrate(task.get(), 2, nullptr, b, r, 0), DF_ERROR_LEFT_LIMITS);
  EXPECT_EQ(dfTaskIntegrate(task.get(), 2, a, nullptr, r, 0), DF_ERROR_RIGHT_LIMITS);
  EXPECT_EQ(dfTaskIntegrate(task.get(), 2, a, b, nullptr, 0), DF_ERROR_NULL_INTEGRALS);
  EXPECT_EQ(integrate(2, 1), DF_ERROR_INTEGRALS_HINT);
  {
    const support::FailingHeap heap(1);
    EXPECT_EQ(integrate(), DF_ERROR_MEMORY);
  }
  ASSERT_EQ(dfTaskSetOutside(task.get(), DF_OUTSIDE_REFUSE, 0, 0.0), DF_STATUS_OK);
  EXPECT_EQ(integrate(), DF_ERROR_OUTSIDE);
  EXPECT_EQ(r[0], -77.0);
  ASSERT_EQ(dfTaskSetOutside(task.get(), DF_OUTSIDE_NAN, 0, 0.0), DF_STATUS_OK);
  EXPECT_EQ(integrate(), DF_STATUS_OK);
  EXPECT_TRUE(std::isfinite(r[0]) && std::isnan(r[1]));
  for (const double limit : {nan, infinity, -infinity}) {
    EXPECT_EQ(dfTaskIntegrate(task.get(), 1, a, &limit, first, 0), DF_STATUS_OK);
    EXPECT_FALSE(std::isfinite(first[0]));
  }
  first[0] = r[0];
  for (double& c : task.coeff())
    c *= 2.0;
  const support::Settings s = p.settings();
  ASSERT_EQ(dfTaskEditSpline(task.get(), s.order, s.kind, s.bcType, s.bc, s.icType, s.ic, nullptr, 0), 0);
  EXPECT_EQ(integrate(), DF_STATUS_OK);
  EXPECT_NEAR(r[0], 2.0 * first[0], 1e-15);
  ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
  EXPECT_EQ(integrate(), DF_STATUS_OK);
  EXPECT_EQ(r[0], first[0]);
  std::vector<double> coeff(100, -77.0);
  EXPECT_EQ(dfTaskAntiderivative(nullptr, coeff.data()), DF_ERROR_NULL_TASK);
  EXPECT_EQ(dfTaskAntiderivative(task.get(), nullptr), DF_ERROR_NULL_COEFFICIENTS);
  const struct {
    std::int32_t order, kind, integral, derivative;
  } kinds[] = {{2, 0, 0, DF_ERROR_SPLINE_ORDER},
               {3, DF_KIND_SUBBOTIN, DF_ERROR_SPLINE_KIND, DF_ERROR_SPLINE_KIND},
               {0, DF_KIND_STEP_LEFT, DF_ERROR_SPLINE_KIND, DF_ERROR_SPLINE_KIND},
               {4, 77, DF_ERROR_SPLINE_KIND, DF_ERROR_SPLINE_KIND}};
  for (const auto& kind : kinds) {
    ASSERT_EQ(dfTaskEditSpline(task.get(), kind.order, kind.kind, 0, nullptr, 0, nullptr, nullptr, 0), 0);
    EXPECT_EQ(dfTaskAntiderivative(task.get(), coeff.data()), kind.integral) << kind.order;
    EXPECT_EQ(dfTaskDerivative(task.get(), coeff.data()), kind.derivative) << kind.order;
  }
}

TEST(Integrals, ThreadsShareATask) {
  const Problem p(problem::families()[3], 2, false, 2000, 2);
  Task task = p.task();
  ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
  double r[4][2];
  std::vector<std::thread> threads;
  for (auto& mine : r)
    threads.emplace_back([&] {
      EXPECT_EQ(dfTaskIntegrate(task.get(), 1, &p.x.front(), &p.x.back(), mine, 0), DF_STATUS_OK);
      std::vector<double> values(2);
      EXPECT_EQ(interpolate(task, {.sites = {3.0}}, values), DF_STATUS_OK);
    });
  for (std::thread& thread : threads)
    thread.join();
  for (const auto& one : r)
    EXPECT_TRUE(one[0] == r[0][0] && one[1] == r[0][1]);
}

}  // namespace
