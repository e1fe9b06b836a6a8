#include "dispatch/spline_kinds.h"

#include "dispatch/kernel_slot.h"

namespace rvn {
namespace {

// A slot for every order and kind that short calls should find at once: kinds below 16 and from 0x100 on.
constexpr std::int64_t slotOrders = DF_ORDER_CUBIC + 1;
constexpr std::int64_t slotKindBits = 0x10F;
KernelSlot<const SplineKind*> slots[slotOrders][32];

}  // namespace

const SplineKind* findSplineKind(std::int64_t order, std::int64_t kind) {
  const auto find = [=](const LevelTable& table) { return table.kinds->find(order, kind); };
  if (order < 0 || order >= slotOrders || (kind & ~slotKindBits) != 0) return find(tableInForce());
  return loadKernel(slots[order][(kind & 0xF) | (kind >> 4 & 0x10)], find);
}

}  // namespace rvn
