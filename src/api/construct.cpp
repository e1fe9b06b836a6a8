#include <cstdint>

#include "dispatch/solver_kernels.h"
#include "dispatch/spline_kinds.h"
#include "task/integral_sums.h"

namespace {

using rvn::EndPair;
using rvn::SplineKind;

// The row of a kind's members that reads the values; -1 for an unknown layout.
std::int32_t layoutOf(std::int64_t yhint) {
  if (yhint == DF_VALUES_BY_BREAKPOINT) return 0;
  return yhint == DF_VALUES_DEFAULT || yhint == DF_VALUES_BY_FUNCTION || yhint == DF_VALUES_FIRST_ROW ? 1
                                                                                                      : -1;
}

std::int32_t checkArrays(const DfTask& task, std::int32_t layout) {
  const std::int64_t functions = task.ny > 1 ? task.ny : 1;
  if (task.coeffRows == nullptr) return DF_ERROR_NULL_COEFFICIENTS;
  for (std::int64_t i = 0; i < functions; ++i)
    if (task.coeffRows[i] == nullptr) return DF_ERROR_NULL_COEFFICIENTS;
  if (task.yRows == nullptr) return DF_ERROR_FUNCTION_VALUES;
  for (std::int64_t i = 0; layout == 1 && i < functions; ++i)
    if (task.yRows[i] == nullptr) return DF_ERROR_FUNCTION_VALUES;
  if (layout < 0) return DF_ERROR_VALUES_HINT;
  if (task.yRows[0] == nullptr) return DF_ERROR_FUNCTION_VALUES;
  return DF_STATUS_OK;
}

std::int32_t refuseKind(std::int64_t order) {
  return order == DF_ORDER_QUADRATIC || order == DF_ORDER_CUBIC ? DF_ERROR_SPLINE_KIND
                                                                : DF_ERROR_SPLINE_ORDER;
}

// What the record of a kind asks of its task, and the ends that the task names.
std::int32_t checkKind(const SplineKind& kind, const DfTask& task, std::int32_t method, std::int32_t layout,
                       EndPair& ends) {
  const bool givesInternal = kind.internal == DF_IC_SLOPES || kind.internal == DF_IC_CURVATURES;
  if (givesInternal && task.ic == nullptr) return DF_ERROR_NULL_INTERNAL;
  if (givesInternal && task.icType != kind.internal) return DF_ERROR_INTERNAL_CONDITION;
  if (kind.testsMethod && method != 0) return DF_ERROR_METHOD;
  const bool enough = task.nx >= kind.leastBreakpoints;
  if (!kind.breakpointsLast && !enough) return DF_ERROR_BREAKPOINT_COUNT;
  if (layout < 0) return DF_ERROR_VALUES_HINT;
  if (kind.internal == DF_IC_KNOTS && (task.icType & DF_IC_KNOTS) == 0) return DF_ERROR_INTERNAL_CONDITION;
  if (kind.ends != 0) {
    const bool inside = task.bcType >= 0 && task.bcType <= rvn::largestEndType;
    const std::int8_t place = inside ? rvn::endTypePlaces.of[task.bcType] : std::int8_t{-1};
    if (place < 0 || (kind.ends & rvn::endTypes[place].set) == 0) return DF_ERROR_BOUNDARY_CONDITION;
    const rvn::EndType* const type = &rvn::endTypes[place];
    if ((kind.endsWithValues & type->set) != 0 && task.bc == nullptr) return DF_ERROR_NULL_BOUNDARY;
    ends = type->ends;
  }
  return enough ? DF_STATUS_OK : DF_ERROR_BREAKPOINT_COUNT;
}

}  // namespace

extern "C" std::int32_t dfTaskConstruct(const DfTask* task, std::int32_t format, std::int32_t method) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  const std::int32_t layout = layoutOf(task->yhint);
  if (task->prebuilt == 0) {
    if (format != 0 || method != 0) return DF_ERROR_METHOD;
    if (const std::int32_t status = checkArrays(*task, layout); status != DF_STATUS_OK) return status;
  }
  const SplineKind* const kind = rvn::findSplineKind(task->order, task->kind);
  if (kind == nullptr || kind->construct.member[0][0] == nullptr) return refuseKind(task->order);
  EndPair ends = {};
  if (const std::int32_t status = checkKind(*kind, *task, method, layout, ends); status != DF_STATUS_OK)
    return status;
  rvn::dropIntegralSums(*task);
  const rvn::Construct construct = kind->construct.member[layout][rvn::isUniform(*task) ? 1 : 0];
  return construct(*task, ends, {rvn::workShareTables[rvn::constructWorkShareRow], rvn::solverKernels});
}
