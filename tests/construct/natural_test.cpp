#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "runtime/level_table.h"
#include "runtime/memory.h"
#include "support/dense_spline.h"
#include "support/failing_heap.h"
#include "support/levels.h"
#include "support/task.h"
#include "task/df_task.h"

#include <raven/data_fitting.h>

namespace {

using support::DenseSpline;
using support::Settings;
using support::Task;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double ends[2] = {0.75, -1.25};  // different at both ends

struct Ends {
  const char* name;
  std::int32_t bcType;
};
constexpr Ends endTable[] = {
    {"not-a-knot", DF_END_NOT_A_KNOT},
    {"free", DF_END_FREE},
    {"slope, slope", DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE},
    {"slope, curvature", DF_END_LEFT_SLOPE + DF_END_RIGHT_CURVATURE},
    {"curvature, slope", DF_END_LEFT_CURVATURE + DF_END_RIGHT_SLOPE},
    {"curvature, curvature", DF_END_LEFT_CURVATURE + DF_END_RIGHT_CURVATURE},
    {"periodic", DF_END_PERIODIC},
};

Settings natural(std::int32_t bcType) {
  return {DF_ORDER_CUBIC, DF_KIND_NATURAL, bcType, ends, DF_IC_NONE, nullptr};
}

std::size_t size(std::int32_t n) {
  return static_cast<std::size_t>(n);
}

// Breakpoints: equidistant dyadic ones (exact in both forms of a partition), or irregular ones.
std::vector<double> breakpoints(std::int32_t nx, bool irregular) {
  std::vector<double> x(size(nx));
  for (std::int32_t i = 0; i < nx; ++i)
    x[size(i)] = -1.0 + 0.25 * i + (irregular ? 0.1 * std::sin(3.0 * i * i) : 0.0);
  return x;
}

// Values with the same first and last number, one function after another.
std::vector<double> values(std::int32_t nx, std::int32_t ny) {
  std::vector<double> y;
  for (std::int32_t f = 0; f < ny; ++f) {
    for (std::int32_t i = 0; i < nx; ++i)
      y.push_back(std::cos(0.9 * i + f) + 0.1 * i);
    y.back() = y[y.size() - size(nx)];
  }
  return y;
}

std::vector<double> byBreakpoint(const std::vector<double>& y, std::int32_t nx, std::int32_t ny) {
  std::vector<double> columns(y.size());
  for (std::int32_t f = 0; f < ny; ++f)
    for (std::int32_t i = 0; i < nx; ++i)
      columns[size(i * ny + f)] = y[size(f * nx + i)];
  return columns;
}

std::vector<double> constructed(std::int32_t nx, const std::vector<double>& x, bool uniform, std::int32_t ny,
                                const std::vector<double>& y, std::int32_t yhint, std::int32_t bcType,
                                std::int32_t expected = DF_STATUS_OK) {
  const std::vector<double> partition = uniform ? std::vector<double>{x.front(), x.back()} : x;
  Task task(nx, partition, uniform ? DF_XHINT_UNIFORM : DF_XHINT_NONE, ny, y, yhint, natural(bcType));
  EXPECT_EQ(task.status, DF_STATUS_OK);
  EXPECT_EQ(dfTaskConstruct(task.get(), 0, 0), expected);
  return task.coeff();
}

// The spline from its defining conditions. A uniform partition's not-a-knot row is a condition of its own:
// 2 m_0 + m_1 = (y_2 - y_0) / (2 h), and its mirror image.
support::Row denseSpline(const std::vector<double>& x, const std::vector<double>& y, bool uniform,
                         std::int32_t bcType) {
  DenseSpline dense(x);
  dense.interpolate(y);
  const std::size_t n = x.size();
  const std::size_t cell = n - 2;
  switch (bcType) {
    case DF_END_NOT_A_KNOT:
      if (uniform) {
        dense.require(dense.term(0, 0, 1, 2.0L), dense.term(0, 1, 1), 0.5L * (y[2] - y[0]) / 0.25L);
        dense.require(dense.term(cell, n - 1, 1, 2.0L), dense.term(cell, n - 2, 1),
                      0.5L * (y[n - 1] - y[n - 3]) / 0.25L);
      } else {
        dense.require(dense.term(0, 1, 3), dense.term(1, 1, 3, -1.0L), 0.0L);
        dense.require(dense.term(cell - 1, n - 2, 3), dense.term(cell, n - 2, 3, -1.0L), 0.0L);
      }
      break;
    case DF_END_FREE:
      dense.require(dense.term(0, 0, 2), 0.0L);
      dense.require(dense.term(cell, n - 1, 2), 0.0L);
      break;
    case DF_END_PERIODIC:
      for (const int order : {1, 2})
        dense.require(dense.term(0, 0, order), dense.term(cell, n - 1, order, -1.0L), 0.0L);
      break;
    default:
      dense.require(dense.term(0, 0, (bcType & DF_END_LEFT_SLOPE) != 0 ? 1 : 2), ends[0]);
      dense.require(dense.term(cell, n - 1, (bcType & DF_END_RIGHT_SLOPE) != 0 ? 1 : 2), ends[1]);
      break;
  }
  return dense.solve();
}

TEST(Natural, SolvesItsDefiningConditions) {
  for (const Ends& end : endTable) {
    for (const bool uniform : {false, true}) {
      for (const std::int32_t nx : {3, 4, 5, 6, 9, 10, 17, 24}) {
        // Three breakpoints leave the general not-a-knot spline undetermined.
        if (nx == 3 && end.bcType == DF_END_NOT_A_KNOT && !uniform) continue;
        const std::vector<double> x = breakpoints(nx, !uniform);
        const std::vector<double> y = values(nx, 1);
        const std::vector<double> coeff = constructed(nx, x, uniform, 1, y, DF_VALUES_DEFAULT, end.bcType);
        const support::Row expected = denseSpline(x, y, uniform, end.bcType);
        for (std::size_t i = 0; i < expected.size(); ++i)
          ASSERT_NEAR(coeff[i], static_cast<double>(expected[i]), 1e-10)
              << end.name << (uniform ? ", uniform" : "") << ", nx " << nx << ", coefficient " << i;
      }
    }
  }
}

// Far beyond the reach of the dense system: values, continuity and the ends, for both sides of the solver's
// blocks of columns, and every function of a task as if it stood alone.
TEST(Natural, LargeTasksKeepTheirProperties) {
  for (const Ends& end : endTable) {
    for (const std::int32_t ny : {1, 3, 8, 17}) {
      const std::int32_t nx = 1201;
      const std::vector<double> x = breakpoints(nx, true);
      const std::vector<double> y = values(nx, ny);
      const std::vector<double> coeff = constructed(nx, x, false, ny, y, DF_VALUES_DEFAULT, end.bcType);
      for (std::int32_t f = 0; f < ny; ++f) {
        const double* c = coeff.data() + size(f) * 4 * size(nx - 1);
        for (std::int32_t i = 0; i + 1 < nx; ++i) {
          const double* cell = c + 4 * size(i);
          const double h = x[size(i) + 1] - x[size(i)];
          ASSERT_EQ(cell[0], y[size(f * nx + i)]) << end.name;
          ASSERT_NEAR(((cell[3] * h + cell[2]) * h + cell[1]) * h + cell[0], y[size(f * nx + i + 1)], 1e-12);
          if (i + 2 == nx) break;
          ASSERT_NEAR((3.0 * cell[3] * h + 2.0 * cell[2]) * h + cell[1], cell[5], 1e-10)
              << end.name << " " << i;
          ASSERT_NEAR(6.0 * cell[3] * h + 2.0 * cell[2], 2.0 * cell[6], 1e-8) << end.name << " " << i;
        }
      }
    }
  }
}

TEST(Natural, LayoutsGiveTheSameBits) {
  for (const Ends& end : endTable) {
    for (const bool uniform : {false, true}) {
      for (const std::int32_t ny : {1, 2, 9}) {
        const std::int32_t nx = 22;
        const std::vector<double> x = breakpoints(nx, !uniform);
        const std::vector<double> y = values(nx, ny);
        const auto rows = constructed(nx, x, uniform, ny, y, DF_VALUES_BY_FUNCTION, end.bcType);
        const auto columns =
            constructed(nx, x, uniform, ny, byBreakpoint(y, nx, ny), DF_VALUES_BY_BREAKPOINT, end.bcType);
        ASSERT_EQ(rows, columns) << end.name << " " << uniform << " " << ny;
      }
    }
  }
}

TEST(Natural, LevelsAndWorkSharingAgree) {
  const auto eightWorkers = rvn::WorkShareTable{
      rvn::workShareTables[0].parallelFor, rvn::workShareTables[0].parallelForAlt,
      rvn::workShareTables[0].runOnce, rvn::workShareTables[0].runDirect, [] { return std::int64_t{8}; }};
  const std::int32_t nx = 640;
  const std::int32_t ny = 9;
  for (const Ends& end : endTable) {
    for (const bool uniform : {false, true}) {
      const std::vector<double> x = breakpoints(nx, !uniform);
      const std::vector<double> partition = uniform ? std::vector<double>{x.front(), x.back()} : x;
      Task task(nx, partition, uniform ? DF_XHINT_UNIFORM : 0, ny, values(nx, ny), 0, natural(end.bcType));
      ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
      const std::vector<double> expected = task.coeff();
      for (const std::int32_t level : support::runnableLevels()) {
        for (const rvn::WorkShareTable* share : {&rvn::workShareTables[3], &eightWorkers}) {
          task.coeff().assign(expected.size(), -77.0);
          const rvn::FamilyDispatcher construct = *rvn::levelTables[level]->construct->natural;
          ASSERT_EQ(construct(*task.get(), 0, 0, *share), DF_STATUS_OK);
          for (std::size_t i = 0; i < expected.size(); ++i)
            ASSERT_NEAR(task.coeff()[i], expected[i], 1e-12 * (1.0 + std::fabs(expected[i])))
                << end.name << " level " << level << " " << i;
        }
        EXPECT_EQ((*rvn::levelTables[level]->construct->natural)(*task.get(), 0, 1, eightWorkers),
                  DF_ERROR_METHOD);
      }
    }
  }
}

TEST(Natural, FailuresAndSpecialValues) {
  // Ends that differ, or are no numbers: complete coefficients of the data as given, and the status.
  const std::vector<double> x = breakpoints(8, true);
  std::vector<double> y = values(8, 2);
  y[15] += 0.5;
  const auto periodic = constructed(8, x, false, 2, y, 0, DF_END_PERIODIC, DF_ERROR_PERIODIC_VALUES);
  for (std::size_t f = 0; f < 2; ++f)
    for (std::size_t i = 0; i < 7; ++i)
      EXPECT_EQ(periodic[28 * f + 4 * i], y[8 * f + i]);
  y[0] = y[7] = nan;
  constructed(8, x, false, 2, y, 0, DF_END_PERIODIC, DF_ERROR_PERIODIC_VALUES);

  // A NaN in one function leaves the others alone, in the solver's block of eight too.
  const std::vector<double> clean = values(8, 9);
  std::vector<double> spoilt = clean;
  spoilt[3 * 8 + 4] = nan;
  const auto expected = constructed(8, x, false, 9, clean, 0, DF_END_FREE);
  const auto got = constructed(8, x, false, 9, spoilt, 0, DF_END_FREE);
  for (std::size_t i = 0; i < got.size(); ++i)
    ASSERT_TRUE(i / 28 == 3 || got[i] == expected[i]) << i;
  EXPECT_TRUE(std::isnan(got[3 * 28 + 1]));

  // Singular matrices: not-a-knot over three breakpoints, and a partition that stands still.
  const std::vector<double> pattern(8, -77.0);
  EXPECT_EQ(constructed(3, {0.0, 1.0, 2.0}, false, 1, {1.0, 2.0, 4.0}, 0, DF_END_NOT_A_KNOT, DF_ERROR_SOLVER),
            pattern);
  constructed(4, {1.0, 1.0, 1.0, 1.0}, false, 1, {1.0, 2.0, 4.0, 1.0}, 0, DF_END_FREE, DF_ERROR_SOLVER);

  // Fewer than one function counts as one.
  DfTask* task = nullptr;
  const std::vector<double> one = values(8, 1);
  std::vector<double> coeff(28);
  ASSERT_EQ(dfTaskCreate(&task, 8, x.data(), 0, -3, one.data(), DF_VALUES_BY_BREAKPOINT), DF_STATUS_OK);
  ASSERT_EQ(dfTaskEditSpline(task, 4, 2, 2, nullptr, 0, nullptr, coeff.data(), DF_COEFF_FIRST_ROW),
            DF_STATUS_OK);
  EXPECT_EQ(dfTaskConstruct(task, 0, 0), DF_STATUS_OK);
  EXPECT_EQ(coeff, constructed(8, x, false, 1, one, 0, DF_END_FREE));
  dfTaskDestroy(&task);
}

TEST(Natural, TakesOneBlockAndGivesItBack) {
  const std::int32_t nx = 50;
  for (const Ends& end : endTable) {
    Task task(nx, breakpoints(nx, true), 0, 20, values(nx, 20), 0, natural(end.bcType));
    ASSERT_EQ(task.status, DF_STATUS_OK);
    const support::FailingHeap heap(0);
    EXPECT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
    EXPECT_LE(heap.calls(), 1) << end.name;
    EXPECT_EQ(heap.live(), 0) << end.name;
  }
}

}  // namespace
