#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "construct/problem.h"
#include "dispatch/level_table.h"
#include "dispatch/solver_kernels.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/levels.h"
#include "task/spline_kind.h"

namespace {

using problem::Family;
using problem::Problem;
using problem::size;
using support::Task;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

std::vector<double> constructed(const Problem& p, std::int32_t yhint = DF_VALUES_BY_FUNCTION) {
  Task task = p.task(yhint);
  EXPECT_EQ(task.status, DF_STATUS_OK) << p.name();
  EXPECT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK) << p.name();
  return task.coeff();
}

std::vector<double> within(const std::vector<double>& expected, double tolerance) {
  std::vector<double> tolerances;
  for (const double value : expected)
    tolerances.push_back(tolerance * (1.0 + std::fabs(value)));
  return tolerances;
}

// Constructs by the kernels of a level, whatever the level of the process is.
std::int32_t constructAt(std::int32_t level, const DfTask& task, const rvn::WorkShareTable& workShare) {
  const rvn::SplineKind& kind = *rvn::levelTables[level]->kinds->find(task.order, task.kind);
  rvn::EndPair ends = {};
  for (const rvn::EndType& type : rvn::endTypes)
    if (type.bcType == task.bcType) ends = type.ends;
  const int layout = task.yhint == DF_VALUES_BY_BREAKPOINT ? 0 : 1;
  return kind.construct.member[layout][rvn::isUniform(task) ? 1 : 0](task, ends,
                                                                     {workShare, rvn::solverKernels});
}

TEST(Families, SolveTheirDefiningConditions) {
  problem::forEach(2, {2, 3, 4, 5, 6, 7, 9, 10, 17, 24}, [](const Problem& p) {
    // Three breakpoints leave the general natural not-a-knot spline undetermined.
    if (p.family->kind == DF_KIND_NATURAL && p.bcType == DF_END_NOT_A_KNOT && !p.uniform && p.nx == 3) return;
    const std::vector<double> coeff = constructed(p);
    std::vector<double> expected;
    for (std::int32_t f = 0; f < p.ny; ++f)
      for (const long double value : problem::conditions(p, f).solve())
        expected.push_back(static_cast<double>(value));
    ASSERT_TRUE(support::close(coeff, expected, within(expected, 1e-10))) << p.name();
    ASSERT_TRUE(support::same(coeff, constructed(p, DF_VALUES_BY_BREAKPOINT))) << p.name();
  });
}

// Beyond every block of cells, and in the first and the last function of a block of eight and of one of five: the
// conditions hold, which are too many to solve.
TEST(Families, LargeTasksSolveTheirDefiningConditions) {
  const auto check = [](const Problem& p) {
    if (p.family->order == 3 && p.family->kind == DF_KIND_DEFAULT && !p.uniform)
      return;  // the recursion of midpoints grows with ratios of steps
    const std::vector<double> coeff = constructed(p);
    for (const std::int32_t f : {0, 7, 8, 12}) {
      if (f >= p.ny) return;
      const double* const own = coeff.data() + size(f) * (coeff.size() / size(p.ny));
      ASSERT_LT(problem::conditions(p, f).worstError(own), 1e-11L) << p.name() << ", function " << f;
    }
  };
  problem::forEach(13, {4200}, check);
  // A single function, in stretches of every remainder, in one round of them and in several.
  problem::forEach(1, {257, 400, 512, 901, 1023, 1030, 2051, 4113, 9001}, [&](const Problem& p) {
    if (p.family->reach < 0 && p.family->kind != DF_KIND_DEFAULT) check(p);
  });
}

