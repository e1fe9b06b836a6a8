// Smoothing splines against SciPy, and by what defines them.

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
  std::int32_t nx = 0;
  std::int32_t functions = 1;
  std::int32_t yhint = DF_VALUES_DEFAULT;
  std::int32_t xhint = DF_XHINT_NONE;
  std::int32_t method = DF_SMOOTH_LAMBDA;
  double lambda = 0.0;
};

struct Smoothed {
  std::int32_t status;
  Doubles lambda;
  Doubles coeff;
};

// An empty array is a null one.
Smoothed smooth(const Problem& p, bool wantsCoeff = true) {
  const auto rows = static_cast<std::size_t>(p.functions > 0 ? p.functions : 0);
  Smoothed s = {0, Doubles(rows, -7.0),
                Doubles(rows * 4 * static_cast<std::size_t>(p.nx > 1 ? p.nx - 1 : 0), -7.0)};
  const auto given = [](const Doubles& values) { return values.empty() ? nullptr : values.data(); };
  s.status = dfSmooth(p.nx, given(p.x), p.xhint, p.functions, given(p.y), p.yhint, given(p.w), p.method,
                      p.lambda, s.lambda.data(), wantsCoeff ? s.coeff.data() : nullptr);
  return s;
}

// Noise without a generator: the fractions of multiples of irrational numbers.
Problem noisy(std::int32_t n, double length, std::int32_t functions, double lambda) {
  const auto noise = [](int i) {
    const double t = i * 0.7548776662466927 + static_cast<double>(i) * i * 0.5698402909980532;
    return t - std::floor(t) - 0.5;
  };
  Problem p;
  p.nx = n;
  p.functions = functions;
  p.lambda = lambda;
  for (int i = 0; i < n; ++i) {
    p.x.push_back(length * (i + 0.6 * noise(i + 3)) / n);
    p.w.push_back(1.25 + noise(i + 17));
  }
  for (int f = 0; f < functions; ++f)
    for (int i = 0; i < n; ++i)
      p.y.push_back(std::sin(p.x[static_cast<std::size_t>(i)] * (1.0 + 0.3 * f)) + 0.4 * noise(i + 31 * f));
  return p;
}

TEST(Smoothing, EqualsSciPy) {
  std::ifstream file(KNOWN_ANSWERS "/smoothing.kat");
  Problem p;
  int cases = 0;
  for (std::string line; std::getline(file, line);) {
    std::istringstream words(line);
    std::string what;
    std::string count;
    words >> what >> count;
    Doubles values;
    for (double value = 0.0; words >> value;)
      values.push_back(value);
    if (what == "x") p.x = values;
    if (what == "y") p.y = values;
    if (what == "w") p.w = values;
    if (what == "case") p.method = count == "gcv" ? DF_SMOOTH_GCV : DF_SMOOTH_LAMBDA;
    if (what == "case" && p.method == DF_SMOOTH_LAMBDA) p.lambda = std::stod(count);
    if (what != "coeff") continue;
    ++cases;
    p.nx = static_cast<std::int32_t>(p.x.size());
    // What SciPy's own search and factors leave of the digits.
    const double tolerance = p.method == DF_SMOOTH_GCV ? 2e-4 : 1e-9;
    EXPECT_TRUE(support::close(smooth(p).coeff, values, Doubles(values.size(), tolerance)))
        << p.nx << ", " << p.lambda;
  }
  EXPECT_EQ(cases, 19);
}

