#include <cstdint>

#include "construct/local_cubic.h"

// The Bessel cubic spline: the slope at an interior breakpoint is that of the parabola through it and its two
// neighbours (C. de Boor, A Practical Guide to Splines, 1978, ch. IV),
//
//   m_i = (h_i d_(i-1) + h_(i-1) d_i) / (x_(i+1) - x_(i-1)).

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct BesselSlopes {
  static constexpr std::int64_t reach = 1;
  static constexpr bool takesNoEnds = false;

  const DfTask& task;
  const Partition<uniform>& p;
  const Values& y;

  void fillSlopes(CellRun& run, std::int64_t from, std::int64_t to) const {
    forLanes(from, to, [&]<class V>(std::int64_t i, V) {
      if constexpr (uniform) {
        store(run.m(i), 0.5 * p.r * (y.template lanes<V>(i + 1) - y.template lanes<V>(i - 1)));
      } else {
        const V h = p.template distances<V>(i, i + 1);
        const V hBefore = p.template distances<V>(i - 1, i);
        store(run.m(i), (h * load<V>(run.d(i - 1)) + hBefore * load<V>(run.d(i))) /
                            p.template distances<V>(i - 1, i + 1));
      }
    });
  }

  // The parabola across the joint of the last and the first cell.
  double periodicSlope() const {
    const std::int64_t n = p.n;
    if constexpr (uniform) return 0.5 * p.r * ((y[1] - y[0]) + (y[n - 1] - y[n - 2]));
    const double first = p.step(0);
    const double last = p.step(n - 2);
    return (last * p.difference(y, 0) + first * p.difference(y, n - 2)) / (first + last);
  }
};

std::int32_t besselDispatcher(const DfTask& task, std::int64_t, std::int64_t,
                              const WorkShareTable& workShare) {
  return constructLocal<BesselSlopes>(task, selectMember(task, 4), workShare);
}

}  // namespace

extern const FamilyDispatcher besselFamily;
const FamilyDispatcher besselFamily = besselDispatcher;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
