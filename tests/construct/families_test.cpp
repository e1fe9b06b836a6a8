#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "construct/problem.h"
#include "runtime/level_table.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/levels.h"
#include "task/df_task.h"

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

rvn::FamilyDispatcher dispatcher(const Family& family, std::int32_t level) {
  const rvn::ConstructKernels& kernels = *rvn::levelTables[level]->construct;
  if (family.order == 2) return *kernels.linear;
  if (family.order == 3) return *kernels.quadratic;
  const rvn::FamilyDispatcher* cubic[] = {kernels.secondDerivatives, nullptr,        kernels.natural,
                                          kernels.hermite,           kernels.bessel, kernels.akima};
  return *cubic[family.kind];
}

TEST(Families, SolveTheirDefiningConditions) {
  problem::forEach(2, {2, 3, 4, 5, 6, 7, 9, 10, 17, 24}, [](const Problem& p) {
    // Three breakpoints leave the general natural not-a-knot spline undetermined.
    if (p.family->kind == DF_KIND_NATURAL && p.bcType == DF_END_NOT_A_KNOT && !p.uniform && p.nx == 3) return;
    const std::vector<double> coeff = constructed(p);
    std::vector<double> expected;
    for (std::int32_t f = 0; f < p.ny; ++f)
      for (const long double value : problem::fromConditions(p, f))
        expected.push_back(static_cast<double>(value));
    ASSERT_TRUE(support::close(coeff, expected, within(expected, 1e-10))) << p.name();
    ASSERT_TRUE(support::same(coeff, constructed(p, DF_VALUES_BY_BREAKPOINT))) << p.name();
  });
}

// Far beyond the reach of the dense system, and beyond every block of cells and functions.
TEST(Families, LargeTasksKeepTheirProperties) {
  problem::forEach(5, {4200}, [](const Problem& p) {
    if (p.family->order == 3 && p.family->kind == DF_KIND_DEFAULT && !p.uniform)
      return;  // the recursion of midpoints grows with ratios of steps
    const std::vector<double> coeff = constructed(p);
    const std::size_t order = size(p.family->order);
    const bool knots = p.family->kind == DF_KIND_SUBBOTIN && order == 3;
    const std::size_t cells = p.x.size() - (knots ? 0 : 1);
    const bool local = order == 4 && p.family->kind >= DF_KIND_HERMITE;
    for (std::size_t f = 0; f < size(p.ny); ++f) {
      const double* y = p.y.data() + f * p.x.size();
      const auto at = [&](std::size_t cell, double x, int derivative) {
        const double* c = coeff.data() + (f * cells + cell) * order;
        const double t = x - p.x[cell];
        double value = 0.0;
        for (std::size_t m = order; m-- > size(derivative);) {
          double factor = c[m];
          for (int j = 0; j < derivative; ++j)
            factor *= static_cast<double>(m) - j;
          value = value * t + factor;
        }
        return value;
      };
      const support::Row slopes = local ? problem::localSlopes(p, y) : support::Row();
      for (std::size_t i = 0; i < cells; ++i) {
        ASSERT_EQ(at(i, p.x[i], 0), y[i]) << p.name();
        if (i + 1 == p.x.size()) break;
        const double joint = knots ? p.ic[i + 1] : p.x[i + 1];
        const auto joins = [&](int derivative, double other, double tolerance) {
          ASSERT_NEAR(at(i, joint, derivative), other, tolerance) << p.name() << ", cell " << i;
        };
        if (!knots) joins(0, y[i + 1], 1e-11);
        if (i + 1 == cells) break;
        if (knots) joins(0, at(i + 1, joint, 0), 1e-11);
        if (knots || p.family->slopesJoin) joins(1, at(i + 1, joint, 1), 1e-9);
        if (p.family->curvaturesJoin) joins(2, at(i + 1, joint, 2), 1e-7);
        if (local) joins(1, static_cast<double>(slopes[i + 1]), 1e-9);
        if (testing::Test::HasFatalFailure()) return;
      }
    }
  });
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
        ASSERT_EQ(dispatcher(*p.family, level)(*task.get(), 0, 0, *share), DF_STATUS_OK) << p.name();
        if (solves) {
          ASSERT_TRUE(support::close(task.coeff(), expected, within(expected, 1e-12))) << p.name() << level;
        } else {
          ASSERT_TRUE(support::same(task.coeff(), expected)) << p.name() << " level " << level;
        }
      }
      const bool testsMethod = p.family->order == 2 || p.family->kind == DF_KIND_NATURAL;
      ASSERT_EQ(dispatcher(*p.family, level)(*task.get(), 0, 1, eightWorkers),
                testsMethod ? DF_ERROR_METHOD : DF_STATUS_OK);
    }
  });
}

