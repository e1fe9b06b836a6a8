#include "dispatch/best_level.h"

#include "dispatch/kernel_slot.h"
#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"

namespace rvn {

void useBestLevel() {
  mmLockAcquire();
  if (!vendorRule.ignored.exchange(true, std::memory_order_seq_cst)) {
    decideLevelsAnew();
    emptySlots();
  }
  mmLockRelease();
}

}  // namespace rvn