// lambda (g'''(x_i +) - g'''(x_i -)) = w_i (y_i - g(x_i)) makes a natural spline with two continuous derivatives the
// minimum, through every way that systems of these sizes are solved.
TEST(Smoothing, JumpsOfTheThirdDerivativeAreTheResiduals) {
  for (const std::int32_t n : {2, 3, 40, 3000})
    for (const double lambda : {1e-6, 1e-3, 1.0, 1e6}) {
      const Problem p = noisy(n, n, 5, lambda);
      const Smoothed s = smooth(p);
      ASSERT_EQ(s.status, 0);
      const auto cells = static_cast<std::size_t>(n - 1);
      for (std::size_t f = 0; f < 5; ++f)
        for (std::size_t i = 0; i < cells; ++i) {
          const double* const c = s.coeff.data() + 4 * (f * cells + i);
          const double residual = p.w[i] * (p.y[f * (cells + 1) + i] - c[0]);
          ASSERT_NEAR(6.0 * lambda * (i == 0 ? c[3] : c[3] - c[-1]), residual, 1e-13 * (1.0 + lambda))
              << n << ", " << i;
          if (i == 0) continue;
          const double h = p.x[i] - p.x[i - 1];
          ASSERT_NEAR(c[-4] + h * (c[-3] + h * (c[-2] + h * c[-1])), c[0], 1e-14);
          ASSERT_NEAR(c[-3] + h * (2.0 * c[-2] + h * 3.0 * c[-1]), c[1], 1e-13);
          ASSERT_NEAR(c[-2] + h * 3.0 * c[-1], c[2], 1e-12);
        }
    }
}

TEST(Smoothing, TendsToTheNaturalSplineAndToTheLine) {
  Problem p = noisy(20000, 3.0, 1, 0.0);
  const support::Task natural(p.nx, p.x, DF_XHINT_NONE, 1, p.y, DF_VALUES_DEFAULT, {});
  ASSERT_EQ(dfTaskConstruct(natural.get(), 0, 0), 0);
  Doubles tolerance;
  for (const double one : natural.coeff())
    tolerance.push_back(1e-10 * std::fabs(one) + 1e-3);  // of coefficients up to 1e12
  EXPECT_TRUE(support::close(smooth(p).coeff, natural.coeff(), tolerance));

  long double sum[5] = {};  // of w, w x, w x^2, w y, w x y
  for (std::size_t i = 0; i < p.x.size(); ++i) {
    const long double x = p.x[i];
    const long double terms[5] = {1.0L, x, x * x, p.y[i], x * p.y[i]};
    for (int k = 0; k < 5; ++k)
      sum[k] += p.w[i] * terms[k];
  }
  const long double slope = (sum[0] * sum[4] - sum[1] * sum[3]) / (sum[0] * sum[2] - sum[1] * sum[1]);
  for (const double lambda : {1e25, std::numeric_limits<double>::max()}) {
    p.lambda = lambda;
    const Doubles line = smooth(p).coeff;
    for (std::size_t i = 0; 4 * i < line.size(); ++i) {
      ASSERT_NEAR(line[4 * i], static_cast<double>((sum[3] - slope * sum[1]) / sum[0] + slope * p.x[i]),
                  1e-14)
          << i;
      ASSERT_NEAR(line[4 * i + 1], static_cast<double>(slope), 1e-10);
    }
  }
}

// The smoothed unit vectors are the columns of A, of which the score wants the trace.
TEST(Smoothing, CrossValidationFindsTheLeastScore) {
  for (const std::int32_t n : {5, 6, 9, 31}) {
    const auto points = static_cast<std::size_t>(n);
    Problem p = noisy(n, 6.0, 1, 0.0);
    Problem units = p;
    units.functions = n;
    units.y.assign(points * points, 0.0);
    for (std::size_t i = 0; i < points; ++i)
      units.y[i * points + i] = 1.0;
    const auto score = [&](double lambda) {
      p.lambda = units.lambda = lambda;
      const Doubles g = smooth(p).coeff;
      const Doubles a = smooth(units).coeff;
      double squares = 0.0;
      double trace = 0.0;
      for (std::size_t i = 0; i < points; ++i) {
        const auto at = [&](const double* c) {  // the value at breakpoint i
          if (i + 1 < points) return c[4 * i];
          const double h = p.x[i] - p.x[i - 1];
          return c[4 * i - 4] + h * (c[4 * i - 3] + h * (c[4 * i - 2] + h * c[4 * i - 1]));
        };
        squares += p.w[i] * std::pow(p.y[i] - at(g.data()), 2);
        trace += 1.0 - at(a.data() + i * 4 * (points - 1));
      }
      return squares / (trace * trace);
    };
    Problem validated = p;
    validated.method = DF_SMOOTH_GCV;
    const double found = smooth(validated).lambda[0];
    const double least = score(found) * (1.0 - 3e-6);
    for (double lambda = 1e-6; lambda < 1e5; lambda *= 1.25)
      EXPECT_LE(least, score(lambda)) << n << ": " << found << ", " << lambda;
  }
}

