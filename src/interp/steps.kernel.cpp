// Interpolators that work on the function values themselves. They know no derivative.

#include <cstdint>

#include "interp/evaluate.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Largest distance at which a site counts as a breakpoint of a uniform partition, whatever its scale: 2^-40.
constexpr double breakpointTolerance = 0x1p-40;

inline double magnitude(double a) {
  return a < 0.0 ? -a : a;
}

// The breakpoint on the left of a cell.
inline std::int64_t leftOf(std::int64_t cell) {
  return cell >= 1 ? cell - 1 : 0;
}

// Copies the values at the breakpoints that indexOf(i) names.
template <class IndexOf>
inline void copyValues(const EvalBlock& block, IndexOf indexOf) {
  const DfTask& task = *block.task;
  const bool interleaved = task.yhint == DF_VALUES_BY_BREAKPOINT;
  const double* y = interleaved ? task.yRows[0] + block.f : task.yRows[block.f];
  const std::int64_t stride = interleaved ? block.nfunc : 1;
  const std::int64_t nres = block.wanted->nres;
  for (std::int64_t i = 0; i < block.nblock; ++i)
    block.blockResults[i * nres] = y[indexOf(i) * stride];
}

std::int32_t evaluateStepRight(const EvalBlock& block) {
  if ((block.wanted->low4 & 1U) == 0) return 0;
  copyValues(block, [&](std::int64_t i) { return leftOf(block.blockCells[i]); });
  return 0;
}

// On general partitions a breakpoint takes the interval on its left. On uniform ones the test is against the
// right end of the cell, which a site of the cell normally does not reach, so that a breakpoint keeps its own
// value.
std::int32_t evaluateStepLeft(const EvalBlock& block) {
  if ((block.wanted->low4 & 1U) == 0) return 0;
  const double* x = block.task->x;
  const double* site = block.blockSites;
  if (isUniform(*block.task)) {
    copyValues(block, [&](std::int64_t i) {
      const std::int64_t cell = block.blockCells[i];
      const double right = static_cast<double>(cell) * block.h + x[0];
      return leftOf(cell > 0 && site[i] == right ? cell - 1 : cell);
    });
  } else {
    copyValues(block, [&](std::int64_t i) {
      const std::int64_t j = leftOf(block.blockCells[i]);
      return j > 0 && site[i] == x[j] ? j - 1 : j;
    });
  }
  return 0;
}

// The breakpoint that site i is, or -1. The right end of a cell serves searches that leave ties on the left.
inline std::int64_t breakpointOf(const EvalBlock& block, std::int64_t i) {
  const DfTask& task = *block.task;
  const std::int64_t cell = block.blockCells[i];
  const double s = block.blockSites[i];
  if (cell == 0) return -1;
  if (isUniform(task)) {
    const double x0 = task.x[0];
    if (magnitude(s - block.h * static_cast<double>(cell - 1) - x0) <= breakpointTolerance) return cell - 1;
    if (cell < task.nx && magnitude(s - block.h * static_cast<double>(cell) - x0) < breakpointTolerance)
      return cell;
    return -1;
  }
  if (s == task.x[cell - 1]) return cell - 1;
  return cell < task.nx && s == task.x[cell] ? cell : -1;
}

// All sites are tested before the request is, and both before anything is written.
std::int32_t lookupValues(const EvalBlock& block) {
  for (std::int64_t i = 0; i < block.nblock; ++i)
    if (breakpointOf(block, i) < 0) return DF_ERROR_SITES;
  if (block.wanted->nres != 1) return DF_ERROR_DERIVATIVE_COUNT;
  if ((block.wanted->low4 & 1U) == 0) return DF_ERROR_DERIVATIVES;
  copyValues(block, [&](std::int64_t i) { return breakpointOf(block, i); });
  return 0;
}

}  // namespace

extern const SplineKind stepLeft;
extern const SplineKind stepRight;
extern const SplineKind lookup;
const SplineKind stepLeft = {
    .order = DF_ORDER_NONE, .mostOrder = DF_ORDER_NONE, .kind = DF_KIND_STEP_LEFT, .pieces = stepLeftPieces};
const SplineKind stepRight = {.order = DF_ORDER_NONE,
                              .mostOrder = DF_ORDER_NONE,
                              .kind = DF_KIND_STEP_RIGHT,
                              .pieces = stepRightPieces};
const SplineKind lookup = {
    .order = DF_ORDER_NONE, .mostOrder = DF_ORDER_NONE, .kind = DF_KIND_LOOKUP, .pieces = lookupPieces};

extern const StepKernels stepKernels;
const StepKernels stepKernels = {{evaluateStepLeft, evaluateStepRight, lookupValues}};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
