#include <cstdint>

#include "construct/local_cubic.h"

// The Hermite cubic spline: slopes at the interior breakpoints are given, the same for every function.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct HermiteSlopes {
  const DfTask& task;
  Partition<uniform> p;
  Values y;

  template <class V>
  V slope(std::int64_t i, V, V) const {
    return load<V>(task.ic + (i - 1));
  }

  double periodicSlope() const { return task.bc[0]; }
};

}  // namespace

extern const SplineKind hermite;
const SplineKind hermite = {
    .order = DF_ORDER_CUBIC,
    .mostOrder = DF_ORDER_CUBIC,
    .kind = DF_KIND_HERMITE,
    .pieces = cubicPieces,
    .leastBreakpoints = 3,
    .internal = DF_IC_SLOPES,
    .ends = splineEnds,
    .endsWithValues = givenEnds | periodicEnds,
    .construct = constructLocal<HermiteSlopes>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
