#pragma once

// The merge of ascending sites with the breakpoints, a group of sites at a time.

#include <cstdint>

#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr int sitesOfGroup = 2 * laneCount;

// Cells of a group of sites, the running cell being c: every breakpoint from x[c] up to the last site is compared with all
// of them. Returns the cell of the last one.
[[gnu::always_inline]] inline std::int64_t mergeGroup(const double* x, std::int64_t nx, std::int64_t c,
                                                      const double* site, std::int32_t* cell) {
  const double lastSite = site[sitesOfGroup - 1];
  const Lanes start = broadcast<Lanes>(static_cast<double>(c));
  Lanes countA = start;
  Lanes countB = start;
  if (c < nx && x[c] <= lastSite) {
    const Lanes a = load<Lanes>(site);
    const Lanes b = load<Lanes>(site + laneCount);
    do {
      const Lanes breakpoint = broadcast<Lanes>(x[c]);
      countA += breakpoint <= a ? broadcast<Lanes>(1.0) : Lanes{};
      countB += breakpoint <= b ? broadcast<Lanes>(1.0) : Lanes{};
      ++c;
    } while (c < nx && x[c] <= lastSite);
  }
  storeAsInts(cell, countA);
  storeAsInts(cell + laneCount, countB);
  return c;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
