#include <algorithm>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <utility>
#include <vector>

#include "support/failing_heap.h"
#include "support/task.h"
#include "task/df_task.h"

#include <ravenfit/data_fitting.h>

namespace {

using support::Task;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

std::vector<double> ascending(std::int32_t nx) {
  std::vector<double> x;
  for (std::int32_t i = 0; i < nx; ++i)
    x.push_back(i / (nx - 1.0) * 7.0 - 3.0);
  return x;
}

TEST(TaskCreate, ChecksArgumentsInOrderAndLeavesThePointerAlone) {
  const double x[2] = {0.0, 1.0};
  const double y[2] = {0.0, 1.0};
  struct Case {
    const char* name;
    std::int32_t nx;
    const double* x;
    std::int32_t xhint;
    std::int32_t ny;
    const double* y;
    std::int32_t yhint;
    std::int32_t status;
  };
  // Each case fails all later tests too, so that the order shows.
  const Case cases[] = {
      {"nx", 1, nullptr, 3, 1, nullptr, 1, DF_ERROR_BREAKPOINT_COUNT},
      {"x", 2, nullptr, 3, 1, nullptr, 1, DF_ERROR_NULL_BREAKPOINTS},
      {"xhint", 2, x, 3, 1, nullptr, 1, DF_ERROR_PARTITION_HINT},
      {"y missing", 2, x, 4, -1, nullptr, 1, DF_ERROR_FUNCTION_VALUES},
      {"y too much", 2, x, 2, 0, y, 1, DF_ERROR_FUNCTION_COUNT},
      {"yhint", 2, x, 1, 1, y, 1, DF_ERROR_VALUES_HINT},
  };
  for (const Case& c : cases) {
    DfTask record = {};
    DfTask* const marker = &record;
    DfTask* task = marker;
    EXPECT_EQ(dfTaskCreate(&task, c.nx, c.x, c.xhint, c.ny, c.y, c.yhint), c.status) << c.name;
    EXPECT_EQ(task, marker) << c.name;
  }
  EXPECT_EQ(dfTaskCreate(nullptr, 2, x, 0, 1, y, 0), DF_ERROR_NULL_TASK);
}

TEST(TaskCreate, LookupBracketsEveryBreakpointAndStaysInsideThePartition) {
  for (const std::int32_t nx : {2, 3, 17, 255, 256, 272, 5000, 16368, 16384, 40000}) {
    std::vector<double> x = ascending(nx);
    for (double& one : x)
      one = nx % 2 == 0 ? one : (one + 3.0) * (one + 3.0) / 7.0 - 3.0;  // crowded on the left
    const Task task(nx, x, DF_XHINT_NONE, 1, x, 0, {});
    const std::int64_t cells = std::min(1024, std::max(16, nx / 16));
    ASSERT_EQ(task.get()->lookupCells, cells);
    EXPECT_DOUBLE_EQ(task.get()->lookupInvWidth, static_cast<double>(cells) / 7.0);
    EXPECT_EQ(task.get()->lookup[cells - 1].hi, static_cast<std::uint32_t>(nx - 1));
    // Midway between neighbouring breakpoints the cell is known.
    for (std::int32_t i = 0; i + 1 < nx; ++i) {
      const double distance = 0.5 * (task.x()[i] + task.x()[i + 1]) - task.x()[0];
      const auto k = std::min(static_cast<std::int64_t>(distance * task.get()->lookupInvWidth), cells - 1);
      ASSERT_LE(task.get()->lookup[k].lo, static_cast<std::uint32_t>(i)) << nx;
      ASSERT_GE(task.get()->lookup[k].hi, static_cast<std::uint32_t>(i + 1)) << nx;
    }
  }
  constexpr std::int32_t nx = 16400;  // 1024 coarse cells: the largest table
  const std::vector<double> sorted = ascending(nx);
  std::vector<std::vector<double>> cases = {std::vector<double>(nx, 1.0), {sorted.rbegin(), sorted.rend()}};
  for (const auto& [index, value] : {std::pair{5, 1e308},
                                     {5, nan},
                                     {5, -infinity},
                                     {5, infinity},
                                     {0, nan},
                                     {nx - 1, infinity},
                                     {nx - 1, nan},
                                     {0, -1e308}}) {
    cases.push_back(sorted);
    cases.back()[static_cast<std::size_t>(index)] = value;
  }
  for (const std::vector<double>& x : cases) {
    const Task task(nx, x, DF_XHINT_NONE, 1, sorted, 0, {});
    for (std::int64_t k = 0; k < task.get()->lookupCells; ++k) {
      ASSERT_LT(task.get()->lookup[k].lo, static_cast<std::uint32_t>(nx));
      ASSERT_LT(task.get()->lookup[k].hi, static_cast<std::uint32_t>(nx));
    }
  }
}

TEST(TaskCreate, RowsFollowTheLayout) {
  const double x[3] = {0.0, 1.0, 2.0};
  const std::vector<double> y(6, 1.0);
  struct Case {
    std::int32_t ny;
    std::int32_t yhint;
    const double* second;
  };
  for (const Case& c :
       {Case{2, DF_VALUES_DEFAULT, y.data() + 3}, Case{2, DF_VALUES_BY_FUNCTION, y.data() + 3},
        Case{2, DF_VALUES_BY_BREAKPOINT, nullptr}, Case{2, DF_VALUES_FIRST_ROW, nullptr}}) {
    DfTask* task = nullptr;
    ASSERT_EQ(dfTaskCreate(&task, 3, x, DF_XHINT_NONE, c.ny, y.data(), c.yhint), DF_STATUS_OK);
    EXPECT_EQ(task->yRows[0], y.data());
    EXPECT_EQ(task->yRows[1], c.second) << c.yhint;
    EXPECT_EQ(task->taskClass, 4);
    dfTaskDestroy(&task);
  }
  // A negative count with an array is accepted, and its one row stays unset.
  DfTask* task = nullptr;
  ASSERT_EQ(dfTaskCreate(&task, 3, x, DF_XHINT_UNIFORM, -4, y.data(), 0), DF_STATUS_OK);
  EXPECT_EQ(task->yRows[0], nullptr);
  EXPECT_NE(task->lookup, nullptr);
  EXPECT_EQ(task->lookupCells, 0);
  dfTaskDestroy(&task);
}

TEST(TaskEdit, StoresUpToTheFirstBadArgument) {
  const double x[5] = {0.0, 1.0, 2.0, 3.0, 4.0};
  const std::vector<double> y(10, 1.0);
  std::vector<double> coeff(64);
  const double values[6] = {};
  const support::FailingHeap heap(0);
  DfTask* task = nullptr;
  ASSERT_EQ(dfTaskCreate(&task, 5, x, DF_XHINT_NONE, 2, y.data(), 0), DF_STATUS_OK);

  EXPECT_EQ(dfTaskEditSpline(nullptr, 4, 2, 2, nullptr, 0, nullptr, nullptr, 0), DF_ERROR_NULL_TASK);
  EXPECT_EQ(dfTaskEditSpline(task, -1, -1, 12, nullptr, 1, nullptr, nullptr, 0), DF_ERROR_SPLINE_ORDER);
  EXPECT_EQ(dfTaskEditSpline(task, 4, -1, 12, nullptr, 1, nullptr, nullptr, 0), DF_ERROR_SPLINE_KIND);
  EXPECT_EQ(task->order, 0);
  EXPECT_EQ(dfTaskEditSpline(task, 9, 8, 12, nullptr, 1, nullptr, nullptr, 0), DF_ERROR_NULL_BOUNDARY);
  EXPECT_EQ(task->order, 9);
  EXPECT_EQ(task->bcType, 0);
  EXPECT_EQ(dfTaskEditSpline(task, 4, 2, 64, nullptr, 1, nullptr, nullptr, 0), DF_ERROR_NULL_INTERNAL);
  EXPECT_EQ(task->bcType, 64);
  EXPECT_EQ(dfTaskEditSpline(task, 4, 2, 12, values, 0, values, nullptr, 0), DF_ERROR_INTERNAL_CONDITION);
  EXPECT_EQ(task->ic, nullptr);

  // Rows of order * cells; one cell more for the Subbotin kind; a later edit replaces the table or keeps it.
  EXPECT_EQ(dfTaskEditSpline(task, 4, 2, 1, nullptr, 0, nullptr, coeff.data(), 0), DF_STATUS_OK);
  EXPECT_EQ(task->coeffRows[1], coeff.data() + 16);
  EXPECT_EQ(dfTaskEditSpline(task, 3, DF_KIND_SUBBOTIN, 1, nullptr, 8, values, coeff.data(), 0),
            DF_STATUS_OK);
  EXPECT_EQ(task->coeffRows[1], coeff.data() + 15);
  EXPECT_EQ(dfTaskEditSpline(task, 4, 2, 1, nullptr, 0, nullptr, nullptr, 7), DF_STATUS_OK);
  EXPECT_EQ(task->coeffRows[1], coeff.data() + 15);
  EXPECT_EQ(task->coeffHint, 7);
  EXPECT_EQ(dfTaskEditSpline(task, 4, 2, 1, nullptr, 0, nullptr, coeff.data() + 1, DF_COEFF_FIRST_ROW),
            DF_STATUS_OK);
  EXPECT_EQ(task->coeffRows[0], coeff.data() + 1);
  EXPECT_EQ(task->coeffRows[1], nullptr);
  EXPECT_EQ(dfTaskDestroy(&task), DF_STATUS_OK);
  EXPECT_EQ(task, nullptr);
  EXPECT_EQ(dfTaskDestroy(&task), DF_ERROR_NULL_TASK);
  EXPECT_EQ(dfTaskDestroy(nullptr), DF_ERROR_NULL_TASK);

  ASSERT_EQ(dfTaskCreate(&task, 5, x, DF_XHINT_NONE, 0, nullptr, 0), DF_STATUS_OK);
  EXPECT_EQ(dfTaskEditSpline(task, 4, 2, 1, nullptr, 0, nullptr, coeff.data(), 0), DF_ERROR_FUNCTION_COUNT);
  dfTaskDestroy(&task);
  EXPECT_EQ(heap.live(), 0);
}

TEST(TaskLifecycle, EveryFailedAllocationLeavesADestroyableTask) {
  const std::vector<double> x = {0.0, 1.0, 2.0, 3.0};
  const std::vector<double> y = {1.0, 2.0, 0.0, 1.0, 0.0, 1.0, 2.0, 5.0};
  const double site = 1.5;
  std::int32_t status = DF_ERROR_MEMORY;
  int n = 0;
  while (status == DF_ERROR_MEMORY) {
    std::vector<double> coeff(24, -77.0);
    double result[2] = {};
    DfTask* task = nullptr;
    const support::FailingHeap heap(++n);
    status = dfTaskCreate(&task, 4, x.data(), 0, 2, y.data(), 0);
    const bool created = task != nullptr;
    if (status == DF_STATUS_OK)
      status = dfTaskEditSpline(task, 4, 2, 1, nullptr, 0, nullptr, coeff.data(), 0);
    if (status == DF_STATUS_OK) {
      status = dfTaskConstruct(task, 0, 0);
      EXPECT_EQ(coeff == std::vector<double>(24, -77.0), status != DF_STATUS_OK);
    }
    if (status == DF_STATUS_OK)
      status = dfTaskInterpolate(task, 1, 1, 1, &site, 1, 0, nullptr, nullptr, result, 0, nullptr);
    EXPECT_EQ(dfTaskDestroy(&task), created ? DF_STATUS_OK : DF_ERROR_NULL_TASK);
    EXPECT_EQ(heap.live(), 0);
    EXPECT_EQ(status, heap.failed() ? DF_ERROR_MEMORY : DF_STATUS_OK) << "allocation " << n;
  }
  EXPECT_EQ(n, 3);  // the task, the scratch of its construction
}

}  // namespace
