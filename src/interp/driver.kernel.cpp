// The interpolation driver: sites go in blocks; each block is searched once and evaluated for every function
// while its sites, cells and results are in the first-level cache. Values of one function on a uniform
// partition need no blocks: finding a cell again costs less than keeping it.

#include <cstdint>

#include "interp/evaluate.h"
#include "interp/interp_kernels.h"
#include "interp/search.h"
#include "interp/search_choice.h"
#include "runtime/memory.h"
#include "runtime/work_share.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const CellSearch searchPaths[searchPathCount];
extern const CellsDriver cellsDrivers[searchPathCount];
extern const PolynomialKernels polynomialKernels;
extern const StepKernels stepKernels;
extern const LookupBuilder lookupBuilder;

namespace {

constexpr std::int64_t resultsInFrame = 2048;  // doubles

// What a call settles before its first block.
struct Run {
  const DfTask* task;
  const InterpolateCall* call;
  CellSearch search;  // null: cells are given
  CellSearchArgs searchArgs;
  PreparePieces prepare;  // null: no polynomial
  bool ahead;             // blocks are prepared one ahead of their evaluation
  Evaluator evaluate;
  UniformEvaluator onePass;  // null: the call goes in blocks
  Wanted wanted;
  std::int64_t nfunc;
  double h;     // step of a uniform partition
  bool direct;  // evaluators write into `r`, else into scratch that is transposed
  bool clears;  // some positions have no formula
  bool keepsCells;
  bool uniformSites;
  double firstSite;
  double siteStep;
  double* results;             // scratch of all workers
  std::int64_t workerResults;  // doubles
  double* work;
  std::int64_t workerWork;  // doubles
};

std::int64_t entry(const Wanted& wanted, std::int64_t k) {
  if (wanted.wide) return static_cast<const std::int64_t*>(wanted.dorder)[k];
  return static_cast<const std::int32_t*>(wanted.dorder)[k];
}

Wanted readWanted(const DfTask& task, const InterpolateCall& call) {
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
std::int64_t writtenPositions(Pieces pieces, const Wanted& wanted) {
  constexpr std::uint32_t formulas[piecesCount] = {3, 7, 15, 7, 0, 1, 1, 0};
  // A site that is no breakpoint must leave its block untouched, and a look-up without fault fills it.
  if (pieces == lookupPieces) return wanted.nres;
  return bitsOfFour(wanted.low4 & formulas[pieces]);
}

// No count means one function; a negative one means none, and then only cells are written.
std::int64_t functionsOf(const DfTask& task) {
  if (task.ny == 0) return 1;
  return task.ny > 0 ? task.ny : 0;
}

std::int32_t checkRows(const DfTask& task, Pieces pieces, std::int64_t nfunc) {
  const bool ofValues = pieces >= stepLeftPieces;
  const std::int64_t rows = ofValues && task.yhint == DF_VALUES_BY_BREAKPOINT ? 1 : nfunc;
  const double* const* table = ofValues ? task.yRows : task.coeffRows;
  const std::int32_t missing = ofValues ? DF_ERROR_FUNCTION_VALUES : DF_ERROR_NULL_COEFFICIENTS;
  if (table == nullptr) return missing;
  for (std::int64_t f = 0; f < rows; ++f)
    if (table[f] == nullptr) return missing;
  return DF_STATUS_OK;
}

// ---- one block ----

// Site-major results become rows of `nsite` sites each.
void transposeResults(std::int64_t nblock, std::int64_t nres, const double* from, double* to,
                      std::int64_t nsite) {
  for (std::int64_t k = 0; k < nres; ++k) {
    double* row = to + k * nsite;
    std::int64_t i = 0;
    if (k + 1 < nres) {
      for (; i + 2 <= nblock; i += 2) {
        Pair a = load<Pair>(from + i * nres + k);
        Pair b = load<Pair>(from + (i + 1) * nres + k);
        transpose(a, b);
        store(row + i, a);
        store(row + nsite + i, b);
      }
    } else {
      for (; i + 2 <= nblock; i += 2) {
        row[i] = from[i * nres + k];
        row[i + 1] = from[(i + 1) * nres + k];
      }
    }
    if (i < nblock) row[i] = from[i * nres + k];
    if (k + 1 < nres) {
      ++k;
      if (i < nblock) row[nsite + i] = from[i * nres + k];
    }
  }
}

struct BlockScratch {
  double site[sitesAtOnce];
  std::int32_t cell[sitesAtOnce];
  std::int32_t piece[sitesAtOnce];
  std::int32_t marks[sitesAtOnce];
  double t[sitesAtOnce];
  EvalBlock block;
};

// Finds the cells of a block; `cells` receives where they stand.
std::int32_t findCells(const Run& run, std::int64_t first, std::int64_t nblock, const double* site,
                       BlockScratch& scratch, std::int32_t& runningCell, const std::int32_t*& cells) {
  std::int32_t* kept = run.call->cell;
  if (run.search == nullptr) {
    const auto nx = static_cast<std::int32_t>(run.task->nx);
    for (std::int64_t i = 0; i < nblock; ++i) {
      const std::int32_t c = kept[first + i];
      scratch.cell[i] = c < 0 ? 0 : c > nx ? nx : c;
    }
    cells = scratch.cell;
    return 0;
  }
  CellSearchArgs args = run.searchArgs;
  args.nsite = nblock;
  args.site = site;
  args.cellState = &runningCell;
  args.cell = run.keepsCells ? kept + first : scratch.cell;
  args.searchMarks = scratch.marks;
  cells = args.cell;
  return run.search(args);
}

// Sites, cells and pieces of a block.
std::int32_t prepareBlock(const Run& run, std::int64_t first, std::int64_t nblock, std::int64_t worker,
                          BlockScratch& scratch, std::int32_t& runningCell) {
  const double* site = run.call->site + first;
  if (run.uniformSites) {
    for (std::int64_t i = 0; i < nblock; ++i)
      scratch.site[i] = static_cast<double>(first + i) * run.siteStep + run.firstSite;
    site = scratch.site;
  }
  EvalBlock& block = scratch.block;
  const std::int32_t status = findCells(run, first, nblock, site, scratch, runningCell, block.blockCells);
  if (status < 0) return status;
  block.task = run.task;
  block.wanted = &run.wanted;
  block.h = run.h;
  block.nfunc = run.nfunc;
  block.nblock = nblock;
  block.blockSites = site;
  block.piece = scratch.piece;
  block.t = scratch.t;
  block.work = run.work == nullptr ? nullptr : run.work + worker * run.workerWork;
  if (run.prepare != nullptr) run.prepare(block, scratch.piece, scratch.t);
  return 0;
}

std::int32_t evaluateBlock(const Run& run, std::int64_t first, std::int64_t worker, BlockScratch& scratch) {
  const InterpolateCall& call = *run.call;
  EvalBlock& block = scratch.block;
  const std::int64_t nres = run.wanted.nres;
  double* const area = run.direct ? call.r : run.results + worker * run.workerResults;
  const std::int64_t row = run.direct ? nres * call.nsite : nres * block.nblock;
  for (std::int64_t f = 0; f < run.nfunc; ++f) {
    block.f = f;
    block.blockResults = area + f * row + (run.direct ? first * nres : 0);
    if (run.clears)
      for (std::int64_t i = 0; i < block.nblock * nres; ++i)
        block.blockResults[i] = 0.0;
    const std::int32_t status = run.evaluate(block);
    if (status < 0) return status;
    if (!run.direct)
      transposeResults(block.nblock, nres, block.blockResults, call.r + f * nres * call.nsite + first,
                       call.nsite);
  }
  return 0;
}

// ---- all blocks ----

std::int32_t runRange(const Run& run, std::int64_t first, std::int64_t nsite, std::int64_t worker) {
  if (run.onePass != nullptr && nsite >= laneCount) {
    const InterpolateCall& call = *run.call;
    run.onePass({run.task, run.h, run.searchArgs.param, run.wanted.low4, nsite, call.site + first,
                 call.r + first, call.nsite});
    return 0;
  }
  BlockScratch scratch[2];
  std::int32_t runningCell = 0;
  const std::int64_t end = first + nsite;
  const auto sitesFrom = [&](std::int64_t at) { return end - at < sitesAtOnce ? end - at : sitesAtOnce; };
  if (nsite <= 0) return 0;
  std::int32_t ready = prepareBlock(run, first, sitesFrom(first), worker, scratch[0], runningCell);
  int current = 0;
  for (std::int64_t at = first; ready >= 0; at += sitesAtOnce, current = 1 - current) {
    const std::int64_t next = at + sitesAtOnce;
    // Splines prepare the next block while the coefficients of this one are on their way from memory. The
    // others can fail in a block, and must have touched none behind it.
    if (next < end && run.ahead)
      ready = prepareBlock(run, next, sitesFrom(next), worker, scratch[1 - current], runningCell);
    const std::int32_t status = evaluateBlock(run, at, worker, scratch[current]);
    if (status < 0 || next >= end) return status;
    if (!run.ahead)
      ready = prepareBlock(run, next, sitesFrom(next), worker, scratch[1 - current], runningCell);
  }
  return ready;
}

struct SharedRun {
  const Run* run;
  std::int64_t grains;
  std::int64_t workers;
  std::int32_t status;
};

void runGrains(std::int64_t index, std::int64_t /*thread*/, std::int64_t /*threads*/, void* context) {
  auto* shared = static_cast<SharedRun*>(context);
  const std::int64_t first = shared->grains * index / shared->workers;
  const std::int64_t end = shared->grains * (index + 1) / shared->workers;
  const std::int32_t status =
      runRange(*shared->run, first * level.splitGrain, (end - first) * level.splitGrain, index);
  if (status < 0) __atomic_store_n(&shared->status, status, __ATOMIC_RELAXED);
}

std::int32_t runAll(const Run& run, std::int64_t workers, const WorkShareTable& workShare) {
  const std::int64_t nsite = run.call->nsite;
  if (workers < 2 || nsite <= level.splitSites) return runRange(run, 0, nsite, 0);
  const std::int64_t grains = nsite / level.splitGrain;
  SharedRun shared = {&run, grains, grains < workers ? grains : workers, 0};
  workShare.parallelFor(shared.workers, shared.workers, &shared, runGrains);
  if (shared.status < 0) return shared.status;
  const std::int64_t done = grains * level.splitGrain;
  return runRange(run, done, nsite - done, 0);
}

// a * b for sizes; -1 if it does not fit, or if a is -1.
std::int64_t sizeProduct(std::int64_t a, std::int64_t b) {
  std::int64_t product = 0;
  return a < 0 || __builtin_mul_overflow(a, b, &product) ? -1 : product;
}

std::int32_t interpolate(const DfTask& task, const InterpolateCall& call, const WorkShareTable& workShare) {
  if (call.kind == nullptr) return DF_ERROR_SPLINE_KIND;
  const Pieces pieces = call.kind->pieces;
  const bool givenCells = call.type == DF_WANT_GIVEN_CELLS;
  const std::int32_t path = givenCells ? 0 : chooseSearch(task, call.sitehint, call.datahint, call.searchCb);
  if (path < 0) return path;
  const bool sitesInner = call.rhint == DF_RESULTS_SITES_INNER || call.rhint == DF_RESULTS_DEFAULT;
  if (!sitesInner && call.rhint != DF_RESULTS_DERIVS_INNER && call.rhint != 128) return DF_ERROR_RESULTS_HINT;

  Run run = {};
  run.task = &task;
  run.call = &call;
  run.nfunc = functionsOf(task);
  if (const std::int32_t status = checkRows(task, pieces, run.nfunc); status < 0) return status;
  if (!givenCells) {
    run.search = searchPaths[path];
    run.searchArgs = searchArgs(task, path, call.datahint, call.searchCb, call.searchParams);
  }
  const bool uniform = isUniform(task);
  run.h = uniform ? uniformStep(task) : 0.0;
  if (pieces <= anyOrderPieces) {
    run.prepare = polynomialKernels.prepare[uniform ? 1 : 0][pieces == knotPieces ? 1 : 0];
    run.evaluate = polynomialKernels.evaluate[pieces];
    run.ahead = true;
  } else {
    run.evaluate = stepKernels.evaluate[pieces - stepLeftPieces];
  }
  run.wanted = readWanted(task, call);
  run.clears = writtenPositions(pieces, run.wanted) < run.wanted.nres;
  run.direct = !sitesInner || run.wanted.nres == 1;
  run.keepsCells = (call.type & DF_WANT_CELLS) != 0;
  run.uniformSites = (call.sitehint & DF_SITES_UNIFORM) != 0;
  if (run.uniformSites) {
    run.firstSite = call.site[0];
    run.siteStep =
        call.nsite > 1 ? (call.site[1] - run.firstSite) / static_cast<double>(call.nsite - 1) : 0.0;
  }

  const bool rows = sitesInner || run.wanted.nres == 1;
  if (run.search == searchPaths[cellSearchUniform] && pieces <= cubicPieces && run.nfunc == 1 && rows &&
      !run.clears && !run.keepsCells && !run.uniformSites)
    run.onePass = polynomialKernels.uniform[pieces];

  // One scratch block: results of all workers, then their rooms for coefficients of high orders.
  const std::int64_t workers = workShare.threadCount();
  double frame[resultsInFrame];
  run.results = frame;
  std::int64_t results = 0;
  if (!run.direct) {
    run.workerResults = sizeProduct(sizeProduct(run.nfunc, sitesAtOnce), run.wanted.nres);
    results = sizeProduct(run.workerResults, workers);
    if (results < 0) return DF_ERROR_MEMORY;
    if (results <= resultsInFrame) results = 0;
  }
  std::int64_t work = 0;
  if (pieces == anyOrderPieces && task.order > generalOrderInFrame) {
    run.workerWork = sizeProduct(task.order, laneCount);
    work = sizeProduct(run.workerWork, workers);
    if (work < 0) return DF_ERROR_MEMORY;
  }
  double* block = nullptr;
  if (results + work > 0) {
    // The results end on a multiple of 32 doubles, which keeps the rooms behind them aligned.
    std::int64_t total = 0;
    if (__builtin_add_overflow(results, work, &total) || total > INT64_MAX / 8 ||
        static_cast<std::uint64_t>(total) > SIZE_MAX / sizeof(double))
      return DF_ERROR_MEMORY;
    block = static_cast<double*>(rvnMalloc(static_cast<std::size_t>(total) * sizeof(double), blockAlignment));
    if (block == nullptr) return DF_ERROR_MEMORY;
    if (results > 0) run.results = block;
    if (work > 0) run.work = block + results;
  }
  const std::int32_t status = runAll(run, workers, workShare);
  rvnFree(block);
  return status;
}

std::int32_t searchCells(const DfTask& task, std::int64_t /*method*/, std::int64_t nsite, const double* site,
                         std::int64_t sitehint, const double* datahint, std::int32_t* cell,
                         SearchCallback searchCb, void* searchParams, const WorkShareTable& workShare) {
  const std::int32_t path = chooseSearch(task, sitehint, datahint, searchCb);
  if (path < 0) return path;
  const CellSearchArgs args = searchArgs(task, path, datahint, searchCb, searchParams);
  return cellsDrivers[path](args, nsite, site, sitehint, cell, workShare);
}

}  // namespace

extern const InterpKernels interpKernels;
const InterpKernels interpKernels = {interpolate, searchCells, &lookupBuilder};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
