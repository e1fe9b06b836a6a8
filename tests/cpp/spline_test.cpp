// The C++ layer adds ownership, checks and words to the C operations: what it gives must be theirs.

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <ravenfit/ravenfit.hpp>

namespace {

using ravenfit::spline;
using Doubles = std::vector<double>;

const Doubles x = {0.0, 1.0, 2.5, 3.0, 4.0, 6.0, 6.5, 8.0};
const Doubles y = {1.0, 3.0, 2.0, 2.5, 0.0, 1.0, 1.5, -1.0};
const Doubles sites = {7.9, -1.0, 0.0, 2.5, 2.7, 8.0, 9.5, 3.3, 0.1};

struct Case {
  const char* name;
  ravenfit::spline_options options;
  std::int32_t order;
  std::int32_t kind;
  std::int32_t bcType;
  Doubles bc;
  std::int32_t icType;
  Doubles ic;
};

std::vector<Case> cases() {
  using namespace ravenfit;
  const Doubles slopes = {0.5, 1.0, -1.0, 0.0, 0.25, 2.0, 1.0, -3.0};
  const Doubles inner(slopes.begin() + 1, slopes.end() - 1);
  return {
      {"cubic", cubic(), 4, DF_KIND_NATURAL, DF_END_FREE, {}, 0, {}},
      {"not-a-knot", cubic().ends(not_a_knot()), 4, DF_KIND_NATURAL, DF_END_NOT_A_KNOT, {}, 0, {}},
      {"knot, free",
       cubic().left(not_a_knot()),
       4,
       DF_KIND_NATURAL,
       DF_END_NOT_A_KNOT_CURVATURE,
       {0, 0},
       0,
       {}},
      {"slope, knot",
       cubic().left(slope(2)).right(not_a_knot()),
       4,
       DF_KIND_NATURAL,
       DF_END_SLOPE_NOT_A_KNOT,
       {2, 0},
       0,
       {}},
      {"slope, free",
       cubic().left(slope(2)),
       4,
       DF_KIND_NATURAL,
       DF_END_LEFT_SLOPE + DF_END_RIGHT_CURVATURE,
       {2, 0},
       0,
       {}},
      {"linear", linear(), 2, 0, 0, {}, 0, {}},
      {"akima", akima(), 4, DF_KIND_AKIMA, 0, {}, 0, {}},
      {"modified akima", modified_akima(), 4, DF_KIND_MODIFIED_AKIMA, 0, {}, 0, {}},
      {"pchip", pchip(), 4, DF_KIND_PCHIP, 0, {}, 0, {}},
      {"steffen",
       steffen().ends(curvature(1)),
       4,
       DF_KIND_STEFFEN,
       DF_END_LEFT_CURVATURE + DF_END_RIGHT_CURVATURE,
       {1, 1},
       0,
       {}},
      {"bessel", bessel(), 4, DF_KIND_BESSEL, DF_END_NOT_A_KNOT, {}, 0, {}},
      {"quadratic", quadratic(1.5), 3, 0, DF_END_QUADRATIC_VALUE, {1.5}, 0, {}},
      {"hermite",
       hermite(slopes),
       4,
       DF_KIND_HERMITE,
       DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE,
       {0.5, -3},
       DF_IC_SLOPES,
       inner},
      {"second derivatives", second_derivatives(inner), 4, 0, DF_END_FREE, {}, DF_IC_CURVATURES, inner},
  };
}

struct Task {
  Doubles coeff;
  DfTask* task = nullptr;

