#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/compare.h"
#include "support/printed.h"

#include <ravenfit/tridiagonal.h>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

struct System {
  std::int32_t n;
  std::vector<double> dl;
  std::vector<double> d;
  std::vector<double> du;

  System(std::int32_t order, std::uint32_t seed) : n(order), dl(room()), d(room()), du(room()) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    for (std::size_t i = 0; i < dl.size(); ++i) {
      dl[i] = value(random);
      du[i] = value(random);
      d[i] = (value(random) < 0.0 ? -1.0 : 1.0) * (3.5 + 0.5 * value(random));
    }
  }

  std::size_t room() const { return static_cast<std::size_t>(n > 0 ? n : 1); }

  // b := A z for one column, in long double.
  std::vector<double> times(const std::vector<double>& z) const {
    std::vector<double> b(z.size());
    for (std::size_t i = 0; i < b.size(); ++i) {
      long double sum = static_cast<long double>(d[i]) * z[i];
      if (i > 0) sum += static_cast<long double>(dl[i - 1]) * z[i - 1];
      if (i + 1 < b.size()) sum += static_cast<long double>(du[i]) * z[i + 1];
      b[i] = static_cast<double>(sum);
    }
    return b;
  }
};

TEST(Tridiagonal, SolvesSystemsOfEveryShape) {
  for (const std::int32_t n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 15, 16, 64, 101, 1000}) {
    for (const std::int32_t nrhs : {1, 2, 7, 8, 9, 16, 17}) {
      const System system(n, static_cast<std::uint32_t>(100 * n + nrhs));
      const std::int32_t ldb = n + 3;
      std::vector<double> expected;
      std::vector<double> b;
      for (std::int32_t j = 0; j < nrhs; ++j) {
        const std::vector<double> z = System(n, static_cast<std::uint32_t>(j)).dl;
        for (auto [whole, column] : {std::pair{&expected, z}, std::pair{&b, system.times(z)}}) {
          whole->insert(whole->end(), column.begin(), column.end());
          whole->insert(whole->end(), 3, -77.0);
        }
      }
      System one = system;
      std::vector<double> bOne = b;
      std::int32_t info = -9;
      DDTSVB(&n, &nrhs, one.dl.data(), one.d.data(), one.du.data(), bOne.data(), &ldb, &info);
      ASSERT_EQ(info, 0);
      System two = system;
      DDTTRFB(&n, two.dl.data(), two.d.data(), two.du.data(), &info);
      ASSERT_EQ(info, 0);
      DDTTRSB("n", &n, &nrhs, two.dl.data(), two.d.data(), two.du.data(), b.data(), &ldb, &info);
      ASSERT_EQ(info, 0);
      EXPECT_EQ(one.d, two.d);
      EXPECT_EQ(one.dl, two.dl);
      EXPECT_EQ(two.du, system.du);
      const std::vector<double> tolerance(b.size(), 1e-13);
      ASSERT_TRUE(support::close(bOne, expected, tolerance)) << "n " << n << " nrhs " << nrhs;
      ASSERT_TRUE(support::close(b, expected, tolerance)) << "n " << n << " nrhs " << nrhs;
    }
  }
}

// Row c = n / 2 takes the last pivot: with L from the top and U from the bottom the factors follow by hand.
TEST(Tridiagonal, FactorsOfFiveRowsByHand) {
  const std::int32_t n = 5;
  std::vector<double> dl = {2.0, 1.0, 3.0, 4.0};
  std::vector<double> d = {4.0, 2.5, 7.0, 4.0, 8.0};
  const std::vector<double> du = {1.0, 2.0, 1.0, 2.0};
  std::int32_t info = -9;
  DDTTRFB(&n, dl.data(), d.data(), du.data(), &info);
  EXPECT_EQ(info, 0);
  // Top: 4; 2.5 - 1 * 2/4 = 2. Bottom: 8; 4 - 2 * 4/8 = 3. Middle: 7 - 2 * 1/2 - 1 * 3/3 = 5.
  const std::vector<double> pivots = {4.0, 2.0, 5.0, 3.0, 8.0};
  const std::vector<double> multipliers = {0.5, 0.5, 1.0, 0.5};
  for (std::size_t i = 0; i < pivots.size(); ++i)
    EXPECT_DOUBLE_EQ(d[i], 1.0 / pivots[i]);
  for (std::size_t i = 0; i < multipliers.size(); ++i)
    EXPECT_DOUBLE_EQ(dl[i], multipliers[i]);
}

