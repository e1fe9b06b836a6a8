// The coarse look-up table from which searches start.

#include <cstdint>

#include "interp/interp_kernels.h"
#include "vector/level.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Whether the breakpoints from i on lie in coarse cell `bound` or above.
struct Reaches {
  const double* x;
  double first;
  double inverseWidth;

  bool operator()(std::int64_t i, double bound) const { return (x[i] - first) * inverseWidth >= bound; }
};

// The first i of from .. end that reaches, or `end`, where those that reach come last; any number of that range where
// they do not. Steps that double lead from the guess to both sides of the boundary, and halving to itself.
[[gnu::noinline]] std::int64_t searchBoundary(const Reaches& reaches, double bound, std::int64_t from,
                                              std::int64_t guess, std::int64_t end) {
  std::int64_t low = from - 1;  // does not reach
  std::int64_t high = end;      // reaches
  std::int64_t stride = 1;
  if (guess < end && !reaches(guess, bound)) {
    low = guess;
    while (low + stride < end && !reaches(low + stride, bound)) {
      low += stride;
      stride *= 2;
    }
    high = smaller(low + stride, end);
  } else {
    high = guess;
    while (high - stride > low && reaches(high - stride, bound)) {
      high -= stride;
      stride *= 2;
    }
    low = larger(high - stride, low);
  }
  while (high - low > 1) {
    const std::int64_t middle = low + (high - low) / 2;
    (reaches(middle, bound) ? high : low) = middle;
  }
  return high;
}

// Brackets every coarse cell k of [x_0, x_(nx-1)]: lo[k] is the last breakpoint of coarse cell k - 1 and hi[k] the first
// one of coarse cell k + 1, or their nearest neighbours where those cells are empty. Only the boundaries of the cells are
// looked for, each from where the one before it suggests. Few breakpoints are one bracket for all.
void buildLookup(DfTask& task) {
  const std::int64_t nx = task.nx;
  const double* const x = task.x;
  LookupCell* const lookup = task.lookup;
  const std::int64_t cells = lookupCellsOf(nx);
  const double width = (x[nx - 1] - x[0]) / static_cast<double>(cells);
  const Reaches reaches = {x, x[0], 1.0 / width};
  task.lookupCells = cells;
  task.lookupInvWidth = reaches.inverseWidth;
  const auto last = static_cast<std::uint32_t>(nx - 1);
  if (nx <= countedThrough) {
    for (std::int64_t k = 0; k < cells; ++k)
      lookup[k] = {0, last};
    return;
  }
  // Breakpoints at the very end, which rounding may leave inside the last cell or not, begin no bracket.
  const std::int64_t end = searchBoundary(reaches, static_cast<double>(cells), 1, nx - 1, nx);
  lookup[0].lo = 0;
  std::int64_t first = 1;       // of coarse cell k or above; x_0 counts nowhere
  std::int64_t firstOfAll = 1;  // of coarse cell 1 or above
  const std::int64_t expected = nx / cells;
  double bound = 0.0;
  for (std::int64_t k = 1; k < cells; ++k) {
    bound += 1.0;
    // Most often a breakpoint beside the expected one is right.
    std::int64_t next = smaller(first + expected, nx - 1);
    if (reaches(next, bound)) {
      if (next > first && reaches(next - 1, bound)) {
        --next;
        if (next > first && reaches(next - 1, bound)) next = searchBoundary(reaches, bound, first, next, nx);
      }
    } else {
      ++next;
      if (next < nx && !reaches(next, bound)) next = searchBoundary(reaches, bound, first, next, nx);
    }
    if (k == 1) firstOfAll = next;
    first = next;
    lookup[k - 1].hi = first < end ? static_cast<std::uint32_t>(first) : last;
    lookup[k].lo = first > firstOfAll ? static_cast<std::uint32_t>(first - 1) : 0;
  }
  lookup[cells - 1].hi = last;
}

}  // namespace

extern const LookupBuilder lookupBuilder;
const LookupBuilder lookupBuilder = buildLookup;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
