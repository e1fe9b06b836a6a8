// Variates against quantiles by MPFR, and what is promised of every generator's.

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
#include "streams/generators.h"
#include "streams/stream.h"
#include "support/compare.h"
#include "support/levels.h"
#include "support/printed.h"

#include <ravenfit/variates.h>

namespace {

using support::GeneratorStream;
using Doubles = std::vector<double>;
using Fill = std::int32_t (*)(RsgStream* stream, std::int32_t n, double* r);

std::int32_t normal(RsgStream* stream, std::int32_t n, double* r) {
  return rsgNormal(stream, n, r, 0.0, 1.0);
}

std::int32_t exponential(RsgStream* stream, std::int32_t n, double* r) {
  return rsgExponential(stream, n, r, 1.0);
}

std::int32_t logNormal(RsgStream* stream, std::int32_t n, double* r) {
  return rsgLogNormal(stream, n, r, 0.5, 3.0);
}

Doubles drawn(Fill fill, RsgStream* stream, std::size_t n) {
  Doubles r(n + 1, -7.0);
  EXPECT_EQ(fill(stream, static_cast<std::int32_t>(n), r.data()), 0);
  EXPECT_EQ(r[n], -7.0);
  r.pop_back();
  return r;
}

double ulps(double got, double high, double low) {
  const double ulp =
      std::nextafter(std::fabs(high), std::numeric_limits<double>::infinity()) - std::fabs(high);
  return std::fabs((got - high) - low) / ulp;
}

// Lines "X NORMAL EXPONENTIAL" for the output X of MCG59; both as sums of two doubles.
TEST(Variates, QuantilesAreThoseOfMpfr) {
  std::ifstream file(KNOWN_ANSWERS "/variates.kat");
  std::string line;
  std::getline(file, line);
  double worstNormal = 0.0;
  double worstExponential = 0.0;
  int cases = 0;
  for (; std::getline(file, line); ++cases) {
    std::istringstream words(line);
    std::uint64_t x = 0;
    double known[4] = {};
    words >> x >> known[0] >> known[1] >> known[2] >> known[3];
    ASSERT_FALSE(words.fail()) << line;
    const support::Seeds seeds = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(x >> 32)};
    const double z = drawn(normal, GeneratorStream(RSG_BRNG_MCG59, seeds).get(), 1)[0];
    const double e = drawn(exponential, GeneratorStream(RSG_BRNG_MCG59, seeds).get(), 1)[0];
    EXPECT_LE(ulps(z, known[0], known[1]), 3.0) << line << ": " << z;
    EXPECT_LE(ulps(e, known[2], known[3]), 2.0) << line << ": " << e;
    worstNormal = std::max(worstNormal, ulps(z, known[0], known[1]));
    worstExponential = std::max(worstExponential, ulps(e, known[2], known[3]));
  }
  EXPECT_GT(cases, 150);
  RecordProperty("ulp_normal", std::to_string(worstNormal));
  RecordProperty("ulp_exponential", std::to_string(worstExponential));
}

// The number u behind each output, in long double.
long double uniformOf(const support::Generator& which, std::uint64_t raw) {
  const auto w = static_cast<long double>(raw);
  if (which.name == "MCG31") return w / 2147483647.0L;
  if (which.name == "MRG32k3a") return w / 4294967088.0L;
  if (which.name == "MCG59") return w / 0x1p59L;
  if (which.name.starts_with("Wichmann")) return which.value(raw, 0.0, 1.0, false);
  return (w + 0.5L) / 0x1p32L;
}

// One value an output, whatever the sizes of fills; logarithm, complementary error function and exponential of the
// C library lead back to the uniform numbers.
TEST(Variates, EveryGeneratorGivesOneValueAnOutput) {
  for (const support::Generator& which : support::generators()) {
    SCOPED_TRACE(which.name);
    const support::Seeds& seeds = which.seeds.back();
    const support::RawOutputs next = which.model(seeds);
    GeneratorStream normals(which, seeds);
    GeneratorStream exponentials(which, seeds);
    GeneratorStream logNormals(which, seeds);
    for (const std::size_t n : {1u, 2u, 3u, 7u, 511u, 512u, 513u, 0u, 1300u}) {
      const Doubles z = drawn(normal, normals.get(), n);
      const Doubles e = drawn(exponential, exponentials.get(), n);
      const Doubles l = drawn(logNormal, logNormals.get(), n);
      for (std::size_t i = 0; i < n; ++i) {
        const long double u = uniformOf(which, next());
        const long double tail = std::min(u, 1.0L - u);
        ASSERT_NEAR(e[i], static_cast<double>(-std::log1p(-u)), 4e-16 * e[i]) << n << ", " << i;
        const long double back =
            std::erfc(std::fabs(static_cast<long double>(z[i])) / std::sqrt(2.0L)) / 2.0L;
        ASSERT_NEAR(static_cast<double>(back / tail), 1.0, 9e-16 * (1.0 + z[i] * z[i])) << n << ", " << i;
        ASSERT_EQ(z[i] > 0.0, u > 0.5L) << n << ", " << i;
        const double exponent = z[i] * 3.0 + 0.5;
        ASSERT_LE(support::ulpDistance(l[i], std::exp(exponent)), 1u) << exponent;
      }
    }
    // Uniform numbers go on where variates ended.
    EXPECT_TRUE(support::same(normals.raw(3), exponentials.raw(3)));
  }
}

