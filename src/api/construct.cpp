#include <cstdint>

#include "dispatch/kernel_slot.h"
#include "task/df_task.h"

namespace {

using rvn::ConstructKernels;
using rvn::FamilyDispatcher;
using rvn::KernelSlot;
using rvn::LevelTable;

// A construction family: where its dispatcher stands in a level's table, and the slot that keeps it.
struct Family {
  const FamilyDispatcher* ConstructKernels::*member;
  KernelSlot<FamilyDispatcher> slot;
};

Family linear{&ConstructKernels::linear, nullptr};
Family quadratic{&ConstructKernels::quadratic, nullptr};
Family secondDerivatives{&ConstructKernels::secondDerivatives, nullptr};
Family natural{&ConstructKernels::natural, nullptr};
Family hermite{&ConstructKernels::hermite, nullptr};
Family bessel{&ConstructKernels::bessel, nullptr};
Family akima{&ConstructKernels::akima, nullptr};

std::int32_t checkArrays(const DfTask& task) {
  const std::int64_t functions = task.ny > 1 ? task.ny : 1;
  if (task.coeffRows == nullptr) return DF_ERROR_NULL_COEFFICIENTS;
  for (std::int64_t i = 0; i < functions; ++i)
    if (task.coeffRows[i] == nullptr) return DF_ERROR_NULL_COEFFICIENTS;
  if (task.yRows == nullptr) return DF_ERROR_FUNCTION_VALUES;
  if (task.yhint == DF_VALUES_DEFAULT || task.yhint == DF_VALUES_BY_FUNCTION ||
      task.yhint == DF_VALUES_FIRST_ROW) {
    for (std::int64_t i = 0; i < functions; ++i)
      if (task.yRows[i] == nullptr) return DF_ERROR_FUNCTION_VALUES;
  } else if (task.yhint != DF_VALUES_BY_BREAKPOINT) {
    return DF_ERROR_VALUES_HINT;
  }
  if (task.yRows[0] == nullptr) return DF_ERROR_FUNCTION_VALUES;
  return DF_STATUS_OK;
}

// Tests the internal conditions of a cubic kind that needs them.
std::int32_t checkInternal(const DfTask& task, std::int64_t icType) {
  if (task.ic == nullptr) return DF_ERROR_NULL_INTERNAL;
  if (task.icType != icType) return DF_ERROR_INTERNAL_CONDITION;
  return DF_STATUS_OK;
}

std::int32_t selectCubic(const DfTask& task, Family*& family) {
  switch (task.kind) {
    case DF_KIND_DEFAULT:
      family = &secondDerivatives;
      return checkInternal(task, DF_IC_CURVATURES);
    case DF_KIND_NATURAL:
      family = &natural;
      return DF_STATUS_OK;
    case DF_KIND_HERMITE:
      family = &hermite;
      return checkInternal(task, DF_IC_SLOPES);
    case DF_KIND_BESSEL:
      family = &bessel;
      return DF_STATUS_OK;
    case DF_KIND_AKIMA:
      family = &akima;
      return DF_STATUS_OK;
    default:
      return DF_ERROR_SPLINE_KIND;
  }
}

std::int32_t selectFamily(const DfTask& task, Family*& family) {
  switch (task.order) {
    case DF_ORDER_LINEAR:
      family = &linear;
      return DF_STATUS_OK;
    case DF_ORDER_QUADRATIC:
      if (task.kind != DF_KIND_DEFAULT && task.kind != DF_KIND_SUBBOTIN) return DF_ERROR_SPLINE_KIND;
      family = &quadratic;
      return DF_STATUS_OK;
    case DF_ORDER_CUBIC:
      return selectCubic(task, family);
    default:
      return DF_ERROR_SPLINE_ORDER;
  }
}

}  // namespace

extern "C" std::int32_t dfTaskConstruct(const DfTask* task, std::int32_t format, std::int32_t method) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  if (task->prebuilt == 0) {
    if (format != 0 || method != 0) return DF_ERROR_METHOD;
    if (const std::int32_t status = checkArrays(*task); status != DF_STATUS_OK) return status;
  }
  Family* family = nullptr;
  if (const std::int32_t status = selectFamily(*task, family); status != DF_STATUS_OK) return status;
  const FamilyDispatcher construct = rvn::loadKernel(
      family->slot, [family](const LevelTable& table) { return *(table.construct->*(family->member)); });
  return construct(*task, format, method, rvn::workShareTables[rvn::constructWorkShareRow]);
}
