#pragma once

// From an identifier to its generator and member; for kernel sources. An identifier has one of two forms: from
// firstFamilyForm on it is (family + 1) 2^20 + member, below it is a row of the member table.

#include "streams/registry.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const BrngRegistry brngRegistry;

namespace {

inline std::int32_t familyOf(std::int32_t brngId) {
  return namesFamily(brngId) ? brngId / firstFamilyForm - 1 : brngRegistry.memberRow[brngId];
}

// The generator that a stream has.
inline const BrngRecord& recordOf(std::int32_t brngId) {
  return *brngRegistry.family[familyOf(brngId)];
}

// Whether streams can be made of it.
inline bool isUsable(std::int32_t brngId) {
  const bool isRow = brngId >= 0 && brngId < memberRowCount;
  if (!isRow && !(namesFamily(brngId) && familyOf(brngId) < brngRegistry.familyCount)) return false;
  const BrngRecord& record = recordOf(brngId);
  return memberOf(brngId) < record.members && record.operations != nullptr;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
