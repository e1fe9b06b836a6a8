#include <cstdint>

#include "dispatch/kernel_slot.h"
#include "dispatch/spline_kinds.h"
#include "runtime/memory.h"
#include "task/df_task.h"

namespace {

using rvn::KernelSlot;
using rvn::LevelTable;
using rvn::loadKernel;

KernelSlot<decltype(rvn::TaskKernels::create)> createSlot{nullptr};
KernelSlot<decltype(rvn::TaskKernels::edit)> editSlot{nullptr};
KernelSlot<rvn::LookupBuilder> lookupSlot{nullptr};

// Whether values come from rows that are all there, by the formula of the order and whatever else a call may say: a
// polynomial spline over a partition that is searched in the common way.
bool isPlain(const DfTask& task) {
  if (task.coeffRows == nullptr || task.ny < 1 || task.xhint == DF_XHINT_QUASI_UNIFORM) return false;
  for (std::int64_t f = 0; f < task.ny; ++f)
    if (task.coeffRows[f] == nullptr) return false;
  const rvn::SplineKind* const kind = rvn::findSplineKind(task.order, task.kind);
  return kind != nullptr && kind->pieces <= rvn::cubicPieces;
}

}  // namespace

extern "C" {

std::int32_t dfTaskCreate(DfTask** task, std::int32_t nx, const double* x, std::int32_t xhint,
                          std::int32_t ny, const double* y, std::int32_t yhint) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  const auto create = loadKernel(createSlot, [](const LevelTable& table) { return table.task->create; });
  const std::int32_t status = create(task, nx, x, xhint, ny, y, yhint, 0);
  if (status == DF_STATUS_OK && !rvn::isUniform(**task)) {
    const auto build =
        loadKernel(lookupSlot, [](const LevelTable& table) { return *table.interp->buildLookup; });
    build(**task);
  }
  return status;
}

std::int32_t dfTaskEditSpline(DfTask* task, std::int32_t order, std::int32_t kind, std::int32_t bcType,
                              const double* bc, std::int32_t icType, const double* ic, double* coeff,
                              std::int32_t coeffHint) {
  const auto edit = loadKernel(editSlot, [](const LevelTable& table) { return table.task->edit; });
  const std::int32_t status = edit(task, order, kind, bcType, bc, icType, ic, coeff, coeffHint);
  if (task != nullptr) task->plainOrder = isPlain(*task) ? static_cast<std::uint8_t>(task->order) : 0;
  return status;
}

std::int32_t dfTaskDestroy(DfTask** task) {
  if (task == nullptr || *task == nullptr) return DF_ERROR_NULL_TASK;
  DfTask* record = *task;
  if (record->coeffRows != record->coeffRoom) rvn::rvnFree(record->coeffRows);
  rvn::rvnFree(record);
  *task = nullptr;
  return DF_STATUS_OK;
}

}  // extern "C"
