// Many functions over one partition, which share the search, and sites that lie outside the partition.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gsl/gsl_spline.h>
#include <string>
#include <vector>

#include "interp_data.h"
#include "plain_interp.h"
#include "rows.h"

#include <ravenfit/spline_tools.h>

namespace bench {
namespace {

constexpr std::size_t sitesOfACall = 100000;

struct Channels {
  const InterpData& data;
  std::size_t nx;
  std::size_t count;
  std::vector<double> y;
  std::vector<double> coeff;
  DfTask* task = nullptr;

  Channels(std::size_t points, std::size_t channels)
      : data(interpData(points, false)),
        nx(points),
        count(channels),
        y(nx * count),
        coeff(4 * (nx - 1) * count) {
    for (std::size_t f = 0; f < count; ++f)
      for (std::size_t i = 0; i < nx; ++i)
        y[f * nx + i] = std::sin(0.3 * data.x[i] + static_cast<double>(f));
    dfTaskCreate(&task, static_cast<std::int32_t>(nx), data.x.data(), DF_XHINT_NONE,
                 static_cast<std::int32_t>(count), y.data(), DF_VALUES_DEFAULT);
    dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr,
                     coeff.data(), DF_COEFF_DEFAULT);
    dfTaskConstruct(task, 0, 0);
  }
  Channels(const Channels&) = delete;
  Channels& operator=(const Channels&) = delete;
  ~Channels() { dfTaskDestroy(&task); }
};

// Sites of a row; those that leave the partition do so by a tenth of its width on both sides.
std::vector<double> sitesOf(const InterpData& data, bool sorted, bool outside) {
  std::vector<double> sites(data.randomSites.begin(), data.randomSites.begin() + sitesOfACall);
  if (outside)
    for (double& s : sites)
      s = 1.2 * (s - data.x.front()) + data.x.front() - 0.1 * (data.x.back() - data.x.front());
  if (sorted) std::sort(sites.begin(), sites.end());
  return sites;
}

bool close(const std::vector<double>& got, const std::vector<double>& want, double tolerance) {
  for (std::size_t i = 0; i < got.size(); ++i)
    if (!(std::fabs(got[i] - want[i]) <= tolerance)) return false;
  return true;
}

// Times `work`, which fills r, once r has been compared with the textbook loop's numbers.
template <class Work>
void time(benchmark::State& state, const std::vector<double>& r, const std::vector<double>& want,
          double tolerance, Work work) {
  work();
  if (!close(r, want, tolerance)) state.SkipWithError("values");
  for (auto _ : state) {
    work();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(r.size()));
}

struct GslChannels {
  std::vector<gsl_spline*> splines;
  gsl_interp_accel* accel = gsl_interp_accel_alloc();

