#include <algorithm>
#include <benchmark/benchmark.h>
#include <boost/math/tools/toms748_solve.hpp>
#include <cmath>
#include <cstdint>
#include <gsl/gsl_poly.h>
#include <gsl/gsl_spline.h>
#include <libalglib/interpolation.h>
#include <string>
#include <vector>

#include "interp_data.h"
#include "rows.h"

#include <ravenfit/spline_tools.h>

namespace bench {
namespace {

using Numbers = std::vector<double>;

bool near(const Numbers& got, const Numbers& want, double tolerance) {
  if (got.size() != want.size()) return false;
  for (std::size_t i = 0; i < got.size(); ++i)
    if (!(std::fabs(got[i] - want[i]) <= tolerance)) return false;
  return true;
}

// Runs work() until the clock is satisfied, having compared what it leaves in `got`.
template <class Work>
void time(benchmark::State& state, std::size_t items, const Numbers& got, const Numbers& want,
          double tolerance, Work work) {
  work();
  if (!near(got, want, tolerance)) state.SkipWithError("values");
  for (auto _ : state) {
    work();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(items));
}

// ---- integrals ----

struct Pairs {
  Numbers left;
  Numbers right;
  Numbers integral;  // by the coefficients, in long double

  Pairs(const InterpData& data, std::size_t count, std::size_t cells) : integral(count) {
    const std::size_t pieces = data.x.size() - 1;
    std::vector<long double> sums(1, 0.0L);
    const auto part = [&](std::size_t q, long double t) {
      const double* c = &data.coeff[4 * q];
      return t * (c[0] + t * (c[1] / 2.0L + t * (c[2] / 3.0L + t * (c[3] / 4.0L))));
    };
    for (std::size_t q = 0; q < pieces; ++q)
      sums.push_back(sums.back() + part(q, static_cast<long double>(data.x[q + 1]) - data.x[q]));
    const auto upTo = [&](double s) {
      const auto q = static_cast<std::size_t>(std::upper_bound(data.x.begin(), data.x.end() - 1, s) -
                                              data.x.begin() - 1);
      return sums[q] + part(q, static_cast<long double>(s) - data.x[q]);
    };
    for (std::size_t i = 0; i < count; ++i) {
      left.push_back(data.randomSites[i]);
      right.push_back(cells == 0 ? data.randomSites[i + count]
                                 : std::min(left[i] + static_cast<double>(cells), data.x.back()));
      if (right[i] < left[i]) std::swap(left[i], right[i]);
      integral[i] = static_cast<double>(upTo(right[i]) - upTo(left[i]));
    }
  }
};

void addIntegrals(const std::string& name, std::size_t nx, std::size_t count, std::size_t cells,
                  bool byItself) {
  benchmark::RegisterBenchmark((name + "|ravenfit").c_str(), [=](benchmark::State& state) {
    const InterpData& data = interpData(nx, false);
    const Pairs pairs(data, count, cells);
    Numbers r(count);
    time(state, count, r, pairs.integral, 1e-11, [&] {
      const std::size_t once = byItself ? 1 : count;
      for (std::size_t i = 0; i < count; i += once)
        dfTaskIntegrate(data.general, static_cast<std::int32_t>(once), &pairs.left[i], &pairs.right[i], &r[i],
                        0);
    });
  });
  benchmark::RegisterBenchmark((name + "|gsl").c_str(), [=](benchmark::State& state) {
    const InterpData& data = interpData(nx, false);
    const Pairs pairs(data, count, cells);
    Numbers r(count);
    gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, nx);
    gsl_interp_accel* accel = gsl_interp_accel_alloc();
    gsl_spline_init(spline, data.x.data(), data.y.data(), nx);
    time(state, count, r, pairs.integral, 1e-9, [&] {
      for (std::size_t i = 0; i < count; ++i)
        r[i] = gsl_spline_eval_integ(spline, pairs.left[i], pairs.right[i], accel);
    });
    gsl_interp_accel_free(accel);
    gsl_spline_free(spline);
  });
  benchmark::RegisterBenchmark((name + "|alglib").c_str(), [=](benchmark::State& state) {
    const InterpData& data = interpData(nx, false);
    const Pairs pairs(data, count, cells);
    Numbers r(count);
    alglib::real_1d_array x;
    alglib::real_1d_array y;
    x.setcontent(static_cast<alglib::ae_int_t>(nx), data.x.data());
    y.setcontent(static_cast<alglib::ae_int_t>(nx), data.y.data());
    alglib::spline1dinterpolant spline;
    alglib::spline1dbuildcubic(x, y, static_cast<alglib::ae_int_t>(nx), 2, 0.0, 2, 0.0, spline);
    time(state, count, r, pairs.integral, 1e-9, [&] {
      for (std::size_t i = 0; i < count; ++i)
        r[i] = alglib::spline1dintegrate(spline, pairs.right[i]) -
               alglib::spline1dintegrate(spline, pairs.left[i]);
    });
  });
}

// ---- roots ----

// All sites with a value, by the change of sign from one breakpoint to the next: right where, as here, no piece takes
// the value twice.
template <class RootOfPiece>
void rootsBySigns(const InterpData& data, double value, Numbers& sites, RootOfPiece rootOfPiece) {
  sites.clear();
  for (std::size_t q = 0; q + 1 < data.x.size(); ++q) {
    if ((data.y[q] - value) * (data.y[q + 1] - value) > 0.0) continue;
    sites.push_back(data.x[q] + rootOfPiece(&data.coeff[4 * q], data.x[q + 1] - data.x[q]));
  }
}

double rootByBoost(const double* c, double h, double value) {
  const auto f = [=](double t) { return ((c[3] * t + c[2]) * t + c[1]) * t + c[0] - value; };
  std::uintmax_t turns = 100;
  const auto ends =
      boost::math::tools::toms748_solve(f, 0.0, h, boost::math::tools::eps_tolerance<double>(50), turns);
  return 0.5 * (ends.first + ends.second);
}

double rootByGsl(const double* c, double h, double value) {
  double t[3];
  const int n = gsl_poly_solve_cubic(c[2] / c[3], c[1] / c[3], (c[0] - value) / c[3], &t[0], &t[1], &t[2]);
  for (int i = 0; i < n; ++i)
    if (t[i] >= 0.0 && t[i] <= h) return t[i];
  return 0.0;
}

void addRoots(const std::string& name, std::size_t nx) {
  constexpr double value = 0.2;
  const auto reference = [](const InterpData& data) {
    Numbers sites;
    rootsBySigns(data, value, sites, [](const double* c, double h) {
      long double low = 0.0L;
      long double high = h;
      const bool rises = c[0] < value;
      for (int turn = 0; turn < 70; ++turn) {
        const long double t = 0.5L * (low + high);
        (((((c[3] * t + c[2]) * t + c[1]) * t + c[0] < value) == rises) ? low : high) = t;
      }
      return static_cast<double>(low);
    });
    return sites;
  };
  benchmark::RegisterBenchmark((name + "|ravenfit").c_str(), [=](benchmark::State& state) {
    const InterpData& data = interpData(nx, false);
    const Numbers want = reference(data);
    Numbers sites(want.size());
    time(state, nx, sites, want, 1e-9, [&] {
      std::int64_t count = 0;
      dfTaskSolve(data.general, 0, value, data.x.front(), data.x.back(),
                  static_cast<std::int64_t>(sites.size()), sites.data(), &count);
      if (count != static_cast<std::int64_t>(sites.size())) state.SkipWithError("count");
    });
  });
  constexpr struct {
    const char* who;
    double (*root)(const double* c, double h, double value);
  } peers[] = {{"boost", rootByBoost}, {"gsl", rootByGsl}};
  for (const auto& peer : peers)
    benchmark::RegisterBenchmark(
        (name + "|" + peer.who).c_str(), [=, solve = peer.root](benchmark::State& state) {
          const InterpData& data = interpData(nx, false);
          const Numbers want = reference(data);
          Numbers sites;
          time(state, nx, sites, want, 1e-8, [&] {
            rootsBySigns(data, value, sites, [=](const double* c, double h) { return solve(c, h, value); });
          });
        });
}

// ---- the inverse of a line with waves ----

void addInverse(const std::string& name, std::size_t nx, std::size_t count) {
  struct Rising {
    Numbers x, y, coeff, sites, values;
    DfTask* task = nullptr;

    Rising(std::size_t size, std::size_t n) : coeff(4 * (size - 1)) {
      const InterpData& data = interpData(size, false);
      x = data.x;
      for (const double s : x)
        y.push_back(s + 0.5 * std::sin(s));
      dfTaskCreate(&task, static_cast<std::int32_t>(size), x.data(), 0, 1, y.data(), 0);
      dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_PCHIP, 0, nullptr, 0, nullptr, coeff.data(), 0);
      dfTaskConstruct(task, 0, 0);
      sites.assign(data.randomSites.begin(), data.randomSites.begin() + static_cast<std::ptrdiff_t>(n));
      values.resize(n);
      dfTaskInterpolate(task, 1, 1, static_cast<std::int32_t>(n), sites.data(), 0, 0, nullptr, nullptr,
                        values.data(), 0, nullptr);
    }
    Rising(const Rising&) = delete;
    Rising& operator=(const Rising&) = delete;
    ~Rising() { dfTaskDestroy(&task); }
  };
  benchmark::RegisterBenchmark((name + "|ravenfit").c_str(), [=](benchmark::State& state) {
    const Rising data(nx, count);
    Numbers got(count);
    time(state, count, got, data.sites, 1e-5, [&] {
      dfTaskInverse(data.task, 0, static_cast<std::int32_t>(count), data.values.data(), got.data());
    });
  });
  benchmark::RegisterBenchmark((name + "|boost").c_str(), [=](benchmark::State& state) {
    const Rising data(nx, count);
    Numbers got(count);
    time(state, count, got, data.sites, 1e-5, [&] {
      for (std::size_t i = 0; i < count; ++i) {
        const auto q = static_cast<std::size_t>(
            std::upper_bound(data.y.begin() + 1, data.y.end() - 1, data.values[i]) - data.y.begin() - 1);
        got[i] = data.x[q] + rootByBoost(&data.coeff[4 * q], data.x[q + 1] - data.x[q], data.values[i]);
      }
    });
  });
}

