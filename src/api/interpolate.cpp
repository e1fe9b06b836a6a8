#include <cstdint>

#include "dispatch/kernel_slot.h"
#include "dispatch/spline_kinds.h"
#include "task/df_task.h"

namespace {

using rvn::InterpKernels;
using rvn::KernelSlot;
using rvn::LevelTable;
using rvn::loadKernel;

KernelSlot<decltype(InterpKernels::valuesOfFew)> valuesOfFewSlot{nullptr};
KernelSlot<decltype(InterpKernels::interpolate)> interpolateSlot{nullptr};
KernelSlot<decltype(InterpKernels::searchCells)> searchCellsSlot{nullptr};

constexpr std::int32_t anyWork = DF_WANT_INTERPOLATE | DF_WANT_CELLS | DF_WANT_GIVEN_CELLS;

std::int32_t checkSites(std::int32_t type, std::int32_t method, std::int32_t nsite, const double* site,
                        std::int32_t sitehint) {
  if ((type & anyWork) == 0) return DF_ERROR_NO_WORK;
  if (method != DF_METHOD_POLYNOMIAL) return DF_ERROR_METHOD;
  if (site == nullptr) return DF_ERROR_SITES;
  if (nsite <= 0) return DF_ERROR_SITE_COUNT;
  if (sitehint != DF_SITES_NONE && sitehint != DF_SITES_GENERAL && sitehint != DF_SITES_UNIFORM &&
      sitehint != DF_SITES_SORTED)
    return DF_ERROR_SITES_HINT;
  return DF_STATUS_OK;
}

std::int32_t checkResults(const DfTask& task, std::int32_t type, std::int32_t ndorder,
                          const std::int32_t* dorder, const double* r, const std::int32_t* cell) {
  const auto kind = static_cast<std::int32_t>(task.kind);
  if (kind != DF_KIND_LOOKUP && kind != DF_KIND_STEP_RIGHT && kind != DF_KIND_STEP_LEFT) {
    if (task.coeffRows == nullptr) return DF_ERROR_NULL_COEFFICIENTS;
    for (std::int64_t i = 0; i < task.ny; ++i)
      if (task.coeffRows[i] == nullptr) return DF_ERROR_NULL_COEFFICIENTS;
  }
  if (r == nullptr) return DF_ERROR_NULL_RESULTS;
  if (ndorder <= 0) {
    if (dorder != nullptr) return DF_ERROR_DERIVATIVE_COUNT;
    if (ndorder != 0) return DF_ERROR_DERIVATIVES;
  } else if (dorder == nullptr) {
    return DF_ERROR_DERIVATIVES;
  }
  if ((type & DF_WANT_GIVEN_CELLS) != 0 && cell == nullptr) return DF_ERROR_NULL_CELLS;
  if ((type & DF_WANT_CELLS) != 0 && task.prebuilt == 0 && cell == nullptr) return DF_ERROR_NULL_CELLS;
  return DF_STATUS_OK;
}

// Arguments that callers pass on the stack come by reference: they stay where they are, and the entry point needs no
// registers to keep them.
[[gnu::noinline]] std::int32_t interpolateAny(const DfTask* task, std::int32_t type, std::int32_t method,
                                              std::int32_t nsite, const double* site, std::int32_t sitehint,
                                              const std::int32_t& ndorder, const std::int32_t* const& dorder,
                                              const double* const& datahint, double* const& r,
                                              const std::int32_t& rhint, std::int32_t* const& cell) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  if (task->prebuilt == 0) {
    if (const std::int32_t status = checkSites(type, method, nsite, site, sitehint); status != DF_STATUS_OK)
      return status;
  }
  const rvn::WorkShareTable& workShare = rvn::workShareTables[rvn::interpolateWorkShareRow];
  if ((type & (DF_WANT_GIVEN_CELLS | DF_WANT_INTERPOLATE)) != 0) {
    if (const std::int32_t status = checkResults(*task, type, ndorder, dorder, r, cell);
        status != DF_STATUS_OK)
      return status;
    // Given cells stand alone: whatever else was asked for has no effect beside them.
    const std::int32_t wanted = (type & DF_WANT_GIVEN_CELLS) != 0 ? DF_WANT_GIVEN_CELLS : type;
    const auto interpolate =
        loadKernel(interpolateSlot, [](const LevelTable& table) { return table.interp->interpolate; });
    const rvn::InterpolateCall call = {static_cast<std::uint64_t>(std::int64_t{wanted}),
                                       method,
                                       nsite,
                                       site,
                                       sitehint,
                                       ndorder,
                                       dorder,
                                       datahint,
                                       r,
                                       rhint,
                                       cell,
                                       nullptr,
                                       nullptr,
                                       rvn::findSplineKind(task->order, task->kind)};
    return interpolate(*task, call, workShare);
  }
  if ((type & DF_WANT_CELLS) == 0) return DF_ERROR_NO_WORK;
  if (task->prebuilt == 0 && cell == nullptr) return DF_ERROR_NULL_CELLS;
  const auto searchCells =
      loadKernel(searchCellsSlot, [](const LevelTable& table) { return table.interp->searchCells; });
  return searchCells(*task, method, nsite, site, sitehint, datahint, cell, nullptr, nullptr, workShare);
}

}  // namespace

// A call for values at few sites that has nothing to refuse goes straight to its kernel. Most of what it must not have is
// zero bits, and is asked for at once; a hint of two bits is none.
extern "C" std::int32_t dfTaskInterpolate(const DfTask* task, std::int32_t type, std::int32_t method,
                                          std::int32_t nsite, const double* site, std::int32_t sitehint,
                                          std::int32_t ndorder, const std::int32_t* dorder,
                                          const double* datahint, double* r, std::int32_t rhint,
                                          std::int32_t* cell) {
  constexpr std::int32_t lists = DF_SITES_GENERAL | DF_SITES_SORTED;
  constexpr std::int32_t layouts = DF_RESULTS_SITES_INNER | DF_RESULTS_DERIVS_INNER;
  const std::int32_t others = (type ^ DF_WANT_INTERPOLATE) | (method ^ DF_METHOD_POLYNOMIAL) | ndorder |
                              (sitehint & ~lists) | (rhint & ~layouts);
  if (others == 0 && sitehint != lists && rhint != layouts && dorder == nullptr && datahint == nullptr &&
      site != nullptr && r != nullptr && nsite > 0 && nsite <= rvn::fewSites && task != nullptr &&
      task->plainOrder != 0) [[likely]]
    return loadKernel(valuesOfFewSlot, [](const LevelTable& table) { return table.interp->valuesOfFew; })(
        *task, nsite, site, r);
  return interpolateAny(task, type, method, nsite, site, sitehint, ndorder, dorder, datahint, r, rhint, cell);
}
