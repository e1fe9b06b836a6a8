#include <cstdint>

#include "construct/local_cubic.h"

// The Akima cubic spline: the slope at an interior breakpoint is a mean of the slopes of the chords beside
// it, each weighted by how little the data bend on its own side (H. Akima, J. ACM 17, 1970). With weights
// w_j = |d_j - d_(j-1)|,
//
//   m_i = (w_(i+1) d_(i-1) + w_(i-1) d_i) / (w_(i+1) + w_(i-1)),
//
// and the plain mean where both weights vanish. Beyond the ends the nearest weight repeats.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Sums of weights below it count as zero. Absolute, whatever the scale of the data; a NaN is not below it.
constexpr double leastWeights = 1e-10;

template <class V>
inline V weightedMean(V before, V weightBefore, V after, V weightAfter) {
  const V sum = weightBefore + weightAfter;
  const V mean = (before + after) * 0.5;
  // Where both weights vanish, 0 / 0 would raise a flag, or a trap, for a quotient that nobody takes.
  const V divisor = leastWeights > sum ? V{} + 1.0 : sum;
  const V weighted = (before * weightBefore + after * weightAfter) / divisor;
  return leastWeights > sum ? mean : weighted;
}

template <class Values, bool uniform>
struct AkimaSlopes {
  static constexpr std::int64_t reach = 2;
  static constexpr bool takesNoEnds = true;
  static constexpr std::int64_t lag = 1;

  const DfTask& task;
  Partition<uniform> p;
  Values y;

  void fillSlopes(CellRun run, std::int64_t from, std::int64_t to) const {
    const std::int64_t n = p.n;
    const auto weight = [&](std::int64_t j) {
      const std::int64_t inside = j < 1 ? 1 : least(j, n - 2);
      return magnitude(*run.d(inside) - *run.d(inside - 1));
    };
    for (std::int64_t i = from; i < to; ++i)
      *run.m(i) = weightedMean(*run.d(i - 1), weight(i + 1), *run.d(i), weight(i - 1));
  }

  // Weights of a vector need the chords of the next one.
  struct Pass {
    Lanes before;      // chords one cell below `after`
    Lanes after;       // newest chords
    Lanes weightLast;  // weights of the vector before, and
    Lanes weight;      // of the newest one

    Pass(const AkimaSlopes& slopes, std::int64_t from) {
      before = slopes.p.template differences<Lanes>(slopes.y, from - laneCount - 1);
      after = slopes.p.template differences<Lanes>(slopes.y, from - laneCount);
      weight = weightLast = magnitude(after - before);
    }

    Lanes push(std::int64_t, Lanes d) {
      const Lanes beforeNext = oneDown(after, d);
      const Lanes weightNext = magnitude(d - beforeNext);
      const Lanes m = weightedMean(before, oneUp(weight, weightNext), after, oneDown(weightLast, weight));
      before = beforeNext;
      after = d;
      weightLast = weight;
      weight = weightNext;
      return m;
    }
  };

  // The joint of the last and the first cell. The weights on its far sides come from the cells next to it.
  double periodicSlope() const {
    const std::int64_t last = p.n - 2;
    const double before = p.difference(y, last);
    const double after = p.difference(y, 0);
    return weightedMean(before, magnitude(p.difference(y, 1) - after), after,
                        magnitude(before - p.difference(y, last - 1)));
  }

  // Without an end condition: the chords' slopes, continued by half a cell.
  double freeSlope(Side side) const {
    const std::int64_t cell = side == Side::left ? 0 : p.n - 2;
    const std::int64_t beside = side == Side::left ? 1 : p.n - 3;
    return (3.0 * p.difference(y, cell) - p.difference(y, beside)) * 0.5;
  }
};

std::int32_t akimaDispatcher(const DfTask& task, std::int64_t, std::int64_t,
                             const WorkShareTable& workShare) {
  return constructLocal<AkimaSlopes>(task, selectMember(task, 5, NoEnds::accepted), workShare);
}

}  // namespace

extern const FamilyDispatcher akimaFamily;
const FamilyDispatcher akimaFamily = akimaDispatcher;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
