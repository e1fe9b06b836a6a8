#pragma once

// Slopes at the two ends of a local cubic spline, from the data of the two cells at that end and the slope m
// at the breakpoint between them. The right end is the left one mirrored: with d, h of the end cell, e, g of
// the cell beside it and w = h + g,
//
//   not-a-knot  ((h^2 e + (h + 2 w) g d) / w - w m) / g
//               on a uniform partition: the slope of the chord over both cells, less 2 m
//   free        1.5 d - 0.5 m                 second derivative 0
//   slope       as given
//   curvature   1.5 d -+ 0.25 h s - 0.5 m     second derivative s; minus at the left end

#include <cstdint>

#include "construct/partition.h"
#include "task/spline_kind.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

enum class Side { left, right };

template <class Values, bool uniform>
inline double endSlope(Side side, EndKind kind, const Partition<uniform>& p, const Values& y,
                       const double* bc, double m) {
  const bool left = side == Side::left;
  const std::int64_t first = left ? 0 : p.n - 3;  // of the three breakpoints at this end
  const std::int64_t cell = left ? 0 : p.n - 2;
  const double d = p.difference(y, cell);
  switch (kind) {
    case EndKind::notAKnot: {
      if constexpr (uniform) return 0.5 * p.r * (y[first + 2] - y[first]) - 2.0 * m;
      const std::int64_t beside = left ? 1 : p.n - 3;
      const double h = p.step(cell);
      const double g = p.step(beside);
      const double w = p.x[first + 2] - p.x[first];
      return ((h * h * p.difference(y, beside) + (h + 2.0 * w) * g * d) / w - w * m) / g;
    }
    case EndKind::slope:
      return bc[left ? 0 : 1];
    case EndKind::curvature: {
      const double bend = left ? -bc[0] : bc[1];
      return 1.5 * d + 0.25 * (uniform ? bend / p.r : p.step(cell) * bend) - 0.5 * m;
    }
    default:
      return 1.5 * d - 0.5 * m;
  }
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