// Layouts, levels, numbers of functions, hints, and units that are powers of two: the same bits.
TEST(Smoothing, FunctionsDoNotDependOnEachOtherNorOnUnitsNorLevels) {
  for (const std::size_t count : {1u, 2u, 3u, 9u})
    for (const std::int32_t method : {DF_SMOOTH_LAMBDA, DF_SMOOTH_GCV}) {
      Problem rows = noisy(37, 9.0, static_cast<std::int32_t>(count), 0.25);
      rows.method = method;
      for (std::size_t i = 0; i < 37; ++i)
        rows.x[i] = 0.25 * static_cast<double>(i);
      const Smoothed whole = smooth(rows);
      Problem columns = rows;
      columns.yhint = DF_VALUES_BY_BREAKPOINT;
      columns.xhint = DF_XHINT_UNIFORM;
      columns.x = {rows.x[0], rows.x[36]};
      for (std::size_t i = 0; i < rows.y.size(); ++i)
        columns.y[i % 37 * count + i / 37] = rows.y[i];
      EXPECT_TRUE(support::same(smooth(columns).coeff, whole.coeff));
      for (const std::int32_t level : support::runnableLevels()) {
        Smoothed s = whole;
        EXPECT_EQ(rvn::levelTables[level]->smoothing->smooth(
                      {37, rows.x.data(), false, rows.functions, rows.y.data(), false, rows.w.data(),
                       method == DF_SMOOTH_GCV, 0.25, s.lambda.data(), s.coeff.data()}),
                  0);
        EXPECT_TRUE(support::same(s.coeff, whole.coeff)) << level;
      }
      for (std::size_t f = 0; f < count; ++f) {
        Problem one = rows;
        one.functions = 1;
        one.y = {&rows.y[37 * f], &rows.y[37 * f] + 37};
        one.lambda = 0.25 * 0x1p300;
        for (std::size_t i = 0; i < 37; ++i) {
          one.x[i] *= 0x1p200;
          one.w[i] *= 0x1p-300;
        }
        Smoothed alone = smooth(one);
        EXPECT_EQ(alone.lambda[0] * 0x1p-300, whole.lambda[f]);
        for (std::size_t i = 0; i < alone.coeff.size(); ++i)
          alone.coeff[i] = std::ldexp(alone.coeff[i], 200 * static_cast<int>(i % 4));
        const double* const own = &whole.coeff[f * 144];
        EXPECT_TRUE(support::same(alone.coeff, Doubles(own, own + 144)));
      }
    }
}