// What a distant slope adds to a stretch that knows nothing of it must not be lost: beside slopes of 1e100, and where
// systems let distant rows count, slopes are as exact as those of the same function in a task of two, whose system is
// solved in one piece.
TEST(Families, SlopesBesideMuchGreaterOnesStayExact) {
  const struct {
    const char* name;
    double (*value)(std::int64_t i);
  } cases[] = {
      {"one value among zeros", [](std::int64_t i) { return i == 3000 ? 1e200 : 0.0; }},
      {"growth by 200 powers of ten",
       [](std::int64_t i) { return std::pow(10.0, 0.04 * static_cast<double>(i) - 100.0); }},
      {"growth by as many in a tenth",
       [](std::int64_t i) { return std::pow(10.0, 0.4 * std::min(500.0, static_cast<double>(i)) - 100.0); }},
      {"a few cells over 200 powers of ten",
       [](std::int64_t i) {
         return i < 1029 ? 1.0 : i < 1033 ? std::pow(10.0, 50.0 * static_cast<double>(i - 1031)) : 1e100;
       }},
      {"no number", [](std::int64_t i) { return i == 2500 ? nan : std::sin(static_cast<double>(i)); }},
      {"infinite", [](std::int64_t i) { return i == 1024 ? 1.0 / 0.0 : std::sin(static_cast<double>(i)); }},
  };
  const auto check = [](const Family& family, const auto& c, bool uniform, double knot) {
    Problem one(family, family.ends[1], uniform, 5000, 1);
    Problem two(family, family.ends[1], uniform, 5000, 2);
    // Equal steps of which differences of breakpoints would keep five digits.
    for (std::size_t i = 0; uniform && i < 5000; ++i)
      one.x[i] = two.x[i] = 1e7 + 1e-4 * static_cast<double>(i);
    for (std::size_t i = 0; i < 5000; ++i)
      one.y[i] = two.y[i] = two.y[5000 + i] = c.value(static_cast<std::int64_t>(i));
    for (std::size_t i = 0; i < one.ic.size(); ++i)
      one.ic[i] = two.ic[i] =
          i == 0 || i == 5000 ? one.x[i - (i > 0)] : one.x[i - 1] + knot * (one.x[i] - one.x[i - 1]);
    const std::vector<double> got = constructed(one);
    const std::vector<double> whole = constructed(two);
    const std::size_t order = size(family.order);
    for (std::size_t i = order + 1; i + order < got.size(); i += order) {
      const double scale =
          std::max({std::fabs(whole[i - order]), std::fabs(whole[i]), std::fabs(whole[i + order])});
      const bool equal = got[i] == whole[i] || (std::isnan(got[i]) && std::isnan(whole[i])) ||
                         std::fabs(got[i] - whole[i]) <= 1e-13 * scale + 1e-300;
      ASSERT_TRUE(equal) << one.name() << ", " << c.name << ", cell " << i / order << ": " << got[i] << " "
                         << whole[i];
    }
  };
  for (const auto& c : cases)
    for (const bool uniform : {false, true}) {
      check(problem::families()[3], c, uniform, 0.0);
      // Knots so close behind breakpoints that slopes grow from cell to cell.
      for (const double knot : {0.5, 0.999})
        check(problem::families()[10], c, uniform, knot);
    }
}

// Every level, alone and with blocks that eight workers take in any order, each in its own scratch.
TEST(Families, LevelsAndWorkSharingAgree) {
  const auto backwards = [](std::int64_t count, std::int64_t limit, void* context, rvn::WorkBody body) {
    for (std::int64_t block = count; block-- > 0;)
      body(block, block % limit, limit, context);
  };
  const rvn::WorkShareTable eightWorkers = {backwards, backwards, rvn::workShareTables[0].runOnce,
                                            rvn::workShareTables[0].runDirect,
                                            [] { return std::int64_t{8}; }};
  problem::forEach(9, {640, 2500}, [&](const Problem& p) {
    if (p.nx == 2500 && (p.bcType & ~DF_END_FREE) != 0 && p.bcType != p.family->ends.front()) return;
    const bool solves = p.family->kind == DF_KIND_NATURAL || (p.family->order == 3 && p.family->kind == 1);
    Task task = p.task();
    const std::vector<double> expected = constructed(p);
    for (const std::int32_t level : support::runnableLevels()) {
      for (const rvn::WorkShareTable* share : {&rvn::workShareTables[3], &eightWorkers}) {
        task.coeff().assign(expected.size(), -77.0);
        ASSERT_EQ(constructAt(level, *task.get(), *share), DF_STATUS_OK) << p.name();
        if (solves) {
          ASSERT_TRUE(support::close(task.coeff(), expected, within(expected, 1e-12))) << p.name() << level;
        } else {
          ASSERT_TRUE(support::same(task.coeff(), expected)) << p.name() << " level " << level;
        }
      }
    }
  });
}

