#pragma once

// The local cubic families: each gives the slopes m_i at the breakpoints in its own way, and every cell then
// follows from the Hermite form. Nothing is solved, so cells are built a run at a time, for one function
// after another, while the run is in cache.
//
// A family is a record over Values and uniformity, made for one function, with
//   reach                      how many cells beside a run its slopes depend on, 0 to mostReach
//   fillSlopes(run, from, to)  slopes at the interior breakpoints from .. to - 1
//   periodicSlope()            the slope at both ends of periodic data
//   takesNoEnds, freeSlope()   whether ends without condition are served, and their slopes

#include <cstdint>

#include "construct/cells.h"
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

constexpr std::int64_t runCells = 128;
constexpr std::int64_t mostReach = 2;

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
  const DfTask& task;
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
    const auto& spline = *static_cast<const LocalSpline*>(context);
    const std::int64_t n = spline.p.n;
    const std::int64_t blocks = blocksAlongX(n);
    const std::int64_t along = block % blocks;
    const std::int64_t first = block / blocks * blockFunctions;
    const std::int64_t from = along == 0 ? 0 : 1 + along * blockCells;
    const std::int64_t to = along == blocks - 1 ? n - 1 : 1 + (along + 1) * blockCells;
    CellRun run(spline.scratch + worker * CellRun::length);
    for (std::int64_t i = from; i < to; i += runCells)
      spline.fillRun(i, least(i + runCells, to), first,
                     least(first + blockFunctions, functionCount(spline.task)), run);
  }

  void fillRun(std::int64_t first, std::int64_t last, std::int64_t firstFunction, std::int64_t lastFunction,
               CellRun& run) const {
    const std::int64_t low = first > Rule::reach ? first - Rule::reach : 0;
    const std::int64_t high = least(last + Rule::reach, p.n - 1);
    run.start(first);
    if constexpr (!uniform)
      forLanes(low, high, [&]<class V>(std::int64_t i, V) { store(run.r(i), p.template reciprocals<V>(i)); });
    for (std::int64_t f = firstFunction; f < lastFunction; ++f) {
      const Values y(task, f);
      forLanes(low, high, [&]<class V>(std::int64_t i, V) {
        store(run.d(i), (y.template lanes<V>(i + 1) - y.template lanes<V>(i)) * reciprocals<V>(run, i));
      });
      fillSlopes(first, last, y, run);
      double* c = task.coeffRows[f];
      forLanes(first, last, [&]<class V>(std::int64_t i, V) {
        storeCells(c + 4 * i, hermiteForm(y.template lanes<V>(i), load<V>(run.m(i)), load<V>(run.m(i + 1)),
                                          load<V>(run.d(i)), reciprocals<V>(run, i)));
      });
    }
  }

  void fillSlopes(std::int64_t first, std::int64_t last, const Values& y, CellRun& run) const {
    const Rule rule{task, p, y};
    const std::int64_t n = p.n;
    rule.fillSlopes(run, first > 0 ? first : 1, least(last + 1, n - 1));
    if (first == 0) *run.m(0) = endSlopeOf(Side::left, left, rule, y, *run.m(1));
    if (last == n - 1) *run.m(n - 1) = endSlopeOf(Side::right, right, rule, y, *run.m(n - 2));
  }

  double endSlopeOf(Side side, EndKind kind, const Rule& rule, const Values& y, double m) const {
    if (kind == EndKind::periodic) return rule.periodicSlope();
    if constexpr (Rule::takesNoEnds)
      if (kind == EndKind::none) return rule.freeSlope(side);
    return endSlope(side, kind, p, y, task.bc, m);
  }

  template <class V>
  V reciprocals(const CellRun& run, std::int64_t i) const {
    if constexpr (uniform) return broadcast<V>(p.r);
    return load<V>(run.r(i));
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
  Spline spline = {task, Partition<uniform>(task), leftEnds[slot], rightEnds[slot], block};
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
