// Rows of variates, each beside the others' own engines and distributions: GSL's and Boost's are ziggurats, those of the
// standard library the polar method.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <boost/random/exponential_distribution.hpp>
#include <boost/random/lognormal_distribution.hpp>
#include <boost/random/mersenne_twister.hpp>
#include <boost/random/normal_distribution.hpp>
#include <boost/random/sobol.hpp>
#include <boost/random/uniform_01.hpp>
#include <cmath>
#include <cstdint>
#include <gsl/gsl_qrng.h>
#include <gsl/gsl_randist.h>
#include <gsl/gsl_rng.h>
#include <random>
#include <string>
#include <vector>

#include "rows.h"

#include <ravenfit/variates.h>

namespace bench {
namespace {

template <class Fill>
void timeFill(benchmark::State& state, std::size_t n, Fill fill) {
  std::vector<double> values(n);
  for (auto _ : state) {
    fill(values.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n));
}

using Fill = std::int32_t (*)(RsgStream* stream, std::int32_t n, double* r);

// `probability` leads from a value back to its uniform number.
void runRavenfit(benchmark::State& state, std::size_t n, Fill fill, double (*probability)(double value)) {
  RsgStream* stream = nullptr;
  RsgStream* uniforms = nullptr;
  double r[1000];
  double u[1000];
  if (rsgNewStream(&stream, RSG_BRNG_MT19937, 1) != 0 || rsgNewStream(&uniforms, RSG_BRNG_MT19937, 1) != 0 ||
      fill(stream, 1000, r) != 0 || vdRngUniform(RNG_UNIFORM_PLAIN, uniforms, 1000, u, 0.0, 1.0) != 0)
    state.SkipWithError("status");
  for (int i = 0; i < 1000; ++i)
    if (!(std::fabs(probability(r[i]) - (u[i] + 0x1p-33)) < 1e-14)) state.SkipWithError("values");
  timeFill(state, n, [&](double* values) { fill(stream, static_cast<std::int32_t>(n), values); });
  rsgDeleteStream(&stream);
  rsgDeleteStream(&uniforms);
}

template <class Engine, class Distribution>
void runDistribution(benchmark::State& state, std::size_t n) {
  Engine engine(1);
  Distribution distribution;
  timeFill(state, n,
           [&](double* values) { std::generate_n(values, n, [&] { return distribution(engine); }); });
}

void runGsl(benchmark::State& state, std::size_t n, double (*draw)(const gsl_rng* generator)) {
  gsl_rng* const generator = gsl_rng_alloc(gsl_rng_mt19937);
  timeFill(state, n, [&](double* values) { std::generate_n(values, n, [&] { return draw(generator); }); });
  gsl_rng_free(generator);
}

// Whether the scrambled points of two blocks of 1024 have each interval of 1/1024 once in every coordinate.
bool isEven(RsgStream* stream, std::int32_t dimension) {
  std::vector<double> points(static_cast<std::size_t>(dimension) * 1024);
  for (int block = 0; block < 2; ++block) {
    vdRngUniform(RNG_UNIFORM_PLAIN, stream, dimension * 1024, points.data(), 0.0, 1.0);
    std::vector<int> count(points.size());
    for (std::size_t i = 0; i < points.size(); ++i)
      ++count[i % static_cast<std::size_t>(dimension) * 1024 + static_cast<std::size_t>(points[i] * 1024.0)];
    if (std::any_of(count.begin(), count.end(), [](int one) { return one != 1; })) return false;
  }
  return true;
}

void runScrambled(benchmark::State& state, std::size_t n, std::int32_t dimension) {
  RsgStream* stream = nullptr;
  if (rsgNewScrambledSobol(&stream, dimension, 1, RSG_SCRAMBLING_LINEAR) != 0) state.SkipWithError("status");
  if (!isEven(stream, dimension)) state.SkipWithError("values");
  timeFill(state, n, [&](double* values) {
    vdRngUniform(RNG_UNIFORM_PLAIN, stream, static_cast<std::int32_t>(n), values, 0.0, 1.0);
  });
  rsgDeleteStream(&stream);
}

void runGslPoints(benchmark::State& state, std::size_t n, std::int32_t dimension) {
  gsl_qrng* const generator = gsl_qrng_alloc(gsl_qrng_sobol, static_cast<unsigned>(dimension));
  const auto width = static_cast<std::size_t>(dimension);
  timeFill(state, n, [&](double* values) {
    for (std::size_t i = 0; i + width <= n; i += width)
      gsl_qrng_get(generator, values + i);
  });
  gsl_qrng_free(generator);
}

void runBoostPoints(benchmark::State& state, std::size_t n, std::int32_t dimension) {
  boost::random::sobol engine(static_cast<std::size_t>(dimension));
  boost::random::uniform_01<double> uniform;
  timeFill(state, n, [&](double* values) { std::generate_n(values, n, [&] { return uniform(engine); }); });
}

}  // namespace

void registerVariateRows() {
  using Std = std::mt19937;
  using Boost = boost::random::mt19937;
  for (const std::size_t n : {std::size_t{10}, std::size_t{1000}, std::size_t{1000000}}) {
    const auto add = [&](const std::string& what, const char* who, auto run, auto... arguments) {
      benchmark::RegisterBenchmark((what + ", n " + std::to_string(n) + "|" + who).c_str(), run, n,
                                   arguments...);
    };
    add("normal", "ravenfit", runRavenfit,
        Fill{[](RsgStream* s, std::int32_t count, double* r) { return rsgNormal(s, count, r, 0.0, 1.0); }},
        [](double z) { return 0.5 * std::erfc(-z / std::sqrt(2.0)); });
    add("normal", "gsl", runGsl, [](const gsl_rng* g) { return gsl_ran_gaussian_ziggurat(g, 1.0); });
    add("normal", "boost", runDistribution<Boost, boost::random::normal_distribution<>>);
    add("normal", "std", runDistribution<Std, std::normal_distribution<>>);
    add("exponential", "ravenfit", runRavenfit,
        Fill{[](RsgStream* s, std::int32_t count, double* r) { return rsgExponential(s, count, r, 1.0); }},
        [](double e) { return -std::expm1(-e); });
    add("exponential", "gsl", runGsl, [](const gsl_rng* g) { return gsl_ran_exponential(g, 1.0); });
    add("exponential", "boost", runDistribution<Boost, boost::random::exponential_distribution<>>);
    add("exponential", "std", runDistribution<Std, std::exponential_distribution<>>);
    add("log-normal", "ravenfit", runRavenfit,
        Fill{[](RsgStream* s, std::int32_t count, double* r) { return rsgLogNormal(s, count, r, 0.0, 1.0); }},
        [](double x) { return 0.5 * std::erfc(-std::log(x) / std::sqrt(2.0)); });
    add("log-normal", "gsl", runGsl, [](const gsl_rng* g) { return gsl_ran_lognormal(g, 0.0, 1.0); });
    add("log-normal", "boost", runDistribution<Boost, boost::random::lognormal_distribution<>>);
    add("log-normal", "std", runDistribution<Std, std::lognormal_distribution<>>);
    for (const std::int32_t dimension : {5, 20}) {
      if (n < static_cast<std::size_t>(dimension)) continue;
      const std::string row = "scrambled Sobol, " + std::to_string(dimension) + " dimensions";
      add(row, "ravenfit", runScrambled, dimension);
      add(row, "gsl", runGslPoints, dimension);
      add(row, "boost", runBoostPoints, dimension);
    }
  }
}

}  // namespace bench
