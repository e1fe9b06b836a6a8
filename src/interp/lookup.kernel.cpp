// The coarse look-up table from which searches start.

#include <cstdint>

#include "interp/interp_kernels.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::uint32_t unsetIndex = 0xFFFFFFFFu;

// Coarse cell of a breakpoint, 0 .. cells whatever the numbers are; a NaN gives 0.
std::int64_t coarseCell(double distance, double inverseWidth, std::int64_t cells) {
  const double v = distance * inverseWidth;
  if (!(v >= 1.0)) return 0;
  return v < static_cast<double>(cells) ? static_cast<std::int64_t>(v) : cells;
}

// Brackets every coarse cell k of [x_0, x_(nx-1)]: lo[k] is the last breakpoint of coarse cell k - 1 and
// hi[k] the first one of coarse cell k + 1, or their nearest neighbours where those cells are empty.
void buildLookup(DfTask& task) {
  const std::int64_t nx = task.nx;
  const double* x = task.x;
  LookupCell* lookup = task.lookup;
  const std::int64_t share = nx / 16;
  const std::int64_t cells = share < 16 ? 16 : share > 1024 ? 1024 : share;
  for (std::int64_t k = 0; k < cells + lookupSpareCells; ++k)
    lookup[k] = {unsetIndex, unsetIndex};

  const double width = (x[nx - 1] - x[0]) / static_cast<double>(cells);
  const double inverseWidth = 1.0 / width;
  lookup[0].lo = 0;
  for (std::int64_t i = 1; i < nx; ++i) {
    const std::int64_t c = coarseCell(x[i] - x[0], inverseWidth, cells);
    if (c == 0) continue;
    if (lookup[c - 1].hi == unsetIndex) lookup[c - 1].hi = static_cast<std::uint32_t>(i);
    lookup[c + 1].lo = static_cast<std::uint32_t>(i);
  }
  lookup[cells - 1].hi = static_cast<std::uint32_t>(nx - 1);
  for (std::int64_t k = 1; k < cells; ++k) {
    if (lookup[k].lo == unsetIndex) lookup[k].lo = lookup[k - 1].lo;
    LookupCell& fromTop = lookup[cells - 1 - k];
    if (fromTop.hi == unsetIndex) fromTop.hi = lookup[cells - k].hi;
  }
  task.lookupCells = cells;
  task.lookupInvWidth = inverseWidth;
}

}  // namespace

extern const LookupBuilder lookupBuilder;
const LookupBuilder lookupBuilder = buildLookup;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
