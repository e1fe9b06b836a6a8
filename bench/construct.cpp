#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdint>
#include <gsl/gsl_spline.h>
#include <random>
#include <string>
#include <vector>

#include "plain_construct.h"
#include "rows.h"

#include <raven/data_fitting.h>

namespace bench {
namespace {

struct Data {
  std::size_t nx;
  std::size_t ny;
  std::vector<double> x;
  std::vector<double> y;

  Data(std::size_t breakpoints, std::size_t functions) : nx(breakpoints), ny(functions), x(nx), y(nx * ny) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> gap(0.5, 1.5);
    double t = 0.0;
    for (double& value : x)
      value = t += gap(random);
    for (std::size_t f = 0; f < ny; ++f)
      for (std::size_t i = 0; i < nx; ++i)
        y[f * nx + i] = std::sin(0.3 * x[i] + static_cast<double>(f));
  }
};

void runRaven(benchmark::State& state, std::size_t nx, std::size_t ny) {
  const Data data(nx, ny);
  std::vector<double> coeff(4 * (nx - 1) * ny);
  DfTask* task = nullptr;
  dfTaskCreate(&task, static_cast<std::int32_t>(nx), data.x.data(), DF_XHINT_NONE,
               static_cast<std::int32_t>(ny), data.y.data(), DF_VALUES_DEFAULT);
  dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr,
                   coeff.data(), DF_COEFF_DEFAULT);
  if (dfTaskConstruct(task, 0, 0) != DF_STATUS_OK) state.SkipWithError("status");
  PlainSpline scratch;
  std::vector<double> expected(4 * (nx - 1));
  for (std::size_t f = 0; f < ny; ++f) {
    plainNaturalSpline(nx, data.x.data(), data.y.data() + f * nx, scratch, expected.data());
    for (std::size_t i = 0; i < expected.size(); ++i)
      if (!(std::fabs(expected[i] - coeff[f * expected.size() + i]) < 1e-9)) {
        state.SkipWithError("coefficients");
        break;
      }
  }
  for (auto _ : state) {
    dfTaskConstruct(task, 0, 0);
    benchmark::ClobberMemory();
  }
  dfTaskDestroy(&task);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nx * ny));
}

void runPlain(benchmark::State& state, std::size_t nx, std::size_t ny) {
  const Data data(nx, ny);
  std::vector<double> coeff(4 * (nx - 1) * ny);
  PlainSpline scratch;
  for (auto _ : state) {
    for (std::size_t f = 0; f < ny; ++f)
      plainNaturalSpline(nx, data.x.data(), data.y.data() + f * nx, scratch, coeff.data() + 4 * (nx - 1) * f);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nx * ny));
}

void runGsl(benchmark::State& state, std::size_t nx) {
  const Data data(nx, 1);
  gsl_interp* spline = gsl_interp_alloc(gsl_interp_cspline, nx);
  for (auto _ : state) {
    gsl_interp_init(spline, data.x.data(), data.y.data(), nx);
    benchmark::ClobberMemory();
  }
  gsl_interp_free(spline);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nx));
}

}  // namespace

void registerConstructRows() {
  for (const std::size_t ny : {std::size_t{1}, std::size_t{16}}) {
    for (const std::size_t nx : {std::size_t{100}, std::size_t{10000}, std::size_t{1000000}}) {
      const std::string row = "construct natural, nx " + std::to_string(nx) + ", ny " + std::to_string(ny);
      benchmark::RegisterBenchmark((row + "|raven").c_str(), runRaven, nx, ny);
      benchmark::RegisterBenchmark((row + "|plain").c_str(), runPlain, nx, ny);
      if (ny == 1) benchmark::RegisterBenchmark((row + "|gsl").c_str(), runGsl, nx);
    }
  }
}

}  // namespace bench
