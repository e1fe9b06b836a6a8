// Smoothing splines against SciPy, against a dense solution of the same problem, and by what defines them.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "dispatch/level_table.h"
#include "support/compare.h"
#include "support/dense_spline.h"
#include "support/failing_heap.h"
#include "support/levels.h"
#include "support/task.h"

#include <ravenfit/smoothing.h>

namespace {

using Doubles = std::vector<double>;

struct Problem {
  Doubles x;
  Doubles y;
  Doubles w;
  std::int32_t functions = 1;
  std::int32_t yhint = DF_VALUES_DEFAULT;
};

struct Smoothed {
  std::int32_t status;
  Doubles lambda;
  Doubles coeff;
};

Smoothed smooth(const Problem& p, std::int32_t method, double lambda) {
  const auto n = static_cast<std::int32_t>(p.x.size());
  const auto functions = static_cast<std::size_t>(p.functions);
  Smoothed s = {0, Doubles(functions, -7.0), Doubles(functions * 4 * (p.x.size() - 1), -7.0)};
  s.status = dfSmooth(n, p.x.data(), DF_XHINT_NONE, p.functions, p.y.data(), p.yhint,
                      p.w.empty() ? nullptr : p.w.data(), method, lambda, s.lambda.data(), s.coeff.data());
  return s;
}

// Noise without a generator: the fractions of multiples of irrational numbers.
double noise(std::size_t i) {
  const double t =
      static_cast<double>(i) * 0.7548776662466927 + static_cast<double>(i * i) * 0.5698402909980532;
  return t - std::floor(t) - 0.5;
}

Problem noisy(std::size_t n, double length, std::int32_t functions = 1) {
  Problem p;
  for (std::size_t i = 0; i < n; ++i) {
    p.x.push_back(length * (static_cast<double>(i) + 0.6 * noise(i + 3)) / static_cast<double>(n));
    p.w.push_back(1.25 + noise(i + 17));
  }
  for (std::size_t f = 0; f < static_cast<std::size_t>(functions); ++f)
    for (std::size_t i = 0; i < n; ++i)
      p.y.push_back(std::sin(p.x[i] * (1.0 + 0.3 * static_cast<double>(f))) + 0.4 * noise(i + 31 * f));
  p.functions = functions;
  return p;
}

TEST(Smoothing, EqualsSciPy) {
  std::ifstream file(KNOWN_ANSWERS "/smoothing.kat");
  Problem p;
  std::string lambda;
  int cases = 0;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string what;
    words >> what;
    if (what == "case") words >> lambda;
    if (what != "x" && what != "y" && what != "w" && what != "coeff") continue;
    std::size_t count = 0;
    words >> count;
    Doubles values(count);
    for (double& value : values)
      words >> value;
    ASSERT_FALSE(words.fail());
    if (what == "x") p.x = values;
    if (what == "y") p.y = values;
    if (what == "w") p.w = values;
    if (what != "coeff") continue;
    ++cases;
    const bool validated = lambda == "gcv";
    const Smoothed s =
        smooth(p, validated ? DF_SMOOTH_GCV : DF_SMOOTH_LAMBDA, validated ? 0.0 : std::stod(lambda));
    ASSERT_EQ(s.status, 0);
    // What SciPy's own search and factors leave of the digits.
    const double tolerance = validated ? 2e-4 : 1e-9;
    EXPECT_TRUE(support::close(s.coeff, values, Doubles(count, tolerance))) << count << ", lambda " << lambda;
  }
  EXPECT_EQ(cases, 19);
}

