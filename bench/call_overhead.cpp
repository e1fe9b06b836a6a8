#include <benchmark/benchmark.h>
#include <cstdint>

#include "rows.h"

#include <ravenfit/data_fitting.h>

namespace bench {
namespace {

// A whole call for one site and one value: validation, dispatch, search, evaluation.
void interpolateOne(benchmark::State& state) {
  const double x[4] = {0.0, 1.0, 2.5, 4.0};
  const double y[4] = {0.0, 1.0, 0.5, 2.0};
  double coeff[12];
  double r = 0.0;
  const double site = 1.25;
  DfTask* task = nullptr;
  dfTaskCreate(&task, 4, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT);
  dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr, coeff,
                   DF_COEFF_DEFAULT);
  dfTaskConstruct(task, 0, 0);
  for (auto _ : state) {
    dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, DF_SITES_GENERAL, 0, nullptr,
                      nullptr, &r, DF_RESULTS_DEFAULT, nullptr);
    benchmark::DoNotOptimize(r);
  }
  dfTaskDestroy(&task);
  state.SetItemsProcessed(state.iterations());
}

// Create, edit, construct and destroy of the smallest spline: the fixed cost of a task.
void wholeTask(benchmark::State& state) {
  const double x[4] = {0.0, 1.0, 2.5, 4.0};
  const double y[4] = {0.0, 1.0, 0.5, 2.0};
  double coeff[12];
  for (auto _ : state) {
    DfTask* task = nullptr;
    dfTaskCreate(&task, 4, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT);
    dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr, coeff,
                     DF_COEFF_DEFAULT);
    dfTaskConstruct(task, 0, 0);
    dfTaskDestroy(&task);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

void registerCallRows() {
  benchmark::RegisterBenchmark("call, one site|ravenfit", interpolateOne);
  benchmark::RegisterBenchmark("call, whole task of 4 breakpoints|ravenfit", wholeTask);
}

}  // namespace bench
