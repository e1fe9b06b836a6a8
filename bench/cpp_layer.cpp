// The C++ layer beside the C operations that it calls, and batches over all cores. Of parallel rows, "c" is the C operation
// in one thread, and peers run in as many threads as this library.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gsl/gsl_spline.h>
#include <string>
#include <vector>

#include "interp_data.h"
#include "rows.h"

#include <ravenfit/ravenfit.hpp>
#ifdef RVN_BENCH_PARALLEL
#include <ravenfit/parallel.hpp>
#endif

namespace bench {
namespace {

struct GslSpline {
  explicit GslSpline(const InterpData& data)
      : spline(gsl_spline_alloc(gsl_interp_cspline, data.x.size())), accelerator(gsl_interp_accel_alloc()) {
    gsl_spline_init(spline, data.x.data(), data.y.data(), data.x.size());
  }
  GslSpline(const GslSpline&) = delete;
  GslSpline& operator=(const GslSpline&) = delete;
  ~GslSpline() {
    gsl_spline_free(spline);
    gsl_interp_accel_free(accelerator);
  }
  double value(double site, int k) const {
    return k == 0 ? gsl_spline_eval(spline, site, accelerator)
                  : gsl_spline_eval_deriv(spline, site, accelerator);
  }

  gsl_spline* spline;
  gsl_interp_accel* accelerator;
};

// ---- one value a call ----

template <class Value>
void timeSites(benchmark::State& state, const InterpData& data, Value value) {
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value(data.randomSites[i]));
    i = i + 1 < data.randomSites.size() ? i + 1 : 0;
  }
  state.SetItemsProcessed(state.iterations());
}

void oneCpp(benchmark::State& state, std::size_t nx, int k) {
  const InterpData& data = interpData(nx, false);
  const ravenfit::spline spline(data.x, data.y);
  const GslSpline reference(data);
  for (std::size_t i = 0; i < 1000; ++i) {
    const double site = data.randomSites[i];
    if (!(std::fabs(spline.derivative(site, k) - reference.value(site, k)) < 1e-11))
      state.SkipWithError("values");
  }
  if (k == 0)
    timeSites(state, data, [&](double site) { return spline(site); });
  else
    timeSites(state, data, [&](double site) { return spline.derivative(site); });
}

void oneC(benchmark::State& state, std::size_t nx, int k) {
  const InterpData& data = interpData(nx, false);
  const std::int32_t wanted[2] = {0, 1};
  timeSites(state, data, [&](double site) {
    double r = 0.0;
    dfTaskInterpolate(data.general, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, DF_SITES_GENERAL,
                      k == 0 ? 0 : 2, k == 0 ? nullptr : wanted, nullptr, &r, DF_RESULTS_DEFAULT, nullptr);
    return r;
  });
}

void oneGsl(benchmark::State& state, std::size_t nx, int k) {
  const InterpData& data = interpData(nx, false);
  const GslSpline spline(data);
  timeSites(state, data, [&](double site) { return spline.value(site, k); });
}

// ---- batches ----

#ifdef RVN_BENCH_PARALLEL

template <class Batch>
void timeBatch(benchmark::State& state, std::size_t elements, Batch batch) {
  for (auto _ : state) {
    batch();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(elements));
}

constexpr std::size_t partition = 1024;

void sitesParallel(benchmark::State& state) {
  const InterpData& data = interpData(partition, false);
  const ravenfit::spline spline(data.x, data.y);
  std::vector<double> r(data.randomSites.size());
  ravenfit::parallel::at(spline, data.randomSites, r);
  const GslSpline reference(data);
  for (std::size_t i = 0; i < r.size(); i += 97)
    if (!(std::fabs(r[i] - reference.value(data.randomSites[i], 0)) < 1e-12)) state.SkipWithError("values");
  timeBatch(state, r.size(), [&] { ravenfit::parallel::at(spline, data.randomSites, r); });
}

void sitesC(benchmark::State& state) {
  const InterpData& data = interpData(partition, false);
  std::vector<double> r(data.randomSites.size());
  timeBatch(state, r.size(), [&] {
    dfTaskInterpolate(data.general, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL,
                      static_cast<std::int32_t>(r.size()), data.randomSites.data(), DF_SITES_GENERAL, 0,
                      nullptr, nullptr, r.data(), DF_RESULTS_DEFAULT, nullptr);
  });
}

void sitesGsl(benchmark::State& state) {
  const InterpData& data = interpData(partition, false);
  const GslSpline spline(data);
  std::vector<double> r(data.randomSites.size());
  timeBatch(state, r.size(), [&] {
    tbb::parallel_for(std::size_t{0}, r.size() / 10000, [&](std::size_t chunk) {
      for (std::size_t i = chunk * 10000; i < (chunk + 1) * 10000; ++i)
        r[i] = gsl_spline_eval(spline.spline, data.randomSites[i], nullptr);
    });
  });
}

constexpr std::size_t functions = 512;

std::vector<double> manyFunctions() {
  std::vector<double> y(functions * partition);
  ravenfit::stream(ravenfit::mcg59, 1).fill_normal(y);
  return y;
}