// (W + lambda Q R^-1 Q^T) A = W, solved column by column in long double: the smoothed values A y, and the score.
struct DenseSmoother {
  std::vector<support::Row> a;  // columns of A
  explicit DenseSmoother(const Problem& p, long double lambda) {
    const std::size_t n = p.x.size();
    std::vector<support::Row> k(n, support::Row(n));
    std::vector<support::Row> r(n - 2, support::Row(n - 2));
    std::vector<support::Row> q(n - 2, support::Row(n));
    const auto h = [&](std::size_t i) { return static_cast<long double>(p.x[i + 1]) - p.x[i]; };
    for (std::size_t j = 0; j < n - 2; ++j) {
      q[j][j] = 1.0L / h(j);
      q[j][j + 2] = 1.0L / h(j + 1);
      q[j][j + 1] = -q[j][j] - q[j][j + 2];
      r[j][j] = (h(j) + h(j + 1)) / 3.0L;
      if (j > 0) r[j][j - 1] = r[j - 1][j] = h(j) / 6.0L;
    }
    for (std::size_t i = 0; i < n; ++i) {
      support::Row column(n - 2);
      for (std::size_t j = 0; j < n - 2; ++j)
        column[j] = q[j][i];
      column = support::solveDense(r, column);
      for (std::size_t j = 0; j < n - 2; ++j)
        for (std::size_t l = 0; l < n; ++l)
          k[l][i] += lambda * q[j][l] * column[j];
      k[i][i] += p.w[i];
    }
    for (std::size_t i = 0; i < n; ++i) {
      support::Row unit(n);
      unit[i] = p.w[i];
      a.push_back(support::solveDense(k, unit));
    }
  }

  support::Row values(const Problem& p) const {
    support::Row g(p.x.size());
    for (std::size_t i = 0; i < g.size(); ++i)
      for (std::size_t l = 0; l < g.size(); ++l)
        g[l] += a[i][l] * p.y[i];
    return g;
  }

  long double score(const Problem& p) const {
    const support::Row g = values(p);
    long double squares = 0.0L;
    auto freedom = static_cast<long double>(g.size());
    for (std::size_t i = 0; i < g.size(); ++i) {
      squares += p.w[i] * (p.y[i] - g[i]) * (p.y[i] - g[i]);
      freedom -= a[i][i];
    }
    return squares / (freedom * freedom);
  }
};

TEST(Smoothing, EqualsTheDenseSolutionAndMinimisesItsScore) {
  for (const std::size_t n : {5u, 6u, 9u, 31u}) {
    const Problem p = noisy(n, 6.0);
    for (const double lambda : {1e-7, 1e-3, 0.5, 50.0}) {
      const support::Row g = DenseSmoother(p, lambda).values(p);
      const Smoothed s = smooth(p, DF_SMOOTH_LAMBDA, lambda);
      for (std::size_t i = 0; i + 1 < n; ++i)
        EXPECT_NEAR(s.coeff[4 * i], static_cast<double>(g[i]), 4e-15) << n << ", " << lambda << ", " << i;
    }
    const Smoothed s = smooth(p, DF_SMOOTH_GCV, 0.0);
    const long double least = DenseSmoother(p, s.lambda[0]).score(p);
    for (double lambda = 1e-7; lambda < 1e5; lambda *= 1.25)
      EXPECT_LE(least, DenseSmoother(p, lambda).score(p) * (1.0L + 3e-6L))
          << n << ": " << s.lambda[0] << ", " << lambda;
  }
}

// lambda (g'''(x_i +) - g'''(x_i -)) = w_i (y_i - g(x_i)) makes a natural spline the minimum, through every way that
// systems of these sizes are solved.
TEST(Smoothing, JumpsOfTheThirdDerivativeAreTheResiduals) {
  for (const std::size_t n : {3u, 40u, 3000u})
    for (const double lambda : {1e-6, 1e-3, 1.0, 1e6}) {
      const Problem p = noisy(n, static_cast<double>(n), 5);
      const Smoothed s = smooth(p, DF_SMOOTH_LAMBDA, lambda);
      ASSERT_EQ(s.status, 0);
      for (std::size_t f = 0; f < 5; ++f)
        for (std::size_t i = 0; i + 1 < n; ++i) {
          const double* const c = s.coeff.data() + 4 * (f * (n - 1) + i);
          const double jump = i == 0 ? c[3] : c[3] - c[-1];
          const double residual = p.w[i] * (p.y[f * n + i] - c[0]);
          ASSERT_NEAR(6.0 * lambda * jump, residual, 1e-13 * (1.0 + lambda))
              << n << ", " << lambda << ", " << i;
          if (i == 0) continue;
          const double h = p.x[i] - p.x[i - 1];
          ASSERT_NEAR(c[-4] + h * (c[-3] + h * (c[-2] + h * c[-1])), c[0], 1e-14);
          ASSERT_NEAR(c[-3] + h * (2.0 * c[-2] + h * 3.0 * c[-1]), c[1], 1e-13);
          ASSERT_NEAR(c[-2] + h * 3.0 * c[-1], c[2], 1e-12);
        }
    }
}

