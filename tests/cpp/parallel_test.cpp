#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <tbb/global_control.h>
#include <vector>

#include <ravenfit/parallel.hpp>

namespace {

using ravenfit::spline;
using ravenfit::stream;
using Doubles = std::vector<double>;

bool sameBits(const Doubles& a, const Doubles& b) {
  return a.size() == b.size() &&
         (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

// Calls body() with each number of threads.
template <class Body>
void withThreads(Body body) {
  for (const std::size_t threads : {1U, 2U, 3U, 8U}) {
    SCOPED_TRACE(testing::Message() << threads << " threads");
    const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
    body();
  }
}

Doubles uniform(std::size_t n, double a, double b, std::uint32_t seed) {
  Doubles r(n);
  stream(ravenfit::mcg59, seed).fill_uniform(r, a, b);
  return r;
}

Doubles uneven(std::size_t nx) {
  Doubles x = uniform(nx, 0.1, 1.0, 7);
  for (std::size_t i = 1; i < nx; ++i)
    x[i] += x[i - 1];
  return x;
}

TEST(Parallel, EvaluatesToTheSameBits) {
  const Doubles x = uneven(50);
  const Doubles y = uniform(3 * x.size(), -1.0, 1.0, 8);
  Doubles sites = uniform(70001, x.front() - 1.0, x.back() + 1.0, 9);
  sites[60000] = std::numeric_limits<double>::quiet_NaN();
  const std::vector<float> floats(sites.begin(), sites.end());
  for (const std::size_t functions : {1U, 3U}) {
    const spline s(x, ravenfit::view<const double>(y).part(0, functions * x.size()),
                   ravenfit::cubic().outside(ravenfit::clamp));
    Doubles values(functions * sites.size());
    Doubles all(2 * values.size());
    Doubles frames(all.size());
    Doubles ofFloats(all.size());
    s.at(sites, values);
    s.at<0, 2>(sites, all);
    s.by_site<0, 2>(sites, frames);
    s.at<0, 2>(floats, ofFloats);
    withThreads([&] {
      Doubles r(values.size(), -7.0);
      ravenfit::parallel::at(s, sites, r);
      EXPECT_TRUE(sameBits(r, values));
      r.assign(all.size(), -7.0);
      ravenfit::parallel::at<0, 2>(s, sites, r);
      EXPECT_TRUE(sameBits(r, all));
      ravenfit::parallel::by_site<0, 2>(s, sites, r);
      EXPECT_TRUE(sameBits(r, frames));
      ravenfit::parallel::at<0, 2>(s, floats, r);
      EXPECT_TRUE(sameBits(r, ofFloats));
    });
  }
}

TEST(Parallel, ConstructsTheSameBits) {
  constexpr std::size_t functions = 41;  // eights, and one left over
  const Doubles x = uneven(300);
  const Doubles y = uniform(functions * x.size(), -1.0, 1.0, 10);
  const Doubles slopes = uniform(functions * x.size(), -1.0, 1.0, 11);
  const Doubles weights = uniform(x.size(), 0.5, 2.0, 12);
  const Doubles equidistant = [&] {
    Doubles even(x.size());
    for (std::size_t i = 0; i < even.size(); ++i)
      even[i] = 0.25 * static_cast<double>(i);
    return even;
  }();
  const ravenfit::spline_options kinds[] = {
      ravenfit::cubic(),  ravenfit::cubic().ends(ravenfit::not_a_knot()).by_breakpoint(),
      ravenfit::pchip(),  ravenfit::subbotin(),
      ravenfit::linear(), ravenfit::hermite(slopes),
      ravenfit::akima(),  ravenfit::smoothing(weights).by_breakpoint(),
  };
  const Doubles sites = uniform(50, x.front() - 1.0, x.back() + 1.0, 13);
  for (const Doubles* at : {&x, &equidistant})
    for (const ravenfit::spline_options& kind : kinds) {
      const spline whole(*at, y, kind);
      const Doubles coefficients(whole.coefficients().begin(), whole.coefficients().end());
      withThreads([&] {
        const spline made = ravenfit::parallel::make(*at, y, kind);
        EXPECT_TRUE(sameBits({made.coefficients().begin(), made.coefficients().end()}, coefficients));
        EXPECT_TRUE(sameBits({made.lambdas().begin(), made.lambdas().end()},
                             {whole.lambdas().begin(), whole.lambdas().end()}));
        EXPECT_TRUE(sameBits(made.at(sites), whole.at(sites)));
      });
    }
}

TEST(Parallel, FillsWithTheSameBits) {
  constexpr std::size_t n = (std::size_t{1} << 21) + 50011;  // a stretch and more, of the large twisters too
  for (const ravenfit::generator which :
       {ravenfit::mcg31, ravenfit::mcg59, ravenfit::mrg32k3a, ravenfit::mt19937, ravenfit::sfmt19937,
        ravenfit::wichmann_hill(5)}) {
    SCOPED_TRACE(which.id);
    stream alone(which, 42);
    alone.skip(3);
    const stream start = alone;
    Doubles values(n);
    Doubles behind(100);
    alone.fill_normal(values, 1.0, 2.0);
    alone.fill_uniform(behind, -1.0, 1.0);
    withThreads([&] {
      stream g = start;
      Doubles r(n);
      ravenfit::parallel::fill_normal(g, r, 1.0, 2.0);
      EXPECT_TRUE(sameBits(r, values));
      r.resize(behind.size());
      ravenfit::parallel::fill_uniform(g, r, -1.0, 1.0);
      EXPECT_TRUE(sameBits(r, behind));
    });
  }
  ravenfit::sobol alone(6);
  alone.scramble(9).skip(1);
  const ravenfit::sobol start = alone;
  Doubles values(6 * 40000);
  Doubles behind(12);
  alone.fill(values);
  alone.fill_normal(behind);
  withThreads([&] {
    ravenfit::sobol points = start;
    Doubles r(values.size());
    ravenfit::parallel::fill(points, r);
    EXPECT_TRUE(sameBits(r, values));
    r.resize(12);
    ravenfit::parallel::fill_normal(points, r);
    EXPECT_TRUE(sameBits(r, behind));
  });
}

// What is refused writes nothing, and leaves streams where they were; of several failures the first one is told.
TEST(Parallel, TellsWhatItCannotDo) {
  Doubles r(100000, -7.0);
  const Doubles untouched = r;
  for (const ravenfit::generator which : {ravenfit::r250, ravenfit::mt2203(3)}) {
    stream g(which, 1);
    stream same = g;
    EXPECT_EQ(ravenfit::parallel::try_fill_uniform(g, r).code, RSG_ERROR_SKIP_AHEAD);
    EXPECT_EQ(g(), same());
  }
  stream g(ravenfit::mcg59, 1);
  const ravenfit::status reversed = g.try_fill_uniform(r, 1.0, 0.0);
  EXPECT_FALSE(reversed.ok());
  EXPECT_EQ(ravenfit::parallel::try_fill_uniform(g, r, 1.0, 0.0).text(), reversed.text());
  EXPECT_EQ(ravenfit::parallel::try_fill_normal(g, r, 0.0, -1.0).code, RSG_ERROR_ARGUMENT);
  stream moved = std::move(g);
  EXPECT_EQ(ravenfit::parallel::try_fill_normal(g, r).code, RSG_ERROR_NULL_STREAM);
  EXPECT_THROW(ravenfit::parallel::fill_normal(g, r), ravenfit::error);

  // 50000 points of 2 coordinates, of which 10 are left
  ravenfit::sobol points(2);
  points.skip((std::uint64_t{1} << 32) - 11);
  EXPECT_THROW(ravenfit::parallel::fill(points, r), ravenfit::error);
  EXPECT_THROW(ravenfit::parallel::fill(points, ravenfit::view<double>(r).part(0, 3)), ravenfit::error);
  EXPECT_EQ(r, untouched);

  const Doubles x = {0.0, 1.0, 2.0};
  const Doubles y = {0.0, 1.0, std::numeric_limits<double>::quiet_NaN()};
  EXPECT_EQ(ravenfit::parallel::try_make(y, x).why().index, spline::try_make(y, x).why().index);
  spline s(x, x, ravenfit::linear().outside(ravenfit::refuse));
  Doubles sites(r.size(), 1.0);
  sites[50000] = 3.0;
  for (const ravenfit::status& why : {ravenfit::parallel::try_at(s, sites, r), s.try_at(sites, r),
                                      s.try_by_site(std::vector<float>(sites.begin(), sites.end()), r)}) {
    EXPECT_EQ(why.code, DF_ERROR_OUTSIDE);
    EXPECT_EQ(why.index, 50000) << why.text();
  }
  EXPECT_EQ(r, untouched);
  EXPECT_FALSE(ravenfit::parallel::try_at(s, sites, ravenfit::view<double>(r).part(0, 99999)).ok());
  const spline taken = std::move(s);
  EXPECT_EQ(ravenfit::parallel::try_at(s, sites, r).code, DF_ERROR_NULL_TASK);
}

}  // namespace
