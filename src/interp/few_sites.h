#pragma once

// Calls of few sites on a polynomial spline, which most programs make one value at a time: searched and evaluated without
// plan or block. Values of a task that is known as plain come first and go in registers; derivatives and cells follow.
// Cells and results are those of the blocks, bit for bit.

#include <cstdint>

#include "interp/formulas.h"
#include "interp/plan.h"
#include "vector/level.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Whether a call goes this way: without a search of the user's, faults to tell or orders without formulas.
inline bool isOfFewSites(const DfTask& task, const InterpolateCall& call) {
  const bool plain = call.type == DF_WANT_INTERPOLATE || call.type == (DF_WANT_INTERPOLATE | DF_WANT_CELLS) ||
                     call.type == DF_WANT_GIVEN_CELLS;
  if (call.nsite > fewSites || !plain || call.kind == nullptr || call.kind->pieces > cubicPieces)
    return false;
  if (call.searchCb != nullptr || chooseSearch(task, call.sitehint, call.datahint, nullptr) < 0) return false;
  if (task.coeffRows == nullptr || (task.flags & 1U) != 0) return false;
  if (!continuesOutside(task) || call.rhint == DF_RESULTS_BY_SITE) return false;
  for (std::int64_t f = 0; f < functionsOf(task); ++f)
    if (task.coeffRows[f] == nullptr) return false;
  return isResultLayout(call.rhint);
}

// The cell of a site, by the bracket of its coarse cell. Windows lie inside the partition whatever the comparisons say.
inline std::int64_t cellAmongBreakpoints(const DfTask& task, double s) {
  const double* const x = task.x;
  const double v = (s - x[0]) * task.lookupInvWidth;
  const double positive = greaterOf(v, 0.0);
  const auto last = static_cast<double>(static_cast<std::int32_t>(task.lookupCells) - 1);
  const LookupCell bracket = task.lookup[static_cast<std::int32_t>(positive < last ? positive : last)];
  const double* first = x + bracket.lo;
  std::int64_t n = std::int64_t{bracket.hi} - bracket.lo + 1;
  while (n > countedAtOnce) {
    const std::int64_t half = n / 2;
    first = first[half] <= s ? first + half : first;
    n -= half;
  }
  if constexpr (countedAtOnce > 1) {
    const std::int64_t nx = task.nx;
    if (nx >= countedAtOnce) {
      const double* const lastFirst = x + (nx - countedAtOnce);
      first = first < lastFirst ? first : lastFirst;
      return first - x + countLessEqual(first, s);
    }
    while (n > 1) {
      const std::int64_t half = n / 2;
      first = first[half] <= s ? first + half : first;
      n -= half;
    }
  }
  return first - x + (*first <= s ? 1 : 0);
}

// On a quasi-uniform partition a breakpoint that a site equals and the estimate names keeps the site on its left.
inline std::int64_t cellBesideEstimate(const DfTask& task, double s, double spacing) {
  const double* const x = task.x;
  const std::int64_t cell = cellAmongBreakpoints(task, s);
  if (cell == 0 || x[cell - 1] != s) return cell;
  const std::int64_t named = estimate(s, x[0], spacing, static_cast<double>(task.nx - 1));
  return named < cell && x[named] == s ? named : cell;
}

// Where a site falls: its piece, and its distance to the piece's left point.
struct Place {
  std::int64_t piece;
  double t;
};

template <int order>
inline double valueAt(const double* row, Place at) {
  return formula<order, 0>(row + at.piece * order, at.t);
}

inline double valueAt(std::int32_t order, const double* row, Place at) {
  if (order == DF_ORDER_CUBIC) return valueAt<DF_ORDER_CUBIC>(row, at);
  return order == DF_ORDER_LINEAR ? valueAt<DF_ORDER_LINEAR>(row, at) : valueAt<DF_ORDER_QUADRATIC>(row, at);
}

inline Place placeAmongBreakpoints(const DfTask& task, double s) {
  const std::int64_t piece = pieceOf(cellAmongBreakpoints(task, s), task.nx);
  return {piece, s - task.x[piece]};
}

inline Place placeOnUniform(const DfTask& task, double s) {
  const double spacing = searchParam(task, cellSearchUniform, nullptr);
  const std::int64_t cell = estimate(s, task.x[0], spacing, static_cast<double>(task.nx - 1));
  const std::int64_t piece = pieceOf(cell, task.nx);
  return {piece, s - (static_cast<double>(piece) * uniformStep(task) + task.x[0])};
}