// Nine functions: in the solver's block of eight too.
TEST(Families, ANotANumberStaysWhereItsCellsAre) {
  problem::forEach(9, {40}, [](const Problem& p) {
    if (p.bcType == DF_END_PERIODIC || p.bcType != p.family->ends.back()) return;
    const std::vector<double> clean = constructed(p);
    const std::size_t row = clean.size() / 9;
    const std::size_t order = size(p.family->order);
    Problem spoilt = p;
    spoilt.y[size(p.nx) + 20] = nan;
    const std::vector<double> got = constructed(spoilt);
    for (std::size_t i = 0; i < got.size(); ++i) {
      const std::int64_t cell = static_cast<std::int64_t>(i % row / order);
      const bool mayChange = i / row == 1 && (p.family->reach < 0 ||
                                              (cell >= 19 - p.family->reach && cell <= 20 + p.family->reach));
      ASSERT_TRUE(mayChange || got[i] == clean[i]) << p.name() << " " << i;
    }
    ASSERT_TRUE(std::isnan(got[row + 20 * order])) << p.name();
  });
}

TEST(Families, RefuseWhatTheyCannotServe) {
  const auto noPeriodicValue = [](DfTask& t) {
    t.bcType = 64;
    t.bc = nullptr;
  };
  const struct {
    std::size_t family;
    const char* name;
    void (*change)(DfTask& task);
    std::int32_t status;
  } cases[] = {
      {0, "one breakpoint", [](DfTask& t) { t.nx = 1; }, -1004},
      {0, "order 1", [](DfTask& t) { t.order = 1; }, -1010},
      {0, "order above 4", [](DfTask& t) { t.order = 5; }, -1010},
      {1, "other ends", [](DfTask& t) { t.bcType = 12; }, -1014},
      {1, "no midpoint", [](DfTask& t) { t.bc = nullptr; }, -1015},
      {1, "other kind", [](DfTask& t) { t.kind = 2; }, -1011},
      {2, "two breakpoints", [](DfTask& t) { t.nx = 2; }, -1004},
      {2, "no curvatures", [](DfTask& t) { t.ic = nullptr; }, -1013},
      {2, "slopes", [](DfTask& t) { t.icType = 1; }, -1012},
      {2, "no ends", [](DfTask& t) { t.bcType = 0; }, -1014},
      {2, "no end values", [](DfTask& t) { t.bc = nullptr; }, -1015},
      {2, "no periodic value", noPeriodicValue, -1015},
      {3, "two breakpoints", [](DfTask& t) { t.nx = 2; }, -1004},
      {3, "kind of order 3", [](DfTask& t) { t.kind = 1; }, -1011},
      {3, "no kind", [](DfTask& t) { t.kind = 6; }, -1011},
      {3, "no ends", [](DfTask& t) { t.bcType = 0; }, -1014},
      {3, "half an end", [](DfTask& t) { t.bcType = 4; }, -1014},
      {3, "midpoint value", [](DfTask& t) { t.bcType = 128; }, -1014},
      {4, "two breakpoints", [](DfTask& t) { t.nx = 2; }, -1004},
      {4, "no slopes", [](DfTask& t) { t.ic = nullptr; }, -1013},
      {4, "curvatures", [](DfTask& t) { t.icType = 2; }, -1012},
      {4, "no ends", [](DfTask& t) { t.bcType = 0; }, -1014},
      {4, "no periodic slope", noPeriodicValue, -1015},
      {5, "three breakpoints", [](DfTask& t) { t.nx = 3; }, -1004},
      {5, "unknown ends", [](DfTask& t) { t.bcType = 128; }, -1014},
      {5, "no end values", [](DfTask& t) { t.bc = nullptr; }, -1015},
      {6, "four breakpoints", [](DfTask& t) { t.nx = 4; }, -1004},
      {6, "negative ends", [](DfTask& t) { t.bcType = -1; }, -1014},
      {6, "half an end", [](DfTask& t) { t.bcType = 4; }, -1014},
      {7, "four breakpoints", [](DfTask& t) { t.nx = 4; }, -1004},
      {8, "two breakpoints", [](DfTask& t) { t.nx = 2; }, -1004},
      {9, "kind that nobody knows", [](DfTask& t) { t.kind = 0x104; }, -1011},
      {9, "kind of another order", [](DfTask& t) { t.order = 3; }, -1011},
      {10, "no knots", [](DfTask& t) { t.icType = 4; }, -1012},
      {10, "free ends", [](DfTask& t) { t.bcType = 2; }, -1014},
      {10, "not-a-knot", [](DfTask& t) { t.bcType = 1; }, -1014},
      {10, "periodic", [](DfTask& t) { t.bcType = 64; }, -1014},
      {10, "no end values", [](DfTask& t) { t.bc = nullptr; }, -1015},
      {10, "two breakpoints", [](DfTask& t) { t.nx = 2; }, -1004},
  };
  for (const auto& c : cases) {
    const Family& family = problem::families()[c.family];
    const Problem p(family, family.order == 4 ? 48 : family.ends.front(), false, 12, 2);
    Task task = p.task();
    const std::vector<double> before = task.coeff();
    DfTask& record = *task.get();
    const DfTask saved = record;
    c.change(record);
    EXPECT_EQ(dfTaskConstruct(&record, 0, 0), c.status) << family.name << ", " << c.name;
    record = saved;
    record.yhint = 48;
    record.prebuilt = 1;
    EXPECT_EQ(dfTaskConstruct(&record, 0, 0), DF_ERROR_VALUES_HINT) << family.name;
    EXPECT_TRUE(support::same(task.coeff(), before)) << family.name << ", " << c.name;
    // A method that is let pass: two kinds look at it themselves.
    record.yhint = saved.yhint;
    const bool testsMethod = family.order == 2 || family.kind == DF_KIND_NATURAL;
    EXPECT_EQ(dfTaskConstruct(&record, 0, 1), testsMethod ? DF_ERROR_METHOD : DF_STATUS_OK) << family.name;
    record = saved;
  }
}

