#include <cstdint>

#include "construct/local_cubic.h"

// The modified Akima cubic spline: weights that take the size of the chords in too keep a flat stretch flat beside a
// slope,
//
//   w_j = |d_j - d_(j-1)| + |d_j + d_(j-1)| / 2.
//
// Beyond the ends the chords go on in a line: d_(-1) = 2 d_0 - d_1 and d_(-2) = 3 d_0 - 2 d_1, likewise at the right.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct ModifiedAkimaSlopes {
  Partition<uniform> p;
  Values y;

  ModifiedAkimaSlopes(const DfTask&, const Partition<uniform>& partition, const Values& values)
      : p(partition), y(values) {}

  template <class V>
  static V weight(V dLeft, V dRight) {
    return magnitude(dRight - dLeft) + magnitude(dRight + dLeft) * 0.5;
  }

  // Chords from the one beside the end cell outwards: d_1, d_0, d_(-1), d_(-2).
  struct EndChords {
    double d[4];
  };

  EndChords endChords(Side side) const {
    const double end = p.difference(y, side == Side::left ? 0 : p.n - 2);
    const double beside = p.difference(y, side == Side::left ? 1 : p.n - 3);
    return {{beside, end, 2.0 * end - beside, 3.0 * end - 2.0 * beside}};
  }

  double outerWeight(Side side) const {
    const EndChords chords = endChords(side);
    return weight(chords.d[1], chords.d[2]);
  }

  // The formula of the inner slopes, by the chords beyond the end.
  double freeSlope(Side side) const {
    const EndChords chords = endChords(side);
    return weightedMean(chords.d[2], chords.d[1], weight(chords.d[2], chords.d[3]),
                        weight(chords.d[0], chords.d[1]));
  }
};

}  // namespace

extern const SplineKind modifiedAkima;
const SplineKind modifiedAkima = {
    .order = DF_ORDER_CUBIC,
    .mostOrder = DF_ORDER_CUBIC,
    .kind = DF_KIND_MODIFIED_AKIMA,
    .pieces = cubicPieces,
    .leastBreakpoints = 5,
    .ends = splineEnds | noEnds,
    .construct = constructLocal<ModifiedAkimaSlopes>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
