#include "api/report.h"
#include "dispatch/kernel_slot.h"
#include "streams/stream.h"

namespace {

rvn::KernelSlot<decltype(rvn::StreamKernels::uniform)> uniformSlot{nullptr};

[[gnu::cold, gnu::noinline]] std::int32_t refuseUniform(std::int32_t method, const RsgStream* stream,
                                                        std::int32_t n, const double* r) {
  static constexpr char name[] = "vdRngUniform";
  if (method < 0) return rvn::refuseParameter(name, 1, RSG_ERROR_ARGUMENT);
  if (const std::int32_t status = rvn::rsgStreamCheck(stream)) return rvn::refuseParameter(name, 2, status);
  if (n < 0) return rvn::refuseParameter(name, 3, RSG_ERROR_ARGUMENT);
  if (n == 0) return RSG_STATUS_OK;
  if (r == nullptr) return rvn::refuseParameter(name, 4, RSG_ERROR_ARGUMENT);
  if (method != RNG_UNIFORM_PLAIN && method != RNG_UNIFORM_CLAMPED)
    return rvn::refuseParameter(name, 1, RSG_ERROR_ARGUMENT);
  return rvn::refuseParameter(name, 5, RSG_ERROR_ARGUMENT);
}

}  // namespace

extern "C" {

std::int32_t vdRngUniform(std::int32_t method, RsgStream* stream, std::int32_t n, double* r, double a,
                          double b) {
  const bool known = method == RNG_UNIFORM_PLAIN || method == RNG_UNIFORM_CLAMPED;
  // A NaN among the ends passes.
  if (!known || rvn::rsgStreamCheck(stream) != RSG_STATUS_OK || n <= 0 || r == nullptr || b <= a)
    return refuseUniform(method, stream, n, r);
  const auto uniform =
      rvn::loadKernel(uniformSlot, [](const rvn::LevelTable& t) { return t.streams->uniform; });
  return uniform(method, stream, n, r, a, b);
}

}  // extern "C"
