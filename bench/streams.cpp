#include <algorithm>
#include <benchmark/benchmark.h>
#include <boost/random/additive_combine.hpp>
#include <boost/random/linear_congruential.hpp>
#include <boost/random/mersenne_twister.hpp>
#include <boost/random/uniform_real_distribution.hpp>
#include <cmath>
#include <cstdint>
#include <gsl/gsl_qrng.h>
#include <gsl/gsl_rng.h>
#include <random>
#include <string>
#include <vector>

#include "plain_streams.h"
#include "rows.h"

#include <ravenfit/random_streams.h>

namespace bench {
namespace {

struct StreamCase {
  const char* name;
  std::int32_t brngId;
  std::uint32_t seed;
  const gsl_rng_type* gsl;
  const gsl_qrng_type* gslPoints;
};

constexpr double a = -1.0;
constexpr double b = 3.0;

std::int64_t elements(const benchmark::State& state, std::size_t n) {
  return state.iterations() * static_cast<std::int64_t>(n);
}

// Calls fill(values) over and over on n doubles.
template <class Fill>
void timeFill(benchmark::State& state, std::size_t n, Fill fill) {
  std::vector<double> values(n);
  for (auto _ : state) {
    fill(values.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(elements(state, n));
}

void runRavenfit(benchmark::State& state, const StreamCase& which, std::size_t n) {
  RsgStream* stream = nullptr;
  if (rsgNewStream(&stream, which.brngId, which.seed) != 0) {
    state.SkipWithError("stream");
    return;
  }
  const auto count = static_cast<std::int32_t>(n);
  if (PlainFill plain = plainStream(which.brngId, which.seed)) {
    std::vector<double> values(n);
    std::vector<double> expected(n);
    for (int call = 0; call < 3; ++call) {
      vdRngUniform(RNG_UNIFORM_PLAIN, stream, count, values.data(), a, b);
      plain(n, expected.data(), a, b);
      const auto differs = [](double x, double y) { return std::fabs(x - y) > 0x1p-48; };
      if (!std::equal(values.begin(), values.end(), expected.begin(), std::not_fn(differs)))
        state.SkipWithError("values");
    }
  }
  timeFill(state, n, [&](double* values) { vdRngUniform(RNG_UNIFORM_PLAIN, stream, count, values, a, b); });
  rsgDeleteStream(&stream);
}

void runPlain(benchmark::State& state, const StreamCase& which, std::size_t n) {
  const PlainFill plain = plainStream(which.brngId, which.seed);
  timeFill(state, n, [&](double* values) { plain(n, values, a, b); });
}

void runStandard(benchmark::State& state, std::size_t n) {
  std::mt19937 generator(1);
  std::uniform_real_distribution<double> uniform(a, b);
  timeFill(state, n, [&](double* values) { std::generate_n(values, n, [&] { return uniform(generator); }); });
}

void runGsl(benchmark::State& state, const StreamCase& which, std::size_t n) {
  gsl_rng* const generator = gsl_rng_alloc(which.gsl);
  timeFill(state, n, [&](double* values) {
    std::generate_n(values, n, [&] { return gsl_rng_uniform(generator) * (b - a) + a; });
  });
  gsl_rng_free(generator);
}

void runGslPoints(benchmark::State& state, const StreamCase& which, std::size_t n) {
  gsl_qrng* const generator = gsl_qrng_alloc(which.gslPoints, which.seed);
  double point[64];
  std::size_t next = which.seed;
  timeFill(state, n, [&](double* values) {
    std::generate_n(values, n, [&] {
      if (next == which.seed) {
        gsl_qrng_get(generator, point);
        next = 0;
      }
      return point[next++] * (b - a) + a;
    });
  });
  gsl_qrng_free(generator);
}

// Boost's generator of the same family, or the nearest that it has.
template <class Engine>
void runBoost(benchmark::State& state, std::size_t n) {
  Engine generator(1);
  const boost::random::uniform_real_distribution<double> uniform(a, b);
  timeFill(state, n, [&](double* values) { std::generate_n(values, n, [&] { return uniform(generator); }); });
}

// The limit of every row: the same values stored and nothing else.
void runStore(benchmark::State& state, std::size_t n) {
  timeFill(state, n, [&](double* values) { std::fill_n(values, n, static_cast<double>(n)); });
}

}  // namespace

void registerStreamRows() {
  static const StreamCase cases[] = {
      {"MCG31", RSG_BRNG_MCG31, 7777777, nullptr, nullptr},
      {"R250", RSG_BRNG_R250, 7777777, gsl_rng_r250, nullptr},
      {"MRG32k3a", RSG_BRNG_MRG32K3A, 7777777, nullptr, nullptr},
      {"MCG59", RSG_BRNG_MCG59, 7777777, nullptr, nullptr},
      {"Wichmann-Hill", RSG_BRNG_WICHMANN_HILL, 7777777, nullptr, nullptr},
      {"Sobol, 5 dimensions", RSG_BRNG_SOBOL, 5, nullptr, gsl_qrng_sobol},
      {"Niederreiter, 5 dimensions", RSG_BRNG_NIEDERREITER, 5, nullptr, gsl_qrng_niederreiter_2},
      {"MT19937", RSG_BRNG_MT19937, 7777777, gsl_rng_mt19937, nullptr},
      {"MT2203", RSG_BRNG_MT2203, 7777777, nullptr, nullptr},
      {"SFMT19937", RSG_BRNG_SFMT19937, 7777777, nullptr, nullptr},
      {"RDRAND", RSG_BRNG_RDRAND, 0, nullptr, nullptr},
  };
  for (const StreamCase& which : cases) {
    for (const std::size_t n : {std::size_t{1}, std::size_t{8}, std::size_t{1000}, std::size_t{1000000}}) {
      const std::string row = std::string(which.name) + ", n " + std::to_string(n);
      const auto add = [&](const char* who, auto run, auto... arguments) {
        benchmark::RegisterBenchmark((row + "|" + who).c_str(), run, arguments..., n);
      };
      add("ravenfit", runRavenfit, which);
      if (plainStream(which.brngId, which.seed)) add("plain", runPlain, which);
      if (which.gsl != nullptr) add("gsl", runGsl, which);
      if (which.gslPoints != nullptr) add("gsl", runGslPoints, which);
      if (which.brngId == RSG_BRNG_MCG31) add("boost", runBoost<boost::random::minstd_rand>);
      if (which.brngId == RSG_BRNG_MRG32K3A) add("boost", runBoost<boost::random::ecuyer1988>);
      if (which.brngId == RSG_BRNG_MT19937) add("boost", runBoost<boost::random::mt19937>);
      if (which.brngId == RSG_BRNG_MT2203) add("boost", runBoost<boost::random::mt11213b>);
      add("std", runStandard);
      add("limit", runStore);
    }
  }
}

}  // namespace bench
