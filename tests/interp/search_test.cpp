#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "runtime/level_table.h"
#include "runtime/work_share.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/levels.h"
#include "support/task.h"
#include "task/df_task.h"

#include <raven/data_fitting.h>

namespace {

using support::same;
using support::Settings;
using support::Task;
using Cells = std::vector<std::int32_t>;
using Sites = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

struct Partition {
  std::string name;
  std::vector<double> x;
};

std::vector<double> gaps(std::int32_t nx, double smallest, double largest) {
  std::mt19937_64 random(static_cast<std::uint64_t>(nx));
  std::uniform_real_distribution<double> gap(smallest, largest);
  std::vector<double> x;
  double at = -3.0;
  for (std::int32_t i = 0; i < nx; ++i)
    x.push_back(at += gap(random));
  return x;
}

std::vector<double> clustered(std::int32_t nx, double power) {
  std::vector<double> x;
  for (std::int32_t i = 0; i < nx; ++i)
    x.push_back(std::pow(static_cast<double>(i) / (nx - 1), power));
  return x;
}

// Random order statistics, with runs of equal breakpoints when rounded.
std::vector<double> scattered(std::int32_t nx, double rounding) {
  std::mt19937_64 random(7);
  std::uniform_real_distribution<double> at(0.0, 100.0);
  std::vector<double> x;
  for (std::int32_t i = 0; i < nx; ++i)
    x.push_back(rounding * std::floor(at(random) / rounding));
  std::sort(x.begin(), x.end());
  return x;
}

std::vector<Partition> partitions() {
  std::vector<Partition> all;
  for (const std::int32_t nx :
       {2, 3, 4, 15, 16, 17, 18, 31, 33, 99, 100, 101, 255, 256, 257, 1000, 4095, 4097})
    all.push_back({"gaps " + std::to_string(nx), gaps(nx, 0.5, 1.5)});
  for (const std::int32_t nx : {40, 700, 3000}) {
    all.push_back({"clustered left " + std::to_string(nx), clustered(nx, 9.0)});
    all.push_back({"clustered right " + std::to_string(nx), clustered(nx, 0.1)});
    all.push_back({"scattered " + std::to_string(nx), scattered(nx, 0x1p-30)});
    all.push_back({"equal breakpoints " + std::to_string(nx), scattered(nx, 0.5)});
  }
  // Coarse cells that hold many breakpoints, and places in them that are good guesses or bad ones.
  all.push_back({"gaps 90000", gaps(90000, 0.5, 1.5)});
  all.push_back({"scattered 90000", scattered(90000, 0x1p-30)});
  all.push_back({"clustered left 90000", clustered(90000, 3.0)});
  all.push_back({"two widths", {0.0, 1e-300, 1e300}});
  return all;
}

// Random sites in and beyond the partition, breakpoints and their neighbours, ends, special values.
Sites sitesFor(const std::vector<double>& x, std::size_t count, bool withBreakpoints) {
  std::mt19937_64 random(x.size());
  const double width = x.back() - x.front();
  std::uniform_real_distribution<double> at(-0.05, 1.05);
  std::uniform_int_distribution<std::size_t> any(0, x.size() - 1);
  Sites s = {-inf, inf, 1e300, -1e300, std::nextafter(x.front(), -inf), std::nextafter(x.back(), inf)};
  if (withBreakpoints) s.insert(s.end(), {x.front(), x.back()});
  while (s.size() < count) {
    s.push_back(x.front() + width * at(random));
    if (!withBreakpoints) continue;
    const double breakpoint = x[any(random)];
    s.insert(s.end(), {breakpoint, std::nextafter(breakpoint, -inf), std::nextafter(breakpoint, inf)});
  }
  s.resize(count);
  std::shuffle(s.begin(), s.end(), random);
  return s;
}

// The definition: breakpoints that are not greater than the site.
Cells countedCells(const std::vector<double>& x, const Sites& sites) {
  Cells cells;
  for (const double s : sites)
    cells.push_back(
        static_cast<std::int32_t>(std::count_if(x.begin(), x.end(), [&](double b) { return b <= s; })));
  return cells;
}

struct Hints {
  std::string name;
  std::int32_t sitehint = DF_SITES_NONE;
  const double* datahint = nullptr;
};

// Cells alone, and cells beside values.
void expectCells(const std::string& name, const Task& task, const Sites& sites, const Hints& hints,
                 const Cells& want) {
  SCOPED_TRACE(name + ", " + hints.name + ", " + std::to_string(sites.size()) + " sites");
  const auto nsite = static_cast<std::int32_t>(sites.size());
  Cells alone(sites.size(), -9);
  EXPECT_EQ(dfTaskInterpolate(task.get(), DF_WANT_CELLS, 1, nsite, sites.data(), hints.sitehint, 0, nullptr,
                              hints.datahint, nullptr, 0, alone.data()),
            DF_STATUS_OK);
  EXPECT_TRUE(same(alone, want));
  Cells beside(sites.size(), -9);
  std::vector<double> r(sites.size());
  EXPECT_EQ(dfTaskInterpolate(task.get(), DF_WANT_CELLS | DF_WANT_INTERPOLATE, 1, nsite, sites.data(),
                              hints.sitehint, 0, nullptr, hints.datahint, r.data(), 0, beside.data()),
            DF_STATUS_OK);
  EXPECT_TRUE(same(beside, want));
}

Task taskOver(const std::vector<double>& x, std::int32_t xhint) {
  return Task(static_cast<std::int32_t>(x.size()), x, xhint, 1, std::vector<double>(x.size()), 0, Settings{});
}

TEST(Search, CountsTheBreakpointsNotGreaterThanTheSite) {
  for (const Partition& p : partitions()) {
    const auto nx = static_cast<double>(p.x.size());
    const Task task = taskOver(p.x, DF_XHINT_NONE);
    Sites sites = sitesFor(p.x, 700, true);
    const Cells want = countedCells(p.x, sites);
    const double noInformation[5] = {9.0, 0.0, 9.0, 9.0, -1.0};
    expectCells(p.name, task, sites, {"default"}, want);
    expectCells(p.name, task, sites, {"no information", DF_SITES_GENERAL, noInformation}, want);
    for (const double likely : {0.0, 1.0, 0.5 * nx, nx - 1.0, nx}) {
      const double datahint[5] = {nan, 1.0, nan, nan, likely};
      expectCells(p.name, task, sites, {"likely " + std::to_string(likely), DF_SITES_NONE, datahint}, want);
    }
    std::sort(sites.begin(), sites.end());
    expectCells(p.name, task, sites, {"sorted", DF_SITES_SORTED}, countedCells(p.x, sites));
    const Sites few = {sites[20], sites[350], sites[351], sites[680]};
    expectCells(p.name, task, few, {"few sorted", DF_SITES_SORTED}, countedCells(p.x, few));
    // Breakpoints may keep the cell on their left on the quasi-uniform path: other sites only.
    const Task quasi = taskOver(p.x, DF_XHINT_QUASI_UNIFORM);
    const Sites between = sitesFor(p.x, 700, false);
    expectCells(p.name, quasi, between, {"quasi-uniform"}, countedCells(p.x, between));
  }
}

TEST(Search, CrowdedSitesStartFromTheLikelyCell) {
  const std::vector<double> x = gaps(500, 0.5, 1.5);
  const Task task = taskOver(x, DF_XHINT_NONE);
  for (const std::size_t likely : {0U, 3U, 250U, 495U, 499U}) {
    const double datahint[5] = {0.0, 1.0, 0.0, 0.0, static_cast<double>(likely) + 0.75};
    Sites sites;
    for (std::size_t i = 0; i < 200; ++i)
      sites.push_back(x[likely] + 0.05 * (static_cast<double>(i) - 100.0));
    expectCells("gaps 500", task, sites, {"likely", DF_SITES_NONE, datahint}, countedCells(x, sites));
  }
}

TEST(Search, IsRightAtEveryNumberOfSites) {
  const std::vector<double> x = gaps(300, 0.5, 1.5);
  const Task task = taskOver(x, DF_XHINT_NONE);
  const Task quasi = taskOver(x, DF_XHINT_QUASI_UNIFORM);
  const Sites all = sitesFor(x, 4097, false);
  const double datahint[5] = {0.0, 1.0, 0.0, 0.0, 150.0};
  for (const std::ptrdiff_t n :
       {1,  2,   3,   5,   7,   8,   9,   15,  16,  17,   31,   32,   33,   63,   64,
        65, 127, 128, 129, 255, 256, 257, 512, 513, 2047, 2048, 2049, 4095, 4096, 4097}) {
    Sites sites(all.begin(), all.begin() + n);
    const Cells want = countedCells(x, sites);
    expectCells("gaps 300", task, sites, {"default"}, want);
    expectCells("gaps 300", task, sites, {"likely", DF_SITES_NONE, datahint}, want);
    expectCells("gaps 300", quasi, sites, {"quasi-uniform"}, want);
    std::sort(sites.begin(), sites.end());
    expectCells("gaps 300", task, sites, {"sorted", DF_SITES_SORTED}, countedCells(x, sites));
  }
}

// Multiples of a power of two: scaling by the step or by its reciprocal is exact, so breakpoints count too.
TEST(Search, UniformPartitionsNeedNoBreakpoints) {
  for (const std::int32_t nx : {2, 3, 17, 101, 1025}) {
    std::vector<double> x;
    for (std::int32_t i = 0; i < nx; ++i)
      x.push_back(-8.0 + 0.25 * i);
    const Task task(nx, {x.front(), x.back()}, DF_XHINT_UNIFORM, 1, std::vector<double>(x.size()), 0,
                    Settings{});
    const double refusedElsewhere[5] = {0.0, 2.0, 0.0, 0.0, 0.0};
    for (const std::size_t n : {1U, 3U, 9U, 64U, 65U, 700U}) {
      // Not the neighbours of breakpoints: their distance to x[0] is rounded.
      Sites sites = sitesFor(x, n, false);
      sites.insert(sites.end(), x.begin(), x.end());
      expectCells("uniform", task, sites, {"uniform"}, countedCells(x, sites));
      expectCells("uniform", task, sites, {"information not read", DF_SITES_NONE, refusedElsewhere},
                  countedCells(x, sites));
    }
  }
}

TEST(Search, QuasiUniformTieStaysLeftWhenTheEstimateIsTheBreakpoint) {
  // Mean spacing 1: the estimate of s is floor(s) + 1.
  const Task task = taskOver({0.0, 0.5, 2.0, 3.0, 4.0}, DF_XHINT_QUASI_UNIFORM);
  expectCells("tie", task, {0.5, 0.25, 0.75, 2.0, 3.0, 4.0, 0.0}, {"quasi-uniform"}, {1, 1, 2, 3, 4, 5, 1});
  // The estimate of 0.5 is cell 1, whose right end lies below the site: the walk passes the equal breakpoint.
  const Task walked = taskOver({0.0, 0.25, 0.5, 3.0, 4.0}, DF_XHINT_QUASI_UNIFORM);
  expectCells("walk", walked, {0.5}, {"quasi-uniform"}, {3});
}

TEST(Search, AnySiteLeavesTheCellInRange) {
  const std::vector<double> ascending = gaps(200, 0.5, 1.5);
  std::vector<double> wild = ascending;
  std::shuffle(wild.begin(), wild.end(), std::mt19937_64(3));
  std::vector<double> broken = ascending;
  broken[0] = nan;
  broken[100] = inf;
  broken[199] = nan;
  std::vector<double> huge = ascending;
  huge.front() = -1.7e308;
  huge.back() = 1.7e308;
  const std::vector<double> equal(200, 1.0);
  Sites sites = {nan, inf, -inf, 1e300, -1e300, 0.0, 5e-324, 1.7e308, nan, nan, 3.0};
  for (int i = 0; i < 200; ++i)
    sites.push_back(wild[static_cast<std::size_t>(i)]);
  const auto nsite = static_cast<std::int32_t>(sites.size());
  for (const auto& x : {ascending, wild, broken, huge, equal}) {
    for (const std::int32_t xhint : {DF_XHINT_NONE, DF_XHINT_QUASI_UNIFORM, DF_XHINT_UNIFORM}) {
      for (const double likely : {-1.0, 0.0, 100.0, 200.0}) {
        for (const std::int32_t sitehint : {DF_SITES_NONE, DF_SITES_SORTED}) {
          const Task task = taskOver(x, xhint);
          const double datahint[5] = {0.0, 1.0, 0.0, 0.0, likely};
          Cells cells(sites.size(), -9);
          std::vector<double> r(sites.size());
          ASSERT_EQ(dfTaskInterpolate(task.get(), 3, 1, nsite, sites.data(), sitehint, 0, nullptr,
                                      likely < 0.0 ? nullptr : datahint, r.data(), 0, cells.data()),
                    DF_STATUS_OK);
          for (const std::int32_t c : cells)
            ASSERT_TRUE(0 <= c && c <= 200) << c;
          const bool anyForNan = xhint == DF_XHINT_NONE && (sitehint == DF_SITES_SORTED || likely >= 0.0);
          if (x == ascending && !anyForNan) {
            EXPECT_EQ(cells[0], 0);
          }
        }
      }
    }
  }
}

TEST(Search, RefusesOtherInformation) {
  const std::vector<double> x = gaps(20, 0.5, 1.5);
  const Task task = taskOver(x, DF_XHINT_NONE);
  const double site = x[7];
  const double refused[][2] = {{2.0, 0.0}, {1.0, -0.5}, {1.0, 20.5}, {1.0, nan}, {nan, 0.0}, {-1.0, 3.0}};
  for (const auto& [type, likely] : refused) {
    const double datahint[5] = {0.0, type, 0.0, 0.0, likely};
    std::int32_t cell = -9;
    double r = -77.0;
    for (const std::int32_t want : {DF_WANT_CELLS, DF_WANT_INTERPOLATE})
      EXPECT_EQ(dfTaskInterpolate(task.get(), want, 1, 1, &site, 0, 0, nullptr, datahint, &r, 0, &cell),
                DF_ERROR_DATA_HINT);
    EXPECT_EQ(cell, -9);
    EXPECT_EQ(r, -77.0);
    EXPECT_EQ(dfTaskInterpolate(task.get(), DF_WANT_CELLS, 1, 1, &site, DF_SITES_SORTED, 0, nullptr, datahint,
                                &r, 0, &cell),
              DF_STATUS_OK);  // a hint that picks the path first
    EXPECT_EQ(cell, 8);
  }
}

TEST(Search, ExpandsUniformSites) {
  const std::vector<double> x = gaps(50, 0.5, 1.5);
  const Task task = taskOver(x, DF_XHINT_NONE);
  const double ends[2] = {x.front() - 1.0, x.back() + 1.0};
  for (const std::int32_t n : {2, 3, 100, 4096, 4097}) {
    Sites sites;
    for (std::int32_t i = 0; i < n; ++i)
      sites.push_back(i * ((ends[1] - ends[0]) / (n - 1)) + ends[0]);
    const auto count = static_cast<std::size_t>(n);
    Cells cells(count, -9);
    EXPECT_EQ(dfTaskInterpolate(task.get(), DF_WANT_CELLS, 1, n, ends, DF_SITES_UNIFORM, 0, nullptr, nullptr,
                                nullptr, 0, cells.data()),
              DF_STATUS_OK);
    EXPECT_TRUE(same(cells, countedCells(x, sites)));
    const support::FailingHeap heap(1);
    Cells untouched(count, -9);
    const std::int32_t status = dfTaskInterpolate(task.get(), DF_WANT_CELLS, 1, n, ends, DF_SITES_UNIFORM, 0,
                                                  nullptr, nullptr, nullptr, 0, untouched.data());
    EXPECT_EQ(heap.failed(), n > 4096);
    EXPECT_EQ(status, n > 4096 ? DF_ERROR_MEMORY : DF_STATUS_OK);
    EXPECT_TRUE(same(untouched, n > 4096 ? Cells(count, -9) : cells));
  }
  // One site has no step: it is no number, and left of every partition.
  std::int32_t cell = -9;
  EXPECT_EQ(dfTaskInterpolate(task.get(), DF_WANT_CELLS, 1, 1, ends, DF_SITES_UNIFORM, 0, nullptr, nullptr,
                              nullptr, 0, &cell),
            DF_STATUS_OK);
  EXPECT_EQ(cell, 0);
}

// ---- what only kernels can be asked for ----

struct UserSearch {
  std::int32_t result;
  const std::vector<double>* x;
  std::int64_t sitesSeen = 0;
  int calls = 0;
};

// Every third site is final, and deliberately one too far right; the others are guesses, some of them absurd.
std::int32_t userSearch(const std::int64_t* count, const double* sites, std::int64_t* cells,
                        std::int32_t* marks, void* params) {
  auto* user = static_cast<UserSearch*>(params);
  ++user->calls;
  const std::int64_t absurd[] = {-5, 0, 3, INT64_MAX, INT64_MIN, 40};
  for (std::int64_t i = 0; i < *count; ++i) {
    const std::int64_t at = user->sitesSeen + i;
    marks[i] = at % 3 == 0;
    cells[i] = at % 3 == 0 ? countedCells(*user->x, {sites[i]})[0] + 1 : absurd[at % 6];
  }
  user->sitesSeen += *count;
  return user->result;
}

TEST(UserSearch, FinalCellsStandAndGuessesAreCorrected) {
  std::vector<double> x;
  for (std::int32_t i = 0; i < 33; ++i)
    x.push_back(0.5 * i);
  const Sites sites = sitesFor(x, 300, false);
  Cells corrected = countedCells(x, sites);
  for (std::size_t i = 0; i < sites.size(); i += 3)
    corrected[i] = std::min(corrected[i] + 1, 33);
  const rvn::WorkShareTable& workShare = rvn::workShareTables[rvn::interpolateWorkShareRow];
  for (const std::int32_t level : support::runnableLevels()) {
    for (const std::int32_t xhint : {DF_XHINT_NONE, DF_XHINT_UNIFORM}) {
      const Task task(33, xhint == DF_XHINT_UNIFORM ? std::vector<double>{x.front(), x.back()} : x, xhint, 1,
                      std::vector<double>(33), 0, Settings{});
      SCOPED_TRACE("level " + std::to_string(level) + ", xhint " + std::to_string(xhint));
      for (const std::int32_t result : {7, 0, 1000, -5}) {
        UserSearch user = {result, &x};
        Cells cells(sites.size(), -9);
        EXPECT_EQ(rvn::levelTables[level]->interp->searchCells(*task.get(), 1, 300, sites.data(), 0, nullptr,
                                                               cells.data(), userSearch, &user, workShare),
                  result == 1000 ? 0 : result);
        EXPECT_EQ(user.calls, result < 0 ? 1 : 3);  // 128 sites a call
        if (result < 0) {
          EXPECT_EQ(cells, Cells(sites.size(), -9));
        }
        if (result >= 0 && result != 1000) {
          EXPECT_TRUE(same(cells, corrected));
        }
        if (result == 1000) {
          for (std::size_t i = 0; i < sites.size(); ++i)
            EXPECT_EQ(cells[i], i % 3 == 0 ? corrected[i] : std::clamp(cells[i], 0, 33));
          EXPECT_EQ(cells[2], 3);
          EXPECT_EQ(cells[5], 33);
        }
        UserSearch again = {result, &x};
        std::vector<double> r(sites.size(), -77.0);
        const rvn::InterpolateCall call = {1,       1,        300, sites.data(), 0,          0,     nullptr,
                                           nullptr, r.data(), 0,   nullptr,      userSearch, &again};
        EXPECT_EQ(rvn::levelTables[level]->interp->interpolate(*task.get(), call, workShare),
                  result < 0 ? result : 0);
        EXPECT_EQ(r == std::vector<double>(sites.size(), -77.0), result < 0);
      }
    }
  }
}

// Three workers whose blocks run in descending order.
std::int64_t threeWorkers() {
  return 3;
}

void runBackwards(std::int64_t count, std::int64_t /*limit*/, void* context, rvn::WorkBody body) {
  for (std::int64_t i = count; i-- > 0;)
    body(i, i, count, context);
}

TEST(Workers, ShareTheSitesWithTheSameResult) {
  const rvn::WorkShareTable& alone = rvn::workShareTables[rvn::interpolateWorkShareRow];
  rvn::WorkShareTable shared = alone;
  shared.parallelFor = runBackwards;
  shared.threadCount = threeWorkers;
  const std::vector<double> x = gaps(200, 0.9, 1.1);
  std::size_t const count = 10001;
  Sites sites = sitesFor(x, count, false);
  const double likely[5] = {0.0, 1.0, 0.0, 0.0, 100.0};
  struct Path {
    const char* name;
    std::int32_t xhint;
    std::int32_t sitehint;
    const double* datahint;
  };
  const Path paths[] = {{"likely", DF_XHINT_NONE, DF_SITES_NONE, likely},
                        {"default", DF_XHINT_NONE, DF_SITES_NONE, nullptr},
                        {"quasi-uniform", DF_XHINT_QUASI_UNIFORM, DF_SITES_NONE, nullptr},
                        {"uniform", DF_XHINT_UNIFORM, DF_SITES_NONE, nullptr},
                        {"sorted", DF_XHINT_NONE, DF_SITES_SORTED, nullptr}};
  for (const Path& path : paths) {
    if (path.sitehint == DF_SITES_SORTED) std::sort(sites.begin(), sites.end());
    Task task(200, x, path.xhint, 2, std::vector<double>(400), 0, Settings{});
    for (std::size_t i = 0; i < task.coeff().size(); ++i)
      task.coeff()[i] = std::sin(static_cast<double>(i));
    for (const std::int32_t level : support::runnableLevels()) {
      SCOPED_TRACE(std::string(path.name) + ", level " + std::to_string(level));
      const rvn::InterpKernels& kernels = *rvn::levelTables[level]->interp;
      const std::int32_t dorder[2] = {1, 1};
      for (const std::int64_t rhint : {DF_RESULTS_SITES_INNER, DF_RESULTS_DERIVS_INNER}) {
        std::vector<double> r[2];
        Cells cells[2];
        for (int i = 0; i < 2; ++i) {
          r[i].assign(4 * count, -77.0);
          cells[i].assign(count, -9);
          const rvn::InterpolateCall call = {3,
                                             1,
                                             static_cast<std::int64_t>(count),
                                             sites.data(),
                                             path.sitehint,
                                             2,
                                             dorder,
                                             path.datahint,
                                             r[i].data(),
                                             rhint,
                                             cells[i].data(),
                                             nullptr,
                                             nullptr};
          EXPECT_EQ(kernels.interpolate(*task.get(), call, i == 0 ? alone : shared), 0);
        }
        EXPECT_TRUE(same(r[1], r[0]));
        EXPECT_TRUE(same(cells[1], cells[0]));
        Cells searched(count, -9);
        EXPECT_EQ(
            kernels.searchCells(*task.get(), 1, static_cast<std::int64_t>(count), sites.data(), path.sitehint,
                                path.datahint, searched.data(), nullptr, nullptr, shared),
            0);
        EXPECT_TRUE(same(searched, cells[0]));
      }
    }
  }
}

}  // namespace
