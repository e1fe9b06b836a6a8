#include <cstdint>

#include "construct/cells.h"
#include "construct/construct_kernels.h"
#include "construct/framework.h"
#include "construct/partition.h"
#include "construct/subbotin.h"
#include "runtime/level.h"

// The quadratic spline with a continuous slope whose value at the midpoint of the first cell is given. With
// w_k the value at the midpoint of cell k and h_k its step, a continuous slope at x_(k+1) makes
//
//   w_(k+1) = h_(k+1) / 4 ((y_k + 3 y_(k+1)) / h_k + (3 y_(k+1) + y_(k+2)) / h_(k+1)) - h_(k+1) / h_k w_k,
//
// and three values give the parabola of each cell.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Midpoints of so many cells stand on the stack.
constexpr std::int64_t cellsInFrame = 4094;

// w_0 = midpoint, then the recursion. Its terms without w do not depend on each other: they come first.
template <class Values, bool uniform>
void fillMidpoints(const Partition<uniform>& p, const Values& y, double midpoint, double* w) {
  const std::int64_t cells = p.n - 1;
  w[0] = midpoint;
  forLanes(1, cells, [&]<class V>(std::int64_t k, V) {
    const V before = y.template lanes<V>(k - 1);
    const V here = y.template lanes<V>(k);
    const V after = y.template lanes<V>(k + 1);
    if constexpr (uniform) {
      store(w + k, 1.5 * here + 0.25 * (before + after));
    } else {
      const V h = p.template distances<V>(k, k + 1);
      store(
          w + k,
          0.25 * h * ((before + 3.0 * here) / p.template distances<V>(k - 1, k) + (3.0 * here + after) / h));
    }
  });
  double g = p.step(0);
  for (std::int64_t k = 1; k < cells; ++k) {
    if constexpr (uniform) {
      w[k] -= w[k - 1];
    } else {
      const double h = p.step(k);
      w[k] -= h / g * w[k - 1];
      g = h;
    }
  }
}

template <class Values, bool uniform>
void fillParabolas(const Partition<uniform>& p, const Values& y, const double* w, double* c) {
  forLanes(0, p.n - 1, [&]<class V>(std::int64_t i, V) {
    const V left = y.template lanes<V>(i);
    const V middle = load<V>(w + i);
    const V t = p.template distances<V>(i, i + 1) * 0.5;
    const V q = t * t;
    const V bend = left - 2.0 * middle + y.template lanes<V>(i + 1);
    if constexpr (uniform) {
      const double half = p.h * 0.5;
      const V c2 = bend * (0.5 / (half * half));
      storeParabolas(c + 3 * i, left, (middle - left - q * c2) * (1.0 / half), c2);
    } else {
      const V c2 = bend * (0.5 / q);
      storeParabolas(c + 3 * i, left, (middle - left - q * c2) / t, c2);
    }
  });
}

template <class Values, bool uniform>
std::int32_t quadraticKernel(const DfTask& task) {
  const std::int64_t n = task.nx;
  const Partition<uniform> p(task);
  Scratch scratch;
  double frame[cellsInFrame];
  double* w = n <= cellsInFrame ? frame : scratch.allocate<double>(n + 1);
  if (w == nullptr) return DF_ERROR_MEMORY;
  for (std::int64_t f = 0; f < functionCount(task); ++f) {
    const Values y(task, f);
    fillMidpoints(p, y, task.bc[0], w);
    fillParabolas(p, y, w, task.coeffRows[f]);
  }
  return DF_STATUS_OK;
}

using QuadraticKernel = std::int32_t (*)(const DfTask& task);

// By layout and uniformity.
constexpr QuadraticKernel kernels[2][2] = {
    {quadraticKernel<ColumnValues, false>, quadraticKernel<ColumnValues, true>},
    {quadraticKernel<RowValues, false>, quadraticKernel<RowValues, true>},
};

// Both kinds of order 3.
std::int32_t quadraticDispatcher(const DfTask& task, std::int64_t, std::int64_t, const WorkShareTable&) {
  if (task.kind != DF_KIND_DEFAULT && task.kind != DF_KIND_SUBBOTIN) return DF_ERROR_METHOD;
  const Member member = selectLayout(task, 0);
  if (member.status != DF_STATUS_OK) return member.status;
  if (task.kind == DF_KIND_SUBBOTIN) return subbotinFamily(task, member.layout, member.uniform);
  if (task.bcType != DF_END_QUADRATIC_VALUE) return DF_ERROR_BOUNDARY_CONDITION;
  if (task.bc == nullptr) return DF_ERROR_NULL_BOUNDARY;
  return kernels[member.layout][member.uniform](task);
}

}  // namespace

extern const FamilyDispatcher quadraticFamily;
const FamilyDispatcher quadraticFamily = quadraticDispatcher;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
