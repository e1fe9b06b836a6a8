#include "dispatch/generators.h"

#include "dispatch/kernel_slot.h"

namespace rvn {
namespace {

KernelSlot<decltype(StreamKernels::find)> findSlot{nullptr};

}  // namespace

const BrngRecord* findGenerator(std::int32_t brngId) {
  return loadKernel(findSlot, [](const LevelTable& table) { return table.streams->find; })(brngId);
}

}  // namespace rvn