TEST(Smoothing, TendsToTheNaturalSplineAndToTheLine) {
  const Problem p = noisy(20000, 3.0);
  const auto n = static_cast<std::int32_t>(p.x.size());
  support::Task natural(n, p.x, DF_XHINT_NONE, 1, p.y, DF_VALUES_DEFAULT, {});
  ASSERT_EQ(dfTaskConstruct(natural.get(), 0, 0), 0);
  const Doubles spline = smooth(p, DF_SMOOTH_LAMBDA, 0.0).coeff;
  for (std::size_t i = 0; i < spline.size(); ++i)
    ASSERT_NEAR(spline[i], natural.coeff()[i], 1e-10 * std::fabs(natural.coeff()[i]) + 1e-3) << i;

  long double sum[5] = {};  // of w, w x, w x^2, w y, w x y
  for (std::size_t i = 0; i < p.x.size(); ++i) {
    const long double terms[5] = {1.0L, p.x[i], static_cast<long double>(p.x[i]) * p.x[i], p.y[i],
                                  static_cast<long double>(p.x[i]) * p.y[i]};
    for (int k = 0; k < 5; ++k)
      sum[k] += p.w[i] * terms[k];
  }
  const long double slope = (sum[0] * sum[4] - sum[1] * sum[3]) / (sum[0] * sum[2] - sum[1] * sum[1]);
  const long double level = (sum[3] - slope * sum[1]) / sum[0];
  for (const double lambda : {1e25, std::numeric_limits<double>::max()}) {
    const Doubles line = smooth(p, DF_SMOOTH_LAMBDA, lambda).coeff;
    for (std::size_t i = 0; i + 1 < p.x.size(); ++i) {
      ASSERT_NEAR(line[4 * i], static_cast<double>(level + slope * p.x[i]), 1e-14) << lambda << ", " << i;
      ASSERT_NEAR(line[4 * i + 1], static_cast<double>(slope), 1e-10);
    }
  }

  Problem straight = noisy(50, 7.0);
  for (std::size_t i = 0; i < straight.x.size(); ++i)
    straight.y[i] = 3.0 - 0.5 * straight.x[i];
  const Smoothed s = smooth(straight, DF_SMOOTH_GCV, 0.0);
  for (std::size_t i = 0; i + 1 < straight.x.size(); ++i)
    EXPECT_NEAR(s.coeff[4 * i + 1], -0.5, 1e-13);
}

// Layouts, numbers of functions, and units that are powers of two: the same bits.
TEST(Smoothing, FunctionsDoNotDependOnEachOtherNorOnUnits) {
  for (const std::int32_t functions : {1, 2, 3, 9})
    for (const std::int32_t method : {DF_SMOOTH_LAMBDA, DF_SMOOTH_GCV}) {
      const Problem rows = noisy(37, 9.0, functions);
      const Smoothed whole = smooth(rows, method, 0.25);
      ASSERT_EQ(whole.status, 0);
      Problem columns = rows;
      columns.yhint = DF_VALUES_BY_BREAKPOINT;
      const auto count = static_cast<std::size_t>(functions);
      for (std::size_t i = 0; i < rows.y.size(); ++i)
        columns.y[i % 37 * count + i / 37] = rows.y[i];
      EXPECT_TRUE(support::same(smooth(columns, method, 0.25).coeff, whole.coeff));
      for (std::size_t f = 0; f < count; ++f) {
        Problem one = rows;
        one.functions = 1;
        one.y.assign(rows.y.begin() + static_cast<std::ptrdiff_t>(37 * f),
                     rows.y.begin() + static_cast<std::ptrdiff_t>(37 * (f + 1)));
        for (double& x : one.x)
          x *= 0x1p200;
        for (double& w : one.w)
          w *= 0x1p-300;
        Smoothed alone = smooth(one, method, 0.25 * 0x1p300);
        EXPECT_EQ(alone.lambda[0] * 0x1p-300, whole.lambda[f]);
        for (std::size_t i = 0; i < alone.coeff.size(); ++i)
          alone.coeff[i] = std::ldexp(alone.coeff[i], 200 * static_cast<int>(i % 4));
        const auto at = whole.coeff.begin() + static_cast<std::ptrdiff_t>(f * alone.coeff.size());
        EXPECT_TRUE(
            support::same(alone.coeff, Doubles(at, at + static_cast<std::ptrdiff_t>(alone.coeff.size()))));
      }
    }
}

