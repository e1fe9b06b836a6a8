#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdint>
#include <gsl/gsl_interp.h>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "boost_splines.h"
#include "limits.h"
#include "plain_construct.h"
#include "rows.h"

#include <ravenfit/data_fitting.h>

namespace bench {
namespace {

struct Kind {
  const char* name;
  std::size_t order;
  std::int32_t kind;
  std::int32_t bcType;
  std::int32_t icType;
  void (*plain)(PlainSpline&);
  const gsl_interp_type* gsl;
  void (*boost)(benchmark::State& state, const std::vector<double>& x,
                const std::vector<double>& y) = nullptr;

  bool hasKnots() const { return icType == DF_IC_KNOTS; }
};

// An object of Boost's owns its data: each is made from copies, with its memory.
template <class Spline>
void runBoost(benchmark::State& state, const std::vector<double>& x, const std::vector<double>& y) {
  for (auto _ : state) {
    std::vector<double> ownX = x;
    std::vector<double> ownY = y;
    const Spline spline(std::move(ownX), std::move(ownY));
    benchmark::DoNotOptimize(&spline);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(x.size()));
}

using Makima = boost::math::interpolators::makima<std::vector<double>>;
using Pchip = boost::math::interpolators::pchip<std::vector<double>>;

const std::vector<Kind>& kinds() {
  static const std::vector<Kind> table = {
      {"natural", 4, DF_KIND_NATURAL, DF_END_FREE, 0, plainNatural, gsl_interp_cspline},
      {"linear", 2, 0, 0, 0, plainLinear, nullptr},
      {"second derivatives", 4, 0, DF_END_FREE, DF_IC_CURVATURES, plainSecondDerivatives, nullptr},
      {"hermite", 4, DF_KIND_HERMITE, DF_END_FREE, DF_IC_SLOPES, plainHermite, nullptr},
      {"bessel", 4, DF_KIND_BESSEL, DF_END_FREE, 0, plainBessel, nullptr},
      {"akima", 4, DF_KIND_AKIMA, DF_END_FREE, 0, plainAkima, gsl_interp_akima},
      {"modified akima", 4, DF_KIND_MODIFIED_AKIMA, DF_END_FREE, 0, plainModifiedAkima, nullptr,
       runBoost<Makima>},
      {"pchip", 4, DF_KIND_PCHIP, DF_END_FREE, 0, plainPchip, nullptr, runBoost<Pchip>},
      {"steffen", 4, DF_KIND_STEFFEN, DF_END_FREE, 0, plainSteffen, gsl_interp_steffen},
      {"quadratic", 3, 0, DF_END_QUADRATIC_VALUE, 0, plainQuadratic, nullptr},
      {"subbotin", 3, DF_KIND_SUBBOTIN, DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE, DF_IC_KNOTS, plainSubbotin,
       nullptr},
  };
  return table;
}

struct Data {
  std::size_t nx;
  std::size_t ny;
  std::size_t row;  // coefficients of one function
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> bc = {0.25, 0.5};
  std::vector<double> ic;
  std::vector<double> coeff;

  Data(const Kind& kind, std::size_t breakpoints, std::size_t functions)
      : nx(breakpoints),
        ny(functions),
        row(kind.order * (nx - (kind.hasKnots() ? 0 : 1))),
        x(nx),
        y(nx * ny),
        coeff(row * ny) {
    std::mt19937_64 random(5);
    // Midpoints of quadratic splines grow with the ratios of steps.
    const double spread = kind.bcType == DF_END_QUADRATIC_VALUE ? 1e-6 : 0.5;
    std::uniform_real_distribution<double> gap(1.0 - spread, 1.0 + spread);
    double t = 0.0;
    for (double& value : x)
      value = t += gap(random);
    for (std::size_t f = 0; f < ny; ++f)
      for (std::size_t i = 0; i < nx; ++i)
        y[f * nx + i] = std::sin(0.3 * x[i] + static_cast<double>(f));
    if (kind.hasKnots()) {
      ic.push_back(x[0]);
      for (std::size_t i = 1; i < nx; ++i)
        ic.push_back(0.5 * (x[i - 1] + x[i]));
      ic.push_back(x.back());
    } else if (kind.icType != 0) {
      for (std::size_t i = 1; i + 1 < nx; ++i)
        ic.push_back(std::cos(0.3 * x[i]));
    }
  }

