#include <cmath>
#include <cstdint>

#include "construct/smoothing_kernels.h"
#include "dispatch/kernel_slot.h"

#include <ravenfit/smoothing.h>

namespace {

rvn::KernelSlot<decltype(rvn::SmoothingKernels::smooth)> smoothSlot{nullptr};

bool isPartition(const rvn::SmoothingCall& call) {
  const double* const x = call.x;
  const std::int64_t last = call.uniform ? 1 : call.nx - 1;
  for (std::int64_t i = 0; i < last; ++i)
    if (!(x[i] < x[i + 1])) return false;
  return std::isfinite(x[last] - x[0]);
}

bool areWeights(const rvn::SmoothingCall& call) {
  for (std::int64_t i = 0; call.w != nullptr && i < call.nx; ++i)
    if (!(call.w[i] > 0.0 && std::isfinite(call.w[i]))) return false;
  return true;
}

bool areFinite(const rvn::SmoothingCall& call) {
  double sum = 0.0;  // 0, or a NaN
  for (std::int64_t i = 0; i < call.nx * call.ny; ++i)
    sum += call.y[i] * 0.0;
  return sum == 0.0;
}

}  // namespace

extern "C" std::int32_t dfSmooth(std::int32_t nx, const double* x, std::int32_t xhint, std::int32_t ny,
                                 const double* y, std::int32_t yhint, const double* w, std::int32_t method,
                                 double lambda, double* lambdaUsed, double* coeff) {
  if (nx < 2 || (method == DF_SMOOTH_GCV && nx < DF_SMOOTH_GCV_BREAKPOINTS)) return DF_ERROR_BREAKPOINT_COUNT;
  if (x == nullptr) return DF_ERROR_NULL_BREAKPOINTS;
  if (xhint != DF_XHINT_NONE && xhint != 1 && xhint != DF_XHINT_QUASI_UNIFORM && xhint != DF_XHINT_UNIFORM)
    return DF_ERROR_PARTITION_HINT;
  if (ny < 1) return DF_ERROR_FUNCTION_COUNT;
  if (y == nullptr) return DF_ERROR_FUNCTION_VALUES;
  if (yhint != DF_VALUES_DEFAULT && yhint != DF_VALUES_BY_FUNCTION && yhint != DF_VALUES_BY_BREAKPOINT)
    return DF_ERROR_VALUES_HINT;
  if (coeff == nullptr) return DF_ERROR_NULL_COEFFICIENTS;
  const bool crossValidated = method == DF_SMOOTH_GCV;
  if (method != DF_SMOOTH_LAMBDA && !crossValidated) return DF_ERROR_SMOOTH_METHOD;
  if (!crossValidated && !(lambda >= 0.0 && std::isfinite(lambda))) return DF_ERROR_LAMBDA;
  const rvn::SmoothingCall call = {.nx = nx,
                                   .x = x,
                                   .uniform = xhint == DF_XHINT_UNIFORM,
                                   .ny = ny,
                                   .y = y,
                                   .byBreakpoint = yhint == DF_VALUES_BY_BREAKPOINT,
                                   .w = w,
                                   .crossValidated = crossValidated,
                                   .lambda = crossValidated ? 0.0 : lambda,
                                   .lambdaUsed = lambdaUsed,
                                   .coeff = coeff};
  if (!isPartition(call)) return DF_ERROR_BREAKPOINTS;
  if (!areWeights(call)) return DF_ERROR_WEIGHTS;
  if (!areFinite(call)) return DF_ERROR_NOT_FINITE;
  const auto smooth =
      rvn::loadKernel(smoothSlot, [](const rvn::LevelTable& table) { return table.smoothing->smooth; });
  return smooth(call);
}