TEST(Variates, EveryLevelGivesTheSameBits) {
  for (const support::Generator& which : support::generators()) {
    std::vector<Doubles> first;
    for (const std::int32_t level : support::runnableLevels()) {
      const rvn::VariateKernels& kernels = *rvn::levelTables[level]->variates;
      std::vector<Doubles> all(3, Doubles(3000));
      EXPECT_EQ(kernels.normal(GeneratorStream(which, {7}).get(), 3000, all[0].data(), -3.0, 0.1), 0);
      EXPECT_EQ(kernels.exponential(GeneratorStream(which, {7}).get(), 3000, all[1].data(), 0.7), 0);
      EXPECT_EQ(kernels.logNormal(GeneratorStream(which, {7}).get(), 3000, all[2].data(), 0.1, 1.3), 0);
      if (first.empty()) first = all;
      for (std::size_t k = 0; k < all.size(); ++k)
        EXPECT_TRUE(support::same(all[k], first[k])) << which.name << ", level " << level;
    }
  }
}

TEST(Variates, ParametersReachTheEndsOfDoubles) {
  constexpr double most = std::numeric_limits<double>::max();
  GeneratorStream stream(RSG_BRNG_MT2203, {1});
  double r[64];
  ASSERT_EQ(rsgLogNormal(stream.get(), 64, r, 0.0, 1e6), 0);
  for (const double value : r)
    EXPECT_TRUE(value == 0.0 || value == HUGE_VAL) << value;
  ASSERT_EQ(rsgLogNormal(stream.get(), 64, r, -744.2, 0.0), 0);
  EXPECT_EQ(r[63], 5e-324);
  ASSERT_EQ(rsgLogNormal(stream.get(), 64, r, most, most), 0);
  for (const double value : r)
    EXPECT_FALSE(std::isnan(value));
  ASSERT_EQ(rsgNormal(stream.get(), 64, r, -most, 0.0), 0);
  EXPECT_EQ(r[0], -most);
  ASSERT_EQ(rsgExponential(stream.get(), 64, r, most), 0);
  EXPECT_EQ(std::count_if(r, r + 64, [](double value) { return !(value >= 0.0); }), 0);
}

TEST(Variates, RefusesBadArguments) {
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  GeneratorStream stream(RSG_BRNG_MCG31, {1});
  RsgStream noStream = {};
  double r = -7.0;
  const struct {
    std::int32_t status;
    int parameter;
    RsgStream* stream;
    std::int32_t n;
    double* r;
    double mean;
    double sigma;
  } cases[] = {
      {RSG_ERROR_NULL_STREAM, 1, nullptr, 1, &r, 0.0, 1.0},
      {RSG_ERROR_NOT_A_STREAM, 1, &noStream, 1, &r, 0.0, 1.0},
      {RSG_ERROR_ARGUMENT, 2, stream.get(), -1, &r, 0.0, 1.0},
      {RSG_ERROR_ARGUMENT, 3, stream.get(), 1, nullptr, 0.0, 1.0},
      {RSG_ERROR_ARGUMENT, 4, stream.get(), 1, &r, nan, 1.0},
      {RSG_ERROR_ARGUMENT, 4, stream.get(), 1, &r, -HUGE_VAL, 1.0},
      {RSG_ERROR_ARGUMENT, 5, stream.get(), 1, &r, 0.0, -1.0},
      {RSG_ERROR_ARGUMENT, 5, stream.get(), 1, &r, 0.0, nan},
      {RSG_ERROR_ARGUMENT, 5, stream.get(), 1, &r, 0.0, HUGE_VAL},
      {0, 0, stream.get(), 0, nullptr, nan, nan},
  };
  for (const auto& c : cases) {
    const auto refuses = [&](const char* name, int parameter, auto fill) {
      const std::string report = support::printed([&] { EXPECT_EQ(fill(), c.status) << &c - cases; });
      EXPECT_EQ(report, parameter == 0 ? "" : support::parameterReport(parameter, name)) << &c - cases;
    };
    refuses("rsgNormal", c.parameter, [&] { return rsgNormal(c.stream, c.n, c.r, c.mean, c.sigma); });
    refuses("rsgLogNormal", c.parameter, [&] { return rsgLogNormal(c.stream, c.n, c.r, c.mean, c.sigma); });
    if (c.parameter == 4) continue;
    refuses("rsgExponential", c.parameter == 5 ? 4 : c.parameter,
            [&] { return rsgExponential(c.stream, c.n, c.r, c.sigma); });
  }
  EXPECT_EQ(r, -7.0);
}

}  // namespace
