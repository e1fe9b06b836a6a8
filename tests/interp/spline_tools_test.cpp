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
using support::Query;
using support::same;
using support::Task;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
using Statuses = std::vector<std::int32_t>;

constexpr double constant = 0.375;
constexpr std::int32_t layouts[] = {DF_RESULTS_SITES_INNER, DF_RESULTS_DERIVS_INNER, DF_RESULTS_BY_SITE};

TEST(CheckBreakpoints, NamesTheFirstThatIsBad) {
  for (const std::int32_t nx : {2, 3, 17, 33, 34, 200}) {
    std::vector<double> x;
    for (std::int32_t i = 0; i < nx; ++i)
      x.push_back(std::sqrt(i) - 3.0);
    std::int32_t bad = -9;
    EXPECT_EQ(dfCheckBreakpoints(nx, x.data(), &bad), DF_STATUS_OK);
    EXPECT_EQ(bad, -1);
    for (std::int32_t i = 0; i < nx; ++i)
      for (const double wrong : {nan, infinity, -infinity, i > 0 ? x[size(i) - 1] : nan}) {
        std::vector<double> y = x;
        y[size(i)] = wrong;
        EXPECT_EQ(dfCheckBreakpoints(nx, y.data(), &bad), DF_ERROR_BREAKPOINTS) << nx << ", " << wrong;
        EXPECT_EQ(bad, i) << nx << ", " << wrong;
      }
  }
}

// What a task that is never called outside gives there under the modes: four results of each of three functions.
std::vector<double> outside(const Problem& p, const Task& task, double s, std::int32_t below,
                            std::int32_t above) {
  const double first = p.x.front();
  const double last = p.x.back();
  const std::int32_t mode = s < first ? below : s > last ? above : std::int32_t{DF_OUTSIDE_CONTINUE};
  const bool moves = mode != DF_OUTSIDE_CONTINUE && mode != DF_OUTSIDE_WRAP;
  while (mode == DF_OUTSIDE_WRAP && !(s >= first && s < last))
    s += s < first ? last - first : first - last;
  if (moves) s = s < first ? first : last;
  std::vector<double> r(12);
  EXPECT_EQ(interpolate(task, {{s}, {1, 1, 1, 1}, DF_RESULTS_DERIVS_INNER}, r), DF_STATUS_OK);
  for (std::size_t i = 0; i < r.size() && moves; ++i) {
    if (mode == DF_OUTSIDE_CONSTANT) r[i] = constant;
    if (i % 4 != 0) r[i] = 0.0;
    if (mode == DF_OUTSIDE_NAN) r[i] = nan;
  }
  return r;
}

// Uniform partitions have a dyadic length, so that wrapping is exact. 150 sites are two blocks and a rest at most levels.
TEST(Outside, EveryModeIsThatOfTheModelInEveryLayout) {
  for (std::size_t c = 0; c < 2 * problem::families().size(); ++c) {
    const problem::Family& family = problem::families()[c / 2];
    const Problem p(family, family.ends[0], c % 2 == 0, 17, 3);
    const Task plain = p.task();
    Task task = p.task();
    ASSERT_EQ(dfTaskConstruct(plain.get(), 0, 0), DF_STATUS_OK);
    ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
    std::vector<double> sites = {-1.0, 3.0, -1.25, 3.25, -5.0, 7.0, -1001.5, 999.125, 0.0};
    for (std::int32_t i = 0; i < 141; ++i)
      sites.push_back(-6.0 + 0.09375 * (i * 37 % 141));
    for (const std::int32_t sitehint : {DF_SITES_GENERAL, DF_SITES_SORTED, DF_SITES_UNIFORM})
      for (std::int32_t below = DF_OUTSIDE_CONTINUE; below < DF_OUTSIDE_REFUSE; ++below)
        for (std::int32_t above = DF_OUTSIDE_CONTINUE; above < DF_OUTSIDE_REFUSE; ++above) {
          if (!p.uniform && (below == DF_OUTSIDE_WRAP || above == DF_OUTSIDE_WRAP)) continue;
          if (sitehint == DF_SITES_SORTED) std::sort(sites.begin(), sites.end());
          if (sitehint == DF_SITES_UNIFORM)
            for (std::size_t i = 0; i < sites.size(); ++i)
              sites[i] = -6.0 + static_cast<double>(i) * 0.125;
          const auto n = static_cast<std::int32_t>(sites.size());
          std::vector<std::vector<double>> want(sites.size());
          for (std::size_t i = 0; i < sites.size(); ++i)
            want[i] = outside(p, plain, sites[i], below, above);
          ASSERT_EQ(dfTaskSetOutside(task.get(), below, above, constant), DF_STATUS_OK);
          Query query = {sites, {1, 1, 1, 1}, 0, 3, sitehint};
          if (sitehint == DF_SITES_UNIFORM) query.sites = {sites.front(), sites.back()};
          query.nsite = n;
          for (const std::int32_t rhint : layouts) {
            query.rhint = rhint;
            std::vector<double> expected(sites.size() * 12);
            for (std::int32_t i = 0; i < n; ++i)
              for (std::int32_t f = 0; f < 3; ++f)
                for (std::int32_t k = 0; k < 4; ++k) {
                  const std::int32_t at = rhint == DF_RESULTS_SITES_INNER    ? (f * 4 + k) * n + i
                                          : rhint == DF_RESULTS_DERIVS_INNER ? (f * n + i) * 4 + k
                                                                             : (i * 4 + k) * 3 + f;
                  expected[size(at)] = want[size(i)][size(f * 4 + k)];
                }
            std::vector<double> r(expected.size(), -77.0);
            std::vector<std::int32_t> cells(sites.size());
            EXPECT_EQ(interpolate(task, query, r, cells.data()), DF_STATUS_OK);
            EXPECT_TRUE(same(r, expected)) << p.name() << ", " << below << ", " << above << ", " << rhint;
            for (std::size_t i = 0; i < sites.size(); ++i) {
              const bool wrong = sites[i] < p.x.front()
                                     ? below != DF_OUTSIDE_WRAP && cells[i] != 0
                                     : sites[i] > p.x.back() && above != DF_OUTSIDE_WRAP && cells[i] != p.nx;
              EXPECT_FALSE(wrong) << sites[i] << " in cell " << cells[i];
            }
          }
        }
  }
}

