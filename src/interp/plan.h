#pragma once

// What an interpolation call settles before its first site: where cells come from, which functions evaluate, how results
// go to the caller. A plan decides and refuses; it touches no site, and what runs it decides nothing.

#include <cstddef>
#include <cstdint>

#include "interp/evaluate.h"
#include "interp/interp_kernels.h"
#include "interp/outside.h"
#include "interp/search.h"
#include "interp/search_choice.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const CellSearch searchPaths[searchPathCount];
extern const PieceKernels pieceKernels;
extern const BlockKernels blockKernels;
extern const PassKernels uniformPass;
extern const PassKernels sortedPass;
extern const StepKernels stepKernels;
extern const Evaluator anyOrderEvaluator;

namespace {

struct Plan {
  Pieces pieces;
  Wanted wanted;
  std::int64_t nfunc;
  double h;                   // step of a uniform partition
  CellSearch search;          // null: cells are given
  CellSearchArgs searchArgs;  // all but the sites
  PreparePieces prepare;      // null: no polynomial
  Evaluator evaluate;
  PassEvaluator onePass;  // null: the call goes in blocks
  bool ahead;             // blocks are prepared one ahead of their evaluation
  bool direct;            // evaluators write into `r`, else into scratch that is transposed
  bool bySite;            // transposed with the functions of a site side by side
  bool clears;            // some positions have no formula
  bool keepsCells;
  bool uniformSites;
  double firstSite;
  double siteStep;
  Outside outside;
};

inline std::int64_t entry(const Wanted& wanted, std::int64_t k) {
  if (wanted.wide) return static_cast<const std::int64_t*>(wanted.dorder)[k];
  return static_cast<const std::int32_t*>(wanted.dorder)[k];
}

[[gnu::noinline]] Wanted readWanted(const DfTask& task, const InterpolateCall& call) {
  Wanted wanted = {0, call.ndorder, call.dorder, (task.flags & 1U) != 0, 0};
  std::uint64_t sum = 0;
  for (std::int64_t k = 0; k < wanted.ndorder; ++k) {
    const std::int64_t value = entry(wanted, k);
    sum += static_cast<std::uint64_t>(value);
    if (k < 4 && value != 0) wanted.low4 |= 1U << k;
  }
  wanted.nres = static_cast<std::int64_t>(sum);
  if (wanted.nres <= 0) return {1, 0, nullptr, false, 1};
  // Entries below 0 can leave fewer positions than requests; the highest derivatives then have none.
  for (unsigned bit = 8; bitsOfFour(wanted.low4) > wanted.nres; bit >>= 1)
    wanted.low4 &= ~bit;
  return wanted;
}

// Positions that the evaluator writes for each site.
inline std::int64_t writtenPositions(Pieces pieces, const Wanted& wanted) {
  constexpr std::uint32_t formulas[piecesCount] = {3, 7, 15, 7, 0, 1, 1, 0};
  // A site that is no breakpoint must leave its block untouched, and a look-up without fault fills it.
  if (pieces == lookupPieces) return wanted.nres;
  return bitsOfFour(wanted.low4 & formulas[pieces]);
}

// No count means one function; a negative one means none, and then only cells are written.
inline std::int64_t functionsOf(const DfTask& task) {
  if (task.ny == 0) return 1;
  return task.ny > 0 ? task.ny : 0;
}

inline std::int32_t checkRows(const DfTask& task, Pieces pieces, std::int64_t nfunc) {
  const bool ofValues = pieces >= stepLeftPieces;
  const std::int64_t rows = ofValues && task.yhint == DF_VALUES_BY_BREAKPOINT ? 1 : nfunc;
  const double* const* table = ofValues ? task.yRows : task.coeffRows;
  const std::int32_t missing = ofValues ? DF_ERROR_FUNCTION_VALUES : DF_ERROR_NULL_COEFFICIENTS;
  if (table == nullptr) return missing;
  for (std::int64_t f = 0; f < rows; ++f)
    if (table[f] == nullptr) return missing;
  return DF_STATUS_OK;
}

inline Evaluator evaluatorOf(Pieces pieces, std::int64_t order) {
  switch (pieces) {
    case anyOrderPieces:
      return anyOrderEvaluator;
    case stepLeftPieces:
    case stepRightPieces:
    case lookupPieces:
      return stepKernels.evaluate[pieces - stepLeftPieces];
    default:
      return blockKernels.evaluate[order - DF_ORDER_LINEAR];
  }
}

inline void planUniformSites(const InterpolateCall& call, Plan& plan) {
  plan.uniformSites = (call.sitehint & DF_SITES_UNIFORM) != 0;
  plan.firstSite = 0.0;
  plan.siteStep = 0.0;
  if (!plan.uniformSites) return;
  plan.firstSite = call.site[0];
  plan.siteStep =
      call.nsite > 1 ? (call.site[1] - plan.firstSite) / static_cast<double>(call.nsite - 1) : 0.0;
}

// Null: such a call goes in blocks. Sorted sites are merged with all breakpoints, so that there must be several to each.
inline PassEvaluator onePassOf(std::int32_t path, Pieces pieces, std::int64_t nx, std::int64_t nsite) {
  if (path == cellSearchUniform) return uniformPass.evaluate[pieces];
  if (path == cellSearchSorted && nsite >= 4 * nx) return sortedPass.evaluate[pieces];
  return nullptr;
}

// Tests in this order: kind, what is known of sites, layout of the results, rows of the task. Returns a DfStatus; the
// plan counts if it is 0.
inline std::int32_t planInterpolation(const DfTask& task, const InterpolateCall& call, Plan& plan) {
  if (call.kind == nullptr) return DF_ERROR_SPLINE_KIND;
  const Pieces pieces = call.kind->pieces;
  const bool givenCells = call.type == DF_WANT_GIVEN_CELLS;
  // Wrapped sites do not ascend.
  const bool ascends = task.outsideBelow != DF_OUTSIDE_WRAP && task.outsideAbove != DF_OUTSIDE_WRAP;
  const std::int64_t sitehint =
      ascends || call.sitehint != DF_SITES_SORTED ? call.sitehint : std::int64_t{DF_SITES_GENERAL};
  const std::int32_t path = givenCells ? 0 : chooseSearch(task, sitehint, call.datahint, call.searchCb);
  if (path < 0) return path;
  if (!isResultLayout(call.rhint)) return DF_ERROR_RESULTS_HINT;
  const bool sitesInner = isSitesInner(call.rhint);
  plan.nfunc = functionsOf(task);
  if (const std::int32_t status = checkRows(task, pieces, plan.nfunc); status < 0) return status;

  plan.pieces = pieces;
  plan.search = givenCells ? nullptr : searchPaths[path];
  if (!givenCells) plan.searchArgs = searchArgs(task, path, call.datahint, call.searchCb, call.searchParams);
  const bool uniform = isUniform(task);
  plan.h = uniform ? uniformStep(task) : 0.0;
  plan.evaluate = evaluatorOf(pieces, task.order);
  plan.ahead = pieces < stepLeftPieces;
  plan.prepare = plan.ahead ? pieceKernels.prepare[uniform ? 1 : 0][pieces == knotPieces ? 1 : 0] : nullptr;
  plan.wanted = readWanted(task, call);
  plan.clears = writtenPositions(pieces, plan.wanted) < plan.wanted.nres;
  const bool rows = sitesInner || plan.wanted.nres == 1;
  plan.bySite = call.rhint == DF_RESULTS_BY_SITE && plan.nfunc != 1;
  plan.direct = !plan.bySite && (!sitesInner || plan.wanted.nres == 1);
  plan.keepsCells = (call.type & DF_WANT_CELLS) != 0;
  planUniformSites(call, plan);
  plan.outside = outsideOf(task, pieces);
  const bool onePass = !givenCells && pieces <= cubicPieces && plan.nfunc == 1 && rows && !plan.clears &&
                       !plan.keepsCells && !plan.uniformSites && !plan.outside.active;
  plan.onePass = onePass ? onePassOf(path, pieces, task.nx, call.nsite) : nullptr;
  return DF_STATUS_OK;
}

// a * b for sizes; -1 if it does not fit, or if a is -1.
inline std::int64_t sizeProduct(std::int64_t a, std::int64_t b) {
  std::int64_t product = 0;
  return a < 0 || __builtin_mul_overflow(a, b, &product) ? -1 : product;
}

constexpr std::int64_t resultsInFrame = 2048;  // doubles

// The scratch of a call: results of all workers, then their rooms for coefficients of high orders. In doubles.
struct ScratchLayout {
  std::int64_t workerResults = 0;
  std::int64_t workerWork = 0;
  std::int64_t results = 0;  // of all workers, 0: they stand in the frame
  std::int64_t work = 0;
  std::size_t bytes = 0;
  bool fits = false;  // whether the machine has such sizes

  ScratchLayout(const Plan& plan, std::int64_t order, std::int64_t workers) {
    if (!plan.direct) {
      workerResults = sizeProduct(sizeProduct(plan.nfunc, sitesAtOnce), plan.wanted.nres);
      results = sizeProduct(workerResults, workers);
      if (results < 0) return;
      if (results <= resultsInFrame) results = 0;
    }
    if (plan.pieces == anyOrderPieces && order > generalOrderInFrame) {
      workerWork = sizeProduct(order, laneCount);
      work = sizeProduct(workerWork, workers);
      if (work < 0) return;
    }
    // The results end on a multiple of 32 doubles, which keeps the rooms behind them aligned.
    std::int64_t total = 0;
    fits = !__builtin_add_overflow(results, work, &total) &&
           !__builtin_mul_overflow(total, sizeof(double), &bytes);
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