TEST(Families, ReproduceTheirPolynomials) {
  // Degree that a family reproduces with the conditions of the polynomial itself, general partition.
  const struct {
    std::size_t family;
    std::int32_t bcType;
    int degree;
  } cases[] = {{0, 0, 1},  {1, 128, 2}, {2, 1, 3},  {2, 48, 3}, {2, 12, 3}, {3, 1, 3},  {3, 12, 3},
               {3, 48, 3}, {4, 12, 3},  {4, 48, 3}, {4, 1, 3},  {5, 12, 2}, {5, 48, 2}, {5, 1, 2},
               {6, 12, 1}, {6, 0, 1},   {7, 12, 2}, {7, 48, 2}, {7, 36, 2}, {7, 24, 2}};
  for (const auto& c : cases) {
    Problem p(problem::families()[c.family], c.bcType, false, 30, 1);
    const double a[4] = {0.5, -1.0, c.degree > 1 ? 0.75 : 0.0, c.degree > 2 ? -0.25 : 0.0};
    const auto polynomial = [&](double x) { return ((a[3] * x + a[2]) * x + a[1]) * x + a[0]; };
    const auto slope = [&](double x) { return (3.0 * a[3] * x + 2.0 * a[2]) * x + a[1]; };
    const auto curvature = [&](double x) { return 6.0 * a[3] * x + 2.0 * a[2]; };
    for (std::size_t i = 0; i < p.x.size(); ++i) {
      p.y[i] = polynomial(p.x[i]);
      const bool inner = i > 0 && i + 1 < p.x.size();
      if (inner && p.family->icType == DF_IC_SLOPES) p.ic[i - 1] = slope(p.x[i]);
      if (inner && p.family->icType == DF_IC_CURVATURES) p.ic[i - 1] = curvature(p.x[i]);
    }
    p.bc[0] = (c.bcType & 4) != 0 ? slope(p.x[0]) : curvature(p.x[0]);
    p.bc[1] = (c.bcType & 8) != 0 ? slope(p.x.back()) : curvature(p.x.back());
    if (c.bcType == DF_END_QUADRATIC_VALUE) p.bc[0] = polynomial(0.5 * (p.x[0] + p.x[1]));
    const std::vector<double> coeff = constructed(p);
    const std::size_t order = size(p.family->order);
    for (std::size_t i = 0; i + 1 < p.x.size(); ++i) {
      const double want[4] = {p.y[i], slope(p.x[i]), 0.5 * curvature(p.x[i]), a[3]};
      for (std::size_t m = 0; m < order; ++m)
        ASSERT_NEAR(coeff[order * i + m], want[m], c.family == 1 ? 1e-6 : 1e-9)
            << p.name() << " cell " << i << " power " << m;
    }
  }
}

