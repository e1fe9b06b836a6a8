#pragma once

// Constants and state of the Wichmann-Hill family: every member has four prime moduli m just under 2^24,
// strictly decreasing, each with a multiplier that is a primitive root of it.

#include <cstdint>

#include "streams/registry.h"
#include "streams/stream.h"

namespace rvn {

extern const std::uint8_t WichmannHillMultipliers[wichmannHillMembers][4];
extern const std::uint32_t WichmannHillModuli[wichmannHillMembers][4];

// 1/m rounded toward zero; for the output sum only.
extern const double WichmannHillReciprocals[wichmannHillMembers][4];

struct WichmannHillStream {
  RsgStream header;
  std::uint32_t x[4];     // 1 .. m - 1: what the next output is made of
  std::uint32_t mult[4];  // here and not only in the table, since leapfrog changes them
};
static_assert(sizeof(WichmannHillStream) == 48);
static_assert(offsetof(WichmannHillStream, x) == 16);

}  // namespace rvn