inline Place placeOf(const DfTask& task, double s) {
  return isUniform(task) ? placeOnUniform(task, s) : placeAmongBreakpoints(task, s);
}

// Values of all functions at several sites, which are all read before a result is written.
[[gnu::noinline]] std::int32_t valuesOfSeveral(const DfTask& task, std::int64_t nsite, const double* site,
                                               double* r) {
  Place at[fewSites];
  for (std::int64_t i = 0; i < nsite; ++i)
    at[i] = placeOf(task, site[i]);
  for (std::int64_t f = 0; f < task.ny; ++f)
    for (std::int64_t i = 0; i < nsite; ++i)
      *r++ = valueAt(task.plainOrder, task.coeffRows[f], at[i]);
  return DF_STATUS_OK;
}

// Values of all functions at 1 to fewSites sites of a task with a plainOrder. Always DF_STATUS_OK, so that the entry point
// can leave by it.
std::int32_t valuesOfFew(const DfTask& task, std::int64_t nsite, const double* site, double* r) {
  if (nsite > 1) return valuesOfSeveral(task, nsite, site, r);
  const Place at = placeOf(task, *site);
  std::int64_t f = 0;
  do {
    r[f] = valueAt(task.plainOrder, task.coeffRows[f], at);
  } while (++f < task.ny);
  return DF_STATUS_OK;
}

template <int order>
[[gnu::noinline]] void resultsOfFew(const DfTask& task, const InterpolateCall& call, const Wanted& wanted,
                                    const Place* places) {
  const bool sitesInner = isSitesInner(call.rhint);
  const std::int64_t siteStride = sitesInner ? 1 : wanted.nres;
  const std::int64_t resultStride = sitesInner ? call.nsite : 1;
  const std::int64_t functions = functionsOf(task);
  for (std::int64_t f = 0; f < functions; ++f)
    for (std::int64_t i = 0; i < call.nsite; ++i) {
      const double* const c = task.coeffRows[f] + places[i].piece * order;
      const double t = places[i].t;
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

// False, with nothing done, if more results are wanted of a site than a derivative each. All sites are read before a
// result is written, which may replace them.
[[gnu::noinline]] bool interpolateFew(const DfTask& task, const InterpolateCall& call) {
  const Wanted wanted = readWanted(task, call);
  if (wanted.nres > DF_ORDER_CUBIC) return false;
  const std::int64_t nx = task.nx;
  const double x0 = task.x[0];
  const bool uniform = isUniform(task);
  const bool nearlyUniform = !uniform && task.xhint == DF_XHINT_QUASI_UNIFORM;
  const double h = uniform ? uniformStep(task) : 0.0;
  const double spacing = uniform         ? searchParam(task, cellSearchUniform, nullptr)
                         : nearlyUniform ? searchParam(task, cellSearchQuasiUniform, nullptr)
                                         : 0.0;
  const bool uniformSites = (call.sitehint & DF_SITES_UNIFORM) != 0;
  const double siteStep = uniformSites && call.nsite > 1
                              ? (call.site[1] - call.site[0]) / static_cast<double>(call.nsite - 1)
                              : 0.0;
  Place places[fewSites];
  for (std::int64_t i = 0; i < call.nsite; ++i) {
    const double s = uniformSites ? static_cast<double>(i) * siteStep + call.site[0] : call.site[i];
    std::int64_t cell = 0;
    if (call.type == DF_WANT_GIVEN_CELLS) {
      cell = larger(smaller(call.cell[i], nx), 0);
    } else {
      cell = uniform         ? estimate(s, x0, spacing, static_cast<double>(nx - 1))
             : nearlyUniform ? cellBesideEstimate(task, s, spacing)
                             : cellAmongBreakpoints(task, s);
      if ((call.type & DF_WANT_CELLS) != 0) call.cell[i] = static_cast<std::int32_t>(cell);
    }
    const std::int64_t piece = pieceOf(cell, nx);
    places[i] = {piece, s - (uniform ? static_cast<double>(piece) * h + x0 : task.x[piece])};
  }
  switch (call.kind->pieces) {
    case linearPieces:
      resultsOfFew<2>(task, call, wanted, places);
      break;
    case quadraticPieces:
      resultsOfFew<3>(task, call, wanted, places);
      break;
    default:
      resultsOfFew<4>(task, call, wanted, places);
      break;
  }
  return true;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