TEST(Outside, RefusesBeforeItWritesAndKeepsOtherSites) {
  const Problem p(problem::families()[3], 2, false, 40, 2);
  Task task = p.task();
  ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
  EXPECT_EQ(dfTaskSetOutside(nullptr, 0, 0, 0.0), DF_ERROR_NULL_TASK);
  EXPECT_EQ(dfTaskSetOutside(task.get(), 6, 0, 0.0), DF_ERROR_OUTSIDE_MODE);
  EXPECT_EQ(dfTaskSetOutside(task.get(), 0, -1, 0.0), DF_ERROR_OUTSIDE_MODE);
  ASSERT_EQ(dfTaskSetOutside(task.get(), DF_OUTSIDE_REFUSE, DF_OUTSIDE_CLAMP, 0.0), DF_STATUS_OK);
  std::vector<double> sites(300, 0.5);
  for (const double last : {0.5, p.x.front(), infinity, -infinity, nan, std::nextafter(p.x.front(), -9.0)}) {
    sites.back() = last;
    const bool refused = !(last >= p.x.front());
    std::vector<double> r(600, -77.0);
    std::vector<std::int32_t> cells(300, -77);
    EXPECT_EQ(interpolate(task, {.sites = sites, .want = 3}, r, cells.data()),
              refused ? DF_ERROR_OUTSIDE : std::int32_t{DF_STATUS_OK});
    EXPECT_EQ(r[0] == -77.0 && cells[0] == -77, refused);
  }
  // Equidistant sites, both ways.
  const double before = p.x.front() - 0.25;
  const double behind = p.x.back() + 0.25;
  for (const std::vector<double>& ends :
       {std::vector{before, behind}, {behind, before}, {p.x.front(), behind}}) {
    std::vector<double> r(18, -77.0);
    const bool refused = ends[0] == before || ends[1] == before;
    EXPECT_EQ(interpolate(task, {.sites = ends, .sitehint = DF_SITES_UNIFORM, .nsite = 9}, r),
              refused ? DF_ERROR_OUTSIDE : std::int32_t{DF_STATUS_OK});
    EXPECT_EQ(r[0] == -77.0, refused);
  }
  // Wrapping what cannot be wrapped stays inside.
  ASSERT_EQ(dfTaskSetOutside(task.get(), DF_OUTSIDE_WRAP, DF_OUTSIDE_WRAP, 0.0), DF_STATUS_OK);
  std::vector<double> r(6, -77.0);
  EXPECT_EQ(interpolate(task, {.sites = {-infinity, 1e300, -1e308}}, r), DF_STATUS_OK);
  EXPECT_TRUE(std::isnan(r[0]) && std::fabs(r[1]) < 10.0 && std::fabs(r[2]) < 10.0);
}

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

// Large values before small ones: nine trapezia whose mean height is 0.001.
TEST(Integrals, DoNotDependOnTheHint) {
  const std::vector<double> x = {0.0, 1.0, 1.25, 4.0, 5.0, 5.5, 9.0};
  const std::vector<double> limits = {-1.0, 0.5, 1.0, 1.25, 3.0, 5.25, 8.0, 11.0};
  std::vector<std::vector<double>> all;
  for (const std::int32_t xhint : {DF_XHINT_NONE, DF_XHINT_QUASI_UNIFORM}) {
    Task task(7, x, xhint, 1, {0.0, 2.0, 1.0, -1.0, 0.5, 3.0, 2.0}, 0,
              {4, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr});
    ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
    std::vector<double> r(limits.size());
    const std::vector<double> first(limits.size(), 2.0);
    ASSERT_EQ(dfTaskIntegrate(task.get(), 8, first.data(), limits.data(), r.data(), 0), DF_STATUS_OK);
    all.push_back(r);
  }
  EXPECT_TRUE(close(all[1], all[0], std::vector<double>(limits.size(), 1e-14)));
}

