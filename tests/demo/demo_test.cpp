#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <numbers>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

#include "demo/example_data.h"
#include "demo/print_status.h"
#include "demo/reference_check.h"
#include "demo/status.h"

#include <ravenfit/vetra_data_fitting.h>

namespace {

using rvn::checkResults;

// What each text says, from -1000 down; nothing where a status has none.
TEST(Demo, TextOfEveryStatus) {
  std::istringstream says(
      "null task|memory allocation|||number of breakpoints|contains the breakpoints|"
      "structure of partition|vector-valued|contains function values|structure of function y|"
      "spline order|type of the spline|type of internal|array of internal|type of boundary|"
      "presents boundary|array of piece-wise|structure of the piece-wise|end points|"
      "attribute of the pointer|index of pointer|number of interpolation sites|"
      "array of interpolation sites|structure of interpolation sites|"
      "size of array that defines order|derivative orders|a-priori|"
      "array of spline based interpolation|structure of spline based interpolation|"
      "indices of partition cells|size of arrays containing integration limits|left integration|"
      "right integration|array of spline based integration|structure of spline based integration|"
      "look-up||bad pointer|");
  std::string phrase;
  for (std::int32_t status = -1000; std::getline(says, phrase, '|'); --status) {
    const char* const text = rvn::statusText(status);
    EXPECT_EQ(text == nullptr, phrase.empty()) << status;
    EXPECT_NE(std::string(text == nullptr ? "" : text).find(phrase), std::string::npos) << status;
  }
}

TEST(Demo, StatusTextsAndExitCode) {
  struct Case {
    std::int32_t status;
    const char* text;
  };
  // Texts go to standard output, which a death test does not see: the child sends it to standard error.
  const auto print = [](std::int32_t status) {
    dup2(2, 1);
    rvn::printStatus(status);
  };
  for (const Case& c : {Case{-1004, "^Error: the number of breakpoints is invalid \\(code -1004\\)\\.\n$"},
                        Case{-1035,
                             "^Error: bad site provided for interpolation with look-up interpolator "
                             "\\(code -1035\\)\\.\n$"},
                        Case{-1002, "^$"}, Case{-1500, "^$"}, Case{-5, "^$"}})
    EXPECT_EXIT(print(c.status), testing::ExitedWithCode(1), c.text) << c.status;
  testing::internal::CaptureStdout();
  rvn::printStatus(0);
  rvn::printStatus(1004);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(Demo, DerivativesByTheirDefinition) {
  // 1 + 2 t - 3 t^2 + 0.5 t^3 in the second cell of the second function.
  std::vector<double> coeff(16, 99.0);
  coeff[12] = 1.0;
  coeff[13] = 2.0;
  coeff[14] = -3.0;
  coeff[15] = 0.5;
  const double expected[5] = {-1.0625, -3.625, -1.5, 3.0, 0.0};  // at t = 1.5, by hand
  for (std::int32_t k = 0; k < 5; ++k)
    EXPECT_DOUBLE_EQ(rvn::evalCellDerivative(3, coeff.data(), 4, k, 1, 3.5, 2.0, 1), expected[k]) << k;
}

TEST(Demo, CheckFindsWrongResults) {
  const std::vector<double> x = {0.0, 1.0, 2.0};
  const std::vector<double> coeff = {0.0, 1.0, 0.0, 0.0, 1.0, 2.0, 0.0, 0.0};  // t, then 1 + 2 (t - 1)
  const std::vector<double> sites = {-1.0, 0.5, 1.0, 2.0, 2.5};
  const std::int32_t both[2] = {1, 1};
  std::vector<double> ref(10, -77.0);
  const auto check = [&](std::int32_t ndorder, const std::vector<double>& r) {
    return checkResults(3, x.data(), 1, 4, coeff.data(), 5, sites.data(), ndorder,
                        ndorder == 0 ? nullptr : both, r.data(), ref.data());
  };
  // Sites outside are skipped; a breakpoint belongs to the cell on its right, the last one to the last cell.
  const std::vector<double> right = {7.0, 7.0, 0.5, 1.0, 1.0, 2.0, 3.0, 2.0, 7.0, 7.0};
  EXPECT_EQ(check(2, right), 1);
  EXPECT_EQ(ref, (std::vector<double>{0.0, 0.0, 0.5, 1.0, 1.0, 2.0, 3.0, 2.0, 0.0, 0.0}));
  std::vector<double> wrong = right;
  wrong[5] += 0.011;
  EXPECT_EQ(check(2, wrong), -1);
  wrong[5] = right[5] + 0.009;
  EXPECT_EQ(check(2, wrong), 1);
  EXPECT_EQ(check(0, {7.0, 0.5, 1.0, 3.5, 7.0}), -1) << "without selectors the value alone is checked";
}

TEST(Demo, SineIsSampledFromEndToEnd) {
  std::vector<double> y(9);
  EXPECT_EQ(rvn::makeSineData(y.data(), 1.7, 0.0, 2.0, 9), 0);
  for (int i = 0; i < 9; ++i)
    EXPECT_NEAR(y[static_cast<std::size_t>(i)], std::sin(3.4 * std::numbers::pi * 0.25 * i), 1e-14);
  EXPECT_EQ(rvn::makeSineData(nullptr, 1.7, 0.0, 2.0, 0), 0);
}

TEST(Demo, ShortRunPrintsItsData) {
  std::ostringstream expected;
  expected << "\n i  x(i)        y(i)\n";
  for (int i = 0; i < 6; ++i) {
    char line[64];
    std::snprintf(line, sizeof line, " %d %+.6f   %+.6f\n", i, 0.4 * i,
                  std::sin(3.4 * std::numbers::pi * 0.4 * i));
    expected << line;
  }
  testing::internal::CaptureStdout();
  EXPECT_EQ(VetraDataFitting().test(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), expected.str());
}

}  // namespace
