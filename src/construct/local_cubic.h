#pragma once

// The local cubic families: each gives the slopes m_i at the breakpoints in its own way, and every cell then
// follows from the Hermite form. Nothing is solved, so cells are built a run at a time, for one function
// after another, while the run is in cache.
//
// The cells inside go through registers in one pass: chords of a vector of cells, then slopes, then
// coefficients of the cells before it, so that the divisions of one overlap with the rest of the other. The
// few cells at the ends of a block go through a short run of arrays.
//
// A family is a record over Values and uniformity, made for one function, with
//   reach                      how many cells beside a run its slopes depend on, 0 to mostReach
//   fillSlopes(run, from, to)  slopes at the interior breakpoints from .. to - 1
//   periodicSlope()            the slope at both ends of periodic data
//   takesNoEnds, freeSlope()   whether ends without condition are served, and their slopes
//   Pass, lag                  slopes of vectors of cells in ascending order: push(i, d) takes the divided
//                              differences from i on and returns the slopes `lag` vectors before

#include <cstdint>

#include "construct/coefficients.h"
#include "construct/construct_kernels.h"
#include "construct/end_slopes.h"
#include "construct/framework.h"
#include "construct/partition.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Work is shared in blocks of so many interior cells and functions.
constexpr std::int64_t blockCells = 2048;
constexpr std::int64_t blockFunctions = 4;
constexpr std::int64_t leastSharedValues = 512;

constexpr std::int64_t runCells = 8;
constexpr std::int64_t mostReach = 2;

// So far ahead of a pass its coefficients are fetched.
constexpr std::int64_t prefetchedCells = 128;

// What one worker keeps of the cells first .. last - 1 and a few neighbours. Arrays are asked by the number
// of the cell or breakpoint.
class CellRun {
 public:
  static constexpr std::int64_t length = 3 * (runCells + 2 * mostReach);

  explicit CellRun(double* block) : r_(block), d_(r_ + length / 3), m_(d_ + length / 3) {}

  void start(std::int64_t first) { base_ = first - mostReach; }
  double* r(std::int64_t i) const { return r_ + (i - base_); }  // reciprocal steps
  double* d(std::int64_t i) const { return d_ + (i - base_); }  // divided differences
  double* m(std::int64_t i) const { return m_ + (i - base_); }  // slopes

 private:
  double* r_;
  double* d_;
  double* m_;
  std::int64_t base_ = 0;
};

template <template <class, bool> class Family, class Values, bool uniform>
struct LocalSpline {
  const DfTask* task;
  Partition<uniform> p;
  EndKind left;
  EndKind right;
  double* scratch;

  using Rule = Family<Values, uniform>;

  static std::int64_t blocksAlongX(std::int64_t n) {
    const std::int64_t blocks = (n - 3 + blockCells - 1) / blockCells;
    return blocks > 1 ? blocks : 1;
  }

  // The interior cells are those from 1 to n - 3; the first and the last block take an end cell besides.
  static void blockWorker(std::int64_t block, std::int64_t worker, std::int64_t, void* context) {
    const LocalSpline spline = *static_cast<const LocalSpline*>(context);
    const std::int64_t n = spline.p.n;
    const std::int64_t blocks = blocksAlongX(n);
    const std::int64_t along = block % blocks;
    const std::int64_t first = block / blocks * blockFunctions;
    const std::int64_t from = along == 0 ? 0 : 1 + along * blockCells;
    const std::int64_t to = along == blocks - 1 ? n - 1 : 1 + (along + 1) * blockCells;
    const std::int64_t last = least(first + blockFunctions, functionCount(*spline.task));
    const CellRun run(spline.scratch + worker * CellRun::length);
    // The pass reads a vector and a cell before its first cell, and `lag` + 3 vectors behind its last one.
    const std::int64_t passFrom = from > laneCount ? from : laneCount + 1;
    const std::int64_t room = least(to, n - 1 - (Rule::lag + 3) * laneCount) - passFrom;
    const std::int64_t passTo = passFrom + (room > 0 ? room - room % laneCount : 0);
    for (std::int64_t f = first; f < last; ++f) {
      fillRuns(spline, from, least(passFrom, to), f, run);
      if (passTo > passFrom) fillPass(spline, passFrom, passTo, f);
      fillRuns(spline, passTo, to, f, run);
    }
  }

  // Reciprocal steps and divided differences of the cells from i on.
  template <class V>
  struct Chords {
    V r;
    V d;
  };

  template <class V>
  static Chords<V> chords(const Partition<uniform>& p, const Values& y, std::int64_t i) {
    const V r = p.template reciprocals<V>(i);
    return {r, (y.template lanes<V>(i + 1) - y.template lanes<V>(i)) * r};
  }