TEST(Tridiagonal, NamesTheFirstUnusablePivot) {
  struct Case {
    std::int32_t n;
    std::size_t row;
    double pivot;
    std::int32_t info;
  };
  for (const Case& c : {Case{1, 0, 0.0, 1}, Case{1, 0, nan, 1}, Case{2, 0, 0.0, 1}, Case{3, 2, 0.0, 3},
                        Case{9, 8, nan, 9}, Case{9, 0, -0.0, 1}, Case{9, 4, nan, 5}, Case{8, 3, nan, 4},
                        Case{8, 4, nan, 5}, Case{8, 6, nan, 7}}) {
    for (const std::int32_t nrhs : {1, 2}) {
      System system(c.n, 4);
      // Decoupled rows, so that a pivot is the diagonal itself.
      system.dl.assign(system.dl.size(), 0.0);
      system.d[c.row] = c.pivot;
      System factored = system;
      std::int32_t info = -9;
      DDTTRFB(&c.n, factored.dl.data(), factored.d.data(), factored.du.data(), &info);
      EXPECT_EQ(info, c.info) << c.n << " " << c.row;
      std::vector<double> b(2 * system.room(), 1.0);
      info = -9;
      DDTSVB(&c.n, &nrhs, system.dl.data(), system.d.data(), system.du.data(), b.data(), &c.n, &info);
      EXPECT_EQ(info, c.info) << c.n << " " << c.row;
    }
  }
}

// Where factoring stops, rows that were begun hold their running pivots; by hand.
TEST(Tridiagonal, LeavesRunningPivotsWhereItStops) {
  const struct {
    std::vector<double> dl, d, du, left;
    std::int32_t info;
  } cases[] = {
      {{1}, {0, 0}, {1}, {0, 0}, 1},  // invertible, but the leading minor vanishes
      {{2}, {4, 1}, {2}, {0.25, 0}, 2},
      {{1, 2, 3}, {4, 0, 5, 6}, {0, 0, 1}, {0.25, 0, 4.5, 1.0 / 6}, 2},
      {{2, 1, 3, 1}, {4, 3, 7, 2, 4}, {2, 1, 2, 8}, {0.25, 0.5, 6.5, 0, 0.25}, 4},
      {{2, 1, 1, 1}, {4, 3, 1, 2, 4}, {2, 1, 1, 4}, {0.25, 0.5, -2, 1, 0.25}, 0},
      {{1, 0, 2, 1}, {1, 5, 4, 3, 0}, {2, 1, 1, 1}, {1, 3, 4, 3, 0}, 5},
      {{2, 1, 2, 1}, {4, 3, 2.5, 2, 4}, {2, 1, 1, 4}, {0.25, 0.5, 0, 1, 0.25}, 3},
  };
  for (const auto& c : cases) {
    const auto n = static_cast<std::int32_t>(c.d.size());
    const std::int32_t one = 1;
    for (const bool both : {false, true}) {
      auto [dl, d, du, left, expected] = c;
      std::vector<double> b(d.size(), 1.0);
      std::int32_t info = -9;
      if (both) {
        DDTSVB(&n, &one, dl.data(), d.data(), du.data(), b.data(), &n, &info);
      } else {
        DDTTRFB(&n, dl.data(), d.data(), du.data(), &info);
      }
      EXPECT_EQ(info, expected);
      for (std::size_t i = 0; i < d.size(); ++i)
        EXPECT_DOUBLE_EQ(d[i], left[i]) << n << " rows, row " << i;
    }
  }
}