// Ends of periodic data that differ, or are no numbers, in the second of three functions.
TEST(Families, PeriodicDataMustClose) {
  for (const Family& family : problem::families()) {
    if (family.order == 3) continue;
    const bool completes = family.kind == DF_KIND_NATURAL;  // the data as given
    // Given second derivatives leave earlier functions complete; the others touch nothing.
    const bool partly = family.kind == DF_KIND_DEFAULT && family.order == 4;
    for (const double last : {7.0, nan}) {
      Problem p(family, DF_END_PERIODIC, false, 700, 3);
      const std::vector<double> whole = constructed(p);
      const std::size_t row = whole.size() / 3;
      p.y[2 * size(p.nx) - 1] = last;
      for (const std::int32_t level : support::runnableLevels()) {
        Task task = p.task();
        const bool refuses = family.order == 4 || support::levelRow(level).tables;
        ASSERT_EQ(constructAt(level, *task.get(), rvn::workShareTables[3]),
                  refuses ? DF_ERROR_PERIODIC_VALUES : DF_STATUS_OK)
            << family.name << " " << level;
        for (std::size_t i = 0; i < whole.size() && refuses; ++i) {
          const std::size_t f = i / row;
          const double value = p.y[f * size(p.nx) + i % row / 4];
          if (completes ? i % 4 != 0 : partly && f == 1) continue;
          ASSERT_EQ(task.coeff()[i], completes          ? value
                                     : partly && f == 0 ? whole[i]
                                                        : -77.0)
              << family.name << " " << i;
        }
      }
    }
  }
}

// A natural spline with not-a-knot ends over three breakpoints, one over a partition that stands still, two whose only
// zero pivot is followed by an infinite one, from the top and from the bottom, and one that stands still far behind.
TEST(Families, RefuseSingularSystems) {
  std::vector<double> longStandstill;
  for (std::int32_t i = 0; i < 5000; ++i)
    longStandstill.push_back(i == 4000 || i == 4002 ? 4001 : i);
  const struct {
    std::int32_t bcType;
    std::vector<double> x;
  } cases[] = {{DF_END_NOT_A_KNOT, {0, 1, 2}},
               {DF_END_FREE, {1, 1, 1, 1}},
               {DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE, {0, 1, 0, 1, 2, 3, 4, 5, 6}},
               {DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE, {0, 1, 2, 3, 4, 5, 6, 5, 6}},
               {DF_END_FREE, longStandstill}};
  for (const auto& c : cases) {
    Problem p(problem::families()[3], c.bcType, false, static_cast<std::int32_t>(c.x.size()), 1);
    p.x = c.x;
    Task task = p.task();
    EXPECT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_ERROR_SOLVER) << p.name();
    EXPECT_EQ(task.coeff(), std::vector<double>(4 * size(p.nx - 1), -77.0)) << p.name();
  }
}