TEST(Smoothing, EveryLevelGivesTheSameBits) {
  const Problem p = noisy(700, 50.0, 7);
  Doubles lambda(7);
  Doubles coeff(7 * 4 * 699);
  Doubles first;
  for (const std::int32_t level : support::runnableLevels())
    for (const bool validated : {true, false}) {
      const rvn::SmoothingCall call = {.nx = 700,
                                       .x = p.x.data(),
                                       .uniform = false,
                                       .ny = 7,
                                       .y = p.y.data(),
                                       .byBreakpoint = false,
                                       .w = p.w.data(),
                                       .crossValidated = validated,
                                       .lambda = 1e4,
                                       .lambdaUsed = lambda.data(),
                                       .coeff = coeff.data()};
      ASSERT_EQ(rvn::levelTables[level]->smoothing->smooth(call), 0);
      if (!validated) continue;
      if (first.empty()) first = coeff;
      EXPECT_TRUE(support::same(coeff, first)) << level;
    }
}

TEST(Smoothing, UniformPartitionsAndTasks) {
  const Problem p = noisy(65, 8.0);
  Doubles x(65);
  for (std::size_t i = 0; i < x.size(); ++i)
    x[i] = -2.0 + 0.125 * static_cast<double>(i);
  Doubles expected(4 * 64);
  Doubles coeff(4 * 64);
  ASSERT_EQ(dfSmooth(65, x.data(), DF_XHINT_NONE, 1, p.y.data(), DF_VALUES_DEFAULT, nullptr, DF_SMOOTH_GCV,
                     0.0, nullptr, expected.data()),
            0);
  const double ends[2] = {-2.0, 6.0};
  ASSERT_EQ(dfSmooth(65, ends, DF_XHINT_UNIFORM, 1, p.y.data(), DF_VALUES_DEFAULT, nullptr, DF_SMOOTH_GCV,
                     0.0, nullptr, coeff.data()),
            0);
  EXPECT_TRUE(support::same(coeff, expected));

  DfTask* task = nullptr;
  ASSERT_EQ(dfTaskCreate(&task, 65, ends, DF_XHINT_UNIFORM, 1, p.y.data(), DF_VALUES_DEFAULT), 0);
  ASSERT_EQ(dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr,
                             coeff.data(), DF_COEFF_DEFAULT),
            0);
  const double site = x[10] + 0.0625;
  double r = 0.0;
  ASSERT_EQ(dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, DF_SITES_NONE, 0,
                              nullptr, nullptr, &r, DF_RESULTS_DEFAULT, nullptr),
            0);
  const double* const c = coeff.data() + 40;
  EXPECT_NEAR(r, c[0] + 0.0625 * (c[1] + 0.0625 * (c[2] + 0.0625 * c[3])), 1e-15);
  dfTaskDestroy(&task);
}

