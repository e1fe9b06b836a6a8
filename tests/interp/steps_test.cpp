#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "support/compare.h"
#include "support/task.h"

#include <ravenfit/data_fitting.h>

namespace {

using support::interpolate;
using support::same;
using support::Task;

constexpr double inf = std::numeric_limits<double>::infinity();

// Breakpoints 0, 1, 2, 3 in every form; two functions with values 10, 20, 30, 40 and 11, 21, 31, 41.
struct Form {
  std::string name;
  std::int32_t xhint;
  std::int32_t yhint;
};

std::vector<Form> forms() {
  std::vector<Form> all;
  for (const std::int32_t xhint : {DF_XHINT_NONE, DF_XHINT_UNIFORM})
    for (const std::int32_t yhint : {DF_VALUES_BY_FUNCTION, DF_VALUES_BY_BREAKPOINT})
      all.push_back({"xhint " + std::to_string(xhint) + ", yhint " + std::to_string(yhint), xhint, yhint});
  return all;
}

Task stepTask(const Form& form, std::int32_t kind) {
  return Task(4,
              form.xhint == DF_XHINT_UNIFORM ? std::vector<double>{0.0, 3.0}
                                             : std::vector<double>{0.0, 1.0, 2.0, 3.0},
              form.xhint, 2,
              form.yhint == DF_VALUES_BY_BREAKPOINT ? std::vector<double>{10, 11, 20, 21, 30, 31, 40, 41}
                                                    : std::vector<double>{10, 20, 30, 40, 11, 21, 31, 41},
              form.yhint, {0, kind, DF_END_NONE, nullptr, DF_IC_NONE, nullptr});
}

TEST(Steps, TakeTheSideOfTheirName) {
  const std::vector<double> sites = {-1.0,          0.0, 0.5,           1.0 - 0x1p-53, 1.0,
                                     1.0 + 0x1p-52, 2.0, 3.0 - 0x1p-51, 3.0,           9.0};
  const std::vector<double> right = {10, 10, 10, 10, 20, 20, 30, 30, 40, 40};
  const std::vector<double> left = {10, 10, 10, 10, 10, 20, 20, 30, 30, 40};
  // The cell's right end is what a uniform partition is tested against: breakpoints keep their own value.
  const std::vector<double> leftUniform = {10, 10, 10, 10, 20, 20, 30, 30, 40, 40};
  for (const Form& form : forms()) {
    for (const std::int32_t kind : {DF_KIND_STEP_RIGHT, DF_KIND_STEP_LEFT}) {
      SCOPED_TRACE(form.name + ", kind " + std::to_string(kind));
      const Task task = stepTask(form, kind);
      ASSERT_EQ(task.status, DF_STATUS_OK);
      std::vector<double> want = kind == DF_KIND_STEP_RIGHT       ? right
                                 : form.xhint == DF_XHINT_UNIFORM ? leftUniform
                                                                  : left;
      for (std::size_t i = 0; i < sites.size(); ++i)
        want.push_back(want[i] + 1.0);
      std::vector<double> r(want.size(), -77.0);
      EXPECT_EQ(interpolate(task, {sites, {}}, r), DF_STATUS_OK);
      EXPECT_TRUE(same(r, want));
      // Derivatives keep their positions and read 0.
      std::vector<double> both(2 * want.size(), -77.0);
      std::vector<double> wantBoth;
      for (const double v : want)
        wantBoth.insert(wantBoth.end(), {v, 0.0});
      EXPECT_EQ(interpolate(task, {sites, {1, 1}, DF_RESULTS_DERIVS_INNER}, both), DF_STATUS_OK);
      EXPECT_TRUE(same(both, wantBoth));
      EXPECT_EQ(interpolate(task, {sites, {0, 1}}, r), DF_STATUS_OK);
      EXPECT_TRUE(same(r, std::vector<double>(want.size(), 0.0)));
    }
  }
}

// A cell whose right end is the site, as a search of other rounding gives it, or the caller.
TEST(Steps, LeftOnUniformPartitionsTestsTheRightEndOfTheCell) {
  const Task task = stepTask(forms()[2], DF_KIND_STEP_LEFT);
  std::int32_t cells[3] = {2, 3, 0};
  std::vector<double> r(6, -77.0);
  EXPECT_EQ(interpolate(task, {{2.0, 2.0, 0.0}, {}, 0, DF_WANT_GIVEN_CELLS}, r, cells), DF_STATUS_OK);
  EXPECT_TRUE(same(r, {10, 30, 10, 11, 31, 11}));
}

TEST(Lookup, TakesBreakpointsAlone) {
  constexpr double tolerance = 0x1p-40;
  const struct {
    const char* name;
    double site;
    double uniform;  // 0: refused
    double general;
  } cases[] = {
      {"first", 0.0, 10, 10},
      {"inner", 2.0, 30, 30},
      {"last", 3.0, 40, 40},
      {"between", 1.5, 0, 0},
      {"left", -1.0, 0, 0},
      {"right", 3.5, 0, 0},
      {"infinite", inf, 0, 0},
      {"no number", std::numeric_limits<double>::quiet_NaN(), 0, 0},
      {"just above", 1.0 + 0x1p-45, 20, 0},
      {"just below", 1.0 - 0x1p-45, 20, 0},
      {"as far above as allowed", 1.0 + tolerance, 20, 0},
      {"as far below as is not allowed", 1.0 - tolerance, 0, 0},
      {"just above the last", 3.0 + 0x1p-45, 40, 0},
  };
  for (const Form& form : forms()) {
    const Task task = stepTask(form, DF_KIND_LOOKUP);
    for (const auto& c : cases) {
      SCOPED_TRACE(form.name + ", " + c.name);
      const double want = form.xhint == DF_XHINT_UNIFORM ? c.uniform : c.general;
      std::vector<double> r(2, -77.0);
      EXPECT_EQ(interpolate(task, {{c.site}, {}}, r), want == 0 ? DF_ERROR_SITES : DF_STATUS_OK);
      EXPECT_TRUE(same(r, want == 0 ? std::vector<double>(2, -77.0) : std::vector<double>{want, want + 1.0}));
    }
    std::vector<double> r(4, -77.0);
    EXPECT_EQ(interpolate(task, {{1.0}, {1, 1}}, r), DF_ERROR_DERIVATIVE_COUNT);
    EXPECT_EQ(interpolate(task, {{1.5}, {1, 1}}, r), DF_ERROR_SITES);
    EXPECT_EQ(interpolate(task, {{1.0}, {0, 1}}, r), DF_ERROR_DERIVATIVES);
    EXPECT_TRUE(same(r, std::vector<double>(4, -77.0)));
  }
}

// A search that leaves a tie on the left of the breakpoint; and cells of the caller's, which may name the
// last cell.
TEST(Lookup, TestsBothEndsOfTheCell) {
  const Task task(3, {0.0, 0.5, 2.0}, DF_XHINT_QUASI_UNIFORM, 1, {10, 20, 30}, 0,
                  {0, DF_KIND_LOOKUP, DF_END_NONE, nullptr, DF_IC_NONE, nullptr});
  std::vector<double> r(1, -77.0);
  EXPECT_EQ(interpolate(task, {{0.5}, {}}, r), DF_STATUS_OK);
  EXPECT_EQ(r[0], 20.0);
  for (const Form& form : forms()) {
    const Task given = stepTask(form, DF_KIND_LOOKUP);
    std::vector<double> unwritten(2, -77.0);
    for (std::int32_t cell : {4, 5, 0, 1, -1})
      EXPECT_EQ(interpolate(given, {{4.0}, {}, 0, DF_WANT_GIVEN_CELLS}, unwritten, &cell), DF_ERROR_SITES);
    EXPECT_TRUE(same(unwritten, std::vector<double>(2, -77.0)));
  }
}

TEST(Lookup, AFailingBlockWritesNothingAndEarlierBlocksStand) {
  const Task task = stepTask(forms()[0], DF_KIND_LOOKUP);
  std::vector<double> sites(600, 1.0);
  sites[520] = 1.5;  // behind 512 sites, a multiple of every level's block
  std::vector<double> r(1200, -77.0);
  EXPECT_EQ(interpolate(task, {sites, {}, DF_RESULTS_DERIVS_INNER}, r), DF_ERROR_SITES);
  std::vector<double> want(1200, -77.0);
  for (std::size_t i = 0; i < 512; ++i) {
    want[i] = 20.0;
    want[600 + i] = 21.0;
  }
  EXPECT_TRUE(same(r, want));
}

}  // namespace
