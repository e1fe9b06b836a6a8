#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/task.h"
#include "task/df_task.h"

#include <ravenfit/data_fitting.h>

namespace {

using support::interpolate;
using support::Query;
using support::same;
using support::Task;

const std::vector<double> x4 = {0.0, 1.0, 3.0, 4.0};

// Linear pieces 10 q + t over x4.
void fillLinear(Task& task) {
  for (std::size_t q = 0; 2 * q < task.coeff().size(); ++q) {
    task.coeff()[2 * q] = 10.0 * static_cast<double>(q);
    task.coeff()[2 * q + 1] = 1.0;
  }
}

Task linearTask(std::int32_t ny = 1) {
  return Task(4, x4, DF_XHINT_NONE, ny, std::vector<double>(static_cast<std::size_t>(4 * ny)), 0,
              {DF_ORDER_LINEAR, 0, DF_END_NONE, nullptr, DF_IC_NONE, nullptr});
}

TEST(Driver, GivenCellsAreUsedAndKept) {
  Task task = linearTask();
  fillLinear(task);
  std::vector<std::int32_t> cells = {1, 2, 3, 4, 0, INT32_MAX, INT32_MIN};
  const std::vector<std::int32_t> given = cells;
  Query query = {.sites = std::vector<double>(7, 3.5)};
  for (query.want = 4; query.want < 8; ++query.want) {
    std::vector<double> r(7, -77.0);
    EXPECT_EQ(interpolate(task, query, r, cells.data()), DF_STATUS_OK);
    EXPECT_TRUE(same(r, {3.5, 12.5, 20.5, 20.5, 3.5, 20.5, 3.5}));
    EXPECT_EQ(cells, given);
  }
}

// Each refusal beats the ones below it, and nothing is written.
TEST(Driver, RefusesInOrder) {
  Task task = linearTask();
  const double badInformation[5] = {0.0, 5.0, 0.0, 0.0, 0.0};
  const double site = 1.0;
  double r = -77.0;
  const auto call = [&](std::int32_t rhint, const double* datahint) {
    return dfTaskInterpolate(task.get(), 1, 1, 1, &site, 0, 0, nullptr, datahint, &r, rhint, nullptr);
  };
  DfTask& record = *task.get();
  double** rows = record.coeffRows;
  double* const row = rows[0];
  record.plainOrder = 0;  // what edit would make of what follows
  record.order = 3;
  record.kind = DF_KIND_NATURAL;
  EXPECT_EQ(call(7, badInformation), DF_ERROR_SPLINE_KIND);
  record.order = 2;
  EXPECT_EQ(call(7, badInformation), DF_ERROR_DATA_HINT);
  for (const std::int32_t rhint : {7, 1, 48, 160, -1})
    EXPECT_EQ(call(rhint, nullptr), DF_ERROR_RESULTS_HINT);
  record.kind = DF_KIND_STEP_LEFT;  // no coefficients asked for by kind, but order 2 has them
  rows[0] = nullptr;
  EXPECT_EQ(call(0, nullptr), DF_ERROR_NULL_COEFFICIENTS);
  record.coeffRows = nullptr;
  EXPECT_EQ(call(0, nullptr), DF_ERROR_NULL_COEFFICIENTS);
  record.coeffRows = rows;
  rows[0] = row;
  record.order = 0;
  const double** values = record.yRows;
  record.yRows = nullptr;
  EXPECT_EQ(call(0, nullptr), DF_ERROR_FUNCTION_VALUES);
  record.yRows = values;
  const double* const valueRow = values[0];
  values[0] = nullptr;
  EXPECT_EQ(call(0, nullptr), DF_ERROR_FUNCTION_VALUES);
  values[0] = valueRow;
  EXPECT_EQ(r, -77.0);
  EXPECT_EQ(call(0, nullptr), DF_STATUS_OK);
  // Pairs of order and kind that no evaluator serves, and some that one does.
  const struct {
    std::int64_t order, kind;
    std::int32_t status;
  } served[] = {{1, 0, -1011}, {-4, 0, -1011}, {3, 8, -1011}, {4, 1, -1011}, {4, 6, -1011},
                {0, 0, -1011}, {0, 9, -1011},  {2, 77, 0},    {0, 7, 0}};
  for (const auto& pair : served) {
    record.order = pair.order;
    record.kind = pair.kind;
    EXPECT_EQ(call(0, nullptr), pair.status) << pair.order << ", " << pair.kind;
  }
}

TEST(Driver, NoCountIsOneFunctionAndANegativeCountIsNone) {
  Task task = linearTask();
  fillLinear(task);
  for (const std::int64_t ny : {0, -3, INT32_MIN}) {
    task.get()->ny = ny;
    std::vector<double> r(2, -77.0);
    std::vector<std::int32_t> cells(2, -77);
    EXPECT_EQ(interpolate(task, {.sites = {3.5, 1.25}, .want = 3}, r, cells.data()), DF_STATUS_OK);
    EXPECT_EQ(cells, (std::vector<std::int32_t>{3, 2}));
    EXPECT_TRUE(same(r, ny == 0 ? std::vector<double>{20.5, 10.25} : std::vector<double>(2, -77.0)));
  }
}

TEST(Driver, CommonCallsAllocateNothing) {
  const Task task = linearTask();
  std::vector<double> r(2000, -77.0);
  const std::vector<double> sites(1000, 2.5);
  for (const std::int32_t sitehint : {DF_SITES_NONE, DF_SITES_SORTED, DF_SITES_UNIFORM})
    for (const std::int32_t rhint : {DF_RESULTS_SITES_INNER, DF_RESULTS_DERIVS_INNER}) {
      const support::FailingHeap heap(0);
      EXPECT_EQ(interpolate(task, {sites, {1, 1}, rhint, DF_WANT_INTERPOLATE, sitehint}, r), DF_STATUS_OK);
      EXPECT_EQ(heap.calls(), 0);
    }
}

// Scratch for many functions, and room for the coefficients of a high order: one block a call, which cannot be had,
// or cannot exist.
TEST(Driver, WithoutMemoryNothingIsWritten) {
  const std::int32_t ny = 3000;
  const Query query = {.sites = {0.5, 2.0, 3.5, 0.5, 2.0, 3.5, 0.5}, .dorder = {1, 1}, .want = 3};
  const std::vector<double> pattern(std::size_t{ny} * 14, -77.0);
  for (const std::int32_t order : {2, 3000}) {
    const Task task(4, x4, DF_XHINT_NONE, order == 2 ? ny : 1, std::vector<double>(std::size_t{4 * ny}), 0,
                    {order, 0, DF_END_NONE, nullptr, DF_IC_NONE, nullptr});
    for (const int n : {1, 2}) {
      std::vector<double> r = pattern;
      std::vector<std::int32_t> cells(7, -9);
      const support::FailingHeap heap(n);
      EXPECT_EQ(interpolate(task, query, r, cells.data()), n == 1 ? DF_ERROR_MEMORY : DF_STATUS_OK);
      EXPECT_EQ(heap.calls(), 1);
      EXPECT_EQ(heap.live(), 0);
      EXPECT_EQ(cells,
                n == 1 ? std::vector<std::int32_t>(7, -9) : (std::vector<std::int32_t>{1, 2, 3, 1, 2, 3, 1}));
      EXPECT_EQ(same(r, pattern), n == 1);
    }
  }
  Task task = linearTask();
  std::vector<double> r(12, -77.0);
  task.get()->flags = 1;
  const std::int64_t huge[2] = {INT64_MAX / 2, INT64_MAX / 4};
  EXPECT_EQ(dfTaskInterpolate(task.get(), 1, 1, 3, query.sites.data(), 0, 2,
                              reinterpret_cast<const std::int32_t*>(huge), nullptr, r.data(), 0, nullptr),
            DF_ERROR_MEMORY);
  EXPECT_TRUE(same(r, std::vector<double>(12, -77.0)));
}

}  // namespace
