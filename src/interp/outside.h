#pragma once

// Sites outside the partition: the sites that serve them instead, and what becomes of the results.

#include <cstdint>

#include "interp/evaluate.h"
#include "interp/interp_kernels.h"
#include "interp/piece_range.h"
#include "interp/search_choice.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr double infinity = __builtin_inf();

struct Outside {
  double first;  // the two ends of the partition
  double last;
  std::int32_t below;  // DF_OUTSIDE_*
  std::int32_t above;
  double value;
  bool active;  // whether anything but the end polynomials is asked for
};

// A look-up has no outside: what is no breakpoint is refused.
inline Outside outsideOf(const DfTask& task, Pieces pieces) {
  const bool active = !continuesOutside(task) && pieces != lookupPieces;
  return {task.x[0], lastBreakpoint(task), task.outsideBelow, task.outsideAbove, task.outsideValue, active};
}

inline std::int32_t modeAt(const Outside& outside, double s) {
  if (s < outside.first) return outside.below;
  return s > outside.last ? outside.above : static_cast<std::int32_t>(DF_OUTSIDE_CONTINUE);
}

inline double floorOf(double v) {
  if (!(magnitude(v) < 0x1p52)) return v;
  const auto whole = static_cast<double>(static_cast<std::int64_t>(v));
  return whole > v ? whole - 1.0 : whole;
}

struct WrappedSite {
  double site;
  double periods;  // between the site and where it came from
};

// Rounding may lead past an end, where the end stands in. Infinite sites become NaN.
inline WrappedSite wrapped(const Outside& outside, double s) {
  const double distance = s - outside.first;
  const double length = outside.last - outside.first;
  const double periods = floorOf(distance / length);
  const double site = outside.first + (distance - periods * length);
  return {site < outside.first ? outside.first : site > outside.last ? outside.last : site, periods};
}

// Whether a site that must not be outside is; a NaN is, too.
inline bool isRefused(const Outside& outside, std::int64_t n, const double* site) {
  const double lowest = outside.below == DF_OUTSIDE_REFUSE ? outside.first : -infinity;
  const double highest = outside.above == DF_OUTSIDE_REFUSE ? outside.last : infinity;
  bool inside = true;
  for (std::int64_t i = 0; i < n; ++i)
    inside &= (site[i] >= lowest) & (site[i] <= highest);
  return !inside;
}

inline bool mayRefuse(const Outside& outside) {
  return outside.active && (outside.below == DF_OUTSIDE_REFUSE || outside.above == DF_OUTSIDE_REFUSE);
}

// The same of the sites of a call. Equidistant ones ascend or descend, rounded as they are.
inline bool refusesOutside(const Outside& outside, const InterpolateCall& call, double firstSite,
                           double siteStep) {
  if (!mayRefuse(outside)) return false;
  if ((call.sitehint & DF_SITES_UNIFORM) == 0) return isRefused(outside, call.nsite, call.site);
  const double ends[2] = {0.0 * siteStep + firstSite,
                          static_cast<double>(call.nsite - 1) * siteStep + firstSite};
  return isRefused(outside, 2, ends);
}

// The sites of a block whose results are not those of the sites that serve them.
struct OutsideMarks {
  std::uint8_t mode[sitesAtOnce];  // DF_OUTSIDE_*, continued where the result stands
  bool any;
};

// The sites that serve those of a block: in `inside`, which may be the array itself, or the block's own.
inline const double* bringInside(const Outside& outside, std::int64_t nblock, const double* site,
                                 double* inside, OutsideMarks& marks) {
  marks.any = false;
  bool all = true;
  for (std::int64_t i = 0; i < nblock; ++i)
    all &= !(site[i] < outside.first) & !(site[i] > outside.last);
  if (all) return site;
  for (std::int64_t i = 0; i < nblock; ++i) {
    const double s = site[i];
    const std::int32_t mode = modeAt(outside, s);
    const bool moves = mode != DF_OUTSIDE_CONTINUE && mode != DF_OUTSIDE_WRAP;
    marks.mode[i] = moves ? static_cast<std::uint8_t>(mode) : std::uint8_t{DF_OUTSIDE_CONTINUE};
    marks.any |= moves;
    inside[i] = s;
    if (moves) inside[i] = s < outside.first ? outside.first : outside.last;
    if (mode == DF_OUTSIDE_WRAP) inside[i] = wrapped(outside, s).site;
  }
  return inside;
}

// Cells of sites outside are 0 and nx, whatever served them.
inline void restoreCells(const Outside& outside, const OutsideMarks& marks, std::int64_t nblock,
                         const double* inside, std::int64_t nx, std::int32_t* cell) {
  if (!marks.any) return;
  for (std::int64_t i = 0; i < nblock; ++i)
    if (marks.mode[i] != DF_OUTSIDE_CONTINUE)
      cell[i] = inside[i] == outside.first ? 0 : static_cast<std::int32_t>(nx);
}

// Position k of site i stands at r[i * nres + k].
inline void overwriteOutside(const Outside& outside, const OutsideMarks& marks, const Wanted& wanted,
                             std::int64_t nblock, double* r) {
  if (!marks.any) return;
  const bool hasValue = (wanted.low4 & 1U) != 0;
  for (std::int64_t i = 0; i < nblock; ++i) {
    const std::int32_t mode = marks.mode[i];
    if (mode == DF_OUTSIDE_CONTINUE) continue;
    double* const results = r + i * wanted.nres;
    const double value = mode == DF_OUTSIDE_CLAMP ? results[0] : outside.value;
    for (std::int64_t k = 0; k < wanted.nres; ++k) {
      const double result = k == 0 && hasValue ? value : 0.0;
      results[k] = mode == DF_OUTSIDE_NAN ? __builtin_nan("") : result;
    }
  }
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
