#pragma once

// The local cubic families: each gives the slopes m_i at the breakpoints in its own way, and every cell then
// follows from the Hermite form. Nothing is solved, so cells are built a run at a time, for one function
// after another, while the run is in cache.
//
// The cells inside go through registers in one pass: chords of a vector of cells, then slopes, then
// coefficients of the cells before it, so that the divisions of one overlap with the rest of the other. The
// few cells at the ends of a block, and short blocks, go through a run of arrays.
//
// A kind gives a rule: a record over Values and uniformity, made for one function of a task, its partition p and values
// y. Formulas are templates over V, a double or a vector of neighbouring breakpoints from i on; dLeft and dRight are the
// chords d_(i-1) and d_i beside breakpoint i, over cells of the widths hLeft and hRight. A rule has one of
//
//   slope(hLeft, hRight, dLeft, dRight)   the slope m_i from its chords, anywhere
//   weight(dLeft, dRight)     a weight w_j of the chords beside breakpoint j, for Akima's mean, and
//     outerWeight(side)       w_0 or w_(n-1), which have a chord on one side alone
//   slope(i, dLeft, dRight)   the slope m_i where its place counts, and
//     periodicSlope()         the slope at both ends of periodic data
//   slope<V>(i)               the slope m_i from what is given, and periodicSlope()
//
// and where the kind serves ends without condition freeSlope(side), the slope there.

#include <cstdint>

#include "construct/coefficients.h"
#include "construct/end_slopes.h"
#include "construct/partition.h"
#include "construct/scratch.h"
#include "construct/values.h"
#include "construct/weighted_mean.h"
#include "task/spline_kind.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Work is shared in blocks of so many interior cells and functions.
constexpr std::int64_t blockCells = 2048;
constexpr std::int64_t blockFunctions = 4;
constexpr std::int64_t leastSharedValues = 512;

// Cells at the ends of a block, and all of a short one, go through arrays of so many at a time.
constexpr std::int64_t runCells = 64;
constexpr std::int64_t mostReach = 2;

// So far ahead of a pass its coefficients are fetched.
constexpr std::int64_t prefetchedCells = 128;

// What is kept of the cells first .. last - 1 of a run and of a few neighbours. Arrays are asked by the number of the
// cell or breakpoint.
class CellRun {
 public:
  explicit CellRun(std::int64_t first) : base_(first - mostReach) {}

  double* r(std::int64_t i) { return r_ + (i - base_); }  // reciprocal steps
  double* d(std::int64_t i) { return d_ + (i - base_); }  // divided differences
  double* w(std::int64_t i) { return w_ + (i - base_); }  // weights
  double* m(std::int64_t i) { return m_ + (i - base_); }  // slopes

 private:
  static constexpr std::int64_t length = runCells + 2 * mostReach;
  double r_[length];
  double d_[length];
  double w_[length];
  double m_[length];
  std::int64_t base_;
};

template <class Rule>
concept GivesSlopes = requires(const Rule& rule, std::int64_t i) {
  rule.template slope<double>(i);
};

template <class Rule>
concept Weighs = requires(const Rule& rule, double d) {
  rule.weight(d, d);
};

template <class Rule>
concept GoesByChords = requires(double a) {
  Rule::slope(a, a, a, a);
};

// The slopes at the breakpoints from i on by the chords beside them.
template <class V, class Rule>
inline V chordSlope(const Rule& rule, std::int64_t i, V dLeft, V dRight) {
  if constexpr (GoesByChords<Rule>) {
    return Rule::slope(rule.p.template distances<V>(i - 1, i), rule.p.template distances<V>(i, i + 1), dLeft,
                       dRight);
  } else {
    return rule.slope(i, dLeft, dRight);
  }
}

// Slopes of vectors of breakpoints in ascending order: push(i, d) takes the chords from i on and returns the slopes `lag`
// vectors before. Slopes depend on `reach` cells on either side of those beside the breakpoint.
template <class Rule>
class SlopePass {
 public:
  static constexpr std::int64_t lag = 0;
  static constexpr std::int64_t reach = 1;

  template <class Partition, class Values>
  SlopePass(const Rule& rule, const Partition& p, const Values& y, std::int64_t from)
      : rule_(rule), last_(p.template differences<Lanes>(y, from - laneCount)) {}

  Lanes push(std::int64_t i, Lanes d) {
    const Lanes before = oneDown(last_, d);
    last_ = d;
    return chordSlope(rule_, i, before, d);
  }

 private:
  Rule rule_;
  Lanes last_;
};

