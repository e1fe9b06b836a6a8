#pragma once

// The natural family's system of one long function, for Stretches.

#include <cstdint>

#include "construct/coefficients.h"
#include "construct/natural_system.h"
#include "construct/partition.h"
#include "construct/stretches.h"
#include "construct/values.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <bool uniform>
struct NaturalStretches {
  static constexpr int order = 4;

  std::int64_t n;
  Partition<uniform> p;
  RowValues y;
  double* c;

  NaturalStretches(const DfTask& task, const Partition<uniform>& partition)
      : n(task.nx), p(partition), y(task, 0), c(task.coeffRows[0]) {}

  // Whether there are enough rows, and every pivot is sure to be positive: steps above zero whose products neither
  // overflow nor vanish.
  bool fits() const {
    constexpr double leastStep = 1e-140;
    constexpr double greatestStep = 1e140;
    if (n < leastForStretches) return false;
    if constexpr (uniform) return true;
    Lanes least = broadcast<Lanes>(1.0);
    Lanes greatest = least;
    Lanes sum = {};  // not a number once one of its terms is none, which the comparisons lose
    std::int64_t i = 0;
    for (; i + laneCount < n; i += laneCount) {
      const Lanes h = p.template distances<Lanes>(i, i + 1);
      least = -greaterOf(-h, -least);
      greatest = greaterOf(h, greatest);
      sum += h;
    }
    bool fit = true;
    for (int lane = 0; lane < laneCount; ++lane)
      fit &= least[lane] > leastStep && greatest[lane] < greatestStep && sum[lane] == sum[lane];
    for (; i + 1 < n; ++i)
      fit &= p.step(i) > leastStep && p.step(i) < greatestStep;
    return fit;
  }

  const double* values() const { return y.y; }
  Lanes points(const std::int64_t* start, std::int64_t i) const { return p.points(start, i); }

  // Seen in its direction a row with the steps `behind` and `ahead` of it, whose divided differences are e and d, is
  //
  //   ahead m_before + 2 (behind + ahead) m + behind m_next = 3 (behind d + ahead e).
  template <int direction>
  struct Chain : Eliminations {
    Partition<uniform> p;
    const double* values;
    // The next row's breakpoint and value and those before it, and the step and the divided difference between them.
    Lanes x = {};
    Lanes xBefore = {};
    Lanes y = {};
    Lanes yBefore = {};
    Lanes behind = {};
    Lanes e = {};

    explicit Chain(const NaturalStretches& system) : p(system.p), values(system.y.y) {}

    void enter(std::int64_t i) {
      y = pick(values + i, start);
      yBefore = pick(values + (i - direction), start);
      if constexpr (!uniform) {
        x = p.points(start, i);
        xBefore = p.points(start, i - direction);
        behind = direction * (x - xBefore);
        e = direction * (y - yBefore) * (1.0 / behind);
      }
    }

    void take(std::int64_t i) {
      const Lanes yNext = pick(values + (i + direction), start);
      if constexpr (uniform) {
        const Lanes one = broadcast<Lanes>(1.0);
        Eliminations::take(one, 4.0 * one, one, (3.0 * p.r) * (direction * (yNext - yBefore)));
      } else {
        const Lanes xNext = p.points(start, i + direction);
        const Lanes ahead = direction * (xNext - x);
        const Lanes d = direction * (yNext - y) * (1.0 / ahead);
        Eliminations::take(ahead, direction * 2.0 * (xNext - xBefore), behind,
                           3.0 * (behind * d + ahead * e));
        xBefore = x;
        x = xNext;
        behind = ahead;
        e = d;
      }
      yBefore = y;
      y = yNext;
    }
  };

  void storeCellsAt(const std::int64_t* start, std::int64_t i, const SolvedRows& a,
                    const SolvedRows& b) const {
    const Lanes r = uniform ? broadcast<Lanes>(p.r) : 1.0 / (b.x - a.x);
    const Cubic<Lanes> cells = hermiteForm(a.y, a.m, b.m, (b.y - a.y) * r, r);
    storeCubicsAt([&](int lane) { return c + order * (i + start[lane]); }, cells.c0, cells.c1, cells.c2,
                  cells.c3);
  }

  void storeCell(std::int64_t i, double m, double mNext) const {
    storeCells(c + order * i,
               hermiteForm(y[i], m, mNext, p.difference(y, i), p.template reciprocals<double>(i)));
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