  explicit GslChannels(const Channels& c) {
    for (std::size_t f = 0; f < c.count; ++f) {
      splines.push_back(gsl_spline_alloc(gsl_interp_cspline, c.nx));
      gsl_spline_init(splines.back(), c.data.x.data(), &c.y[f * c.nx], c.nx);
    }
  }
  GslChannels(const GslChannels&) = delete;
  GslChannels& operator=(const GslChannels&) = delete;
  ~GslChannels() {
    for (gsl_spline* spline : splines)
      gsl_spline_free(spline);
    gsl_interp_accel_free(accel);
  }
};

void addBySite(const std::string& name, std::size_t nx, std::size_t count, bool sorted) {
  const auto row = [=](const char* who, auto body) {
    benchmark::RegisterBenchmark((name + "|" + who).c_str(), [=](benchmark::State& state) {
      const Channels c(nx, count);
      const std::vector<double> site = sitesOf(c.data, sorted, false);
      std::vector<double> want(site.size() * count);
      plainChannels(nx, c.data.x.data(), count, c.coeff.data(), site.size(), site.data(), want.data());
      body(state, c, site, want);
    });
  };
  row("ravenfit", [sorted](benchmark::State& state, const Channels& c, const std::vector<double>& site,
                           const std::vector<double>& want) {
    std::vector<double> r(want.size());
    time(state, r, want, 1e-12, [&] {
      dfTaskInterpolate(c.task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL,
                        static_cast<std::int32_t>(site.size()), site.data(),
                        sorted ? DF_SITES_SORTED : DF_SITES_GENERAL, 0, nullptr, nullptr, r.data(),
                        DF_RESULTS_BY_SITE, nullptr);
    });
  });
  row("plain", [](benchmark::State& state, const Channels& c, const std::vector<double>& site,
                  const std::vector<double>& want) {
    std::vector<double> r(want.size());
    time(state, r, want, 0.0, [&] {
      plainChannels(c.nx, c.data.x.data(), c.count, c.coeff.data(), site.size(), site.data(), r.data());
    });
  });
  row("gsl", [](benchmark::State& state, const Channels& c, const std::vector<double>& site,
                const std::vector<double>& want) {
    const GslChannels gsl(c);
    std::vector<double> r(want.size());
    time(state, r, want, 1e-9, [&] {
      double* next = r.data();
      for (const double s : site)
        for (gsl_spline* spline : gsl.splines)
          *next++ = gsl_spline_eval(spline, s, gsl.accel);
    });
  });
}

// Sites outside take the value of the nearer end.
void addClamped(const std::string& name, std::size_t nx, bool sorted) {
  const auto row = [=](const char* who, auto body) {
    benchmark::RegisterBenchmark((name + "|" + who).c_str(), [=](benchmark::State& state) {
      const Channels c(nx, 1);
      const std::vector<double> site = sitesOf(c.data, sorted, true);
      std::vector<double> want(site.size());
      std::vector<double> inside(site.size());
      const auto clampAll = [&] {
        for (std::size_t i = 0; i < site.size(); ++i)
          inside[i] = std::clamp(site[i], c.data.x.front(), c.data.x.back());
      };
      clampAll();
      plainValues(nx, c.data.x.data(), c.coeff.data(), site.size(), inside.data(), want.data(), nullptr);
      std::vector<double> r(site.size());
      body(state, c, site, clampAll, inside, r, want);
    });
  };
  row("ravenfit",
      [sorted](benchmark::State& state, const Channels& c, const std::vector<double>& site, const auto&,
               const std::vector<double>&, std::vector<double>& r, const std::vector<double>& want) {
        dfTaskSetOutside(c.task, DF_OUTSIDE_CLAMP, DF_OUTSIDE_CLAMP, 0.0);
        time(state, r, want, 1e-12, [&] {
          dfTaskInterpolate(c.task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL,
                            static_cast<std::int32_t>(site.size()), site.data(),
                            sorted ? DF_SITES_SORTED : DF_SITES_GENERAL, 0, nullptr, nullptr, r.data(), 0,
                            nullptr);
        });
      });
  row("plain",
      [](benchmark::State& state, const Channels& c, const auto&, const auto& clampAll,
         const std::vector<double>& inside, std::vector<double>& r, const std::vector<double>& want) {
        time(state, r, want, 0.0, [&] {
          clampAll();
          plainValues(c.nx, c.data.x.data(), c.coeff.data(), inside.size(), inside.data(), r.data(), nullptr);
        });
      });
  row("gsl", [](benchmark::State& state, const Channels& c, const auto&, const auto& clampAll,
                const std::vector<double>& inside, std::vector<double>& r, const std::vector<double>& want) {
    const GslChannels gsl(c);
    time(state, r, want, 1e-9, [&] {
      clampAll();
      for (std::size_t i = 0; i < inside.size(); ++i)
        r[i] = gsl_spline_eval(gsl.splines[0], inside[i], gsl.accel);
    });
  });
}

}  // namespace

void registerChannelRows() {
  for (const bool sorted : {false, true}) {
    const std::string sites = sorted ? ", sorted sites, nx " : ", random sites, nx ";
    addBySite("4 functions by site" + sites + "1024", 1024, 4, sorted);
    addBySite("16 functions by site" + sites + "1024", 1024, 16, sorted);
    addClamped("value clamped outside" + sites + "1024", 1024, sorted);
  }
}

}  // namespace bench
