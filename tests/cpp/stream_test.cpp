#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <utility>
#include <vector>

#include <ravenfit/ravenfit.hpp>

namespace {

using ravenfit::stream;
using Doubles = std::vector<double>;

Doubles uniform(stream& from, std::size_t n) {
  Doubles r(n);
  from.fill_uniform(r, -1.0, 3.0);
  return r;
}

TEST(CppStream, FillsAsTheOperationsDo) {
  RsgStream* c = nullptr;
  ASSERT_EQ(rsgNewStream(&c, RSG_BRNG_MT2203 + 7, 42), RSG_STATUS_OK);
  stream g(ravenfit::mt2203(7), 42);
  Doubles expected(101);
  vdRngUniform(RNG_UNIFORM_PLAIN, c, 101, expected.data(), -1.0, 3.0);
  EXPECT_EQ(uniform(g, 101), expected);
  rsgNormal(c, 101, expected.data(), 2.0, 0.5);
  Doubles r(101);
  g.fill_normal(r, 2.0, 0.5);
  EXPECT_EQ(r, expected);
  std::uint32_t word = 0;
  rsgWords32(c, 1, &word);
  EXPECT_EQ(g(), word);
  rsgDeleteStream(&c);
  std::uniform_int_distribution<int> die(1, 6);
  for (int i = 0; i < 100; ++i)
    EXPECT_LE(die(g), 6);
}

// Copies, saved and loaded streams, stretches: all go on where the stream stands.
TEST(CppStream, GoesOnWhereItStands) {
  for (const ravenfit::generator which : {ravenfit::mrg32k3a, ravenfit::mcg59, ravenfit::sfmt19937}) {
    stream g(which, 5);
    uniform(g, 17);
    stream copy = g;
    std::stringstream file;
    g.save(file);
    g.save(file);
    std::vector<stream> parts = g.split(3, 10);
    stream skipped = g;
    skipped.skip(20);
    const Doubles whole = uniform(g, 30);
    EXPECT_EQ(uniform(copy, 30), whole);
    for (int i = 0; i < 2; ++i) {
      stream loaded = stream::load(file);
      EXPECT_EQ(uniform(loaded, 30), whole);
    }
    Doubles together;
    for (stream& part : parts) {
      const Doubles own = uniform(part, 10);
      together.insert(together.end(), own.begin(), own.end());
    }
    EXPECT_EQ(together, whole);
    EXPECT_EQ(uniform(skipped, 10), Doubles(whole.begin() + 20, whole.end()));
  }
}

TEST(CppStream, PointsAreThoseOfTheStreams) {
  ravenfit::sobol plain(5);
  Doubles first(50);
  plain.fill(first);
  ravenfit::sobol later(5);
  Doubles rest(25);
  later.skip(5).fill(rest);
  EXPECT_EQ(rest, Doubles(first.begin() + 25, first.end()));
  Doubles scrambled(100);
  ravenfit::sobol(5).scramble(9).fill(scrambled);
  Doubles tail(50);
  ravenfit::sobol(5).skip(10).scramble(9).fill(tail);
  EXPECT_EQ(tail, Doubles(scrambled.begin() + 50, scrambled.end()));
  EXPECT_EQ(ravenfit::niederreiter(318).dimension(), 318);
}

TEST(CppStream, RefusesWithoutAWordOnStandardOutput) {
  testing::internal::CaptureStdout();
  stream r250(ravenfit::r250, 1);
  Doubles r(10);
  EXPECT_EQ(r250.try_skip(5).code, RSG_ERROR_SKIP_AHEAD);
  EXPECT_EQ(r250.try_leapfrog(0, 2).code, RSG_ERROR_LEAPFROG);
  EXPECT_EQ(r250.try_split(2).why().code, RSG_ERROR_SPLIT);
  EXPECT_EQ(r250.try_split(0).why().code, RSG_ERROR_ARGUMENT);
  EXPECT_EQ(r250.try_fill_uniform(r, 2.0, 1.0).code, RSG_ERROR_ARGUMENT);
  EXPECT_EQ(r250.try_fill_normal(r, 0.0, -1.0).code, RSG_ERROR_ARGUMENT);
  EXPECT_TRUE(r250.try_fill_uniform(ravenfit::view<double>()).ok());
  EXPECT_THROW(ravenfit::sobol(41), ravenfit::error);
  EXPECT_THROW(ravenfit::sobol(3).fill(r), ravenfit::error);
  const stream taken = std::move(r250);
  EXPECT_EQ(r250.try_fill_uniform(r).code, RSG_ERROR_NULL_STREAM);
  EXPECT_THROW(r250.info(), ravenfit::error);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(CppSystem, SolvesAndRefuses) {
  const Doubles beside = {1.0, 1.0};
  const Doubles d = {4.0, 4.0, 4.0};
  Doubles b = {5.0, 6.0, 5.0, 10.0, 12.0, 10.0};
  ravenfit::solve_tridiagonal(beside, d, beside, b);
  for (std::size_t i = 0; i < 6; ++i)
    EXPECT_NEAR(b[i], i < 3 ? 1.0 : 2.0, 1e-15);
  EXPECT_EQ(ravenfit::try_solve_tridiagonal(beside, Doubles{4, 4}, beside, b).code, -3);
  EXPECT_GT(ravenfit::try_solve_tridiagonal(beside, Doubles{0, 0, 0}, Doubles{0, 0}, b).code, 0);
  EXPECT_TRUE(ravenfit::try_solve_tridiagonal({}, {}, {}, {}).ok());
}

// The largest deviation, in its own standard deviations, that parts show at one of their first 1000 positions: of their mean
// from 1/2, and of the correlation of neighbours from 0.
double largestDeviation(std::vector<stream> parts) {
  constexpr std::size_t positions = 1000;
  std::vector<Doubles> u;
  for (stream& part : parts) {
    u.emplace_back(positions);
    part.fill_uniform(u.back(), -0.5, 0.5);
  }
  const auto count = static_cast<double>(u.size());
  double largest = 0.0;
  for (std::size_t p = 0; p < positions; ++p) {
    double sum = u[0][p];
    double products = 0.0;
    for (std::size_t i = 1; i < u.size(); ++i) {
      sum += u[i][p];
      products += u[i][p] * u[i - 1][p];
    }
    largest = std::max({largest, std::fabs(sum) * std::sqrt(12.0 / count),
                        std::fabs(products) * 12.0 / std::sqrt(count - 1.0)});
  }
  return largest;
}

// Members of a family that start from one seed begin alike; parts of a stream do not. Of 2000 normal deviations one above
// 5 is rare: once in a thousand tests.
TEST(CppStream, SplitsIntoPartsThatAreNotCorrelated) {
  EXPECT_LT(largestDeviation(stream(ravenfit::mt2203(), 42).split(1000)), 5.0);
  EXPECT_LT(largestDeviation(stream(ravenfit::wichmann_hill(), 42).split(273)), 5.0);
  std::vector<stream> alike;
  for (int member = 0; member < 273; ++member)
    alike.emplace_back(ravenfit::wichmann_hill(member), 42);
  EXPECT_GT(largestDeviation(std::move(alike)), 8.0);
  alike.clear();
  for (int member = 0; member < 1000; ++member)
    alike.emplace_back(ravenfit::mt2203(member), 42);
  EXPECT_GT(largestDeviation(std::move(alike)), 8.0);
}

}  // namespace
