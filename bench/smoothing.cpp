#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "plain_smoothing.h"
#include "rows.h"

#include <ravenfit/smoothing.h>

namespace bench {
namespace {

struct Data {
  std::size_t nx;
  std::size_t ny;
  std::int32_t method;
  double lambda;
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> coeff;

  // Steps of about 1; a lambda of 100 smooths over a few of them.
  Data(std::size_t n, std::size_t functions, std::int32_t how)
      : nx(n), ny(functions), method(how), lambda(100.0), coeff(4 * (n - 1) * functions) {
    std::mt19937 generator(1);
    std::uniform_real_distribution<double> step(0.5, 1.5);
    std::normal_distribution<double> noise(0.0, 0.3);
    double at = 0.0;
    for (std::size_t i = 0; i < n; ++i)
      x.push_back(at += step(generator));
    for (std::size_t i = 0; i < n * functions; ++i)
      y.push_back(std::sin(0.05 * x[i % n]) + noise(generator));
  }

  std::int32_t smooth() {
    return dfSmooth(static_cast<std::int32_t>(nx), x.data(), DF_XHINT_NONE, static_cast<std::int32_t>(ny),
                    y.data(), DF_VALUES_DEFAULT, nullptr, method, lambda, nullptr, coeff.data());
  }

  void plain(double* to) const {
    for (std::size_t f = 0; f < ny; ++f)
      plainSmooth(nx, x.data(), y.data() + f * nx, lambda, to + f * 4 * (nx - 1));
  }

  void count(benchmark::State& state) const {
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nx * ny));
  }
};

void runRavenfit(benchmark::State& state, Data data) {
  std::vector<double> expected(data.coeff.size());
  data.plain(expected.data());
  if (data.smooth() != 0) state.SkipWithError("status");
  for (std::size_t i = 0; data.method == DF_SMOOTH_LAMBDA && i < expected.size(); ++i)
    if (!(std::fabs(data.coeff[i] - expected[i]) < 1e-10)) state.SkipWithError("values");
  for (auto _ : state) {
    benchmark::DoNotOptimize(data.smooth());
    benchmark::ClobberMemory();
  }
  data.count(state);
}

void runPlain(benchmark::State& state, Data data) {
  for (auto _ : state) {
    data.plain(data.coeff.data());
    benchmark::ClobberMemory();
  }
  data.count(state);
}

}  // namespace

void registerSmoothingRows() {
  for (const std::size_t nx : {std::size_t{1000}, std::size_t{100000}})
    for (const std::size_t ny : {std::size_t{1}, std::size_t{16}}) {
      const std::string sizes = ", nx " + std::to_string(nx) + ", ny " + std::to_string(ny);
      const Data given(nx, ny, DF_SMOOTH_LAMBDA);
      benchmark::RegisterBenchmark(("smooth" + sizes + "|ravenfit").c_str(), runRavenfit, given);
      benchmark::RegisterBenchmark(("smooth" + sizes + "|plain").c_str(), runPlain, given);
      if (nx > 1000) continue;
      benchmark::RegisterBenchmark(("smooth, gcv" + sizes + "|ravenfit").c_str(), runRavenfit,
                                   Data(nx, ny, DF_SMOOTH_GCV));
    }
}

}  // namespace bench
