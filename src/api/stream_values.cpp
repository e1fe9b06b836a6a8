#include <cmath>
#include <cstddef>
#include <cstdint>

#include "api/report.h"
#include "dispatch/kernel_slot.h"
#include "streams/stream.h"

#include <ravenfit/stream_tools.h>

namespace {

using rvn::refuseParameter;
using rvn::ValueKernels;

rvn::KernelSlot<const ValueKernels*> valuesSlot{nullptr};

const ValueKernels& values() {
  return *rvn::loadKernel(valuesSlot, [](const rvn::LevelTable& table) { return table.streams->values; });
}

// Tests what all fills have in common, and lets `fill` run if there is something to do.
template <std::size_t size, class Fill>
std::int32_t checkedFill(const char (&name)[size], RsgStream* stream, std::int32_t n, const void* r,
                         bool interval, Fill fill) {
  if (const std::int32_t status = rvn::rsgStreamCheck(stream)) return refuseParameter(name, 1, status);
  if (n < 0) return refuseParameter(name, 2, RSG_ERROR_ARGUMENT);
  if (n == 0) return RSG_STATUS_OK;
  if (r == nullptr) return refuseParameter(name, 3, RSG_ERROR_ARGUMENT);
  if (!interval) return refuseParameter(name, 4, RSG_ERROR_ARGUMENT);
  const std::int32_t status = fill(values());
  return status == RSG_ERROR_QUASI_RANDOM ? refuseParameter(name, 1, status) : status;
}

}  // namespace

extern "C" {

std::int32_t rsgWords32(RsgStream* stream, std::int32_t n, std::uint32_t* r) {
  return checkedFill("rsgWords32", stream, n, r, true,
                     [=](const ValueKernels& kernels) { return kernels.words32(stream, n, r); });
}

std::int32_t rsgWords64(RsgStream* stream, std::int32_t n, std::uint64_t* r) {
  return checkedFill("rsgWords64", stream, n, r, true,
                     [=](const ValueKernels& kernels) { return kernels.words64(stream, n, r); });
}

std::int32_t rsgIntegers(RsgStream* stream, std::int32_t n, std::int32_t* r, std::int32_t low,
                         std::int32_t high) {
  const std::uint32_t count = static_cast<std::uint32_t>(high) - static_cast<std::uint32_t>(low) + 1;
  return checkedFill("rsgIntegers", stream, n, r, low <= high,
                     [=](const ValueKernels& kernels) { return kernels.integers(stream, n, r, low, count); });
}

std::int32_t rsgUniformFloat(RsgStream* stream, std::int32_t n, float* r, float a, float b) {
  return checkedFill("rsgUniformFloat", stream, n, r, a < b && std::isfinite(b - a),
                     [=](const ValueKernels& kernels) {
                       return kernels.uniformFloat(stream, n, r, a, b, std::nextafterf(b, a));
                     });
}

std::int32_t rsgUniform53(RsgStream* stream, std::int32_t n, double* r) {
  return checkedFill("rsgUniform53", stream, n, r, true,
                     [=](const ValueKernels& kernels) { return kernels.uniform53(stream, n, r); });
}

}  // extern "C"
