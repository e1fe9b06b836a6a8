#include <cstddef>
#include <cstdint>

#include "dispatch/kernel_slot.h"
#include "dispatch/spline_kinds.h"
#include "task/df_task.h"

#include <ravenfit/spline_tools.h>

namespace {

rvn::KernelSlot<const rvn::SplineToolKernels*> toolsSlot{nullptr};

const rvn::SplineToolKernels& tools() {
  return *rvn::loadKernel(toolsSlot, [](const rvn::LevelTable& table) { return table.splineTools; });
}

// The record of a task's kind, where it has polynomial pieces.
const rvn::SplineKind* kindWithPieces(const DfTask& task) {
  const rvn::SplineKind* const kind = rvn::findSplineKind(task.order, task.kind);
  return kind != nullptr && kind->pieces < rvn::stepLeftPieces ? kind : nullptr;
}

bool hasRows(const DfTask& task) {
  if (task.coeffRows == nullptr) return false;
  for (std::int64_t f = 0; f < task.ny; ++f)
    if (task.coeffRows[f] == nullptr) return false;
  return true;
}

bool isIntegralLayout(std::int32_t rhint) {
  constexpr std::int32_t derivsInnerToo = 128;
  return rhint == DF_RESULTS_DEFAULT || rhint == DF_RESULTS_DERIVS_INNER || rhint == derivsInnerToo ||
         rhint == DF_RESULTS_SITES_INNER || rhint == DF_RESULTS_BY_SITE;
}

// Whether rows of `order` coefficients a piece lie inside the address space.
bool fitsMachine(const DfTask& task, std::int64_t order) {
  std::ptrdiff_t bytes = 0;
  return !__builtin_mul_overflow(task.ny > 1 ? task.ny : 1, order, &bytes) &&
         !__builtin_mul_overflow(bytes, task.nx - 1, &bytes) &&
         !__builtin_mul_overflow(bytes, std::ptrdiff_t{sizeof(double)}, &bytes);
}

// What roots and the inverse ask of a task: a function, of pieces with closed forms of their extrema.
std::int32_t checkFunction(const DfTask& task, std::int32_t function) {
  if (function < 0 || function >= (task.ny == 0 ? 1 : task.ny)) return DF_ERROR_FUNCTION_INDEX;
  if (kindWithPieces(task) == nullptr) return DF_ERROR_SPLINE_KIND;
  if (task.order > DF_ORDER_CUBIC) return DF_ERROR_SPLINE_ORDER;
  if (task.coeffRows == nullptr || task.coeffRows[function] == nullptr) return DF_ERROR_NULL_COEFFICIENTS;
  return DF_STATUS_OK;
}

// What both rows of coefficients ask of a task.
std::int32_t checkCalculus(const DfTask* task, const double* coeff, std::int64_t step) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  if (coeff == nullptr) return DF_ERROR_NULL_COEFFICIENTS;
  const rvn::SplineKind* const kind = kindWithPieces(*task);
  if (kind == nullptr || kind->pieces == rvn::knotPieces) return DF_ERROR_SPLINE_KIND;
  if (task->order + step < DF_ORDER_LINEAR) return DF_ERROR_SPLINE_ORDER;
  if (!hasRows(*task)) return DF_ERROR_NULL_COEFFICIENTS;
  return fitsMachine(*task, task->order + step) ? DF_STATUS_OK : DF_ERROR_MEMORY;
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

std::int32_t dfTaskIntegrate(const DfTask* task, std::int32_t n, const double* left, const double* right,
                             double* r, std::int32_t rhint) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  if (n < 1) return DF_ERROR_LIMIT_COUNT;
  if (left == nullptr) return DF_ERROR_LEFT_LIMITS;
  if (right == nullptr) return DF_ERROR_RIGHT_LIMITS;
  if (r == nullptr) return DF_ERROR_NULL_INTEGRALS;
  if (!isIntegralLayout(rhint)) return DF_ERROR_INTEGRALS_HINT;
  const rvn::SplineKind* const kind = kindWithPieces(*task);
  if (kind == nullptr) return DF_ERROR_SPLINE_KIND;
  if (!hasRows(*task)) return DF_ERROR_NULL_COEFFICIENTS;
  return (*tools().integrate)(*task, kind->pieces, {n, left, right, r, rhint == DF_RESULTS_BY_SITE});
}

std::int32_t dfTaskAntiderivative(const DfTask* task, double* coeff) {
  const std::int32_t status = checkCalculus(task, coeff, 1);
  if (status == DF_STATUS_OK) tools().calculus->antiderivative(*task, coeff);
  return status;
}

std::int32_t dfTaskDerivative(const DfTask* task, double* coeff) {
  const std::int32_t status = checkCalculus(task, coeff, -1);
  if (status == DF_STATUS_OK) tools().calculus->derivative(*task, coeff);
  return status;
}

std::int32_t dfTaskSolve(const DfTask* task, std::int32_t function, double value, double a, double b,
                         std::int64_t room, double* sites, std::int64_t* count) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  if (room < 0 || (sites == nullptr && room > 0) || count == nullptr) return DF_ERROR_ROOM;
  if (!(a <= b)) return DF_ERROR_INTERVAL;
  if (value != value) return DF_ERROR_VALUES;
  if (const std::int32_t status = checkFunction(*task, function); status != DF_STATUS_OK) return status;
  const rvn::SplineKind* const kind = kindWithPieces(*task);
  return (*tools().solve)(*task, kind->pieces, {function, value, a, b, room, sites, count});
}

std::int32_t dfTaskInverse(const DfTask* task, std::int32_t function, std::int32_t n, const double* values,
                           double* sites) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  if (n < 1) return DF_ERROR_VALUE_COUNT;
  if (values == nullptr) return DF_ERROR_VALUES;
  if (sites == nullptr) return DF_ERROR_SITES;
  if (const std::int32_t status = checkFunction(*task, function); status != DF_STATUS_OK) return status;
  const rvn::SplineKind* const kind = kindWithPieces(*task);
  return (*tools().invert)(*task, kind->pieces, {function, n, values, sites});
}

}  // extern "C"