void constructParallel(benchmark::State& state) {
  const InterpData& data = interpData(partition, false);
  const std::vector<double> y = manyFunctions();
  const ravenfit::spline made = ravenfit::parallel::make(data.x, y);
  gsl_spline* const reference = gsl_spline_alloc(gsl_interp_cspline, partition);
  gsl_spline_init(reference, data.x.data(), y.data() + 100 * partition, partition);
  for (std::size_t i = 0; i < 1000; ++i)
    if (const double site = data.randomSites[i];
        !(std::fabs(made(site, 100) - gsl_spline_eval(reference, site, nullptr)) < 1e-11))
      state.SkipWithError("values");
  gsl_spline_free(reference);
  timeBatch(state, y.size(), [&] {
    const ravenfit::spline spline = ravenfit::parallel::make(data.x, y);
    benchmark::DoNotOptimize(spline.coefficients().data());
  });
}

void constructC(benchmark::State& state) {
  const InterpData& data = interpData(partition, false);
  const std::vector<double> y = manyFunctions();
  timeBatch(state, y.size(), [&] {
    std::vector<double> coeff(functions * 4 * (partition - 1));
    DfTask* task = nullptr;
    dfTaskCreate(&task, partition, data.x.data(), DF_XHINT_NONE, functions, y.data(), DF_VALUES_DEFAULT);
    dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr,
                     coeff.data(), DF_COEFF_DEFAULT);
    dfTaskConstruct(task, 0, 0);
    dfTaskDestroy(&task);
  });
}

void constructGsl(benchmark::State& state) {
  const InterpData& data = interpData(partition, false);
  const std::vector<double> y = manyFunctions();
  timeBatch(state, y.size(), [&] {
    tbb::parallel_for(std::size_t{0}, functions, [&](std::size_t f) {
      gsl_spline* const spline = gsl_spline_alloc(gsl_interp_cspline, partition);
      gsl_spline_init(spline, data.x.data(), y.data() + f * partition, partition);
      gsl_spline_free(spline);
    });
  });
}

constexpr std::size_t variates = std::size_t{1} << 22;

void normalParallel(benchmark::State& state, ravenfit::generator which) {
  ravenfit::stream g(which, 1);
  ravenfit::stream alone = g;
  std::vector<double> r(variates);
  std::vector<double> expected(variates);
  ravenfit::parallel::fill_normal(g, r);
  alone.fill_normal(expected);
  if (r != expected) state.SkipWithError("values");
  timeBatch(state, r.size(), [&] { ravenfit::parallel::fill_normal(g, r); });
}

void normalC(benchmark::State& state, ravenfit::generator which) {
  const ravenfit::stream g(which, 1);
  std::vector<double> r(variates);
  timeBatch(state, r.size(), [&] { rsgNormal(g.get(), variates, r.data(), 0.0, 1.0); });
}

void registerParallelRows() {
  benchmark::RegisterBenchmark("parallel values, nx 1024|ravenfit", sitesParallel)->UseRealTime();
  benchmark::RegisterBenchmark("parallel values, nx 1024|c", sitesC)->UseRealTime();
  benchmark::RegisterBenchmark("parallel values, nx 1024|gsl", sitesGsl)->UseRealTime();
  benchmark::RegisterBenchmark("parallel life, natural, 512 functions|ravenfit", constructParallel)
      ->UseRealTime();
  benchmark::RegisterBenchmark("parallel life, natural, 512 functions|c", constructC)->UseRealTime();
  benchmark::RegisterBenchmark("parallel life, natural, 512 functions|gsl", constructGsl)->UseRealTime();
  benchmark::RegisterBenchmark("parallel normal, MRG32k3a|ravenfit", normalParallel, ravenfit::mrg32k3a)
      ->UseRealTime();
  benchmark::RegisterBenchmark("parallel normal, MRG32k3a|c", normalC, ravenfit::mrg32k3a)->UseRealTime();
  benchmark::RegisterBenchmark("parallel normal, MT19937|ravenfit", normalParallel, ravenfit::mt19937)
      ->UseRealTime();
  benchmark::RegisterBenchmark("parallel normal, MT19937|c", normalC, ravenfit::mt19937)->UseRealTime();
}

#endif

}  // namespace

void registerCppRows() {
  for (const int k : {0, 1})
    for (const std::size_t nx : {std::size_t{16}, std::size_t{1024}, std::size_t{65536}}) {
      const std::string row =
          std::string("C++, one ") + (k == 0 ? "value" : "slope") + " a call, nx " + std::to_string(nx);
      benchmark::RegisterBenchmark((row + "|ravenfit").c_str(), oneCpp, nx, k);
      benchmark::RegisterBenchmark((row + "|c").c_str(), oneC, nx, k);
      benchmark::RegisterBenchmark((row + "|gsl").c_str(), oneGsl, nx, k);
    }
#ifdef RVN_BENCH_PARALLEL
  registerParallelRows();
#endif
}

}  // namespace bench