// The mirrored solve undoes, step by step, the four sweeps that it consists of.
TEST(Tridiagonal, MirroredSolveAppliesItsFourSweeps) {
  for (const std::int32_t n : {1, 2, 3, 4, 9, 10}) {
    System f(n, 11);
    std::int32_t info = -9;
    DDTTRFB(&n, f.dl.data(), f.d.data(), f.du.data(), &info);
    ASSERT_EQ(info, 0);
    const std::vector<double> start(f.room(), 1.25);
    std::vector<double> b = start;
    const std::int32_t one = 1;
    DDTTRSB("c", &n, &one, f.dl.data(), f.d.data(), f.du.data(), b.data(), &n, &info);
    ASSERT_EQ(info, 0);
    const auto last = static_cast<std::size_t>(n) - 1;
    const std::size_t c = static_cast<std::size_t>(n) / 2;
    for (std::size_t k = 0; k < c; ++k)
      b[k] += f.du[k] * b[k + 1];
    for (std::size_t k = last; k > 0; --k)
      b[k] = b[k] / f.d[k] + f.dl[k - 1] * b[k - 1];
    b[0] /= f.d[0];
    for (std::size_t k = c; k < last; ++k)
      b[k] += f.du[k] * b[k + 1];
    for (std::size_t i = 0; i <= last; ++i)
      EXPECT_NEAR(b[i], start[i], 1e-12) << n << " " << i;
  }
}

TEST(Tridiagonal, ReportsBadArgumentsAndTouchesNothing) {
  const std::int32_t minus = -1;
  const std::int32_t zero = 0;
  const std::int32_t two = 2;
  const std::int32_t three = 3;
  std::vector<double> a(8, -77.0);
  const struct {
    std::string name;
    const char* trans;
    const std::int32_t* n;
    const std::int32_t* nrhs;
    const std::int32_t* ldb;
    double* arrays;
    std::int32_t info;
  } cases[] = {
      {"DDTSVB", "", &minus, &minus, &minus, a.data(), -1},
      {"DDTSVB", "", &two, &minus, &zero, a.data(), -2},
      {"DDTSVB", "", &three, &two, &two, a.data(), -7},
      {"DDTSVB", "", nullptr, &two, &two, a.data(), -1},
      {"DDTSVB", "", &two, &two, &two, nullptr, -3},
      {"DDTTRFB", "", &minus, nullptr, nullptr, a.data(), -1},
      {"DDTTRSB", "Q", &minus, &minus, &zero, a.data(), -1},
      {"DDTTRSB", "T", &minus, &minus, &zero, a.data(), -2},
      {"DDTTRSB", "T", &two, &minus, &zero, a.data(), -3},
      {"DDTTRSB", "T", &three, &two, &two, a.data(), -8},
      // Nothing to do is no error, and no array is looked at.
      {"DDTSVB", "", &zero, &two, &zero, nullptr, 0},
      {"DDTSVB", "", &three, &zero, &three, nullptr, 0},
      {"DDTTRSB", "N", &zero, &two, &zero, nullptr, 0},
      {"DDTTRSB", "N", &three, &zero, &three, nullptr, 0},
  };
  for (const auto& c : cases) {
    std::int32_t info = -99;
    double* const p = c.arrays;
    const auto at = [&](int offset) { return p == nullptr ? nullptr : p + offset; };
    const std::string text = support::printed([&] {
      if (c.name == "DDTTRFB") DDTTRFB(c.n, p, at(2), at(4), &info);
      if (c.name == "DDTSVB") DDTSVB(c.n, c.nrhs, p, at(2), at(4), at(6), c.ldb, &info);
      if (c.name == "DDTTRSB") DDTTRSB(c.trans, c.n, c.nrhs, p, at(2), at(4), at(6), c.ldb, &info);
    });
    EXPECT_EQ(info, c.info) << c.name;
    EXPECT_EQ(text, c.info == 0 ? "" : support::parameterReport(-c.info, c.name));
  }
  EXPECT_EQ(a, std::vector<double>(8, -77.0));
}

}  // namespace
