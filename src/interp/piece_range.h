#pragma once

// Where the polynomial pieces of a task begin and end, and the point that each is expanded about.

#include <cstdint>

#include "interp/search_choice.h"
#include "task/spline_kind.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The point that piece q ends and piece q + 1 begins at, for splines that join between breakpoints. All knots
// given: ic is read from its first element on; two knots given: an equidistant run; none: midpoints.
template <bool uniform>
inline double knot(const DfTask& task, double h, std::int64_t q) {
  const bool given = task.ic != nullptr;
  if (given && (task.icType & (DF_IC_KNOTS | DF_IC_KNOT_ENDS)) == DF_IC_KNOTS) return task.ic[q];
  if (given && (task.icType & DF_IC_KNOT_ENDS) != 0) {
    const double step = task.nx > 2 ? (task.ic[1] - task.ic[0]) / static_cast<double>(task.nx - 2) : 0.0;
    return task.ic[0] + static_cast<double>(q) * step;
  }
  if constexpr (uniform) {
    const double left = static_cast<double>(q) * h + task.x[0];
    const double right = static_cast<double>(q + 1) * h + task.x[0];
    return 0.5 * (left + right);
  } else {
    return 0.5 * (task.x[q] + task.x[q + 1]);
  }
}

inline double lastBreakpoint(const DfTask& task) {
  return task.x[isUniform(task) ? 1 : task.nx - 1];
}

// Piece q of 0 .. count - 1 is a polynomial in s - origin(q) for begin(q) <= s < end(q) = begin(q + 1).
struct PieceRange {
  const DfTask& task;
  bool uniform;
  bool joinsAtKnots;
  double h;
  std::int64_t count;

  PieceRange(const DfTask& of, Pieces pieces)
      : task(of),
        uniform(isUniform(of)),
        joinsAtKnots(pieces == knotPieces),
        h(uniform ? uniformStep(of) : 0.0),
        count(joinsAtKnots ? of.nx : of.nx - 1) {}

  double origin(std::int64_t q) const { return uniform ? static_cast<double>(q) * h + task.x[0] : task.x[q]; }

  double begin(std::int64_t q) const {
    if (!joinsAtKnots || q == 0) return origin(q);
    return uniform ? knot<true>(task, h, q - 1) : knot<false>(task, h, q - 1);
  }

  double end(std::int64_t q) const { return q + 1 < count ? begin(q + 1) : lastBreakpoint(task); }

  // The ends as distances from the origin.
  double from(std::int64_t q) const { return joinsAtKnots && q > 0 ? begin(q) - origin(q) : 0.0; }
  double to(std::int64_t q) const { return end(q) - origin(q); }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
