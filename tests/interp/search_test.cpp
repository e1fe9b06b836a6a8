#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>
#if defined(__linux__)
#include <sys/mman.h>
#endif

#include "dispatch/level_table.h"
#include "runtime/work_share.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/levels.h"
#include "support/task.h"
#include "task/df_task.h"

#include <ravenfit/data_fitting.h>

namespace {

using support::interpolate;
using support::Query;
using support::same;
using support::Settings;
using support::Task;
using Cells = std::vector<std::int32_t>;
using Sites = std::vector<double>;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

// What a caller knows of the cell of most sites.
using Information = std::array<double, 5>;

Information likely(double cell) {
  return {nan, 1.0, nan, nan, cell};
}

std::vector<double> gaps(std::int32_t nx) {
  std::mt19937_64 random(static_cast<std::uint64_t>(nx));
  std::uniform_real_distribution<double> gap(0.5, 1.5);
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

// Multiples of 1/4, which scale by the step or by its reciprocal without rounding.
std::vector<double> equidistant(std::int32_t nx) {
  std::vector<double> x;
  for (std::int32_t i = 0; i < nx; ++i)
    x.push_back(-8.0 + 0.25 * i);
  return x;
}

std::vector<std::vector<double>> partitions() {
  std::vector<std::vector<double>> all = {{0.0, 1e-300, 1e300}};
  for (const std::int32_t nx :
       {2, 3, 4, 15, 16, 17, 18, 31, 33, 99, 100, 101, 255, 256, 257, 1000, 4095, 4097})
    all.push_back(gaps(nx));
  for (const std::int32_t nx : {40, 700, 3000})
    all.insert(all.end(),
               {clustered(nx, 9.0), clustered(nx, 0.1), scattered(nx, 0x1p-30), scattered(nx, 0.5)});
  // Coarse cells that hold many breakpoints, and places in them that are good guesses or bad ones.
  all.insert(all.end(), {gaps(90000), scattered(90000, 0x1p-30), clustered(90000, 3.0)});
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
    cells.push_back(static_cast<std::int32_t>(std::upper_bound(x.begin(), x.end(), s) - x.begin()));
  return cells;
}

// A task whose pieces are constants that tell their number.
Task taskOver(const std::vector<double>& x, std::int32_t xhint) {
  Task task(static_cast<std::int32_t>(x.size()),
            xhint == DF_XHINT_UNIFORM ? std::vector<double>{x.front(), x.back()} : x, xhint, 1,
            std::vector<double>(x.size()), 0,
            {DF_ORDER_LINEAR, 0, DF_END_NONE, nullptr, DF_IC_NONE, nullptr});
  for (std::size_t i = 0; i < task.coeff().size(); ++i)
    task.coeff()[i] = i % 2 == 0 ? static_cast<double>(i / 2) : 0.0;
  return task;
}

// Cells alone, values alone, and both.
void expectCells(const std::string& name, const Task& task, const Sites& sites, const Cells& want,
                 std::int32_t sitehint = DF_SITES_NONE, const Information* information = nullptr) {
  SCOPED_TRACE(name + ", " + std::to_string(sites.size()) + " sites");
  const auto lastPiece = static_cast<std::int32_t>(task.coeff().size()) / 2 - 1;
  const double* const datahint = information == nullptr ? nullptr : information->data();
  for (const std::int32_t wanted : {1, 2, 3}) {
    Cells cells(sites.size(), -9);
    std::vector<double> r(sites.size(), -77.0);
    EXPECT_EQ(interpolate(task, {sites, {}, 0, wanted, sitehint, datahint}, r, cells.data()), DF_STATUS_OK);
    std::vector<double> values = r;
    for (std::size_t i = 0; i < sites.size() && wanted != DF_WANT_CELLS; ++i)
      if (!std::isinf(sites[i])) values[i] = std::clamp(want[i] - 1, 0, lastPiece);
    EXPECT_TRUE(same(r, values));
    EXPECT_TRUE(same(cells, wanted == DF_WANT_INTERPOLATE ? Cells(sites.size(), -9) : want));
  }
}

TEST(Search, CountsTheBreakpointsNotGreaterThanTheSite) {
  for (const std::vector<double>& x : partitions()) {
    SCOPED_TRACE(testing::Message() << x.size() << " breakpoints from " << x[0] << " and " << x[1]);
    const auto nx = static_cast<double>(x.size());
    const Task task = taskOver(x, DF_XHINT_NONE);
    Sites sites = sitesFor(x, 700, true);
    const Cells want = countedCells(x, sites);
    const Information none = {9.0, 0.0, 9.0, 9.0, -1.0};
    expectCells("default", task, sites, want);
    expectCells("no information", task, sites, want, DF_SITES_GENERAL, &none);
    for (const double cell : {0.0, 1.0, 0.5 * nx, nx - 1.0, nx}) {
      const Information information = likely(cell);
      expectCells("likely " + std::to_string(cell), task, sites, want, 0, &information);
    }
    std::sort(sites.begin(), sites.end());
    expectCells("sorted", task, sites, countedCells(x, sites), DF_SITES_SORTED);
    const Sites few = {sites[20], sites[350], sites[351], sites[680]};
    expectCells("few sorted", task, few, countedCells(x, few), DF_SITES_SORTED);
    // Breakpoints may keep the cell on their left on the quasi-uniform path: other sites only.
    const Sites between = sitesFor(x, 700, false);
    const Task quasiUniform = taskOver(x, DF_XHINT_QUASI_UNIFORM);
    expectCells("quasi-uniform", quasiUniform, between, countedCells(x, between));
    // What they keep depends on the breakpoint alone, not on the sites before.
    Cells oneByOne;
    std::vector<double> nothing(1);
    for (const double site : sites) {
      oneByOne.push_back(-9);
      interpolate(quasiUniform, {{site}, {}, 0, DF_WANT_CELLS, 0, nullptr}, nothing, &oneByOne.back());
    }
    expectCells("quasi-uniform, with breakpoints", quasiUniform, sites, oneByOne);
  }
}

TEST(Search, CrowdedSitesStartFromTheLikelyCell) {
  const std::vector<double> x = gaps(500);
  const Task task = taskOver(x, DF_XHINT_NONE);
  for (const std::size_t cell : {0U, 3U, 250U, 495U, 499U}) {
    const Information information = likely(static_cast<double>(cell) + 0.75);
    Sites sites;
    for (std::size_t i = 0; i < 200; ++i)
      sites.push_back(x[cell] + 0.05 * (static_cast<double>(i) - 100.0));
    expectCells("likely " + std::to_string(cell), task, sites, countedCells(x, sites), 0, &information);
  }
}

TEST(Search, IsRightAtEveryNumberOfSites) {
  const std::vector<double> x = gaps(300);
  const Task task = taskOver(x, DF_XHINT_NONE);
  const Task quasi = taskOver(x, DF_XHINT_QUASI_UNIFORM);
  const Sites all = sitesFor(x, 4097, false);
  const Information middle = likely(150.0);
  for (const std::ptrdiff_t n :
       {1,  2,   3,   5,   7,   8,   9,   15,  16,  17,   31,   32,   33,   63,   64,
        65, 127, 128, 129, 255, 256, 257, 512, 513, 2047, 2048, 2049, 4095, 4096, 4097}) {
    Sites sites(all.begin(), all.begin() + n);
    const Cells want = countedCells(x, sites);
    expectCells("default", task, sites, want);
    expectCells("likely", task, sites, want, 0, &middle);
    expectCells("quasi-uniform", quasi, sites, want);
    std::sort(sites.begin(), sites.end());
    expectCells("sorted", task, sites, countedCells(x, sites), DF_SITES_SORTED);
  }
}

TEST(Search, UniformPartitionsNeedNoBreakpoints) {
  const Information refusedElsewhere = {0.0, 2.0, 0.0, 0.0, 0.0};
  for (const std::int32_t nx : {2, 3, 17, 101, 1025}) {
    const std::vector<double> x = equidistant(nx);
    const Task task = taskOver(x, DF_XHINT_UNIFORM);
    for (const std::size_t n : {1U, 3U, 9U, 64U, 65U, 700U}) {
      // Not the neighbours of breakpoints: their distance to x[0] is rounded.
      Sites sites = sitesFor(x, n, false);
      sites.insert(sites.end(), x.begin(), x.end());
      expectCells("uniform", task, sites, countedCells(x, sites));
      expectCells("information not read", task, sites, countedCells(x, sites), 0, &refusedElsewhere);
    }
  }
}

TEST(Search, QuasiUniformTieStaysLeftWhenTheEstimateIsTheBreakpoint) {
  // Mean spacing 1: the estimate of s is floor(s) + 1.
  const Task task = taskOver({0.0, 0.5, 2.0, 3.0, 4.0}, DF_XHINT_QUASI_UNIFORM);
  expectCells("tie", task, {0.5, 0.25, 0.75, 2.0, 3.0, 4.0, 0.0}, {1, 1, 2, 3, 4, 5, 1});
  // The estimate of 0.5 is cell 1, whose right end lies below the site: the walk passes the equal breakpoint.
  const Task walked = taskOver({0.0, 0.25, 0.5, 3.0, 4.0}, DF_XHINT_QUASI_UNIFORM);
  expectCells("walk", walked, {0.5}, {3});
}

// Breakpoints that halving takes, and so many that brackets and, where they are long, secants go through them.
TEST(Search, AnySiteLeavesTheCellInRange) {
  for (const std::int32_t nx : {200, 3000, 90000}) {
    const std::vector<double> ascending = gaps(nx);
    std::vector<double> wild = ascending;
    std::shuffle(wild.begin(), wild.end(), std::mt19937_64(3));
    std::vector<double> broken = ascending;
    broken.front() = nan;
    broken[100] = inf;
    broken.back() = nan;
    std::vector<double> holed = ascending;
    for (std::size_t i = 1; i + 1 < holed.size(); i += 3)
      holed[i] = i % 2 == 0 ? nan : -inf;
    std::vector<double> huge = ascending;
    huge.front() = -1.7e308;
    huge.back() = 1.7e308;
    const std::vector<double> equal(ascending.size(), 1.0);
    Sites sites = {nan, inf, -inf, 1e300, -1e300, 0.0, 5e-324, 1.7e308, nan, nan, 3.0};
    sites.insert(sites.end(), wild.begin(), wild.begin() + 200);
    for (const auto& x : {ascending, wild, broken, holed, huge, equal}) {
      for (const std::int32_t xhint : {DF_XHINT_NONE, DF_XHINT_QUASI_UNIFORM, DF_XHINT_UNIFORM}) {
        // Under a uniform hint only the first two elements count.
        const Task task(nx, x, xhint, 1, std::vector<double>(x.size()), 0, Settings{});
        for (const double cell : {-1.0, 0.0, 100.0, 200.0}) {
          for (const std::int32_t sitehint : {DF_SITES_NONE, DF_SITES_SORTED}) {
            const Information information = likely(cell);
            Cells cells(sites.size(), -9);
            std::vector<double> r(sites.size());
            const double* const datahint = cell < 0.0 ? nullptr : information.data();
            ASSERT_EQ(interpolate(task, {sites, {}, 0, 3, sitehint, datahint}, r, cells.data()),
                      DF_STATUS_OK);
            for (const std::int32_t c : cells)
              ASSERT_TRUE(0 <= c && c <= nx) << c;
            const bool anyForNan = xhint == DF_XHINT_NONE && (sitehint == DF_SITES_SORTED || cell >= 0.0);
            EXPECT_TRUE(x != ascending || anyForNan || cells[0] == 0);
          }
        }
      }
    }
  }
}

TEST(Search, RefusesOtherInformation) {
  const std::vector<double> x = gaps(20);
  const Task task = taskOver(x, DF_XHINT_NONE);
  for (const auto& [type, cell] :
       {std::pair{2.0, 0.0}, {1.0, -0.5}, {1.0, 20.5}, {1.0, nan}, {nan, 0.0}, {-1.0, 3.0}}) {
    const Information information = {0.0, type, 0.0, 0.0, cell};
    Query query = {.sites = {x[7]}, .datahint = information.data()};
    std::int32_t found = -9;
    std::vector<double> r = {-77.0};
    for (const std::int32_t want : {DF_WANT_CELLS, DF_WANT_INTERPOLATE}) {
      query.want = want;
      EXPECT_EQ(interpolate(task, query, r, &found), DF_ERROR_DATA_HINT);
    }
    EXPECT_EQ(found, -9);
    EXPECT_EQ(r[0], -77.0);
    expectCells("a hint that picks the path first", task, {x[7]}, {8}, DF_SITES_SORTED, &information);
  }
}

TEST(Search, ExpandsUniformSites) {
  const std::vector<double> x = gaps(50);
  const Task task = taskOver(x, DF_XHINT_NONE);
  const Sites ends = {x.front() - 1.0, x.back() + 1.0};
  for (const std::int32_t n : {2, 3, 31, 64, 65, 257, 4096, 4097}) {
    Sites sites;
    for (std::int32_t i = 0; i < n; ++i)
      sites.push_back(i * ((ends[1] - ends[0]) / (n - 1)) + ends[0]);
    const Cells want = countedCells(x, sites);
    const Query cellsAlone = {.sites = ends, .want = DF_WANT_CELLS, .sitehint = DF_SITES_UNIFORM, .nsite = n};
    Query both = cellsAlone;
    both.want |= DF_WANT_INTERPOLATE;
    std::vector<double> r(sites.size(), -77.0);
    std::vector<double> wantValues = r;
    Cells cells(sites.size(), -9);
    EXPECT_EQ(interpolate(task, both, r, cells.data()), DF_STATUS_OK);
    EXPECT_EQ(interpolate(task, {.sites = sites}, wantValues), DF_STATUS_OK);
    EXPECT_TRUE(same(r, wantValues));
    EXPECT_TRUE(same(cells, want));
    // Cells alone need room for many sites.
    for (const int failing : {0, 1}) {
      const support::FailingHeap heap(failing);
      cells.assign(sites.size(), -9);
      const std::int32_t status = interpolate(task, cellsAlone, r, cells.data());
      const bool fails = failing != 0 && n > 4096;
      EXPECT_EQ(heap.failed(), fails);
      EXPECT_EQ(status, fails ? DF_ERROR_MEMORY : DF_STATUS_OK);
      EXPECT_TRUE(same(cells, fails ? Cells(sites.size(), -9) : want));
      EXPECT_EQ(heap.live(), 0);
    }
  }
  // One site has no step. Alone it is no number, and left of every partition; beside values it is the first.
  Query one = {.sites = {x[20], 9.0}, .want = DF_WANT_CELLS, .sitehint = DF_SITES_UNIFORM, .nsite = 1};
  std::vector<double> r = {-77.0};
  std::int32_t cell = -9;
  EXPECT_EQ(interpolate(task, one, r, &cell), DF_STATUS_OK);
  EXPECT_EQ(cell, 0);
  one.want = DF_WANT_INTERPOLATE;
  EXPECT_EQ(interpolate(task, one, r, nullptr), DF_STATUS_OK);
  EXPECT_EQ(r[0], 20.0);
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
  const std::vector<double> x = equidistant(33);
  const Sites sites = sitesFor(x, 300, false);
  Cells corrected = countedCells(x, sites);
  for (std::size_t i = 0; i < sites.size(); i += 3)
    corrected[i] = std::min(corrected[i] + 1, 33);
  const rvn::WorkShareTable& workShare = rvn::workShareTables[rvn::interpolateWorkShareRow];
  for (const std::int32_t level : support::runnableLevels()) {
    const rvn::InterpKernels& kernels = *rvn::levelTables[level]->interp;
    for (const std::int32_t xhint : {DF_XHINT_NONE, DF_XHINT_UNIFORM}) {
      const Task task = taskOver(x, xhint);
      SCOPED_TRACE("level " + std::to_string(level) + ", xhint " + std::to_string(xhint));
      for (const std::int32_t result : {7, 0, 1000, -5}) {
        UserSearch user = {result, &x};
        Cells want(sites.size(), -9);
        Cells cells = want;
        EXPECT_EQ(kernels.searchCells(*task.get(), 1, 300, sites.data(), 0, nullptr, cells.data(), userSearch,
                                      &user, workShare),
                  result == 1000 ? 0 : result);
        EXPECT_EQ(user.calls, result < 0 ? 1 : 3);  // 128 sites a call
        // The guesses stand too, but inside the partition.
        if (result == 1000)
          for (std::size_t i = 0; i < sites.size(); ++i)
            want[i] = i % 3 == 0   ? corrected[i]
                      : i % 6 == 2 ? 3
                      : i % 6 == 5 ? 33
                                   : std::clamp(cells[i], 0, 33);
        EXPECT_TRUE(same(cells, result >= 0 && result != 1000 ? corrected : want));
        UserSearch again = {result, &x};
        std::vector<double> r(sites.size(), -77.0);
        const rvn::InterpolateCall call = {1,        1,
                                           300,      sites.data(),
                                           0,        0,
                                           nullptr,  nullptr,
                                           r.data(), 0,
                                           nullptr,  userSearch,
                                           &again,   rvn::levelTables[level]->kinds->find(2, 0)};
        EXPECT_EQ(kernels.interpolate(*task.get(), call, workShare), result < 0 ? result : 0);
        EXPECT_EQ(r == std::vector<double>(sites.size(), -77.0), result < 0);
      }
    }
  }
}

#if defined(__linux__) && defined(__LP64__)
// 1.2e9 breakpoints, nearly all of them in the first coarse cell: a place in it and a step from there are together no
// 32-bit integer. Untouched pages of the mapping are zero and take no memory.
TEST(Search, LongBracketsOfHugePartitions) {
  constexpr std::int64_t nx = 1'200'000'000;
  void* const pages = mmap(nullptr, nx * sizeof(double), PROT_READ | PROT_WRITE,
                           MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(pages, MAP_FAILED);
  auto* const x = static_cast<double*>(pages);
  x[nx - 1] = 1.0;
  std::vector<rvn::LookupCell> lookup(16, {nx - 2, nx - 1});
  lookup[0].lo = 0;
  DfTask task = {};
  task.nx = nx;
  task.x = x;
  task.lookupCells = 16;
  task.lookup = lookup.data();
  task.lookupInvWidth = 16.0;
  const Sites sites = {0.062, -1.0, 0.0, 1.0, 0.5, nan};
  for (const std::int32_t level : support::runnableLevels()) {
    Cells cells(sites.size(), -9);
    EXPECT_EQ(rvn::levelTables[level]->interp->searchCells(task, 1, 6, sites.data(), 0, nullptr, cells.data(),
                                                           nullptr, nullptr, rvn::workShareTables[0]),
              0);
    EXPECT_TRUE(same(cells, Cells{nx - 1, 0, nx - 1, nx, nx - 1, 0})) << level;
  }
  munmap(pages, nx * sizeof(double));
}
#endif

// No level fuses, so that vectors, tails and levels give the same bits; and so do three workers whose blocks run
// in descending order. The mean step is 1/2, by which no level rounds.
TEST(Levels, AndWorkersGiveTheSameBits) {
  const rvn::WorkShareTable& alone = rvn::workShareTables[rvn::interpolateWorkShareRow];
  rvn::WorkShareTable shared = alone;
  shared.parallelFor = [](std::int64_t count, std::int64_t /*limit*/, void* context, rvn::WorkBody body) {
    for (std::int64_t i = count; i-- > 0;)
      body(i, i, count, context);
  };
  shared.threadCount = [] { return std::int64_t{3}; };
  std::vector<double> x = {-1.0};
  for (int i = 1; i < 199; ++i)
    x.push_back(-1.0 + 0.5 * i + 0.2 * std::sin(7.0 * i));
  x.push_back(98.5);
  const std::size_t count = 5007;  // 64 and 15 left
  const Information middle = likely(100.0);
  const struct {
    const char* name;
    std::int32_t xhint;
    std::int32_t sitehint;
    const double* datahint;
  } paths[] = {{"likely", DF_XHINT_NONE, DF_SITES_NONE, middle.data()},
               {"default", DF_XHINT_NONE, DF_SITES_NONE, nullptr},
               {"quasi-uniform", DF_XHINT_QUASI_UNIFORM, DF_SITES_NONE, nullptr},
               {"uniform", DF_XHINT_UNIFORM, DF_SITES_NONE, nullptr},
               {"sorted", DF_XHINT_NONE, DF_SITES_SORTED, nullptr}};
  const std::int32_t dorder[] = {1, 1, 1, 1, 1, 1};
  for (const auto& path : paths) {
    Sites sites = sitesFor(x, count, false);
    if (path.sitehint == DF_SITES_SORTED) std::sort(sites.begin(), sites.end());
    if (path.sitehint != DF_SITES_SORTED && path.datahint == nullptr)
      sites[7] = nan;  // of no certain cell else
    for (const std::int32_t order : {2, 3, 4, 6}) {
      Task task(200, path.xhint == DF_XHINT_UNIFORM ? Sites{x.front(), x.back()} : x, path.xhint, 2,
                std::vector<double>(400), 0,
                {order, order == 4 ? DF_KIND_NATURAL : 0, DF_END_FREE, nullptr, DF_IC_NONE, nullptr});
      for (std::size_t i = 0; i < task.coeff().size(); ++i)
        task.coeff()[i] = std::sin(static_cast<double>(i));
      for (const std::int64_t rhint : {DF_RESULTS_SITES_INNER, DF_RESULTS_DERIVS_INNER}) {
        std::vector<double> first;
        Cells firstCells;
        for (const std::int32_t level : support::runnableLevels()) {
          SCOPED_TRACE(std::string(path.name) + ", level " + std::to_string(level));
          const rvn::InterpKernels& kernels = *rvn::levelTables[level]->interp;
          for (const bool split : {false, true}) {
            std::vector<double> r(12 * count, -77.0);
            Cells cells(count, -9);
            rvn::InterpolateCall call = {};
            call.kind = rvn::levelTables[level]->kinds->find(order, order == 4 ? DF_KIND_NATURAL : 0);
            call.type = DF_WANT_CELLS | DF_WANT_INTERPOLATE;
            call.nsite = std::int64_t{count};
            call.site = sites.data();
            call.sitehint = path.sitehint;
            call.ndorder = rhint == DF_RESULTS_DERIVS_INNER ? 2 : 6;
            call.dorder = dorder;
            call.datahint = path.datahint;
            call.r = r.data();
            call.rhint = rhint;
            call.cell = cells.data();
            EXPECT_EQ(kernels.interpolate(*task.get(), call, split ? shared : alone), 0);
            if (first.empty()) {
              first = r;
              firstCells = cells;
            }
            EXPECT_TRUE(same(r, first));
            EXPECT_TRUE(same(cells, firstCells));
          }
          Cells searched(count, -9);
          EXPECT_EQ(kernels.searchCells(*task.get(), 1, std::int64_t{count}, sites.data(), path.sitehint,
                                        path.datahint, searched.data(), nullptr, nullptr, shared),
                    0);
          EXPECT_TRUE(same(searched, firstCells));
        }
      }
    }
  }
}

}  // namespace
