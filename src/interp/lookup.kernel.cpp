// The coarse look-up table from which searches start.

#include <cstdint>

#include "interp/interp_kernels.h"
#include "vector/level.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The first i of from .. end with reaches(i), or `end`, where those that reach come last; any number of that range where
// they do not. Steps that double lead from the guess to both sides of the boundary, and halving to itself.
template <class Reaches>
inline std::int64_t firstThatReaches(std::int64_t from, std::int64_t guess, std::int64_t end,
                                     Reaches reaches) {
  std::int64_t low = from - 1;  // does not reach
  std::int64_t high = end;      // reaches
  std::int64_t stride = 1;
  if (guess < end && !reaches(guess)) {
    low = guess;
    while (low + stride < end && !reaches(low + stride)) {
      low += stride;
      stride *= 2;
    }
    high = smaller(low + stride, end);
  } else {
    high = guess;
    while (high - stride > low && reaches(high - stride)) {
      high -= stride;
      stride *= 2;
    }
    low = larger(high - stride, low);
  }
  while (high - low > 1) {
    const std::int64_t middle = low + (high - low) / 2;
    (reaches(middle) ? high : low) = middle;
  }
  return high;
}

// Brackets every coarse cell k of [x_0, x_(nx-1)]: lo[k] is the last breakpoint of coarse cell k - 1 and hi[k] the first
// one of coarse cell k + 1, or their nearest neighbours where those cells are empty. Only the boundaries of the cells are
// looked for, each from where the one before it lets expect it.
void buildLookup(DfTask& task) {
  const std::int64_t nx = task.nx;
  const double* const x = task.x;
  LookupCell* const lookup = task.lookup;
  const std::int64_t cells = lookupCellsOf(nx);
  const double width = (x[nx - 1] - x[0]) / static_cast<double>(cells);
  const double inverseWidth = 1.0 / width;
  const auto from = [=](std::int64_t k, std::int64_t first, std::int64_t guess) {
    return firstThatReaches(first, guess, nx, [=](std::int64_t i) {
      return (x[i] - x[0]) * inverseWidth >= static_cast<double>(k);
    });
  };
  // Breakpoints at the very end, which rounding may leave inside the last cell or not, begin no bracket.
  const std::int64_t end = from(cells, 1, nx - 1);
  lookup[0].lo = 0;
  std::int64_t first = 1;       // of coarse cell k or above; x_0 counts nowhere
  std::int64_t firstOfAll = 1;  // of coarse cell 1 or above
  std::int64_t expected = smaller(nx / cells, nx - 1);
  for (std::int64_t k = 1; k < cells; ++k) {
    const std::int64_t next = from(k, first, smaller(first + expected, nx));
    if (k == 1) firstOfAll = next;
    expected = next - first;
    first = next;
    lookup[k - 1].hi = static_cast<std::uint32_t>(first < end ? first : nx - 1);
    lookup[k].lo = static_cast<std::uint32_t>(first > firstOfAll ? first - 1 : 0);
  }
  lookup[cells - 1].hi = static_cast<std::uint32_t>(nx - 1);
  task.lookupCells = cells;
  task.lookupInvWidth = inverseWidth;
}

}  // namespace

extern const LookupBuilder lookupBuilder;
const LookupBuilder lookupBuilder = buildLookup;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
