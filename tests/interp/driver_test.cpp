#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/task.h"
#include "task/df_task.h"

#include <raven/data_fitting.h>

namespace {

using support::same;
using support::Settings;
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

std::int32_t value(const Task& task, std::int32_t type, const std::vector<double>& sites,
                   std::vector<double>& r, std::int32_t* cells, std::int32_t sitehint = 0,
                   std::int32_t nsite = 0) {
  return dfTaskInterpolate(task.get(), type, 1, nsite != 0 ? nsite : static_cast<std::int32_t>(sites.size()),
                           sites.data(), sitehint, 0, nullptr, nullptr, r.data(), 0, cells);
}

TEST(Driver, GivenCellsAreUsedAndKept) {
  Task task = linearTask();
  fillLinear(task);
  const std::vector<double> sites(7, 3.5);
  std::vector<std::int32_t> cells = {
      1, 2, 3, 4, 0, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min()};
  const std::vector<std::int32_t> given = cells;
  const std::vector<double> want = {3.5, 12.5, 20.5, 20.5, 3.5, 20.5, 3.5};
  for (const std::int32_t type : {4, 5, 6, 7}) {
    std::vector<double> r(7, -77.0);
    EXPECT_EQ(value(task, type, sites, r, cells.data()), DF_STATUS_OK);
    EXPECT_TRUE(same(r, want));
    EXPECT_EQ(cells, given);
  }
  std::vector<double> r(7, -77.0);
  EXPECT_EQ(value(task, 4, sites, r, nullptr), DF_ERROR_NULL_CELLS);
  EXPECT_TRUE(same(r, std::vector<double>(7, -77.0)));
}

TEST(Driver, SpreadsUniformSites) {
  Task task = linearTask();
  fillLinear(task);
  for (const std::int32_t nsite : {2, 31, 64, 65, 257, 4097}) {
    const std::vector<double> ends = {-0.5, 4.5};
    std::vector<double> sites;
    for (std::int32_t i = 0; i < nsite; ++i)
      sites.push_back(i * (5.0 / (nsite - 1)) - 0.5);
    std::vector<double> r(sites.size(), -77.0);
    std::vector<double> want(sites.size(), -77.0);
    EXPECT_EQ(value(task, 1, ends, r, nullptr, DF_SITES_UNIFORM, nsite), DF_STATUS_OK);
    EXPECT_EQ(value(task, 1, sites, want, nullptr), DF_STATUS_OK);
    EXPECT_TRUE(same(r, want));
  }
  std::vector<double> one(1, -77.0);
  EXPECT_EQ(value(task, 1, {0.25, 9.0}, one, nullptr, DF_SITES_UNIFORM, 1), DF_STATUS_OK);
  EXPECT_EQ(one[0], 0.25);
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
  const std::vector<double> sites = {3.5, 1.25};
  for (const std::int64_t ny : {std::int64_t{0}, std::int64_t{-3}, std::int64_t{INT32_MIN}}) {
    task.get()->ny = ny;
    std::vector<double> r(2, -77.0);
    std::vector<std::int32_t> cells(2, -77);
    EXPECT_EQ(value(task, 3, sites, r, cells.data()), DF_STATUS_OK);
    EXPECT_EQ(cells, (std::vector<std::int32_t>{3, 2}));
    EXPECT_TRUE(same(r, ny == 0 ? std::vector<double>{20.5, 10.25} : std::vector<double>(2, -77.0)));
  }
}

TEST(Driver, CommonCallsAllocateNothing) {
  Task task = linearTask();
  fillLinear(task);
  const std::vector<double> sites(1000, 2.5);
  std::vector<double> r(2000, -77.0);
  const std::int32_t dorder[2] = {1, 1};
  for (const std::int32_t sitehint : {DF_SITES_NONE, DF_SITES_SORTED, DF_SITES_UNIFORM}) {
    for (const std::int32_t rhint : {DF_RESULTS_SITES_INNER, DF_RESULTS_DERIVS_INNER}) {
      const support::FailingHeap heap(0);
      EXPECT_EQ(dfTaskInterpolate(task.get(), 1, 1, 1000, sites.data(), sitehint, 2, dorder, nullptr,
                                  r.data(), rhint, nullptr),
                DF_STATUS_OK);
      EXPECT_EQ(heap.calls(), 0);
    }
  }
}

// Scratch for many functions, and room for the coefficients of a high order.
TEST(Driver, WithoutMemoryNothingIsWritten) {
  const std::int32_t ny = 3000;
  const std::vector<double> sites = {0.5, 2.0, 3.5};
  const std::int32_t dorder[2] = {1, 1};
  const std::vector<double> pattern(static_cast<std::size_t>(ny) * 6, -77.0);
  int failures = 0;
  for (const std::int32_t order : {2, 3000}) {
    Task task(4, x4, DF_XHINT_NONE, order == 2 ? ny : 1,
              std::vector<double>(static_cast<std::size_t>(4 * ny)), 0,
              {order, 0, DF_END_NONE, nullptr, DF_IC_NONE, nullptr});
    for (int n = 1;; ++n) {
      std::vector<double> r = pattern;
      std::vector<std::int32_t> cells(3, -9);
      const support::FailingHeap heap(n);
      const std::int32_t status = dfTaskInterpolate(task.get(), 3, 1, 3, sites.data(), 0, 2, dorder, nullptr,
                                                    r.data(), 0, cells.data());
      if (!heap.failed()) {
        EXPECT_EQ(status, DF_STATUS_OK);
        EXPECT_EQ(cells, (std::vector<std::int32_t>{1, 2, 3}));
        break;
      }
      ++failures;
      EXPECT_EQ(status, DF_ERROR_MEMORY);
      EXPECT_TRUE(same(r, pattern));
      EXPECT_EQ(cells, std::vector<std::int32_t>(3, -9));
    }
  }
  EXPECT_EQ(failures, 2);  // one block a call
  // Sizes beyond the machine: scratch for so many results per site cannot exist.
  Task task = linearTask();
  std::vector<double> r(12, -77.0);
  task.get()->flags = 1;
  const std::int64_t huge[2] = {INT64_MAX / 2, INT64_MAX / 4};
  EXPECT_EQ(dfTaskInterpolate(task.get(), 1, 1, 3, sites.data(), 0, 2,
                              reinterpret_cast<const std::int32_t*>(huge), nullptr, r.data(), 0, nullptr),
            DF_ERROR_MEMORY);
  EXPECT_TRUE(same(r, std::vector<double>(12, -77.0)));
}

// Many functions go through the scratch that a call asks for; few stay in the frame. Both give the same.
TEST(Driver, ScratchOfAnySizeGivesTheSameResults) {
  for (const std::int32_t ny : {1, 2, 16, 17, 40, 500}) {
    Task task = linearTask(ny);
    for (std::size_t i = 0; i < task.coeff().size(); ++i)
      task.coeff()[i] = std::sin(static_cast<double>(i));
    std::vector<double> sites;
    for (int i = 0; i < 301; ++i)
      sites.push_back(0.013 * i);
    const std::size_t functions = static_cast<std::size_t>(ny);
    const std::int32_t dorder[3] = {1, 1, 1};
    std::vector<double> inner(functions * 3 * 301, -77.0);
    std::vector<double> outer(functions * 3 * 301, -77.0);
    ASSERT_EQ(dfTaskInterpolate(task.get(), 1, 1, 301, sites.data(), 0, 3, dorder, nullptr, inner.data(), 32,
                                nullptr),
              DF_STATUS_OK);
    ASSERT_EQ(dfTaskInterpolate(task.get(), 1, 1, 301, sites.data(), 0, 3, dorder, nullptr, outer.data(), 16,
                                nullptr),
              DF_STATUS_OK);
    std::vector<double> want;
    for (std::size_t f = 0; f < functions; ++f)
      for (std::size_t k = 0; k < 3; ++k)
        for (std::size_t i = 0; i < 301; ++i)
          want.push_back(outer[(f * 301 + i) * 3 + k]);
    EXPECT_TRUE(same(inner, want));
  }
}

}  // namespace
