#include <cmath>
#include <cstddef>
#include <cstdint>

#include "api/report.h"
#include "dispatch/kernel_slot.h"
#include "streams/stream.h"

#include <ravenfit/variates.h>

namespace {

using rvn::KernelSlot;
using rvn::LevelTable;
using rvn::VariateKernels;

KernelSlot<decltype(VariateKernels::normal)> normalSlot{nullptr};
KernelSlot<decltype(VariateKernels::exponential)> exponentialSlot{nullptr};
KernelSlot<decltype(VariateKernels::logNormal)> logNormalSlot{nullptr};

bool isSpread(double sigma) {
  return sigma >= 0.0 && std::isfinite(sigma);
}

// The position of a call's first bad parameter, and the status for it; 0 and a status for one that is done.
struct Refusal {
  std::int32_t position;
  std::int32_t status;
};

Refusal checkFill(const RsgStream* stream, std::int32_t n, const double* r) {
  if (const std::int32_t status = rvn::rsgStreamCheck(stream)) return {1, status};
  if (n < 0) return {2, RSG_ERROR_ARGUMENT};
  if (n > 0 && r == nullptr) return {3, RSG_ERROR_ARGUMENT};
  return {0, RSG_STATUS_OK};
}

Refusal checkNormal(const RsgStream* stream, std::int32_t n, const double* r, double mean, double sigma) {
  const Refusal refusal = checkFill(stream, n, r);
  if (refusal.position != 0 || n == 0) return refusal;
  if (!std::isfinite(mean)) return {4, RSG_ERROR_ARGUMENT};
  if (!isSpread(sigma)) return {5, RSG_ERROR_ARGUMENT};
  return {0, RSG_STATUS_OK};
}

}  // namespace

extern "C" {

std::int32_t rsgNormal(RsgStream* stream, std::int32_t n, double* r, double mean, double sigma) {
  const Refusal refusal = checkNormal(stream, n, r, mean, sigma);
  if (refusal.position != 0) return rvn::refuseParameter("rsgNormal", refusal.position, refusal.status);
  if (n == 0) return RSG_STATUS_OK;
  const auto normal =
      rvn::loadKernel(normalSlot, [](const LevelTable& table) { return table.variates->normal; });
  return normal(stream, n, r, mean, sigma);
}

std::int32_t rsgLogNormal(RsgStream* stream, std::int32_t n, double* r, double mean, double sigma) {
  const Refusal refusal = checkNormal(stream, n, r, mean, sigma);
  if (refusal.position != 0) return rvn::refuseParameter("rsgLogNormal", refusal.position, refusal.status);
  if (n == 0) return RSG_STATUS_OK;
  const auto logNormal =
      rvn::loadKernel(logNormalSlot, [](const LevelTable& table) { return table.variates->logNormal; });
  return logNormal(stream, n, r, mean, sigma);
}

std::int32_t rsgExponential(RsgStream* stream, std::int32_t n, double* r, double mean) {
  Refusal refusal = checkFill(stream, n, r);
  if (refusal.position == 0 && n > 0 && !isSpread(mean)) refusal = {4, RSG_ERROR_ARGUMENT};
  if (refusal.position != 0) return rvn::refuseParameter("rsgExponential", refusal.position, refusal.status);
  if (n == 0) return RSG_STATUS_OK;
  const auto exponential =
      rvn::loadKernel(exponentialSlot, [](const LevelTable& table) { return table.variates->exponential; });
  return exponential(stream, n, r, mean);
}

}  // extern "C"
