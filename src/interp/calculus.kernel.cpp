// Coefficients of antiderivatives and derivatives, piece by piece: c_k t^k becomes c_k / (k + 1) t^(k+1), or k c_k t^(k-1).

#include <cstdint>

#include "interp/piece_range.h"
#include "interp/plan.h"
#include "interp/segment.h"
#include "interp/spline_tool_kernels.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

void integrateRows(const DfTask& task, double* coeff) {
  const PieceRange range(task, anyOrderPieces);
  const std::int64_t order = task.order;
  byOrder(order, [&]<int known>() {
    double* to = coeff;
    for (std::int64_t f = 0; f < functionsOf(task); ++f) {
      const double* c = task.coeffRows[f];
      Sum sum;
      for (std::int64_t q = 0; q < range.count; ++q, c += order, to += order + 1) {
        to[0] = sum.high + sum.low;
        for (std::int64_t k = 0; k < order; ++k)
          to[k + 1] = c[k] / static_cast<double>(k + 1);
        sum.add(segment<known>(c, order, 0.0, range.to(q)));
      }
    }
  });
}

void differentiateRows(const DfTask& task, double* coeff) {
  const std::int64_t order = task.order;
  double* to = coeff;
  for (std::int64_t f = 0; f < functionsOf(task); ++f) {
    const double* c = task.coeffRows[f];
    for (std::int64_t q = 0; q < task.nx - 1; ++q, c += order)
      for (std::int64_t k = 1; k < order; ++k)
        *to++ = static_cast<double>(k) * c[k];
  }
}

}  // namespace

extern const CalculusKernels calculusKernels;
const CalculusKernels calculusKernels = {integrateRows, differentiateRows};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