// Sums of weights on both sides of 1e-10, and far from it.
TEST(Families, AkimaTakesThePlainMeanOfChordsThatHardlyBend) {
  for (const double scale : {1e-13, 1e-12, 3e-11, 1e-10, 1e-8}) {
    Problem p(problem::families()[6], DF_END_FREE, false, 40, 1);
    for (double& y : p.y)
      y *= scale;
    const std::vector<double> coeff = constructed(p);
    const support::Row slopes = problem::localSlopes(p, p.y.data());
    for (std::size_t i = 1; i < 39; ++i)
      ASSERT_NEAR(coeff[4 * i + 1], static_cast<double>(slopes[i]), 1e-12 * scale) << scale << " " << i;
  }
}

// The derivative of a cell is a parabola: it is least at an end or at its vertex.
TEST(Families, MonotoneKindsKeepMonotoneDataMonotone) {
  std::mt19937_64 random(20261123);
  std::uniform_real_distribution<double> unit(0.0, 1.0);
  for (const std::size_t which : {8U, 9U})
    for (const bool uniform : {false, true})
      for (const double sign : {1.0, -1.0})
        for (int round = 0; round < 40; ++round) {
          Problem p(problem::families()[which], DF_END_NONE, uniform, 3 + 2 * round, 1);
          double level = 0.0;
          for (std::size_t i = 0; i < p.x.size(); ++i) {
            if (!uniform && i > 0) p.x[i] = p.x[i - 1] + std::pow(10.0, 4.0 * unit(random) - 2.0);
            p.y[i] = sign * level;
            // Flat stretches, gentle slopes and jumps.
            level += unit(random) < 0.3 ? 0.0 : std::pow(10.0, 6.0 * unit(random) - 3.0);
          }
          const std::vector<double> c = constructed(p);
          for (std::size_t i = 0; i + 1 < p.x.size(); ++i) {
            const double h = p.x[i + 1] - p.x[i];
            const double* const cell = c.data() + 4 * i;
            const double vertex = cell[3] == 0.0 ? 0.0 : std::clamp(-cell[2] / (3.0 * cell[3]), 0.0, h);
            const double chord = (p.y[i + 1] - p.y[i]) / h;
            for (const double t : {0.0, vertex, h})
              ASSERT_GE(sign * (cell[1] + (2.0 * cell[2] + 3.0 * cell[3] * t) * t), -1e-13 * std::fabs(chord))
                  << p.name() << ", cell " << i;
          }
        }
}

TEST(Families, FewerThanOneFunctionCountsAsOne) {
  const Problem p(problem::families()[3], DF_END_FREE, false, 8, 1);
  Task task(8, p.x, 0, -3, p.y, DF_VALUES_BY_BREAKPOINT, p.settings(), DF_COEFF_FIRST_ROW);
  EXPECT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
  EXPECT_EQ(task.coeff(), constructed(p));
}

// One block at most for a whole construction, and none for broken lines, local cubics and one short system; a block
// that cannot be had leaves the coefficients alone.
TEST(Families, TakeOneBlockAndGiveItBack) {
  const auto check = [](const Problem& p) {
    if (p.nx > 300 && p.family->kind != DF_KIND_DEFAULT) return;
    Task task = p.task();
    ASSERT_EQ(task.status, DF_STATUS_OK);
    const bool one = (p.family->order == 3 && (p.family->kind == DF_KIND_SUBBOTIN || p.nx == 4095)) ||
                     (p.family->order == 4 && p.family->kind == DF_KIND_NATURAL &&
                      (p.nx > 256 || p.ny > 1 || p.bcType == DF_END_PERIODIC));
    const bool none = !one;
    const std::vector<double> untouched = task.coeff();
    {
      const support::FailingHeap heap(1);
      EXPECT_EQ(dfTaskConstruct(task.get(), 0, 0), none ? DF_STATUS_OK : DF_ERROR_MEMORY) << p.name();
      EXPECT_EQ(heap.live(), 0) << p.name();
    }
    EXPECT_TRUE(none || support::same(task.coeff(), untouched)) << p.name();
    const support::FailingHeap heap(0);
    EXPECT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
    EXPECT_EQ(heap.calls(), none ? 0 : 1) << p.name();
    EXPECT_EQ(heap.live(), 0) << p.name();
  };
  for (const std::int32_t ny : {1, 20})
    problem::forEach(ny, {50, 300, 4094, 4095}, check);
}

