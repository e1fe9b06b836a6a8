// The sites of an interval at which a spline has a value. Ends and extrema cut a piece into monotone stretches; signs at
// these marks tell where a site is. At a breakpoint both pieces take one sign, that of the right one's value, so that
// rounding neither loses a site there nor finds it twice.

#include <cstdint>

#include "interp/crossing.h"
#include "interp/formulas.h"
#include "interp/outside.h"
#include "interp/piece_range.h"
#include "interp/spline_tool_kernels.h"
#include "vector/coefficients.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr double largestDouble = 0x1.FFFFFFFFFFFFFp1023;
constexpr double jointRoundings =
    0x1p-44;  // by which pieces that join may miss each other, in units of their terms

inline int signOf(double g) {
  return (g > 0.0 ? 1 : 0) - (g < 0.0 ? 1 : 0);
}

inline double within(double v, double low, double high) {
  return v < low ? low : v > high ? high : v;
}

// Marks of a piece: t, the site there, and the sign of the function less the value.
struct Marks {
  int n = 0;
  double t[4];
  double site[4];
  int sign[4];

  void add(double at, double s, int g) {
    t[n] = at;
    site[n] = s;
    sign[n] = g;
    ++n;
  }
};

// Sites found, in order: each known, or a crossing between two marks that waits for others, to be solved in lanes. A known
// one has that site at both marks.
template <int order>
struct Waiting {
  static constexpr std::int64_t room = 64;
  static constexpr std::int64_t perPiece = 8;
  static_assert(room % laneCount == 0);

  std::int64_t n = 0;
  double c[order][room] = {};  // of the rising piece
  double low[room];
  double high[room];
  double origin[room];
  double lowSite[room];
  double highSite[room];

  void add(double site) {
    low[n] = high[n] = origin[n] = 0.0;
    lowSite[n] = highSite[n] = site;
    ++n;
  }

  void add(const double* piece, double from, const Marks& marks, int i) {
    for (int k = 0; k < order; ++k)
      c[k][n] = static_cast<double>(marks.sign[i]) * piece[k];
    low[n] = marks.t[i - 1];
    high[n] = marks.t[i];
    origin[n] = from;
    lowSite[n] = marks.site[i - 1];
    highSite[n] = marks.site[i];
    ++n;
  }

  // Hands the sites to take(site), and is empty then. What fills the last vector up is of an earlier time, or 0.
  template <class Take>
  void release(Take take) {
    for (std::int64_t i = n; i % laneCount != 0; ++i)
      low[i] = high[i] = 0.0;
    for (std::int64_t i = 0; i < n; i += laneCount) {
      Lanes lanes[order];
      for (int k = 0; k < order; ++k)
        lanes[k] = load<Lanes>(c[k] + i);
      double t[laneCount];
      store(t, risingCrossing<order>(lanes, load<Lanes>(low + i), load<Lanes>(high + i)));
      for (std::int64_t j = i; j < i + laneCount && j < n; ++j)
        take(within(origin[j] + t[j - i], lowSite[j], highSite[j]));
    }
    n = 0;
  }
};

template <int order>
struct RootFinder {
  const PieceRange& range;
  const double* row;
  const SolveCall& call;
  double a;
  double b;
  std::int64_t count = 0;
  double lastSite = -infinity;
  bool inStretch = false;  // the mark before was a site
  Waiting<order> waiting = {};

  // The last piece that begins at or below s.
  std::int64_t pieceAt(double s) const {
    std::int64_t low = 0;
    std::int64_t high = range.count;
    while (high - low > 1) {
      const std::int64_t middle = low + (high - low) / 2;
      (range.begin(middle) <= s ? low : high) = middle;
    }
    return low;
  }

  void loadPiece(std::int64_t q, double* c) const {
    for (int k = 0; k < order; ++k)
      c[k] = row[q * order + k];
    c[0] -= call.value;
  }

  void emitWaiting() {
    waiting.release([&](double site) {
      if (!(site > lastSite)) return;
      lastSite = site;
      if (count < call.room) call.sites[count] = site;
      ++count;
    });
  }

  void pass(double site, int sign) {
    if (sign == 0 && !inStretch) waiting.add(site);
    inStretch = sign == 0;
  }

  // 0 where the value is reached to within rounding.
  static int signWithin(const double* c, double t) {
    const double g = formula<order, 0>(c, t);
    const double noise = roundings * reachOf<order>(c, t);
    return magnitude(g) <= noise && noise < infinity ? 0 : signOf(g);
  }

  void cross(const double* c, double origin, const Marks& marks, int i) {
    if (marks.sign[i - 1] * marks.sign[i] >= 0) return;
    waiting.add(c, origin, marks, i);
    inStretch = false;
  }