  PlainSpline plain() {
    return {nx, x.data(), y.data(), bc.data(), ic.empty() ? nullptr : ic.data(), coeff.data()};
  }
};

void runEach(PlainSpline& s, const Data& data, double* coeff, void (*construct)(PlainSpline&)) {
  for (std::size_t f = 0; f < data.ny; ++f) {
    s.y = data.y.data() + f * data.nx;
    s.coeff = coeff + f * data.row;
    construct(s);
  }
}

void count(benchmark::State& state, const Data& data) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(data.nx * data.ny));
}

void runRavenfit(benchmark::State& state, const Kind& kind, std::size_t nx, std::size_t ny) {
  Data data(kind, nx, ny);
  DfTask* task = nullptr;
  dfTaskCreate(&task, static_cast<std::int32_t>(nx), data.x.data(), DF_XHINT_NONE,
               static_cast<std::int32_t>(ny), data.y.data(), DF_VALUES_DEFAULT);
  dfTaskEditSpline(task, static_cast<std::int32_t>(kind.order), kind.kind, kind.bcType, data.bc.data(),
                   kind.icType, data.ic.empty() ? nullptr : data.ic.data(), data.coeff.data(),
                   DF_COEFF_DEFAULT);
  if (dfTaskConstruct(task, 0, 0) != DF_STATUS_OK) state.SkipWithError("status");
  std::vector<double> expected(data.coeff.size());
  PlainSpline s = data.plain();
  runEach(s, data, expected.data(), kind.plain);
  for (std::size_t i = 0; i < expected.size(); ++i)
    if (!(std::fabs(expected[i] - data.coeff[i]) < 1e-9 * (1.0 + std::fabs(expected[i])))) {
      state.SkipWithError("coefficients");
      break;
    }
  for (auto _ : state) {
    dfTaskConstruct(task, 0, 0);
    benchmark::ClobberMemory();
  }
  dfTaskDestroy(&task);
  count(state, data);
}

void runPlain(benchmark::State& state, const Kind& kind, void (*construct)(PlainSpline&), std::size_t nx,
              std::size_t ny) {
  Data data(kind, nx, ny);
  PlainSpline s = data.plain();
  for (auto _ : state) {
    runEach(s, data, data.coeff.data(), construct);
    benchmark::ClobberMemory();
  }
  count(state, data);
}

// Breakpoints (of all but the first function from the cache), values and internal conditions in, coefficients out.
void runLimit(benchmark::State& state, const Kind& kind, std::size_t nx, std::size_t ny) {
  const Data data(kind, nx, ny);
  const std::size_t reads = kind.icType == DF_IC_NONE ? 2 : 3;
  const std::vector<double> from(reads * nx, 1.0);
  std::vector<double> to(kind.order * nx * ny);
  for (auto _ : state) {
    for (std::size_t f = 0; f < ny; ++f)
      limitStream(nx, reads, from.data(), kind.order, &to[kind.order * nx * f]);
    benchmark::ClobberMemory();
  }
  count(state, data);
}

void runGsl(benchmark::State& state, const Kind& kind, std::size_t nx) {
  const Data data(kind, nx, 1);
  gsl_interp* spline = gsl_interp_alloc(kind.gsl, nx);
  for (auto _ : state) {
    gsl_interp_init(spline, data.x.data(), data.y.data(), nx);
    benchmark::ClobberMemory();
  }
  gsl_interp_free(spline);
  count(state, data);
}

}  // namespace

void registerConstructRows() {
  for (const Kind& kind : kinds()) {
    for (const std::size_t ny : {std::size_t{1}, std::size_t{16}}) {
      for (const std::size_t nx : {std::size_t{100}, std::size_t{10000}, std::size_t{1000000}}) {
        const std::string row = "construct " + std::string(kind.name) + ", nx " + std::to_string(nx) +
                                ", ny " + std::to_string(ny);
        const auto add = [&row](const char* who, auto run, auto... arguments) {
          benchmark::RegisterBenchmark((row + "|" + who).c_str(), run, arguments...);
        };
        add("ravenfit", runRavenfit, kind, nx, ny);
        add("plain", runPlain, kind, kind.plain, nx, ny);
        if (kind.gsl != nullptr && ny == 1) add("gsl", runGsl, kind, nx);
        if (kind.boost != nullptr && ny == 1) {
          const Data data(kind, nx, 1);
          add("boost", kind.boost, data.x, data.y);
        }
        add("limit", runLimit, kind, nx, ny);
      }
    }
  }
}

}  // namespace bench