// What a call is refused for; nothing is written then.
TEST(Smoothing, RefusesBadArguments) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double infinity = std::numeric_limits<double>::infinity();
  constexpr double most = std::numeric_limits<double>::max();
  struct Call {
    std::int32_t nx = 5;
    Doubles x = {0.0, 1.0, 2.0, 3.0, 4.0};
    std::int32_t xhint = DF_XHINT_NONE;
    std::int32_t ny = 1;
    Doubles y = {1.0, 0.0, 2.0, 0.0, 1.0};
    std::int32_t yhint = DF_VALUES_DEFAULT;
    Doubles w = {1.0, 1.0, 1.0, 1.0, 1.0};
    std::int32_t method = DF_SMOOTH_LAMBDA;
    double lambda = 0.5;
    bool coeff = true;
  };
  const struct {
    std::int32_t status;
    Call call;
  } cases[] = {
      {0, {}},
      {0, {.nx = 2}},
      {0, {.lambda = most}},
      {0, {.lambda = 5e-324}},
      {DF_ERROR_SMOOTH_SCALE, {.x = {-most / 4, 1.0, 2.0, 3.0, most / 4}, .lambda = 1.0}},
      {DF_ERROR_SMOOTH_SCALE, {.x = {0.0, 5e-324, 1e-323, 1.5e-323, 1.0}, .method = DF_SMOOTH_GCV}},
      {0, {.y = {0.0, 0.0, 0.0, 0.0, 0.0}, .method = DF_SMOOTH_GCV, .lambda = nan}},
      {DF_ERROR_BREAKPOINT_COUNT, {.nx = 1}},
      {DF_ERROR_BREAKPOINT_COUNT, {.nx = -1}},
      {DF_ERROR_BREAKPOINT_COUNT, {.nx = 4, .method = DF_SMOOTH_GCV}},
      {DF_ERROR_NULL_BREAKPOINTS, {.x = {}}},
      {DF_ERROR_PARTITION_HINT, {.xhint = 3}},
      {DF_ERROR_FUNCTION_COUNT, {.ny = 0}},
      {DF_ERROR_FUNCTION_VALUES, {.y = {}}},
      {DF_ERROR_VALUES_HINT, {.yhint = DF_VALUES_FIRST_ROW}},
      {DF_ERROR_NULL_COEFFICIENTS, {.coeff = false}},
      {DF_ERROR_SMOOTH_METHOD, {.method = 2}},
      {DF_ERROR_LAMBDA, {.lambda = -1e-300}},
      {DF_ERROR_LAMBDA, {.lambda = infinity}},
      {DF_ERROR_LAMBDA, {.lambda = nan}},
      {DF_ERROR_BREAKPOINTS, {.x = {0.0, 1.0, 1.0, 3.0, 4.0}}},
      {DF_ERROR_BREAKPOINTS, {.x = {0.0, 1.0, nan, 3.0, 4.0}}},
      {DF_ERROR_BREAKPOINTS, {.x = {0.0, 1.0, 2.0, 3.0, infinity}}},
      {DF_ERROR_BREAKPOINTS, {.x = {-most, 1.0, 2.0, 3.0, most}}},
      {DF_ERROR_BREAKPOINTS, {.x = {1.0, 0.0}, .xhint = DF_XHINT_UNIFORM}},
      {DF_ERROR_WEIGHTS, {.w = {1.0, 0.0, 1.0, 1.0, 1.0}}},
      {DF_ERROR_WEIGHTS, {.w = {1.0, 1.0, nan, 1.0, 1.0}}},
      {DF_ERROR_WEIGHTS, {.w = {1.0, 1.0, 1.0, 1.0, infinity}}},
      {DF_ERROR_NOT_FINITE, {.y = {1.0, 0.0, nan, 0.0, 1.0}}},
      {DF_ERROR_NOT_FINITE, {.y = {1.0, 0.0, 0.0, 0.0, -infinity}}},
  };
  for (const auto& c : cases) {
    Doubles lambda(1, -7.0);
    Doubles coeff(16, -7.0);
    const auto given = [](const Doubles& values) { return values.empty() ? nullptr : values.data(); };
    const std::int32_t status = dfSmooth(c.call.nx, given(c.call.x), c.call.xhint, c.call.ny, given(c.call.y),
                                         c.call.yhint, given(c.call.w), c.call.method, c.call.lambda,
                                         lambda.data(), c.call.coeff ? coeff.data() : nullptr);
    EXPECT_EQ(status, c.status) << &c - cases;
    const bool untouched = lambda[0] == -7.0 && std::count(coeff.begin(), coeff.end(), -7.0) == 16;
    EXPECT_EQ(untouched, status != 0) << &c - cases;
    for (const double one : coeff)
      EXPECT_FALSE(std::isnan(one)) << &c - cases;
  }
}

TEST(Smoothing, WithoutMemoryNothingIsWritten) {
  const Problem p = noisy(3000, 5.0);
  for (int n = 1;; ++n) {
    const support::FailingHeap heap(n);
    const Smoothed s = smooth(p, DF_SMOOTH_GCV, 0.0);
    EXPECT_EQ(heap.live(), 0);
    if (s.status == 0) {
      EXPECT_GT(n, 2);
      break;
    }
    EXPECT_EQ(s.status, DF_ERROR_MEMORY);
    EXPECT_EQ(s.coeff, Doubles(s.coeff.size(), -7.0));
    EXPECT_EQ(s.lambda[0], -7.0);
  }
}

}  // namespace
