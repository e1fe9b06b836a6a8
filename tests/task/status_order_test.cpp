#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "support/task.h"

#include <ravenfit/data_fitting.h>

namespace {

using support::Settings;
using support::Task;

const std::vector<double> x5 = {0.0, 1.0, 2.0, 3.0, 4.0};
const std::vector<double> y5 = {0.0, 1.0, 4.0, 9.0, 0.0};
const std::vector<double> pattern(16, -77.0);

TEST(ConstructStatus, ChecksArgumentsBeforeSettings) {
  EXPECT_EQ(dfTaskConstruct(nullptr, 1, 1), DF_ERROR_NULL_TASK);
  Task bad(5, x5, DF_XHINT_NONE, 1, y5, 0, {5, 9, 0, nullptr, 0, nullptr});
  EXPECT_EQ(dfTaskConstruct(bad.get(), 1, 0), DF_ERROR_METHOD);
  EXPECT_EQ(dfTaskConstruct(bad.get(), 0, 1), DF_ERROR_METHOD);
  EXPECT_EQ(dfTaskConstruct(bad.get(), 0, 0), DF_ERROR_SPLINE_ORDER);

  DfTask* task = nullptr;
  std::vector<double> coeff = pattern;
  ASSERT_EQ(dfTaskCreate(&task, 5, x5.data(), 0, 0, nullptr, 0), DF_STATUS_OK);
  EXPECT_EQ(dfTaskConstruct(task, 0, 0), DF_ERROR_NULL_COEFFICIENTS);
  dfTaskDestroy(&task);
  // One row of two: the second stays unset, of the values as of the coefficients.
  const std::vector<double> values(10, 1.0);
  ASSERT_EQ(dfTaskCreate(&task, 5, x5.data(), 0, 2, values.data(), DF_VALUES_FIRST_ROW), DF_STATUS_OK);
  std::vector<double> twoRows(32, -77.0);
  dfTaskEditSpline(task, 4, 2, 2, nullptr, 0, nullptr, twoRows.data(), 0);
  EXPECT_EQ(dfTaskConstruct(task, 0, 0), DF_ERROR_FUNCTION_VALUES);
  dfTaskEditSpline(task, 4, 2, 2, nullptr, 0, nullptr, twoRows.data(), DF_COEFF_FIRST_ROW);
  EXPECT_EQ(dfTaskConstruct(task, 0, 0), DF_ERROR_NULL_COEFFICIENTS);
  dfTaskDestroy(&task);
}

TEST(InterpolateStatus, FollowsTheArgumentsInOrder) {
  Task natural(5, x5, DF_XHINT_NONE, 1, y5, 0, {});
  ASSERT_EQ(dfTaskConstruct(natural.get(), 0, 0), DF_STATUS_OK);
  Task bare(5, x5, DF_XHINT_NONE, 1, y5, 0, {0, 2, 0, nullptr, 0, nullptr});
  const double site[2] = {0.5, 1.5};
  const std::int32_t order[2] = {1, 1};
  std::vector<double> r(4, -77.0);
  std::vector<std::int32_t> cell(2, -7);
  struct Call {
    const char* name;
    const DfTask* task;
    std::int32_t type;
    std::int32_t method;
    std::int32_t nsite;
    const double* site;
    std::int32_t sitehint;
    std::int32_t ndorder;
    const std::int32_t* dorder;
    double* r;
    std::int32_t rhint;
    std::int32_t* cell;
    std::int32_t status;
  };
  const DfTask* t = natural.get();
  const Call calls[] = {
      {"no task", nullptr, 0, 0, 0, nullptr, 2, 0, order, nullptr, 1, nullptr, DF_ERROR_NULL_TASK},
      {"no work", t, 8, 0, 0, nullptr, 2, 0, order, nullptr, 1, nullptr, DF_ERROR_NO_WORK},
      {"method", t, 3, 0, 0, nullptr, 2, 0, order, nullptr, 1, nullptr, DF_ERROR_METHOD},
      {"sites", t, 3, 1, 0, nullptr, 2, 0, order, nullptr, 1, nullptr, DF_ERROR_SITES},
      {"count 0", t, 3, 1, 0, site, 2, 0, order, nullptr, 1, nullptr, DF_ERROR_SITE_COUNT},
      {"count negative", t, 3, 1, -2, site, 2, 0, order, nullptr, 1, nullptr, DF_ERROR_SITE_COUNT},
      {"site hint", t, 3, 1, 2, site, 2, 0, order, nullptr, 1, nullptr, DF_ERROR_SITES_HINT},
      {"coefficients", bare.get(), 3, 1, 2, site, 1, 0, order, nullptr, 1, nullptr,
       DF_ERROR_NULL_COEFFICIENTS},
      {"results", t, 3, 1, 2, site, 1, 0, order, nullptr, 1, nullptr, DF_ERROR_NULL_RESULTS},
      {"dorder alone", t, 3, 1, 2, site, 1, 0, order, r.data(), 1, nullptr, DF_ERROR_DERIVATIVE_COUNT},
      {"ndorder negative", t, 3, 1, 2, site, 1, -1, nullptr, r.data(), 1, nullptr, DF_ERROR_DERIVATIVES},
      {"ndorder alone", t, 3, 1, 2, site, 1, 2, nullptr, r.data(), 1, nullptr, DF_ERROR_DERIVATIVES},
      {"cells wanted", t, 3, 1, 2, site, 1, 2, order, r.data(), 1, nullptr, DF_ERROR_NULL_CELLS},
      {"cells given", t, 4, 1, 2, site, 1, 2, order, r.data(), 1, nullptr, DF_ERROR_NULL_CELLS},
      {"cells alone", t, 2, 1, 2, site, 1, 2, order, nullptr, 1, nullptr, DF_ERROR_NULL_CELLS},
      {"results hint", t, 1, 1, 2, site, 1, 2, order, r.data(), 1, nullptr, DF_ERROR_RESULTS_HINT},
  };
  for (const Call& c : calls) {
    EXPECT_EQ(dfTaskInterpolate(c.task, c.type, c.method, c.nsite, c.site, c.sitehint, c.ndorder, c.dorder,
                                nullptr, c.r, c.rhint, c.cell),
              c.status)
        << c.name;
  }
  EXPECT_EQ(r, std::vector<double>(4, -77.0));
  EXPECT_EQ(cell, std::vector<std::int32_t>(2, -7));
  // Cells and results together, and cells alone without any coefficients.
  EXPECT_EQ(dfTaskInterpolate(t, 3, 1, 2, site, 1, 2, order, nullptr, r.data(), 16, cell.data()),
            DF_STATUS_OK);
  EXPECT_EQ(cell, (std::vector<std::int32_t>{1, 2}));
  cell.assign(2, -7);
  EXPECT_EQ(dfTaskInterpolate(bare.get(), 2, 1, 2, site, 1, 0, nullptr, nullptr, nullptr, 0, cell.data()),
            DF_STATUS_OK);
  EXPECT_EQ(cell, (std::vector<std::int32_t>{1, 2}));
}

}  // namespace