  static void fillPass(const LocalSpline& spline, std::int64_t from, std::int64_t to, std::int64_t f) {
    constexpr std::int64_t lag = Rule::lag;
    const Partition<uniform> p = spline.p;
    const Values y(*spline.task, f);
    double* const c = spline.task->coeffRows[f];
    typename Rule::Pass pass(Rule{*spline.task, p, y}, from);
    // Chords, slopes and cells of one step belong to different vectors: the two divisions would else be one
    // chain, too long for the processor to look beyond. Chords wait in a ring for their cells.
    constexpr std::int64_t ringSize = 4;
    static_assert(lag + 3 <= ringSize);
    Chords<Lanes> ring[ringSize];
    Lanes m = {};
    Lanes mNext = {};
    for (std::int64_t k = 0; k < lag + 2; ++k) {
      ring[k] = chords<Lanes>(p, y, from + k * laneCount);
      m = mNext;
      mNext = pass.push(from + k * laneCount, ring[k].d);
    }
    ring[lag + 2] = chords<Lanes>(p, y, from + (lag + 2) * laneCount);
    const auto step = [&](std::int64_t i, std::int64_t turn) __attribute__((always_inline)) {
      for (std::int64_t k = 0; k < laneCount; k += 2)
        prefetchBehind(c + 4 * (i + k), 4 * prefetchedCells);
      const Chords<Lanes> oldest = ring[turn % ringSize];
      const Lanes d = ring[(turn + lag + 2) % ringSize].d;
      ring[(turn + lag + 3) % ringSize] = chords<Lanes>(p, y, i + (lag + 3) * laneCount);
      storeCells(c + 4 * i, hermiteForm(y.template lanes<Lanes>(i), m, oneUp(m, mNext), oldest.d, oldest.r));
      m = mNext;
      mNext = pass.push(i + (lag + 2) * laneCount, d);
      return i + laneCount;
    };
    std::int64_t i = from;
    while (i + (ringSize - 1) * laneCount < to) {
      i = step(i, 0);
      i = step(i, 1);
      i = step(i, 2);
      i = step(i, 3);
    }
    for (std::int64_t turn = 0; i < to; ++turn)
      i = step(i, turn);
  }

  static void fillRuns(const LocalSpline& spline, std::int64_t from, std::int64_t to, std::int64_t f,
                       CellRun run) {
    for (std::int64_t i = from; i < to; i += runCells)
      fillRun(spline, i, least(i + runCells, to), f, run);
  }

  static void fillRun(const LocalSpline& spline, std::int64_t first, std::int64_t last, std::int64_t f,
                      CellRun run) {
    const Partition<uniform> p = spline.p;
    const Values y(*spline.task, f);
    double* const c = spline.task->coeffRows[f];
    const std::int64_t low = first > Rule::reach ? first - Rule::reach : 0;
    const std::int64_t high = least(last + Rule::reach, p.n - 1);
    run.start(first);
    for (std::int64_t i = low; i < high; ++i) {
      *run.r(i) = p.template reciprocals<double>(i);
      *run.d(i) = (y[i + 1] - y[i]) * *run.r(i);
    }
    spline.fillSlopes(first, last, y, run);
    for (std::int64_t i = first; i < last; ++i)
      storeCells(c + 4 * i, hermiteForm(y[i], *run.m(i), *run.m(i + 1), *run.d(i), *run.r(i)));
  }

  void fillSlopes(std::int64_t first, std::int64_t last, Values y, CellRun run) const {
    const Rule rule{*task, p, y};
    const std::int64_t n = p.n;
    rule.fillSlopes(run, first > 0 ? first : 1, least(last + 1, n - 1));
    if (first == 0) *run.m(0) = endSlopeOf(Side::left, left, rule, y, *run.m(1));
    if (last == n - 1) *run.m(n - 1) = endSlopeOf(Side::right, right, rule, y, *run.m(n - 2));
  }

  double endSlopeOf(Side side, EndKind kind, const Rule& rule, const Values& y, double m) const {
    if (kind == EndKind::periodic) return rule.periodicSlope();
    if constexpr (Rule::takesNoEnds)
      if (kind == EndKind::none) return rule.freeSlope(side);
    return endSlope(side, kind, p, y, task->bc, m);
  }
};

template <template <class, bool> class Family, class Values, bool uniform>
[[maybe_unused]] std::int32_t localKernel(const DfTask& task, int slot, const WorkShareTable& workShare) {
  using Spline = LocalSpline<Family, Values, uniform>;
  const std::int64_t functions = functionCount(task);
  if (slot == static_cast<int>(EndSlot::periodic) && firstUnclosed<Values>(task, functions) < functions)
    return DF_ERROR_PERIODIC_VALUES;
  const std::int64_t blocks =
      Spline::blocksAlongX(task.nx) * ((functions + blockFunctions - 1) / blockFunctions);
  const std::int64_t workers = least(workShare.threadCount(), blocks);
  Scratch scratch;
  auto* block = scratch.allocate<double>(workers * CellRun::length);
  if (block == nullptr) return DF_ERROR_MEMORY;
  Spline spline = {&task, Partition<uniform>(task), leftEnds[slot], rightEnds[slot], block};
  const bool shared = level.sharesWork && task.nx * functions >= leastSharedValues;
  runBlocks(blocks, shared, workers, &spline, Spline::blockWorker, workShare);
  return DF_STATUS_OK;
}

using LocalKernel = std::int32_t (*)(const DfTask& task, int slot, const WorkShareTable& workShare);

// A family's members by layout and uniformity.
template <template <class, bool> class Family>
[[maybe_unused]] constexpr LocalKernel localKernels[2][2] = {
    {localKernel<Family, ColumnValues, false>, localKernel<Family, ColumnValues, true>},
    {localKernel<Family, RowValues, false>, localKernel<Family, RowValues, true>},
};

template <template <class, bool> class Family>
[[maybe_unused]] std::int32_t constructLocal(const DfTask& task, const Member& member,
                                             const WorkShareTable& workShare) {
  if (member.status != DF_STATUS_OK) return member.status;
  return localKernels<Family>[member.layout][member.uniform](task, member.slot, workShare);
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
