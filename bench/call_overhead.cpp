// Calls as most programs make them: one value at a time, short curves made and thrown away.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gsl/gsl_spline.h>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "boost_splines.h"
#include "plain_construct.h"
#include "rows.h"

#include <ravenfit/data_fitting.h>

namespace bench {
namespace {

// A curve, and 64 sets of 1000 sites each: one set repeated would be learnt by the branch predictor.
struct Curve {
  static constexpr std::size_t sites = 64000;
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> coeff;
  std::vector<double> random;   // anywhere in the partition
  std::vector<double> walking;  // in small steps from end to end

  explicit Curve(std::size_t nx) : x(nx), y(nx), coeff(4 * (nx - 1)), random(sites), walking(sites) {
    std::mt19937_64 engine(nx);
    std::uniform_real_distribution<double> gap(0.5, 1.5);
    double at = 0.0;
    for (std::size_t i = 0; i < nx; ++i) {
      x[i] = at += gap(engine);
      y[i] = std::sin(0.3 * at);
    }
    std::uniform_real_distribution<double> where(x.front(), x.back());
    std::generate(random.begin(), random.end(), [&] { return where(engine); });
    const double step = (x.back() - x.front()) / static_cast<double>(sites);
    for (std::size_t i = 0; i < sites; ++i)
      walking[i] = x.front() + static_cast<double>(i) * step;
  }

  DfTask* create() {
    DfTask* task = nullptr;
    dfTaskCreate(&task, static_cast<std::int32_t>(x.size()), x.data(), DF_XHINT_NONE, 1, y.data(),
                 DF_VALUES_DEFAULT);
    return task;
  }
  DfTask* construct(std::int32_t kind, std::int32_t order = DF_ORDER_CUBIC) {
    DfTask* const task = create();
    dfTaskEditSpline(task, order, kind, DF_END_FREE, nullptr, DF_IC_NONE, nullptr, coeff.data(),
                     DF_COEFF_DEFAULT);
    dfTaskConstruct(task, 0, 0);
    return task;
  }
};

// Asks value(site) for one site after another.
template <class Value>
void timeSites(benchmark::State& state, const std::vector<double>& sites, Value value) {
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value(sites[i]));
    i = i + 1 < sites.size() ? i + 1 : 0;
  }
  state.SetItemsProcessed(state.iterations());
}

double valueOf(const DfTask* task, double site) {
  double r = 0.0;
  dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, DF_SITES_GENERAL, 0, nullptr,
                    nullptr, &r, DF_RESULTS_DEFAULT, nullptr);
  return r;
}

void oneSite(benchmark::State& state, std::size_t nx, bool walks) {
  Curve curve(nx);
  DfTask* task = curve.construct(DF_KIND_NATURAL);
  gsl_spline* const reference = gsl_spline_alloc(gsl_interp_cspline, nx);
  gsl_spline_init(reference, curve.x.data(), curve.y.data(), nx);
  for (const double site : curve.random)
    if (!(std::fabs(valueOf(task, site) - gsl_spline_eval(reference, site, nullptr)) < 1e-12))
      state.SkipWithError("values");
  gsl_spline_free(reference);
  timeSites(state, walks ? curve.walking : curve.random, [&](double site) { return valueOf(task, site); });
  dfTaskDestroy(&task);
}

void oneSiteGsl(benchmark::State& state, std::size_t nx, bool walks) {
  const Curve curve(nx);
  gsl_spline* const spline = gsl_spline_alloc(gsl_interp_cspline, nx);
  gsl_spline_init(spline, curve.x.data(), curve.y.data(), nx);
  gsl_interp_accel* const accelerator = gsl_interp_accel_alloc();
  timeSites(state, walks ? curve.walking : curve.random,
            [&](double site) { return gsl_spline_eval(spline, site, accelerator); });
  gsl_interp_accel_free(accelerator);
  gsl_spline_free(spline);
}

void oneSiteBoost(benchmark::State& state, std::size_t nx, bool walks) {
  const Curve curve(nx);
  const boost::math::interpolators::makima<std::vector<double>> spline(std::vector<double>(curve.x),
                                                                       std::vector<double>(curve.y));
  timeSites(state, walks ? curve.walking : curve.random, spline);
}

void oneSitePlain(benchmark::State& state, std::size_t nx, bool walks) {
  Curve curve(nx);
  DfTask* task = curve.construct(DF_KIND_NATURAL);
  dfTaskDestroy(&task);
  timeSites(state, walks ? curve.walking : curve.random, [&](double site) {
    const auto above = std::upper_bound(curve.x.begin() + 1, curve.x.end() - 1, site);
    const auto piece = static_cast<std::size_t>(above - curve.x.begin()) - 1;
    const double t = site - curve.x[piece];
    const double* const c = curve.coeff.data() + 4 * piece;
    return ((c[3] * t + c[2]) * t + c[1]) * t + c[0];
  });
}