TEST(Integrals, FarFromTheFirstBreakpointLoseNothing) {
  std::vector<double> y;
  for (std::int32_t i = 0; i < 100000; ++i)
    y.push_back(i < 99990 ? 1e9 + i % 7 : 0.001 * (i % 3));
  Task task(100000, {0.0, 99999.0}, DF_XHINT_UNIFORM, 1, y, 0, {DF_ORDER_LINEAR, 0, 0});
  ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
  const double from = 99990.0;
  double r = 0.0;
  EXPECT_EQ(dfTaskIntegrate(task.get(), 1, &from, task.x() + 1, &r, 0), DF_STATUS_OK);
  EXPECT_NEAR(r, 0.009, 1e-14);
}

TEST(Integrals, AnswerWithStatuses) {
  const Problem p(problem::families()[3], 2, false, 9, 1);
  Task task = p.task();
  DfTask* const t = task.get();
  ASSERT_EQ(dfTaskConstruct(t, 0, 0), DF_STATUS_OK);
  const double a[2] = {0.0, 0.1};
  const double b[2] = {0.5, -9.0};
  double r[2] = {-77.0, -77.0};
  const Statuses got = {dfTaskIntegrate(nullptr, 2, a, b, r, 0), dfTaskIntegrate(t, 0, a, b, r, 0),
                        dfTaskIntegrate(t, 2, nullptr, b, r, 0), dfTaskIntegrate(t, 2, a, nullptr, r, 0),
                        dfTaskIntegrate(t, 2, a, b, nullptr, 0), dfTaskIntegrate(t, 2, a, b, r, 1),
                        dfTaskAntiderivative(nullptr, r),        dfTaskDerivative(t, nullptr)};
  EXPECT_EQ(got, (Statuses{-1000, -1030, -1031, -1032, -1033, -1034, -1000, -1016}));
  {
    const support::FailingHeap heap(1);
    EXPECT_EQ(dfTaskIntegrate(t, 2, a, b, r, 0), DF_ERROR_MEMORY);
  }
  ASSERT_EQ(dfTaskSetOutside(t, DF_OUTSIDE_REFUSE, 0, 0.0), DF_STATUS_OK);
  EXPECT_EQ(dfTaskIntegrate(t, 2, a, b, r, 0), DF_ERROR_OUTSIDE);
  EXPECT_EQ(r[0], -77.0);
  ASSERT_EQ(dfTaskSetOutside(t, DF_OUTSIDE_NAN, 0, 0.0), DF_STATUS_OK);
  EXPECT_EQ(dfTaskIntegrate(t, 2, a, b, r, 0), DF_STATUS_OK);
  EXPECT_TRUE(std::isfinite(r[0]) && std::isnan(r[1]));
  for (const double limit : {nan, infinity, -infinity}) {
    EXPECT_EQ(dfTaskIntegrate(t, 1, a, &limit, r + 1, 0), DF_STATUS_OK);
    EXPECT_FALSE(std::isfinite(r[1]));
  }
  // Sums follow the coefficients, when these are edited and when they are constructed.
  const double once = r[0];
  for (double& c : task.coeff())
    c *= 2.0;
  ASSERT_EQ(dfTaskEditSpline(t, 4, 2, 2, nullptr, 0, nullptr, nullptr, 0), DF_STATUS_OK);
  EXPECT_EQ(dfTaskIntegrate(t, 1, a, b, r, 0), DF_STATUS_OK);
  EXPECT_NEAR(r[0], 2.0 * once, 1e-15);
  ASSERT_EQ(dfTaskConstruct(t, 0, 0), DF_STATUS_OK);
  EXPECT_EQ(dfTaskIntegrate(t, 1, a, b, r, 0), DF_STATUS_OK);
  EXPECT_EQ(r[0], once);
  std::vector<double> coeff(100);
  const std::int32_t kinds[][4] = {
      {2, 0, 0, -1010}, {3, 1, -1011, -1011}, {0, 8, -1011, -1011}, {4, 77, -1011, -1011}};
  for (const auto& [order, kind, integral, derivative] : kinds) {
    ASSERT_EQ(dfTaskEditSpline(t, order, kind, 0, nullptr, 0, nullptr, nullptr, 0), 0);
    EXPECT_EQ(dfTaskAntiderivative(t, coeff.data()), integral) << order;
    EXPECT_EQ(dfTaskDerivative(t, coeff.data()), derivative) << order;
  }
}

TEST(Integrals, ThreadsShareATask) {
  const Problem p(problem::families()[3], 2, false, 2000, 1);
  const Task task = p.task();
  ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
  std::vector<double> r(4);
  std::vector<std::thread> threads;
  for (double& mine : r)
    threads.emplace_back([&] {
      EXPECT_EQ(dfTaskIntegrate(task.get(), 1, &p.x.front(), &p.x.back(), &mine, 0), DF_STATUS_OK);
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_TRUE(same(r, std::vector<double>(4, r[0])));
}

}  // namespace