TEST(Families, ANotANumberStaysWhereItsCellsAre) {
  problem::forEach(3, {40}, [](const Problem& p) {
    if (p.bcType == DF_END_PERIODIC || p.bcType != p.family->ends.back()) return;
    const std::vector<double> clean = constructed(p);
    const std::size_t row = clean.size() / 3;
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
  const struct {
    std::size_t family;
    const char* name;
    void (*change)(DfTask& task);
    std::int32_t status;
  } cases[] = {
      {0, "one breakpoint", [](DfTask& t) { t.nx = 1; }, -1004},
      {1, "other ends", [](DfTask& t) { t.bcType = 12; }, -1014},
      {1, "no midpoint", [](DfTask& t) { t.bc = nullptr; }, -1015},
      {1, "other kind", [](DfTask& t) { t.kind = 2; }, -1011},
      {2, "two breakpoints", [](DfTask& t) { t.nx = 2; }, -1004},
      {2, "no curvatures", [](DfTask& t) { t.ic = nullptr; }, -1013},
      {2, "slopes", [](DfTask& t) { t.icType = 1; }, -1012},
      {2, "no ends", [](DfTask& t) { t.bcType = 0; }, -1014},
      {2, "no end values", [](DfTask& t) { t.bc = nullptr; }, -1015},
      {2, "no periodic value",
       [](DfTask& t) {
         t.bcType = 64;
         t.bc = nullptr;
       },
       -1015},
      {4, "two breakpoints", [](DfTask& t) { t.nx = 2; }, -1004},
      {4, "no slopes", [](DfTask& t) { t.ic = nullptr; }, -1013},
      {4, "curvatures", [](DfTask& t) { t.icType = 2; }, -1012},
      {4, "no ends", [](DfTask& t) { t.bcType = 0; }, -1014},
      {4, "no periodic slope",
       [](DfTask& t) {
         t.bcType = 64;
         t.bc = nullptr;
       },
       -1015},
      {5, "three breakpoints", [](DfTask& t) { t.nx = 3; }, -1004},
      {5, "unknown ends", [](DfTask& t) { t.bcType = 128; }, -1014},
      {5, "no end values", [](DfTask& t) { t.bc = nullptr; }, -1015},
      {6, "four breakpoints", [](DfTask& t) { t.nx = 4; }, -1004},
      {6, "negative ends", [](DfTask& t) { t.bcType = -1; }, -1014},
      {6, "half an end", [](DfTask& t) { t.bcType = 4; }, -1014},
      {7, "no knots", [](DfTask& t) { t.icType = 4; }, -1012},
      {7, "free ends", [](DfTask& t) { t.bcType = 2; }, -1014},
      {7, "not-a-knot", [](DfTask& t) { t.bcType = 1; }, -1014},
      {7, "periodic", [](DfTask& t) { t.bcType = 64; }, -1014},
      {7, "no end values", [](DfTask& t) { t.bc = nullptr; }, -1015},
      {7, "two breakpoints", [](DfTask& t) { t.nx = 2; }, -1004},
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
    record = saved;
    EXPECT_TRUE(support::same(task.coeff(), before)) << family.name << ", " << c.name;
  }
  // The dispatcher of order 3 has a status of its own for a kind, which the entry point's test precedes.
  const Problem p(problem::families()[1], 128, false, 12, 1);
  Task task = p.task();
  task.get()->kind = 2;
  EXPECT_EQ(dispatcher(problem::families()[1], 1)(*task.get(), 0, 0, rvn::workShareTables[3]),
            DF_ERROR_METHOD);
}

// Ends of periodic data that differ, or are no numbers, in the second of three functions.
TEST(Families, PeriodicDataMustClose) {
  for (const Family& family : problem::families()) {
    if (family.order == 3 || family.kind == DF_KIND_NATURAL) continue;
    for (const double last : {7.0, nan}) {
      Problem p(family, DF_END_PERIODIC, false, 700, 3);
      const std::vector<double> whole = constructed(p);
      p.y[2 * size(p.nx) - 1] = last;
      for (const std::int32_t level : support::runnableLevels()) {
        Task task = p.task();
        const std::vector<double> untouched = task.coeff();
        const bool refuses = family.order == 4 || level >= 3;
        ASSERT_EQ(dispatcher(family, level)(*task.get(), 0, 0, rvn::workShareTables[3]),
                  refuses ? DF_ERROR_PERIODIC_VALUES : DF_STATUS_OK)
            << family.name << " " << level;
        if (!refuses) continue;
        // Given second derivatives leave earlier functions complete; the others touch nothing.
        const bool partly = family.kind == DF_KIND_DEFAULT && family.order == 4;
        for (std::size_t i = 0; i < whole.size(); ++i) {
          const std::size_t f = i / (whole.size() / 3);
          if (partly && f == 1) continue;
          ASSERT_EQ(task.coeff()[i], partly && f == 0 ? whole[i] : untouched[i]) << family.name << " " << i;
        }
      }
    }
  }
}

// One block at most for a whole construction, and none where the text of a family promises none; a block
// that cannot be had leaves the coefficients alone.
TEST(Families, TakeOneBlockAndGiveItBack) {
  problem::forEach(20, {50, 4094, 4095}, [](const Problem& p) {
    if (p.nx > 50 && p.family->kind != DF_KIND_DEFAULT) return;
    Task task = p.task();
    ASSERT_EQ(task.status, DF_STATUS_OK);
    const bool none = p.family->order == 2 || (p.family->order == 3 && p.family->kind == 0 && p.nx < 4095);
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
  });
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

}  // namespace