// ---- whole lives: made, constructed, thrown away ----

template <class Life>
void timeLives(benchmark::State& state, std::size_t nx, Life life) {
  for (auto _ : state) {
    life();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(nx));
}

struct LifeKind {
  const char* name;
  std::int32_t kind;
  std::int32_t order;
  void (*plain)(PlainSpline&);
  const gsl_interp_type* gsl;
};

void life(benchmark::State& state, const LifeKind& kind, std::size_t nx) {
  Curve curve(nx);
  timeLives(state, nx, [&] {
    DfTask* task = curve.construct(kind.kind, kind.order);
    dfTaskDestroy(&task);
  });
}

void lifePlain(benchmark::State& state, const LifeKind& kind, std::size_t nx) {
  const Curve curve(nx);
  timeLives(state, nx, [&] {
    std::vector<double> coeff(4 * (nx - 1));
    PlainSpline spline = {nx, curve.x.data(), curve.y.data(), nullptr, nullptr, coeff.data()};
    kind.plain(spline);
    benchmark::DoNotOptimize(coeff.data());
  });
}

void lifeGsl(benchmark::State& state, const LifeKind& kind, std::size_t nx) {
  const Curve curve(nx);
  timeLives(state, nx, [&] {
    gsl_spline* const spline = gsl_spline_alloc(kind.gsl, nx);
    gsl_spline_init(spline, curve.x.data(), curve.y.data(), nx);
    gsl_spline_free(spline);
  });
}

template <class Spline>
void lifeBoost(benchmark::State& state, std::size_t nx) {
  const Curve curve(nx);
  timeLives(state, nx, [&] {
    const Spline spline(std::vector<double>(curve.x), std::vector<double>(curve.y));
    benchmark::DoNotOptimize(&spline);
  });
}

}  // namespace

void registerCallRows() {
  for (const bool walks : {false, true})
    for (const std::size_t nx : {std::size_t{16}, std::size_t{1024}, std::size_t{65536}}) {
      const std::string row =
          std::string("one site a call, ") + (walks ? "walking" : "random") + ", nx " + std::to_string(nx);
      benchmark::RegisterBenchmark((row + "|ravenfit").c_str(), oneSite, nx, walks);
      benchmark::RegisterBenchmark((row + "|plain").c_str(), oneSitePlain, nx, walks);
      benchmark::RegisterBenchmark((row + "|gsl").c_str(), oneSiteGsl, nx, walks);
      benchmark::RegisterBenchmark((row + "|boost").c_str(), oneSiteBoost, nx, walks);
    }
  static const LifeKind kinds[] = {
      {"natural", DF_KIND_NATURAL, DF_ORDER_CUBIC, plainNatural, gsl_interp_cspline},
      {"akima", DF_KIND_AKIMA, DF_ORDER_CUBIC, plainAkima, gsl_interp_akima},
      {"modified akima", DF_KIND_MODIFIED_AKIMA, DF_ORDER_CUBIC, plainModifiedAkima, nullptr},
      {"pchip", DF_KIND_PCHIP, DF_ORDER_CUBIC, plainPchip, nullptr},
      {"bessel", DF_KIND_BESSEL, DF_ORDER_CUBIC, plainBessel, nullptr},
      {"linear", DF_KIND_DEFAULT, DF_ORDER_LINEAR, plainLinear, gsl_interp_linear},
  };
  using Makima = boost::math::interpolators::makima<std::vector<double>>;
  using Pchip = boost::math::interpolators::pchip<std::vector<double>>;
  for (const LifeKind& kind : kinds)
    for (const std::size_t nx : {std::size_t{16}, std::size_t{64}, std::size_t{1024}, std::size_t{65536}}) {
      const std::string row = std::string("whole life, ") + kind.name + ", nx " + std::to_string(nx);
      benchmark::RegisterBenchmark((row + "|ravenfit").c_str(), life, kind, nx);
      benchmark::RegisterBenchmark((row + "|plain").c_str(), lifePlain, kind, nx);
      if (kind.gsl != nullptr) benchmark::RegisterBenchmark((row + "|gsl").c_str(), lifeGsl, kind, nx);
      if (kind.kind == DF_KIND_PCHIP) {
        benchmark::RegisterBenchmark((row + "|boost").c_str(), lifeBoost<Pchip>, nx);
      } else if (kind.order == DF_ORDER_CUBIC) {
        benchmark::RegisterBenchmark((row + "|boost").c_str(), lifeBoost<Makima>, nx);
      }
    }
}

}  // namespace bench
