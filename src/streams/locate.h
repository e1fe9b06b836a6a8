#pragma once

// From an identifier to its row; for kernel sources.

#include "streams/registry.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const BrngRegistry brngRegistry;

namespace {

[[maybe_unused]] BrngPlace rsgBrngLocate(std::int32_t brngId) {
  if (brngId >= firstFamilyForm) return {true, (brngId >> 20) - 1, brngId & 0xFFFFF};
  const bool isWichmannHill =
      brngId >= firstWichmannHillRow && brngId < firstWichmannHillRow + wichmannHillMembers;
  if (isWichmannHill) return {false, firstWichmannHillRow, brngId - firstWichmannHillRow};
  return {false, brngId, 0};
}

[[maybe_unused]] std::int32_t rsgBrngCheck(const BrngPlace& place) {
  if (!place.inFamilyTable)
    return place.row >= 0 && place.row < memberRowCount ? RSG_STATUS_OK : RSG_ERROR_GENERATOR;
  if (place.row >= familyCount) return RSG_ERROR_GENERATOR;
  return place.member < brngRegistry.memberCount[place.row] ? RSG_STATUS_OK : RSG_ERROR_GENERATOR;
}

// The row of a checked place.
[[maybe_unused]] const BrngRecord& rsgBrngRow(const BrngPlace& place) {
  return brngRegistry.family[place.inFamilyTable ? place.row : brngRegistry.memberRow[place.row]];
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
