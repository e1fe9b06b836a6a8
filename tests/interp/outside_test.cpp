#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "construct/problem.h"
#include "support/compare.h"
#include "support/task.h"

#include <ravenfit/spline_tools.h>

namespace {

using support::interpolate;
using support::Query;
using support::same;

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
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
      for (const double wrong : {nan, infinity, -infinity, i > 0 ? x[problem::size(i) - 1] : nan}) {
        std::vector<double> y = x;
        y[problem::size(i)] = wrong;
        EXPECT_EQ(dfCheckBreakpoints(nx, y.data(), &bad), DF_ERROR_BREAKPOINTS) << nx << ", " << wrong;
        EXPECT_EQ(bad, i) << nx << ", " << wrong;
      }
  }
}

// What a task gives when each site is called for by itself and never outside, and the modes on top of it.
struct Model {
  const support::Task& task;
  double first;
  double last;
  std::int32_t ny;

  std::vector<double> at(double s) const {
    std::vector<double> r(problem::size(ny * 4));
    EXPECT_EQ(interpolate(task, {{s}, {1, 1, 1, 1}, DF_RESULTS_DERIVS_INNER}, r), DF_STATUS_OK);
    return r;
  }

  // Four results a function.
  std::vector<double> outside(double s, std::int32_t below, std::int32_t above) const {
    const std::int32_t mode = s < first ? below : s > last ? above : std::int32_t{DF_OUTSIDE_CONTINUE};
    if (mode == DF_OUTSIDE_CONTINUE) return at(s);
    if (mode == DF_OUTSIDE_WRAP) {
      while (s < first)
        s += last - first;
      while (s >= last)
        s -= last - first;
      return at(s);
    }
    std::vector<double> r = at(s < first ? first : last);
    for (std::size_t i = 0; i < r.size(); ++i) {
      if (mode == DF_OUTSIDE_NAN) r[i] = nan;
      if (mode == DF_OUTSIDE_CONSTANT) r[i] = constant;
      if (mode != DF_OUTSIDE_NAN && i % 4 != 0) r[i] = 0.0;
    }
    return r;
  }
};

// Uniform partitions have a dyadic length, so that wrapping is exact. 150 sites are two blocks and a rest at most levels.
TEST(Outside, EveryModeIsThatOfTheModelInEveryLayout) {
  for (std::size_t c = 0; c < 2 * problem::families().size(); ++c) {
    const problem::Family& family = problem::families()[c / 2];
    const problem::Problem p(family, family.ends[0], c % 2 == 0, 17, 3);
    const support::Task plain = p.task();
    support::Task task = p.task();
    ASSERT_EQ(dfTaskConstruct(plain.get(), 0, 0), DF_STATUS_OK);
    ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
    const Model model = {plain, p.x.front(), p.x.back(), 3};
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
            want[i] = model.outside(sites[i], below, above);
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
                  expected[problem::size(at)] = want[problem::size(i)][problem::size(f * 4 + k)];
                }
            std::vector<double> r(expected.size(), -77.0);
            std::vector<std::int32_t> cells(sites.size());
            EXPECT_EQ(interpolate(task, query, r, cells.data()), DF_STATUS_OK);
            EXPECT_TRUE(same(r, expected)) << p.name() << ", " << below << ", " << above << ", " << rhint;
            for (std::size_t i = 0; i < sites.size(); ++i) {
              const bool wrong = sites[i] < model.first
                                     ? below != DF_OUTSIDE_WRAP && cells[i] != 0
                                     : sites[i] > model.last && above != DF_OUTSIDE_WRAP && cells[i] != p.nx;
              EXPECT_FALSE(wrong) << sites[i] << " in cell " << cells[i];
            }
          }
        }
  }
}

TEST(Outside, RefusesBeforeItWritesAndKeepsOtherSites) {
  const problem::Problem p(problem::families()[3], 2, false, 40, 2);
  support::Task task = p.task();
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
  // Wrapping what cannot be wrapped stays inside.
  ASSERT_EQ(dfTaskSetOutside(task.get(), DF_OUTSIDE_WRAP, DF_OUTSIDE_WRAP, 0.0), DF_STATUS_OK);
  std::vector<double> r(6, -77.0);
  EXPECT_EQ(interpolate(task, {.sites = {-infinity, 1e300, -1e308}}, r), DF_STATUS_OK);
  EXPECT_TRUE(std::isnan(r[0]) && std::fabs(r[1]) < 10.0 && std::fabs(r[2]) < 10.0);
}

}  // namespace