  Task(const Case& c, const Doubles& values) : coeff(64) {
    dfTaskCreate(&task, 8, x.data(), DF_XHINT_NONE, 1, values.data(), DF_VALUES_DEFAULT);
    dfTaskEditSpline(task, c.order, c.kind, c.bcType, c.bc.empty() ? nullptr : c.bc.data(), c.icType,
                     c.ic.empty() ? nullptr : c.ic.data(), coeff.data(), DF_COEFF_DEFAULT);
    EXPECT_EQ(dfTaskConstruct(task, 0, 0), DF_STATUS_OK) << c.name;
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() { dfTaskDestroy(&task); }

  Doubles evaluate(const Doubles& at, const std::vector<std::int32_t>& dorder, std::size_t results) const {
    Doubles r(at.size() * results);
    EXPECT_EQ(dfTaskInterpolate(task, 1, 1, static_cast<std::int32_t>(at.size()), at.data(), 0,
                                static_cast<std::int32_t>(dorder.size()), dorder.data(), nullptr, r.data(), 0,
                                nullptr),
              DF_STATUS_OK);
    return r;
  }
};

// Values and derivatives of every kind, one by one, at once, in both layouts, of floats, of a view and of a copy.
TEST(CppSpline, GivesWhatTheOperationsGive) {
  for (const Case& c : cases()) {
    SCOPED_TRACE(c.name);
    const Task task(c, y);
    const Doubles values = task.evaluate(sites, {1}, 1);
    const Doubles both = task.evaluate(sites, {1, 0, 1}, 2);
    spline made(x, y, c.options);
    const ravenfit::spline_view seen(x, y, c.options);
    const spline copy = made;
    const spline moved = std::move(made);
    for (const spline* s : {&moved, &copy, static_cast<const spline*>(&seen)}) {
      EXPECT_EQ(s->at(sites), values);
      const auto [value, second] = s->at<2, 0>(sites);
      EXPECT_EQ(value, values);
      EXPECT_EQ(second, Doubles(both.begin() + 9, both.end()));
      Doubles side(18);
      s->by_site<0, 2>(sites, side);
      for (std::size_t i = 0; i < sites.size(); ++i) {
        EXPECT_EQ(side[2 * i], values[i]);
        EXPECT_EQ(side[2 * i + 1], second[i]);
        EXPECT_EQ((*s)(sites[i]), values[i]);
        EXPECT_EQ(s->derivative(sites[i], 2), second[i]);
      }
      EXPECT_EQ(s->at(std::vector<float>{0.5F, 7.25F}), s->at(Doubles{0.5, 7.25}));
      EXPECT_EQ(s->derivative(1.0, 9), 0.0);
    }
    EXPECT_EQ(made.functions(), 0U);
  }
}

// Three functions at once, in both layouts of values, are three splines; whole sets of sites in order or not.
TEST(CppSpline, TakesManyFunctions) {
  Doubles rows;
  Doubles columns(24);
  for (std::size_t f = 0; f < 3; ++f)
    for (std::size_t i = 0; i < 8; ++i) {
      rows.push_back(y[i] * static_cast<double>(f + 1));
      columns[i * 3 + f] = rows.back();
    }
  Doubles many;
  for (int i = 0; i < 9001; ++i)
    many.push_back(static_cast<double>(i % 4500) / 500.0);
  const spline s(x, rows, ravenfit::akima());
  const spline turned(x, columns, ravenfit::akima().by_breakpoint());
  const Doubles all = s.at<0, 1>(many)[0];
  EXPECT_EQ(all, (turned.at<0, 1>(many)[0]));
  Doubles side(many.size() * 3);
  s.by_site(many, side);
  for (std::size_t f = 0; f < 3; ++f) {
    const spline one(x,
                     Doubles(rows.begin() + static_cast<std::ptrdiff_t>(8 * f),
                             rows.begin() + static_cast<std::ptrdiff_t>(8 * f + 8)),
                     ravenfit::akima());
    for (std::size_t i = 0; i < many.size(); i += 97) {
      ASSERT_EQ(all[f * many.size() + i], one(many[i]));
      ASSERT_EQ(side[3 * i + f], one(many[i]));
    }
    EXPECT_EQ(s.integral(-1.0, 7.0, f), one.integral(-1.0, 7.0));
    EXPECT_EQ(s.solve(0.5, f), one.solve(0.5));
  }
}

// Equidistant breakpoints go another way through the library; not-a-knot must not, or lines would bend.
TEST(CppSpline, RecognisesStructure) {
  Doubles even;
  Doubles line;
  for (int i = 0; i <= 20; ++i) {
    even.push_back(-3.0 + 0.1 * i);
    line.push_back(2.0 - 5.0 * even.back());
  }
  for (const auto& options : {ravenfit::cubic().ends(ravenfit::not_a_knot()), ravenfit::bessel(),
                              ravenfit::cubic(), ravenfit::akima(), ravenfit::linear()}) {
    const spline s(even, line, options);
    EXPECT_NEAR(s(-2.345), 2.0 + 5.0 * 2.345, 1e-13);
    EXPECT_NEAR(s.derivative(-1.0), -5.0, 1e-12);
    EXPECT_EQ(s.breakpoints().size(), 21U);
  }
}

// Far from 0 uneven steps of a few roundings are no equidistant ones: splines pass through their values.
TEST(CppSpline, TakesUnevenStepsFarFromZeroAsTheyAre) {
  Doubles far;
  for (const int k : {0, 1, 3, 4, 6, 7, 8, 12})
    far.push_back(0x1p30 + k * 0x1p-22);
  const spline s(far, y);
  for (std::size_t i = 0; i < far.size(); ++i)
    EXPECT_NEAR(s(far[i]), y[i], 1e-12) << i;
}

// Integrals, antiderivative, derivative, roots and inverse of x^3 - x, which the not-a-knot spline is.
TEST(CppSpline, IsExactOnACubic) {
  Doubles at = {-2.0, -1.5, -0.2, 0.3, 1.0, 2.0};
  Doubles values;
  for (const double t : at)
    values.push_back(t * t * t - t);
  const spline s(at, values, ravenfit::cubic().ends(ravenfit::not_a_knot()));
  const auto primitive = [](double t) { return t * t * t * t / 4 - t * t / 2; };
  EXPECT_NEAR(s.integral(-1.0, 1.7), primitive(1.7) - primitive(-1.0), 1e-13);
  EXPECT_NEAR(s.integral(1.7, -1.0), primitive(-1.0) - primitive(1.7), 1e-13);
  EXPECT_NEAR(s.antiderivative()(1.7), primitive(1.7) - primitive(-2.0), 1e-13);
  EXPECT_EQ(s.antiderivative().order(), 5);
  EXPECT_NEAR(s.derivative_spline()(0.7), 3 * 0.49 - 1, 1e-13);
  const Doubles roots = s.roots();
  ASSERT_EQ(roots.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i)
    EXPECT_NEAR(roots[i], static_cast<double>(i) - 1.0, 1e-14);
  const Doubles back = spline(at, at, ravenfit::pchip()).inverse(Doubles{0.1, -1.7});
  EXPECT_NEAR(back[0], 0.1, 1e-15);
  EXPECT_NEAR(back[1], -1.7, 1e-15);
}

// The cubics t^3 - t and -2 t^3 through their ends and slopes.
TEST(CppSpline, TakesTwoPointsWithSlopes) {
  const Doubles slopes = {2.0, 11.0, -6.0, -24.0};
  const spline rows(Doubles{-1.0, 2.0}, Doubles{0.0, 6.0, 2.0, -16.0}, ravenfit::hermite(slopes));
  const spline turned(Doubles{-1.0, 2.0}, Doubles{0.0, 2.0, 6.0, -16.0},
                      ravenfit::hermite(slopes).by_breakpoint());
  for (const spline* s : {&rows, &turned})
    for (const double t : {-1.0, -0.3, 0.5, 2.0, 3.0}) {
      EXPECT_NEAR((*s)(t, 0), t * t * t - t, 1e-13);
      EXPECT_NEAR((*s)(t, 1), -2.0 * t * t * t, 1e-13);
    }
}

TEST(CppSpline, SmoothsAndGoesOutsideAsTold) {
  const spline smooth(x, y, ravenfit::smoothing(0.0));
  const spline exact(x, y);
  EXPECT_NEAR(smooth(2.7), exact(2.7), 1e-12);
  EXPECT_EQ(spline(x, y, ravenfit::smoothing()).lambdas().size(), 1U);
  EXPECT_NEAR(spline(x, y, ravenfit::cubic().outside(ravenfit::clamp))(9.0), y.back(), 1e-14);
  EXPECT_EQ(spline(x, y, ravenfit::cubic().outside(-7.0))(-0.5), -7.0);
  EXPECT_EQ(spline(x, y, ravenfit::cubic().below(ravenfit::outside_mode::nan))(9.0), exact(9.0));
  EXPECT_TRUE(std::isnan(spline(x, y, ravenfit::cubic().outside(ravenfit::outside_mode::nan))(9.0)));
  const spline waves(x, Doubles{1, 2, 3, 4, 3, 2, 1, 1},
                     ravenfit::cubic().periodic().outside(ravenfit::wrap));
  EXPECT_NEAR(waves(-1.0), waves(7.0), 1e-15);
}

TEST(CppSpline, SaysWhatWasWrong) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  using ravenfit::cubic;
  const struct {
    Doubles x;
    Doubles y;
    ravenfit::spline_options options;
    int code;
    std::ptrdiff_t index;
    const char* text;
  } refused[] = {
      {{}, {}, cubic(), -1004, -1, "2 breakpoints at least"},
      {{1}, {1}, cubic(), -1004, -1, "x has 1"},
      {{0, 1, 2}, {0, 1}, cubic(), -1008, -1, "y must have 3 values"},
      {{0, 1, 2}, {}, cubic(), -1008, -1, "it has 0"},
      {{0, 3, 3, 4}, {0, 1, 2, 3}, cubic(), -1040, 2, "x[2] = 3 does not exceed x[1] = 3"},
      {{0, 3, nan, 4}, {0, 1, 2, 3}, cubic(), -1040, 2, "x[2] = nan is not finite"},
      {{0, 1, 2}, {0, 1, 2}, ravenfit::akima(), -1004, -1, "Too few breakpoints"},
      {{0, 1, 2}, {0, 1, 2}, ravenfit::linear().left(ravenfit::slope(1)), -1014, -1, "no such pair of ends"},
      {{0, 1, 2}, {0, 1, 2}, ravenfit::hermite(Doubles{1, 2}), -1013, -1, "3 are needed, and 2 are given"},
      {{0, 1, 2}, {0, 1, 2}, ravenfit::smoothing(-1.0), -1101, -1, "lambda"},
      {{0, 1, 2}, {0, 1, nan}, ravenfit::smoothing(1.0), -1104, -1, "NaN"},
  };
  for (const auto& c : refused) {
    const auto made = spline::try_make(c.x, c.y, c.options);
    EXPECT_FALSE(made.ok());
    EXPECT_EQ(made.why().code, c.code) << made.why().text();
    EXPECT_EQ(made.why().index, c.index);
    EXPECT_NE(made.why().text().find(c.text), std::string::npos) << made.why().text();
    EXPECT_THROW(spline(c.x, c.y, c.options), ravenfit::error);
  }
  spline s(x, y, cubic().outside(ravenfit::refuse));
  EXPECT_THROW(s(9.0), ravenfit::error);
  EXPECT_THROW(s(1.0, 1), ravenfit::error);
  Doubles few(3);
  EXPECT_EQ(s.try_at(sites, few).code, DF_ERROR_NULL_RESULTS);
  EXPECT_TRUE(s.at(Doubles{}).empty());
  const spline taken = std::move(s);
  EXPECT_THROW(s(1.0), ravenfit::error);
  EXPECT_THROW(s.domain(), ravenfit::error);
  EXPECT_EQ(s.try_solve(1.0, 0.0, 1.0).why().code, DF_ERROR_NULL_TASK);
}

TEST(CppSpline, IsSharedByThreads) {
  const spline s(x, y, ravenfit::akima());
  const Doubles expected = s.at(sites);
  const double area = spline(x, y, ravenfit::akima()).integral(0.0, 8.0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int k = 0; k < 100; ++k) {
        EXPECT_EQ(s.at(sites), expected);
        EXPECT_EQ(s.integral(0.0, 8.0), area);
        EXPECT_EQ(s.solve(0.5).size(), 3U);
      }
    });
  for (std::thread& thread : threads)
    thread.join();
}

}  // namespace