template <GivesSlopes Rule>
class SlopePass<Rule> {
 public:
  static constexpr std::int64_t lag = 0;
  static constexpr std::int64_t reach = 0;

  template <class Partition, class Values>
  SlopePass(const Rule& rule, const Partition&, const Values&, std::int64_t) : rule_(rule) {}

  Lanes push(std::int64_t i, Lanes) { return rule_.template slope<Lanes>(i); }

 private:
  Rule rule_;
};

// Weights of a vector need the chords of the next one.
template <Weighs Rule>
class SlopePass<Rule> {
 public:
  static constexpr std::int64_t lag = 1;
  static constexpr std::int64_t reach = mostReach;

  template <class Partition, class Values>
  SlopePass(const Rule&, const Partition& p, const Values& y, std::int64_t from)
      : before_(p.template differences<Lanes>(y, from - laneCount - 1)),
        after_(p.template differences<Lanes>(y, from - laneCount)),
        weightLast_(Rule::weight(before_, after_)),
        weight_(weightLast_) {}

  Lanes push(std::int64_t, Lanes d) {
    const Lanes beforeNext = oneDown(after_, d);
    const Lanes weightNext = Rule::weight(beforeNext, d);
    const Lanes m = weightedMean(before_, after_, oneDown(weightLast_, weight_), oneUp(weight_, weightNext));
    before_ = beforeNext;
    after_ = d;
    weightLast_ = weight_;
    weight_ = weightNext;
    return m;
  }

 private:
  Lanes before_;      // chords one cell below `after_`
  Lanes after_;       // newest chords
  Lanes weightLast_;  // weights of the vector before, and
  Lanes weight_;      // of the newest one
};

template <template <class, bool> class SlopeRule, class Values, bool uniform>
struct LocalSpline {
  const DfTask* task;
  Partition<uniform> p;
  EndPair ends;

  using Rule = SlopeRule<Values, uniform>;
  using Pass = SlopePass<Rule>;

  static std::int64_t blocksAlongX(std::int64_t n) {
    const std::int64_t blocks = (n - 3 + blockCells - 1) / blockCells;
    return blocks > 1 ? blocks : 1;
  }

