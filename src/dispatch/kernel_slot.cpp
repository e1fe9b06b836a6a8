#include "dispatch/kernel_slot.h"

#include "runtime/cpu_level.h"

namespace rvn {
namespace {

ListedSlot* newestSlot = nullptr;  // under the service lock

bool hasRow(std::int32_t level) {
  return level >= 0 && level < levelRowCount && levelTables[level] != nullptr;
}

}  // namespace

bool levelHasRow() {
  return hasRow(cpuLevel());
}

const LevelTable& tableInForce() {
  const std::int32_t level = cpuLevel();
  return *levelTables[hasRow(level) ? level : 0];
}

void listSlot(ListedSlot& listed, void* slot, void (*empty)(void* slot)) {
  if (listed.empty != nullptr) return;
  listed = {empty, slot, newestSlot};
  newestSlot = &listed;
}

void emptySlots() {
  for (ListedSlot* listed = newestSlot; listed != nullptr; listed = listed->next)
    listed->empty(listed->slot);
}

}  // namespace rvn