// Nothing in the arrays makes a construction fault.
TEST(Families, TakeAnyNumbers) {
  constexpr double infinity = std::numeric_limits<double>::infinity();
  problem::forEach(2, {5, 70}, [](const Problem& p) {
    for (const double value : {0.0, nan, infinity, -infinity, 1e308, 5e-324}) {
      Problem odd = p;
      const bool knots = p.family->icType == DF_IC_KNOTS;
      for (std::vector<double>* array : {&odd.x, &odd.y, &odd.bc, &odd.ic}) {
        for (std::size_t i = 1; i < array->size(); i += 2)
          (*array)[i] = value;
        Task task = odd.task();
        const std::int32_t status = dfTaskConstruct(task.get(), 0, 0);
        ASSERT_TRUE(status == 0 || status == DF_ERROR_PERIODIC_VALUES || status == DF_ERROR_SOLVER ||
                    (knots && status == DF_ERROR_NULL_INTERNAL))
            << p.name() << " " << status;
      }
    }
  });
}

// ---- the forms of the knots of Subbotin's spline ----

constexpr std::int32_t nx = 6;

Problem subbotin(bool uniform) {
  return {problem::families()[10], DF_END_LEFT_SLOPE + DF_END_RIGHT_CURVATURE, uniform, nx, 2};
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

// ---- splines of other libraries ----

std::vector<double> numbers(std::istream& line) {
  std::size_t count = 0;
  line >> count;
  std::vector<double> values(count);
  for (double& value : values)
    line >> value;
  return values;
}

TEST(KnownAnswers, Splines) {
  std::ifstream file(KNOWN_ANSWERS "/splines.kat");
  ASSERT_TRUE(file);
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> bc;
  std::vector<double> ic;
  std::vector<double> limits;
  std::vector<double> value;
  std::vector<double> integrals;
  std::vector<double> solutions;
  std::string name;
  support::Settings settings;
  int cases = 0;
  for (std::string text; std::getline(file, text);) {
    std::istringstream line(text);
    std::string title;
    line >> title;
    if (title == "x") x = numbers(line);
    if (title == "y") y = numbers(line);
    if (title == "bc") bc = numbers(line);
    if (title == "ic") ic = numbers(line);
    if (title == "limits") limits = numbers(line);
    if (title == "value") value = numbers(line);
    if (title == "integrals") integrals = numbers(line);
    if (title == "solutions") solutions = numbers(line);
    if (title == "case")
      line >> name >> settings.order >> settings.kind >> settings.bcType >> settings.icType;
    if (title != "coeff") continue;
    const std::vector<double> expected = numbers(line);
    settings.bc = bc.data();
    settings.ic = ic.empty() ? nullptr : ic.data();
    support::Task task(static_cast<std::int32_t>(x.size()), x, 0, 1, y, 0, settings);
    ASSERT_EQ(task.status, DF_STATUS_OK) << name;
    ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK) << name;
    // The generator's own linear algebra loses some digits of the quadratic splines.
    const std::vector<double> tolerance = within(expected, settings.order == 3 ? 1e-10 : 1e-12);
    EXPECT_TRUE(support::close(task.coeff(), expected, tolerance)) << name;

    // All knots construct; those between the breakpoints serve what comes after.
    if (settings.kind == DF_KIND_SUBBOTIN) {
      ASSERT_EQ(dfTaskEditSpline(task.get(), settings.order, settings.kind, settings.bcType, settings.bc,
                                 settings.icType, settings.ic + 1, nullptr, 0),
                DF_STATUS_OK);
    }
    std::vector<double> got(integrals.size());
    ASSERT_EQ(dfTaskIntegrate(task.get(), static_cast<std::int32_t>(got.size()), limits.data(),
                              limits.data() + 1, got.data(), 0),
              DF_STATUS_OK)
        << name;
    EXPECT_TRUE(support::close(got, integrals, std::vector<double>(got.size(), 1e-10))) << name;
    std::int64_t count = 0;
    got.assign(10, 0.0);
    ASSERT_EQ(dfTaskSolve(task.get(), 0, value[0], x.front(), x.back(), 10, got.data(), &count),
              DF_STATUS_OK);
    got.resize(static_cast<std::size_t>(count));
    EXPECT_TRUE(support::close(got, solutions, std::vector<double>(solutions.size(), 1e-9))) << name;
    ++cases;
  }
  EXPECT_EQ(cases, 21);
}

}  // namespace