  // The interior cells are those from 1 to n - 3; the first and the last block take an end cell besides.
  static void blockWorker(std::int64_t block, std::int64_t, std::int64_t, void* context) {
    const LocalSpline spline = *static_cast<const LocalSpline*>(context);
    const std::int64_t n = spline.p.n;
    const std::int64_t blocks = blocksAlongX(n);
    const std::int64_t along = block % blocks;
    const std::int64_t first = block / blocks * blockFunctions;
    const std::int64_t from = along == 0 ? 0 : 1 + along * blockCells;
    const std::int64_t to = along == blocks - 1 ? n - 1 : 1 + (along + 1) * blockCells;
    const std::int64_t last = smaller(first + blockFunctions, functionCount(*spline.task));
    // The pass reads a vector and a cell before its first cell, and `lag` + 3 vectors behind its last one.
    const std::int64_t passFrom = from > laneCount ? from : laneCount + 1;
    const std::int64_t room = smaller(to, n - 1 - (Pass::lag + 3) * laneCount) - passFrom;
    const std::int64_t passTo = passFrom + (room > 0 ? room - room % laneCount : 0);
    for (std::int64_t f = first; f < last; ++f) {
      if (to - from <= runCells) {
        fillRun(spline, from, to, f);
        continue;
      }
      fillRun(spline, from, passFrom, f);
      fillPass(spline, passFrom, passTo, f);
      fillRun(spline, passTo, to, f);
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

  [[gnu::noinline]] static void fillPass(const LocalSpline& spline, std::int64_t from, std::int64_t to,
                                         std::int64_t f) {
    constexpr std::int64_t lag = Pass::lag;
    const Partition<uniform> p = spline.p;
    const Values y(*spline.task, f);
    double* const c = spline.task->coeffRows[f];
    Pass pass(Rule(*spline.task, p, y), p, y, from);
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

  [[gnu::noinline]] static void fillRun(const LocalSpline& spline, std::int64_t first, std::int64_t last,
                                        std::int64_t f) {
    const Partition<uniform> p = spline.p;
    const Values y(*spline.task, f);
    double* const c = spline.task->coeffRows[f];
    CellRun run(first);
    forLanesOverlapped(larger(first - Pass::reach, 0), smaller(last + Pass::reach, p.n - 1),
                       [&]<class V>(std::int64_t i, V) {
                         const Chords<V> chord = chords<V>(p, y, i);
                         store(run.r(i), chord.r);
                         store(run.d(i), chord.d);
                       });
    spline.fillSlopes(first, last, y, run);
    forLanesOverlapped(first, last, [&]<class V>(std::int64_t i, V) {
      storeCells(c + 4 * i, hermiteForm(y.template lanes<V>(i), load<V>(run.m(i)), load<V>(run.m(i + 1)),
                                        load<V>(run.d(i)), load<V>(run.r(i))));
    });
  }

  void fillSlopes(std::int64_t first, std::int64_t last, const Values& y, CellRun& run) const {
    const Rule rule(*task, p, y);
    const std::int64_t n = p.n;
    const std::int64_t from = larger(first, 1);
    const std::int64_t to = smaller(last + 1, n - 1);
    if constexpr (Weighs<Rule>) {
      forLanesOverlapped(larger(from - 1, 1), smaller(to + 1, n - 1), [&]<class V>(std::int64_t j, V) {
        store(run.w(j), Rule::weight(load<V>(run.d(j - 1)), load<V>(run.d(j))));
      });
      if (from == 1) *run.w(0) = rule.outerWeight(Side::left);
      if (to == n - 1) *run.w(n - 1) = rule.outerWeight(Side::right);
    }
    forLanesOverlapped(from, to,
                       [&]<class V>(std::int64_t i, V) { store(run.m(i), slopesFrom<V>(i, rule, run)); });
    if (first == 0) *run.m(0) = endSlopeOf(Side::left, ends.left, rule, y, *run.m(1));
    if (last == n - 1) *run.m(n - 1) = endSlopeOf(Side::right, ends.right, rule, y, *run.m(n - 2));
  }

  template <class V>
  static V slopesFrom(std::int64_t i, const Rule& rule, CellRun& run) {
    if constexpr (GivesSlopes<Rule>) {
      return rule.template slope<V>(i);
    } else {
      const V before = load<V>(run.d(i - 1));
      const V after = load<V>(run.d(i));
      if constexpr (Weighs<Rule>) {
        return weightedMean(before, after, load<V>(run.w(i - 1)), load<V>(run.w(i + 1)));
      } else {
        return chordSlope(rule, i, before, after);
      }
    }
  }

  // The slope at both ends of periodic data, where the last cell meets the first.
  double jointSlope(const Rule& rule, const Values& y) const {
    const std::int64_t last = p.n - 2;
    const double before = p.difference(y, last);
    const double after = p.difference(y, 0);
    if constexpr (Weighs<Rule>) {
      return weightedMean(before, after, Rule::weight(p.difference(y, last - 1), before),
                          Rule::weight(after, p.difference(y, 1)));
    } else if constexpr (GoesByChords<Rule>) {
      return Rule::slope(p.step(last), p.step(0), before, after);
    } else {
      return rule.periodicSlope();
    }
  }

  double endSlopeOf(Side side, EndKind kind, const Rule& rule, const Values& y, double m) const {
    if (kind == EndKind::periodic) return jointSlope(rule, y);
    if constexpr (requires { rule.freeSlope(side); })
      if (kind == EndKind::none) return rule.freeSlope(side);
    return endSlope(side, kind, p, y, task->bc, m);
  }
};

template <template <class, bool> class SlopeRule, class Values, bool uniform>
std::int32_t constructLocalMember(const DfTask& task, EndPair ends, const ConstructServices& services) {
  using Spline = LocalSpline<SlopeRule, Values, uniform>;
  const std::int64_t functions = functionCount(task);
  if (ends.left == EndKind::periodic && firstUnclosed<Values>(task, functions) < functions)
    return DF_ERROR_PERIODIC_VALUES;
  const std::int64_t blocks =
      Spline::blocksAlongX(task.nx) * ((functions + blockFunctions - 1) / blockFunctions);
  Spline spline = {&task, Partition<uniform>(task), ends};
  const bool shared = level.sharesWork && task.nx * functions >= leastSharedValues;
  const std::int64_t workers = shared ? smaller(services.workShare.threadCount(), blocks) : 1;
  runBlocks(blocks, shared, workers, &spline, Spline::blockWorker, services.workShare);
  return DF_STATUS_OK;
}

template <template <class, bool> class SlopeRule>
constexpr ConstructMembers constructLocal = {
    {{constructLocalMember<SlopeRule, ColumnValues, false>,
      constructLocalMember<SlopeRule, ColumnValues, true>},
     {constructLocalMember<SlopeRule, RowValues, false>, constructLocalMember<SlopeRule, RowValues, true>}}};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
