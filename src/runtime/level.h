#pragma once

// The facts of one kernel build. Every `*.kernel.cpp` is compiled once per level with RVN_LEVEL set to 1 .. 9
// and puts its code into `rvn::levelN`; bodies ask for facts, never for the number.

#include <cstdint>

#if !defined(RVN_LEVEL) || RVN_LEVEL < 1 || RVN_LEVEL > 9
#error "a kernel source is compiled by cmake/levels.cmake, which sets RVN_LEVEL to 1 .. 9"
#endif

#define RVN_JOIN_NAMES(a, b) a##b
#define RVN_LEVEL_NAME(n) RVN_JOIN_NAMES(level, n)
#define RVN_LEVEL_NAMESPACE RVN_LEVEL_NAME(RVN_LEVEL)

namespace rvn {

struct LevelFacts {
  std::int32_t vectorBytes;         // widest register that kernels use
  std::int32_t sitesPerBlock;       // sites that the interpolation driver searches and evaluates together
  std::int32_t shortPathSites;      // calls with fewer sites are one block; 0: no such path
  std::int32_t splitSites;          // calls with more sites may be shared among workers
  std::int32_t splitGrain;          // sites of one grain of such a split
  std::int32_t narrowingLimit;      // breakpoints left when a bisection hands over to counting
  bool usesLookup;                  // searches start from the task's coarse look-up table
  bool multipliesByReciprocalStep;  // cells of uniform partitions: multiply by 1/h, otherwise divide by h
  bool usesLikelyCell;              // a likely cell starts the search, otherwise it is only validated
  bool sharesWork;                  // construction kernels have block workers
  bool testsLinearPeriod;           // broken lines with periodic ends are refused if the ends differ
  bool fusesSolver;                 // the tridiagonal solver fuses multiply and subtract
  bool fusesUniform;                // some generators fuse the mapping to an interval
  bool wideIntegers;                // the widest register takes integers too
};

// Rows 0 and 1 are one build. Only the instruction set differs inside 0 .. 2, 3 .. 7 and 8 .. 9.
constexpr LevelFacts levelFactsTable[10] = {
    {16, 256, 0, 4096, 256, 100, false, false, false, false, false, false, false, true},
    {16, 256, 0, 4096, 256, 100, false, false, false, false, false, false, false, true},
    {16, 256, 0, 4096, 256, 100, false, false, false, false, false, false, false, true},
    {16, 64, 32, 512, 320, 20, true, true, true, true, true, false, false, true},
    {16, 64, 32, 512, 320, 20, true, true, true, true, true, false, false, true},
    {16, 64, 32, 512, 320, 20, true, true, true, true, true, false, false, true},
    {16, 64, 32, 512, 320, 20, true, true, true, true, true, false, false, true},
    {16, 64, 32, 512, 320, 20, true, true, true, true, true, false, false, true},
    {32, 64, 32, 512, 320, 40, true, true, true, true, true, false, false, false},
    {32, 64, 32, 512, 320, 40, true, true, true, true, true, true, true, true},
};

constexpr LevelFacts level = levelFactsTable[RVN_LEVEL];

}  // namespace rvn
