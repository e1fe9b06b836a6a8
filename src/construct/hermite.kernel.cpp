#include <cstdint>

#include "construct/local_cubic.h"

// The Hermite cubic spline: slopes at the interior breakpoints are given, the same for every function.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct HermiteSlopes {
  const double* ic;
  const double* bc;

  HermiteSlopes(const DfTask& task, const Partition<uniform>&, const Values&) : ic(task.ic), bc(task.bc) {}

  template <class V>
  V slope(std::int64_t i) const {
    return load<V>(ic + (i - 1));
  }

  double periodicSlope() const { return bc[0]; }
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
    .endsWithValues = givenEnds | mixedEnds | periodicEnds,
    .construct = constructLocal<HermiteSlopes>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
