#include <cstdint>

#include "dispatch/kernel_slot.h"
#include "task/df_task.h"

#include <ravenfit/spline_tools.h>

namespace {

rvn::KernelSlot<const rvn::SplineToolKernels*> toolsSlot{nullptr};

const rvn::SplineToolKernels& tools() {
  return *rvn::loadKernel(toolsSlot, [](const rvn::LevelTable& table) { return table.splineTools; });
}

bool isOutsideMode(std::int32_t mode) {
  return mode >= DF_OUTSIDE_CONTINUE && mode <= DF_OUTSIDE_REFUSE;
}

}  // namespace

extern "C" {

std::int32_t dfCheckBreakpoints(std::int32_t nx, const double* x, std::int32_t* firstBad) {
  if (nx < 2) return DF_ERROR_BREAKPOINT_COUNT;
  if (x == nullptr) return DF_ERROR_NULL_BREAKPOINTS;
  const std::int64_t bad = (*tools().checkBreakpoints)(nx, x);
  if (firstBad != nullptr) *firstBad = static_cast<std::int32_t>(bad);
  if (bad >= 0) return DF_ERROR_BREAKPOINTS;
  return DF_STATUS_OK;
}

std::int32_t dfTaskSetOutside(DfTask* task, std::int32_t below, std::int32_t above, double value) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  if (!isOutsideMode(below) || !isOutsideMode(above)) return DF_ERROR_OUTSIDE_MODE;
  task->outsideBelow = below;
  task->outsideAbove = above;
  task->outsideValue = value;
  return DF_STATUS_OK;
}

}  // extern "C"
