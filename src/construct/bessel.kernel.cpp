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
  static constexpr std::int64_t lag = 0;

  const DfTask& task;
  Partition<uniform> p;
  Values y;

  template <class V>
  static V slopes(const Partition<uniform>& p, const Values& y, std::int64_t i, V before, V after) {
    if constexpr (uniform) return 0.5 * p.r * (y.template lanes<V>(i + 1) - y.template lanes<V>(i - 1));
    return (p.template distances<V>(i, i + 1) * before + p.template distances<V>(i - 1, i) * after) /
           p.template distances<V>(i - 1, i + 1);
  }

  void fillSlopes(CellRun run, std::int64_t from, std::int64_t to) const {
    for (std::int64_t i = from; i < to; ++i)
      *run.m(i) = slopes(p, y, i, *run.d(i - 1), *run.d(i));
  }

  struct Pass {
    Partition<uniform> p;
    Values y;
    Lanes last;

    Pass(const BesselSlopes& slopes, std::int64_t from)
        : p(slopes.p), y(slopes.y), last(p.template differences<Lanes>(y, from - laneCount)) {}

    Lanes push(std::int64_t i, Lanes d) {
      const Lanes before = oneDown(last, d);
      last = d;
      return slopes(p, y, i, before, d);
    }
  };

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
