// Whether breakpoints are finite and ascend.

#include <cstdint>

#include "interp/spline_tool_kernels.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t vectorsAtOnce = 8;
constexpr std::int64_t comparedAtOnce = vectorsAtOnce * laneCount;

inline bool isFinite(double a) {
  return magnitude(a) < __builtin_inf();
}

// Numbers that ascend strictly from a finite first one to a finite last one are all finite; a NaN does not ascend. So
// each is compared with its neighbour alone, and looked at closely where a comparison fails.
std::int64_t firstBadBreakpoint(std::int64_t nx, const double* x) {
  std::int64_t i = 1;
  for (; i + comparedAtOnce <= nx; i += comparedAtOnce) {
    LaneMask ascend = load<Lanes>(x + i - 1) < load<Lanes>(x + i);
    for (std::int64_t v = laneCount; v < comparedAtOnce; v += laneCount)
      ascend &= load<Lanes>(x + i - 1 + v) < load<Lanes>(x + i + v);
    if (holdsAnywhere(~ascend)) break;
  }
  if (!isFinite(x[0])) return 0;
  while (i < nx && x[i - 1] < x[i])
    ++i;
  // An infinity ascends, and is bad before what follows it.
  if (i > 1 && !isFinite(x[i - 1])) return i - 1;
  return i < nx ? i : -1;
}

}  // namespace

extern const CheckBreakpoints breakpointCheck;
const CheckBreakpoints breakpointCheck = firstBadBreakpoint;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
