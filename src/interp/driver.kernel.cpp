// The interpolation driver: sites go in blocks; each block is searched once and evaluated for every function
// while its sites, cells and results are in the first-level cache.

#include <cstdint>

#include "interp/few_sites.h"
#include "interp/plan.h"
#include "runtime/memory.h"
#include "runtime/work_share.h"
#include "vector/level.h"
#include "vector/simd.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const CellsDriver cellsDrivers[searchPathCount];
extern const LookupBuilder lookupBuilder;

namespace {

// A planned call and its scratch.
struct Run {
  const DfTask& task;
  const InterpolateCall& call;
  const Plan& plan;
  const ScratchLayout& layout;
  double* results;
  double* work;
};

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
  std::int32_t* kept = run.call.cell;
  if (run.plan.search == nullptr) {
    const auto nx = static_cast<std::int32_t>(run.task.nx);
    for (std::int64_t i = 0; i < nblock; ++i) {
      const std::int32_t c = kept[first + i];
      scratch.cell[i] = c < 0 ? 0 : c > nx ? nx : c;
    }
    cells = scratch.cell;
    return 0;
  }
  CellSearchArgs args = run.plan.searchArgs;
  args.nsite = nblock;
  args.site = site;
  args.cellState = &runningCell;
  args.cell = run.plan.keepsCells ? kept + first : scratch.cell;
  args.searchMarks = scratch.marks;
  cells = args.cell;
  return run.plan.search(args);
}

// Sites, cells and pieces of a block.
std::int32_t prepareBlock(const Run& run, std::int64_t first, std::int64_t nblock, std::int64_t worker,
                          BlockScratch& scratch, std::int32_t& runningCell) {
  const double* site = run.call.site + first;
  if (run.plan.uniformSites) {
    for (std::int64_t i = 0; i < nblock; ++i)
      scratch.site[i] = static_cast<double>(first + i) * run.plan.siteStep + run.plan.firstSite;
    site = scratch.site;
  }
  EvalBlock& block = scratch.block;
  const std::int32_t status = findCells(run, first, nblock, site, scratch, runningCell, block.blockCells);
  if (status < 0) return status;
  block.task = &run.task;
  block.wanted = &run.plan.wanted;
  block.h = run.plan.h;
  block.nfunc = run.plan.nfunc;
  block.nblock = nblock;
  block.blockSites = site;
  block.piece = scratch.piece;
  block.t = scratch.t;
  block.work = run.work == nullptr ? nullptr : run.work + worker * run.layout.workerWork;
  if (run.plan.prepare != nullptr) run.plan.prepare(block, scratch.piece, scratch.t);
  return 0;
}

std::int32_t evaluateBlock(const Run& run, std::int64_t first, std::int64_t worker, BlockScratch& scratch) {
  const InterpolateCall& call = run.call;
  EvalBlock& block = scratch.block;
  const std::int64_t nres = run.plan.wanted.nres;
  double* const area = run.plan.direct ? call.r : run.results + worker * run.layout.workerResults;
  const std::int64_t row = run.plan.direct ? nres * call.nsite : nres * block.nblock;
  for (std::int64_t f = 0; f < run.plan.nfunc; ++f) {
    block.f = f;
    block.blockResults = area + f * row + (run.plan.direct ? first * nres : 0);
    if (run.plan.clears)
      for (std::int64_t i = 0; i < block.nblock * nres; ++i)
        block.blockResults[i] = 0.0;
    const std::int32_t status = run.plan.evaluate(block);
    if (status < 0) return status;
    if (!run.plan.direct)
      transposeResults(block.nblock, nres, block.blockResults, call.r + f * nres * call.nsite + first,
                       call.nsite);
  }
  return 0;
}

// ---- all blocks ----

std::int32_t runRange(const Run& run, std::int64_t first, std::int64_t nsite, std::int64_t worker) {
  if (run.plan.onePass != nullptr && nsite >= laneCount) {
    const InterpolateCall& call = run.call;
    run.plan.onePass({&run.task, run.plan.h, run.plan.searchArgs.param, run.plan.wanted.low4, nsite,
                      call.site + first, call.r + first, call.nsite});
    return 0;
  }
  BlockScratch scratch[2];
  std::int32_t runningCell = 0;
  const std::int64_t end = first + nsite;
  const auto sitesFrom = [&](std::int64_t at) { return smaller(end - at, sitesAtOnce); };
  if (nsite <= 0) return 0;
  std::int32_t ready = prepareBlock(run, first, sitesFrom(first), worker, scratch[0], runningCell);
  int current = 0;
  for (std::int64_t at = first; ready >= 0; at += sitesAtOnce, current = 1 - current) {
    const std::int64_t next = at + sitesAtOnce;
    // Splines prepare the next block while the coefficients of this one are on their way from memory. The
    // others can fail in a block, and must have touched none behind it.
    if (next < end && run.plan.ahead)
      ready = prepareBlock(run, next, sitesFrom(next), worker, scratch[1 - current], runningCell);
    const std::int32_t status = evaluateBlock(run, at, worker, scratch[current]);
    if (status < 0 || next >= end) return status;
    if (!run.plan.ahead)
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
  const std::int64_t nsite = run.call.nsite;
  if (workers < 2 || nsite <= level.splitSites) return runRange(run, 0, nsite, 0);
  const std::int64_t grains = nsite / level.splitGrain;
  SharedRun shared = {&run, grains, grains < workers ? grains : workers, 0};
  workShare.parallelFor(shared.workers, shared.workers, &shared, runGrains);
  if (shared.status < 0) return shared.status;
  const std::int64_t done = grains * level.splitGrain;
  return runRange(run, done, nsite - done, 0);
}

[[gnu::noinline]] std::int32_t interpolateInBlocks(const DfTask& task, const InterpolateCall& call,
                                                   const WorkShareTable& workShare) {
  Plan plan;
  if (const std::int32_t status = planInterpolation(task, call, plan); status < 0) return status;
  const std::int64_t workers = workShare.threadCount();
  const ScratchLayout layout(plan, task.order, workers);
  if (!layout.fits) return DF_ERROR_MEMORY;
  double frame[resultsInFrame];
  double* block = nullptr;
  if (layout.bytes > 0) {
    block = static_cast<double*>(rvnMalloc(layout.bytes, blockAlignment));
    if (block == nullptr) return DF_ERROR_MEMORY;
  }
  const Run run = {task,
                   call,
                   plan,
                   layout,
                   layout.results > 0 ? block : frame,
                   layout.work > 0 ? block + layout.results : nullptr};
  const std::int32_t status = runAll(run, workers, workShare);
  rvnFree(block);
  return status;
}

std::int32_t interpolate(const DfTask& task, const InterpolateCall& call, const WorkShareTable& workShare) {
  if (isOfFewSites(task, call) && interpolateFew(task, call)) return DF_STATUS_OK;
  return interpolateInBlocks(task, call, workShare);
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
const InterpKernels interpKernels = {valuesOfFew, interpolate, searchCells, &lookupBuilder};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