  void solvePiece(std::int64_t q, bool isFirst, bool isLast) {
    if (waiting.n + Waiting<order>::perPiece > Waiting<order>::room) emitWaiting();
    double c[order];
    loadPiece(q, c);
    const double origin = range.origin(q);
    const double from = range.from(q);
    const double to = range.to(q);
    const double reach = greaterOf(reachOf<order>(c, from), reachOf<order>(c, to));
    if (!(magnitude(c[0]) + reach < infinity)) {
      inStretch = false;
      return;
    }
    const double low = isFirst ? within(a - origin, -largestDouble, largestDouble) : from;
    const double high = isLast ? within(b - origin, -largestDouble, largestDouble) : to;
    Marks marks;
    const bool atBegin = low == from;
    marks.add(low, isFirst ? a : range.begin(q),
              atBegin ? signOf(formula<order, 0>(c, low)) : signWithin(c, low));
    double turn[2];
    const int turns = extrema<order>(c, low, high, turn);
    for (int i = 0; i < turns; ++i)
      marks.add(turn[i], origin + turn[i], signWithin(c, turn[i]));

    int after = 0;
    if (isLast) {
      after = signWithin(c, high);
      marks.add(high, b, after);
    } else {
      double next[order];
      loadPiece(q + 1, next);
      const double here = formula<order, 0>(c, high);
      const double there = formula<order, 0>(next, range.from(q + 1));
      const double terms = reach + magnitude(row[q * order]) + magnitude(call.value);
      const bool joins = magnitude(here - there) <= jointRoundings * terms;
      after = signOf(there);
      marks.add(high, range.end(q), joins ? after : signOf(here));
    }
    pass(marks.site[0], marks.sign[0]);
    for (int i = 1; i < marks.n; ++i) {
      cross(c, origin, marks, i);
      // The end of a piece is the beginning of the next one, unless a jump leads away from the value there.
      if (i + 1 < marks.n || isLast || marks.sign[i] != after) pass(marks.site[i], marks.sign[i]);
    }
    if (marks.sign[marks.n - 1] * after < 0) waiting.add(marks.site[marks.n - 1]);
  }

  // Which of the pieces q .. of a vector, or the beginning of the one behind each, may come near the value: S. N.
  // Bernstein's coefficients enclose a piece (1912). False if none does.
  bool comeNear(std::int64_t q, std::int64_t* near) const {
    std::int32_t piece[laneCount];
    std::int64_t next[laneCount];
    for (int i = 0; i < laneCount; ++i) {
      piece[i] = static_cast<std::int32_t>(q) + i;
      next[i] = (q + i + 1) * order;
    }
    Lanes c[order];
    loadCoefficients<order>(row, piece, c);
    const double* const x = range.task.x + q;
    const Lanes h = range.uniform ? broadcast<Lanes>(range.h) : load<Lanes>(x + 1) - load<Lanes>(x);
    const Lanes value = broadcast<Lanes>(call.value);
    Lanes hull[order + 1];
    hull[0] = c[0] - value;
    Lanes terms = magnitude(c[0]) + magnitude(value);
    Lanes power = broadcast<Lanes>(1.0);
    Lanes scaled[order];  // c_k h^k
    for (int k = 1; k < order; ++k) {
      power = power * h;
      scaled[k] = c[k] * power;
      terms = terms + magnitude(scaled[k]);
    }
    if constexpr (order == 2) hull[1] = hull[0] + scaled[1];
    if constexpr (order == 3) {
      hull[1] = hull[0] + 0.5 * scaled[1];
      hull[2] = hull[0] + scaled[1] + scaled[2];
    }
    if constexpr (order == 4) {
      hull[1] = hull[0] + scaled[1] * (1.0 / 3.0);
      hull[2] = hull[0] + (2.0 * scaled[1] + scaled[2]) * (1.0 / 3.0);
      hull[3] = hull[0] + scaled[1] + scaled[2] + scaled[3];
    }
    hull[order] = pick<Lanes>(row, next) - value;
    const Lanes margin = terms * 0x1p-40;
    LaneMask above = hull[0] > margin;
    LaneMask below = hull[0] < -margin;
    for (int k = 1; k <= order; ++k) {
      above &= hull[k] > margin;
      below &= hull[k] < -margin;
    }
    const LaneMask may = ~(above | below);
    store(near, may);
    return holdsAnywhere(may);
  }

  void solve() {
    const std::int64_t first = pieceAt(a);
    const std::int64_t last = pieceAt(b);
    for (std::int64_t q = first; q <= last;) {
      std::int64_t near[laneCount];
      const bool together = q > first && q + laneCount <= last && !range.joinsAtKnots;
      if (!together) {
        solvePiece(q, q == first, q == last);
        ++q;
        continue;
      }
      const bool any = comeNear(q, near);
      for (int i = 0; i < laneCount && any; ++i) {
        inStretch = inStretch && near[i] != 0;
        if (near[i] != 0) solvePiece(q + i, false, false);
      }
      inStretch = inStretch && any;
      q += laneCount;
    }
    emitWaiting();
    *call.count = count;
  }
};

// Beyond an end that is not continued there is nothing to solve.
std::int32_t solve(const DfTask& task, Pieces pieces, const SolveCall& call) {
  const Outside outside = outsideOf(task, pieces);
  double a = within(call.a, -largestDouble, largestDouble);
  double b = within(call.b, -largestDouble, largestDouble);
  const bool isBelow = outside.below != DF_OUTSIDE_CONTINUE && a < outside.first;
  const bool isAbove = outside.above != DF_OUTSIDE_CONTINUE && b > outside.last;
  if ((isBelow && outside.below == DF_OUTSIDE_REFUSE) || (isAbove && outside.above == DF_OUTSIDE_REFUSE))
    return DF_ERROR_OUTSIDE;
  if (isBelow) a = outside.first;
  if (isAbove) b = outside.last;
  *call.count = 0;
  if (a > b) return DF_STATUS_OK;
  const PieceRange range(task, pieces);
  const double* const row = task.coeffRows[call.f];
  if (task.order == 2) RootFinder<2>{range, row, call, a, b}.solve();
  if (task.order == 3) RootFinder<3>{range, row, call, a, b}.solve();
  if (task.order == 4) RootFinder<4>{range, row, call, a, b}.solve();
  return DF_STATUS_OK;
}

}  // namespace

extern const Solve rootFinder;
const Solve rootFinder = solve;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
