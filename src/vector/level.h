#pragma once

// The facts of one kernel build. Every `*.kernel.cpp` is compiled once per level with RVN_LEVEL set to the number of a
// row of levels.inc and puts its code into `rvn::levelN`; bodies ask for facts, never for the number.

#include <cstdint>

#if !defined(RVN_LEVEL)
#error "a kernel source is compiled by cmake/levels.cmake, which sets RVN_LEVEL"
#endif

// A source that loses by wider vectors sets this before its includes; nothing that leaves an object depends on it.
#if !defined(RVN_WIDEST_VECTOR)
#define RVN_WIDEST_VECTOR 64
#endif

#define RVN_JOIN_NAMES(a, b) a##b
#define RVN_LEVEL_NAME(n) RVN_JOIN_NAMES(level, n)
#define RVN_LEVEL_NAMESPACE RVN_LEVEL_NAME(RVN_LEVEL)

namespace rvn {

struct LevelFacts {
  std::int32_t vectorBytes;         // widest register that kernels use
  std::int32_t sitesPerBlock;       // sites that the interpolation driver searches and evaluates together
  std::int32_t splitSites;          // calls with more sites may be shared among workers
  std::int32_t splitGrain;          // sites of one grain of such a split
  bool multipliesByReciprocalStep;  // cells of uniform partitions: multiply by 1/h, otherwise divide by h
  bool usesLikelyCell;              // a likely cell starts the search, otherwise it is only validated
  bool sharesWork;                  // construction kernels have block workers
  bool testsLinearPeriod;           // broken lines with periodic ends are refused if the ends differ
  bool fused;                       // multiply and add in one rounding: in the solver and in some generators
  bool wideIntegers;                // the widest register takes integers too
};

constexpr LevelFacts makeLevelFacts(int bytes, bool integers, bool fused, bool tables) {
  return {.vectorBytes = bytes < RVN_WIDEST_VECTOR ? bytes : RVN_WIDEST_VECTOR,
          .sitesPerBlock = tables ? 64 : 256,
          .splitSites = tables ? 512 : 4096,
          .splitGrain = tables ? 320 : 256,
          .multipliesByReciprocalStep = tables,
          .usesLikelyCell = tables,
          .sharesWork = tables,
          .testsLinearPeriod = tables,
          .fused = fused,
          .wideIntegers = integers};
}

constexpr LevelFacts levelFacts(int number) {
#define RVN_LEVEL_ROW(row, flags, bytes, integers, fused, tables, solver, needs) \
  if (number == (row)) return makeLevelFacts(bytes, integers, fused, tables);
#include "vector/levels.inc"
#undef RVN_LEVEL_ROW
  return {};
}

constexpr LevelFacts level = levelFacts(RVN_LEVEL);
static_assert(level.vectorBytes >= 16, "levels.inc has no row for RVN_LEVEL");

// Set bits of a number below 16. The compiler's own count is a call of its support library where the level has no
// POPCNT.
static constexpr int bitsOfFour(unsigned mask) {
  return static_cast<int>((mask & 1) + (mask >> 1 & 1) + (mask >> 2 & 1) + (mask >> 3));
}

}  // namespace rvn