// ---- breakpoints ----

void addCheck(const std::string& name, std::size_t nx) {
  benchmark::RegisterBenchmark((name + "|ravenfit").c_str(), [=](benchmark::State& state) {
    const InterpData& data = interpData(nx, false);
    time(state, nx, {}, {}, 0.0, [&] {
      if (dfCheckBreakpoints(static_cast<std::int32_t>(nx), data.x.data(), nullptr) != 0)
        state.SkipWithError("order");
    });
  });
  benchmark::RegisterBenchmark((name + "|plain").c_str(), [=](benchmark::State& state) {
    const InterpData& data = interpData(nx, false);
    time(state, nx, {}, {}, 0.0, [&] {
      std::size_t i = 1;
      while (i < nx && std::isfinite(data.x[i]) && data.x[i - 1] < data.x[i])
        ++i;
      if (i < nx) state.SkipWithError("order");
    });
  });
}

}  // namespace

void registerSplineToolRows() {
  addIntegrals("integral, random pairs, nx 100", 100, 1000, 0, false);
  addIntegrals("integral, random pairs, nx 10000", 10000, 1000, 0, false);
  addIntegrals("integral, pairs 3 cells apart, nx 10000", 10000, 1000, 3, false);
  addIntegrals("integral, a pair a call, nx 100", 100, 1000, 0, true);
  addRoots("roots, per breakpoint, nx 100", 100);
  addRoots("roots, per breakpoint, nx 10000", 10000);
  addInverse("inverse, 1000000 values, nx 10000", 10000, 1000000);
  addInverse("inverse, 1000 values, nx 100", 100, 1000);
  addCheck("check breakpoints, nx 10000", 10000);
  addCheck("check breakpoints, nx 1000000", 1000000);
}

}  // namespace bench
