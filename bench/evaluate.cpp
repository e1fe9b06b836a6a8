#include <algorithm>
#include <benchmark/benchmark.h>
#include <cmath>
#include <cstdint>
#include <gsl/gsl_spline.h>
#include <string>
#include <vector>

#include "interp_data.h"
#include "limits.h"
#include "plain_interp.h"
#include "rows.h"

#include <ravenfit/data_fitting.h>

namespace bench {
namespace {

struct ValueRow {
  bool equidistant;
  bool sorted;
  bool second;  // second derivatives beside the values
  std::size_t nx;
  std::size_t batch;
};

enum class Who { ravenfit, ravenfitCellsKnown, plain, limit };

// Values, then second derivatives.
void evaluate(const ValueRow& row, const InterpData& data, const double* site, double* r,
              std::int32_t* givenCells) {
  const std::int32_t dorder[3] = {1, 0, 1};
  dfTaskInterpolate(row.equidistant ? data.uniform : data.general,
                    givenCells != nullptr ? DF_WANT_GIVEN_CELLS : DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL,
                    static_cast<std::int32_t>(row.batch), site,
                    row.sorted ? DF_SITES_SORTED : DF_SITES_GENERAL, row.second ? 3 : 1, dorder, nullptr, r,
                    DF_RESULTS_SITES_INNER, givenCells);
}

void evaluatePlain(const ValueRow& row, const InterpData& data, const double* site, double* r) {
  double* second = row.second ? r + row.batch : nullptr;
  if (row.equidistant) {
    plainUniformValues(row.nx, data.x.front(), data.step, data.coeff.data(), row.batch, site, r, second);
  } else {
    plainValues(row.nx, data.x.data(), data.coeff.data(), row.batch, site, r, second);
  }
}

bool right(const std::vector<double>& got, const std::vector<double>& want) {
  for (std::size_t i = 0; i < got.size(); ++i)
    if (!(std::fabs(got[i] - want[i]) <= 1e-12)) return false;
  return true;
}

void run(benchmark::State& state, const ValueRow& row, Who who) {
  const InterpData& data = interpData(row.nx, row.equidistant);
  Batches batches(row.sorted ? data.sortedSites : data.randomSites, row.batch);
  std::vector<double> r((row.second ? 2 : 1) * row.batch);
  std::vector<double> expected(r.size());
  const double* site = batches.next();
  std::vector<std::int32_t> cells(row.batch);
  plainCells(row.nx, data.x.data(), row.batch, site, cells.data());
  std::int32_t* given = who == Who::ravenfitCellsKnown ? cells.data() : nullptr;
  evaluate(row, data, site, r.data(), given);
  evaluatePlain(row, data, site, expected.data());
  if (!right(r, expected)) state.SkipWithError("values");
  for (std::int32_t& cell : cells)
    cell = std::min(cell, static_cast<std::int32_t>(row.nx) - 1) - (who == Who::limit ? 1 : 0);
  for (auto _ : state) {
    if (who == Who::plain) {
      evaluatePlain(row, data, batches.next(), r.data());
    } else if (who == Who::limit) {
      limitPieces(row.equidistant ? nullptr : data.x.data(), data.coeff.data(), row.batch, site, cells.data(),
                  r.data());
    } else {
      evaluate(row, data, batches.next(), r.data(), given);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(row.batch));
}

void runGsl(benchmark::State& state, const ValueRow& row) {
  const InterpData& data = interpData(row.nx, row.equidistant);
  Batches batches(row.sorted ? data.sortedSites : data.randomSites, row.batch);
  gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, row.nx);
  gsl_interp_accel* accel = gsl_interp_accel_alloc();
  gsl_spline_init(spline, data.x.data(), data.y.data(), row.nx);
  std::vector<double> r(row.batch);
  std::vector<double> expected(row.batch);
  const auto all = [&](const double* site) {
    for (std::size_t i = 0; i < row.batch; ++i)
      r[i] = gsl_spline_eval(spline, site[i], accel);
  };
  const double* site = batches.next();
  all(site);
  plainValues(row.nx, data.x.data(), data.coeff.data(), row.batch, site, expected.data(), nullptr);
  for (std::size_t i = 0; i < row.batch; ++i)
    if (!(std::fabs(r[i] - expected[i]) <= 1e-9)) {
      state.SkipWithError("values");
      break;
    }
  for (auto _ : state) {
    all(batches.next());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(row.batch));
  gsl_interp_accel_free(accel);
  gsl_spline_free(spline);
}

void add(const std::string& name, const ValueRow& row, bool cellsKnown = false) {
  benchmark::RegisterBenchmark((name + "|ravenfit").c_str(), [=](benchmark::State& state) {
    run(state, row, cellsKnown ? Who::ravenfitCellsKnown : Who::ravenfit);
  });
  benchmark::RegisterBenchmark((name + "|plain").c_str(),
                               [=](benchmark::State& state) { run(state, row, Who::plain); });
  benchmark::RegisterBenchmark((name + "|limit").c_str(),
                               [=](benchmark::State& state) { run(state, row, Who::limit); });
  if (!row.second)
    benchmark::RegisterBenchmark((name + "|gsl").c_str(),
                                 [=](benchmark::State& state) { runGsl(state, row); });
}

}  // namespace

void registerEvaluateRows() {
  for (const bool second : {false, true})
    for (const bool equidistant : {false, true})
      for (const bool sorted : {false, true})
        for (const std::size_t nx : {std::size_t{100}, std::size_t{10000}, std::size_t{1000000}})
          add(std::string(second ? "value and curvature" : "value") + (equidistant ? ", uniform" : "") +
                  (sorted ? ", sorted sites, nx " : ", random sites, nx ") + std::to_string(nx),
              {equidistant, sorted, second, nx, 1000000});
  for (const std::size_t nx : {std::size_t{100}, std::size_t{10000}, std::size_t{1000000}})
    add("value, random sites, cells known, nx " + std::to_string(nx), {false, false, false, nx, 1000000},
        true);
  add("value, 1000 sorted sites, nx 1000000", {false, true, false, 1000000, 1000});
  add("value, 1000 random sites, nx 10000", {false, false, false, 10000, 1000});
}

}  // namespace bench
