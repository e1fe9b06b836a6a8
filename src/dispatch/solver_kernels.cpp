#include "dispatch/solver_kernels.h"

#include <cstdint>
#include <cstdlib>

#include "dispatch/kernel_slot.h"
#include "runtime/cpu_level.h"
#include "runtime/messages.h"

namespace rvn {
namespace {

constexpr std::int32_t unsupportedClassMessage = 1213;

KernelSlot<const TridiagonalKernels*> slot{nullptr};

}  // namespace

const TridiagonalKernels& solverKernels() {
  if (const TridiagonalKernels* const kernels = slot.load(std::memory_order_relaxed)) return *kernels;
  const std::int32_t type = solverCpuType();
  const TridiagonalKernels* const kernels = solverOfClass(type);
  if (kernels == nullptr) {
    rvnPrintMessage(0, unsupportedClassMessage, 1, type);
    std::exit(1);
  }
  slot.store(kernels, std::memory_order_relaxed);
  return *kernels;
}

}  // namespace rvn
