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
  if (const TridiagonalKernels* const kernels = slot.load()) return *kernels;
  mmLockAcquire();
  const std::int32_t type = solverCpuTypeUnderLock();
  const TridiagonalKernels* const kernels = solverOfClass(type);
  if (kernels != nullptr) fillSlot(slot, kernels);
  mmLockRelease();
  if (kernels == nullptr) {
    rvnPrintMessage(0, unsupportedClassMessage, 1, type);
    std::exit(1);
  }
  return *kernels;
}

}  // namespace rvn