// What a call is refused for; nothing is written then.
TEST(Smoothing, RefusesBadArguments) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr double most = std::numeric_limits<double>::max();
  const struct {
    std::int32_t status;
    void (*spoil)(Problem& p);
  } cases[] = {
      {0, [](Problem&) {}},
      {0, [](Problem& p) { p.w.clear(); }},
      {0, [](Problem& p) { p.lambda = most; }},
      {0,
       [](Problem& p) {
         p.y = {0.0, 0.0, 0.0, 0.0, 0.0}, p.method = DF_SMOOTH_GCV, p.lambda = nan;
       }},
      {DF_ERROR_SMOOTH_SCALE,
       [](Problem& p) {
         p.x = {-most / 4, 1.0, 2.0, 3.0, most / 4};
       }},
      {DF_ERROR_SMOOTH_SCALE,
       [](Problem& p) {
         p.x = {0.0, 5e-324, 1e-323, 1.5e-323, 1.0};
       }},
      {DF_ERROR_BREAKPOINT_COUNT, [](Problem& p) { p.nx = 1; }},
      {DF_ERROR_BREAKPOINT_COUNT, [](Problem& p) { p.nx = INT32_MIN; }},
      {DF_ERROR_BREAKPOINT_COUNT, [](Problem& p) { p.nx = 4, p.method = DF_SMOOTH_GCV; }},
      {DF_ERROR_NULL_BREAKPOINTS, [](Problem& p) { p.x.clear(); }},
      {DF_ERROR_PARTITION_HINT, [](Problem& p) { p.xhint = 3; }},
      {DF_ERROR_FUNCTION_COUNT, [](Problem& p) { p.functions = 0; }},
      {DF_ERROR_FUNCTION_VALUES, [](Problem& p) { p.y.clear(); }},
      {DF_ERROR_VALUES_HINT, [](Problem& p) { p.yhint = DF_VALUES_FIRST_ROW; }},
      {DF_ERROR_SMOOTH_METHOD, [](Problem& p) { p.method = 2; }},
      {DF_ERROR_LAMBDA, [](Problem& p) { p.lambda = -1e-300; }},
      {DF_ERROR_LAMBDA, [](Problem& p) { p.lambda = HUGE_VAL; }},
      {DF_ERROR_LAMBDA, [](Problem& p) { p.lambda = nan; }},
      {DF_ERROR_BREAKPOINTS, [](Problem& p) { p.x[2] = p.x[1]; }},
      {DF_ERROR_BREAKPOINTS, [](Problem& p) { p.x[2] = nan; }},
      {DF_ERROR_BREAKPOINTS, [](Problem& p) { p.x[4] = HUGE_VAL; }},
      {DF_ERROR_BREAKPOINTS, [](Problem& p) { p.x[0] = -most, p.x[4] = most; }},
      {DF_ERROR_BREAKPOINTS,
       [](Problem& p) {
         p.x = {1.0, 0.0}, p.xhint = DF_XHINT_UNIFORM;
       }},
      {DF_ERROR_WEIGHTS, [](Problem& p) { p.w[1] = 0.0; }},
      {DF_ERROR_WEIGHTS, [](Problem& p) { p.w[4] = nan; }},
      {DF_ERROR_WEIGHTS, [](Problem& p) { p.w[0] = HUGE_VAL; }},
      {DF_ERROR_NOT_FINITE, [](Problem& p) { p.y[3] = nan; }},
      {DF_ERROR_NOT_FINITE, [](Problem& p) { p.y[4] = -HUGE_VAL; }},
  };
  for (const auto& c : cases) {
    Problem p = noisy(5, 5.0, 1, 0.5);
    c.spoil(p);
    const Smoothed s = smooth(p);
    EXPECT_EQ(s.status, c.status) << &c - cases;
    for (const double one : s.coeff)
      EXPECT_TRUE(s.status == 0 ? std::isfinite(one) : one == -7.0) << &c - cases;
    EXPECT_TRUE(s.status == 0 || s.lambda == Doubles(s.lambda.size(), -7.0)) << &c - cases;
  }
  EXPECT_EQ(smooth(noisy(5, 5.0, 1, 0.5), false).status, DF_ERROR_NULL_COEFFICIENTS);
  Problem p = noisy(3000, 5.0, 1, 0.0);
  p.method = DF_SMOOTH_GCV;
  for (int n = 1; n < 3; ++n) {
    const support::FailingHeap heap(n);
    const Smoothed s = smooth(p);
    EXPECT_EQ(s.status, DF_ERROR_MEMORY) << n;
    EXPECT_EQ(s.coeff, Doubles(s.coeff.size(), -7.0));
    EXPECT_EQ(heap.live(), 0);
  }
}

}  // namespace
