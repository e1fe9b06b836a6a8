#include <cmath>
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "support/compare.h"
#include "support/task.h"

#include <raven/data_fitting.h>

namespace {

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
    if (title == "case")
      line >> name >> settings.order >> settings.kind >> settings.bcType >> settings.icType;
    if (title != "coeff") continue;
    const std::vector<double> expected = numbers(line);
    settings.bc = bc.data();
    settings.ic = ic.empty() ? nullptr : ic.data();
    support::Task task(static_cast<std::int32_t>(x.size()), x, 0, 1, y, 0, settings);
    ASSERT_EQ(task.status, DF_STATUS_OK) << name;
    ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK) << name;
    std::vector<double> tolerance;
    for (const double value : expected)
      tolerance.push_back(1e-12 * (1.0 + std::fabs(value)));
    // The generator's own linear algebra loses some digits of the quadratic splines.
    if (settings.order == 3)
      for (double& value : tolerance)
        value *= 100.0;
    EXPECT_TRUE(support::close(task.coeff(), expected, tolerance)) << name;
    ++cases;
  }
  EXPECT_EQ(cases, 18);
}

}  // namespace
