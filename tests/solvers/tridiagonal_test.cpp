#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <raven/tridiagonal.h>

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
      std::mt19937 random(3);
      std::uniform_real_distribution<double> value(-1.0, 1.0);
      std::vector<double> expected(static_cast<std::size_t>(ldb) * static_cast<std::size_t>(nrhs), -77.0);
      std::vector<double> b = expected;
      for (std::int32_t j = 0; j < nrhs; ++j) {
        std::vector<double> z(static_cast<std::size_t>(n));
        for (double& a : z)
          a = value(random);
        const std::vector<double> column = system.times(z);
        for (std::size_t i = 0; i < z.size(); ++i) {
          const std::size_t at = static_cast<std::size_t>(j) * static_cast<std::size_t>(ldb) + i;
          expected[at] = z[i];
          b[at] = column[i];
        }
      }
      System one = system;
      std::vector<double> bOne = b;
      std::int32_t info = -9;
      DDTSVB(&n, &nrhs, one.dl.data(), one.d.data(), one.du.data(), bOne.data(), &ldb, &info);
      ASSERT_EQ(info, 0);
      System two = system;
      std::vector<double> bTwo = b;
      DDTTRFB(&n, two.dl.data(), two.d.data(), two.du.data(), &info);
      ASSERT_EQ(info, 0);
      DDTTRSB("n", &n, &nrhs, two.dl.data(), two.d.data(), two.du.data(), bTwo.data(), &ldb, &info);
      ASSERT_EQ(info, 0);
      EXPECT_EQ(one.d, two.d);
      EXPECT_EQ(one.dl, two.dl);
      EXPECT_EQ(two.du, system.du);
      for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_NEAR(bOne[i], expected[i], 1e-13) << "n " << n << " nrhs " << nrhs << " element " << i;
        ASSERT_NEAR(bTwo[i], expected[i], 1e-13) << "n " << n << " nrhs " << nrhs << " element " << i;
      }
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
  // Invertible, but the leading minor vanishes.
  const std::int32_t n = 2;
  std::vector<double> dl = {1.0};
  std::vector<double> d = {0.0, 0.0};
  const std::vector<double> du = {1.0};
  std::int32_t info = -9;
  DDTTRFB(&n, dl.data(), d.data(), du.data(), &info);
  EXPECT_EQ(info, 1);
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
  double* p = a.data();
  const auto report = [](const char* name, int position) {
    return "\nVetra RVN ERROR: Parameter " + std::to_string(position) + " was incorrect on entry to " + name +
           ".\n";
  };
  struct Case {
    const char* name;
    void (*call)(double* p, const std::int32_t* n, const std::int32_t* nrhs, const std::int32_t* ldb,
                 std::int32_t* info);
    const std::int32_t* n;
    const std::int32_t* nrhs;
    const std::int32_t* ldb;
    std::int32_t info;
  };
  const auto factorSolve = [](double* q, const std::int32_t* n, const std::int32_t* nrhs,
                              const std::int32_t* ldb,
                              std::int32_t* info) { DDTSVB(n, nrhs, q, q + 2, q + 4, q + 6, ldb, info); };
  const auto factor = [](double* q, const std::int32_t* n, const std::int32_t*, const std::int32_t*,
                         std::int32_t* info) { DDTTRFB(n, q, q + 2, q + 4, info); };
  const auto solve = [](double* q, const std::int32_t* n, const std::int32_t* nrhs, const std::int32_t* ldb,
                        std::int32_t* info) { DDTTRSB("T", n, nrhs, q, q + 2, q + 4, q + 6, ldb, info); };
  const auto solveBadTrans = [](double* q, const std::int32_t* n, const std::int32_t* nrhs,
                                const std::int32_t* ldb, std::int32_t* info) {
    DDTTRSB("Q", n, nrhs, q, q + 2, q + 4, q + 6, ldb, info);
  };
  const auto noArrays = [](double*, const std::int32_t* n, const std::int32_t* nrhs, const std::int32_t* ldb,
                           std::int32_t* info) {
    DDTSVB(n, nrhs, nullptr, nullptr, nullptr, nullptr, ldb, info);
  };
  const Case cases[] = {
      {"DDTSVB", factorSolve, &minus, &minus, &minus, -1},
      {"DDTSVB", factorSolve, &two, &minus, &zero, -2},
      {"DDTSVB", factorSolve, &three, &two, &two, -7},
      {"DDTSVB", factorSolve, nullptr, &two, &two, -1},
      {"DDTSVB", noArrays, &two, &two, &two, -3},
      {"DDTTRFB", factor, &minus, nullptr, nullptr, -1},
      {"DDTTRSB", solveBadTrans, &minus, &minus, &zero, -1},
      {"DDTTRSB", solve, &minus, &minus, &zero, -2},
      {"DDTTRSB", solve, &two, &minus, &zero, -3},
      {"DDTTRSB", solve, &three, &two, &two, -8},
  };
  for (const Case& c : cases) {
    std::int32_t info = -99;
    testing::internal::CaptureStdout();
    c.call(p, c.n, c.nrhs, c.ldb, &info);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(info, c.info) << c.name;
    EXPECT_EQ(printed, report(c.name, -c.info));
  }
  // Nothing to do is no error, and no array is looked at.
  for (const auto& [n, nrhs] : {std::pair{&zero, &two}, std::pair{&three, &zero}}) {
    std::int32_t info = -99;
    DDTSVB(n, nrhs, nullptr, nullptr, nullptr, nullptr, n, &info);
    EXPECT_EQ(info, 0);
    info = -99;
    DDTTRSB("N", n, nrhs, nullptr, nullptr, nullptr, nullptr, n, &info);
    EXPECT_EQ(info, 0);
  }
  EXPECT_EQ(a, std::vector<double>(8, -77.0));
}

}  // namespace
