#pragma once

// Calls of few sites on a polynomial spline, which most programs make one value at a time: searched and evaluated without
// plan or block. Cells and results are those of the blocks, bit for bit.

#include <cstdint>

#include "interp/formulas.h"
#include "interp/plan.h"
#include "vector/level.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t fewSites = 6;

// Whether a call goes this way: without hints to follow, faults to tell or orders without formulas.
inline bool isOfFewSites(const DfTask& task, const InterpolateCall& call) {
  const bool plain = call.type == DF_WANT_INTERPOLATE || call.type == (DF_WANT_INTERPOLATE | DF_WANT_CELLS) ||
                     call.type == DF_WANT_GIVEN_CELLS;
  if (call.nsite > fewSites || !plain || call.kind == nullptr || call.kind->pieces > cubicPieces)
    return false;
  if (task.xhint == DF_XHINT_QUASI_UNIFORM || call.datahint != nullptr || call.searchCb != nullptr)
    return false;
  if (task.coeffRows == nullptr || (task.flags & 1U) != 0) return false;
  if (!continuesOutside(task) || call.rhint == DF_RESULTS_BY_SITE) return false;
  for (std::int64_t f = 0; f < functionsOf(task); ++f)
    if (task.coeffRows[f] == nullptr) return false;
  return isResultLayout(call.rhint);
}

// The cell of a site, by the bracket of its coarse cell. Windows lie inside the partition whatever the comparisons say.
inline std::int64_t cellAmongBreakpoints(const DfTask& task, double s) {
  const double v = (s - task.x[0]) * task.lookupInvWidth;
  const double positive = v > 0.0 ? v : 0.0;
  const auto last = static_cast<double>(task.lookupCells - 1);
  const LookupCell bracket = task.lookup[static_cast<std::int64_t>(positive < last ? positive : last)];
  const double* first = task.x + bracket.lo;
  std::int64_t n = std::int64_t{bracket.hi} - bracket.lo + 1;
  while (n > 1) {
    const std::int64_t half = n / 2;
    first = first[half] <= s ? first + half : first;
    n -= half;
  }
  return first - task.x + (*first <= s ? 1 : 0);
}

struct FewPieces {
  std::int64_t piece[fewSites];
  double t[fewSites];
};

// Values alone, whose layouts are all one.
template <int order>
inline void valuesOfFew(const DfTask& task, const InterpolateCall& call, const FewPieces& at) {
  const std::int64_t functions = functionsOf(task);
  double* r = call.r;
  for (std::int64_t f = 0; f < functions; ++f) {
    const double* const row = task.coeffRows[f];
    for (std::int64_t i = 0; i < call.nsite; ++i)
      *r++ = formula<order, 0>(row + at.piece[i] * order, at.t[i]);
  }
}

template <int order>
[[gnu::noinline]] void derivativesOfFew(const DfTask& task, const InterpolateCall& call, const Wanted& wanted,
                                        const FewPieces& at) {
  const bool sitesInner = isSitesInner(call.rhint);
  const std::int64_t siteStride = sitesInner ? 1 : wanted.nres;
  const std::int64_t resultStride = sitesInner ? call.nsite : 1;
  const std::int64_t functions = functionsOf(task);
  for (std::int64_t f = 0; f < functions; ++f)
    for (std::int64_t i = 0; i < call.nsite; ++i) {
      const double* const c = task.coeffRows[f] + at.piece[i] * order;
      const double t = at.t[i];
      double* const first = call.r + f * wanted.nres * call.nsite + i * siteStride;
      double* r = first;
      const auto put = [&](unsigned derivative, double value) {
        if ((wanted.low4 >> derivative & 1U) == 0) return;
        *r = value;
        r += resultStride;
      };
      put(0, formula<order, 0>(c, t));
      put(1, formula<order, 1>(c, t));
      if constexpr (order > 2) put(2, formula<order, 2>(c, t));
      if constexpr (order > 3) put(3, formula<order, 3>(c, t));
      for (double* const end = first + wanted.nres * resultStride; r < end; r += resultStride)
        *r = 0.0;
    }
}

template <int order>
inline void evaluateFew(const DfTask& task, const InterpolateCall& call, bool valuesAlone,
                        const Wanted& wanted, const FewPieces& at) {
  if (valuesAlone) return valuesOfFew<order>(task, call, at);
  derivativesOfFew<order>(task, call, wanted, at);
}

// False, with nothing done, if more results are wanted of a site than a derivative each. All sites are read before a
// result is written, which may replace them.
[[gnu::noinline]] bool interpolateFew(const DfTask& task, const InterpolateCall& call) {
  // What most calls ask for, in its two forms.
  const bool valuesAlone =
      call.ndorder == 0 || (call.ndorder == 1 && *static_cast<const std::int32_t*>(call.dorder) == 1);
  Wanted wanted;
  if (!valuesAlone) {
    wanted = readWanted(task, call);
    if (wanted.nres > DF_ORDER_CUBIC) return false;
  }
  const std::int64_t nx = task.nx;
  const double x0 = task.x[0];
  const bool uniform = isUniform(task);
  const double h = uniform ? uniformStep(task) : 0.0;
  const double spacing = uniform ? searchParam(task, cellSearchUniform, nullptr) : 0.0;
  const bool uniformSites = (call.sitehint & DF_SITES_UNIFORM) != 0;
  const double siteStep = uniformSites && call.nsite > 1
                              ? (call.site[1] - call.site[0]) / static_cast<double>(call.nsite - 1)
                              : 0.0;
  FewPieces at;
  for (std::int64_t i = 0; i < call.nsite; ++i) {
    const double s = uniformSites ? static_cast<double>(i) * siteStep + call.site[0] : call.site[i];
    std::int64_t cell = 0;
    if (call.type == DF_WANT_GIVEN_CELLS) {
      cell = larger(smaller(call.cell[i], nx), 0);
    } else {
      cell = uniform ? estimate(s, x0, spacing, static_cast<double>(nx - 1)) : cellAmongBreakpoints(task, s);
      if ((call.type & DF_WANT_CELLS) != 0) call.cell[i] = static_cast<std::int32_t>(cell);
    }
    const std::int64_t piece = cell - (cell > 0 ? 1 : 0) - (cell == nx ? 1 : 0);
    at.piece[i] = piece;
    at.t[i] = s - (uniform ? static_cast<double>(piece) * h + x0 : task.x[piece]);
  }
  switch (call.kind->pieces) {
    case linearPieces:
      evaluateFew<2>(task, call, valuesAlone, wanted, at);
      break;
    case quadraticPieces:
      evaluateFew<3>(task, call, valuesAlone, wanted, at);
      break;
    default:
      evaluateFew<4>(task, call, valuesAlone, wanted, at);
      break;
  }
  return true;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
