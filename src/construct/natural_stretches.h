#pragma once

// The natural family's system of one long function, in one pass over its data: stretches of neighbouring rows are
// solved side by side in lanes, each from both of its ends towards its middle.
//
// An elimination needs what the rows before its first have taken. It starts some rows earlier with nothing taken, as
// if the slope before those were zero. With steps h > 0 every row is diagonally dominant by a factor of two, and the
// share of that slope in what the last of these rows passes on is the product of (element towards it) / pivot over them,
// which falls by about 0.27 a row on equal steps and by at least 2/3 on any. The product is kept, and once the slopes
// are known each share is compared with what it was left out of: a system where any would show in the last bit must be
// solved in one piece.

#include <cstdint>

#include "construct/coefficients.h"
#include "construct/natural_system.h"
#include "construct/partition.h"
#include "vector/level.h"
#include "vector/simd.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The row of an end, eliminated: m = t - g m_next.
struct EndSlope {
  double g;
  double t;
};

// One elimination per lane, towards higher rows (`direction` 1) or lower ones (-1). Seen in that direction a row with
// the steps `behind` and `ahead` of it, whose divided differences are e and d, is
//
//   ahead m_before + 2 (behind + ahead) m + behind m_next = 3 (behind d + ahead e),
//
// and leaves m = t - g m_next.
template <bool uniform, int direction>
struct Elimination {
  Partition<uniform> p;
  const double* values;
  std::int64_t start[laneCount] = {};  // row 0 of each lane

  Lanes g = {};
  Lanes t = {};
  Lanes share = broadcast<Lanes>(1.0);
  // The next row's breakpoint and value and those before it, and the step and the divided difference between them.
  Lanes x = {};
  Lanes xBefore = {};
  Lanes y = {};
  Lanes yBefore = {};
  Lanes behind = {};
  Lanes e = {};

  Elimination(const Partition<uniform>& partition, const RowValues& function)
      : p(partition), values(function.y) {}

  // Makes row i the next.
  void enter(std::int64_t i) {
    y = pick(values + i, start);
    yBefore = pick(values + (i - direction), start);
    if constexpr (!uniform) {
      x = pick(p.x + i, start);
      xBefore = pick(p.x + (i - direction), start);
      behind = direction * (x - xBefore);
      e = direction * (y - yBefore) * (1.0 / behind);
    }
  }

  // Takes row i.
  void take(std::int64_t i) {
    const Lanes yNext = pick(values + (i + direction), start);
    if constexpr (uniform) {
      const Lanes r = 1.0 / (4.0 - g);
      t = ((3.0 * p.r) * (direction * (yNext - yBefore)) - t) * r;
      g = r;
      share *= r;
    } else {
      const Lanes xNext = pick(p.x + (i + direction), start);
      const Lanes ahead = direction * (xNext - x);
      const Lanes d = direction * (yNext - y) * (1.0 / ahead);
      const Lanes r = 1.0 / subtractProduct(direction * 2.0 * (xNext - xBefore), ahead, g);
      t = subtractProduct(3.0 * (behind * d + ahead * e), ahead, t) * r;
      g = behind * r;
      share *= ahead * r;
      xBefore = x;
      x = xNext;
      behind = ahead;
      e = d;
    }
    yBefore = y;
    y = yNext;
  }
};

template <bool uniform>
class NaturalStretches {
 public:
  // Doubles of scratch for n breakpoints; the whole system takes 2 n of them.
  static constexpr std::int64_t workLength(std::int64_t n) { return 2 * (n + 2 * laneCount); }

  // `work` holds workLength(n) doubles.
  NaturalStretches(const Partition<uniform>& p, const RowValues& y, double* c, double* work)
      : p_(p), y_(y), c_(c), g_(work), t_(work + workLength(p.n) / 2) {}

  // Whether there are enough rows, and every pivot is sure to be positive: steps above zero whose products neither
  // overflow nor vanish.
  static bool fits(const Partition<uniform>& p) {
    if (p.n < leastBreakpoints) return false;
    if constexpr (uniform) return true;
    Lanes least = broadcast<Lanes>(1.0);
    Lanes greatest = least;
    Lanes sum = {};  // not a number once one of its terms is none, which the comparisons lose
    std::int64_t i = 0;
    for (; i + laneCount < p.n; i += laneCount) {
      const Lanes h = p.template distances<Lanes>(i, i + 1);
      least = -greaterOf(-h, -least);
      greatest = greaterOf(h, greatest);
      sum += h;
    }
    bool fit = true;
    for (int lane = 0; lane < laneCount; ++lane)
      fit &= least[lane] > leastStep && greatest[lane] < greatestStep && sum[lane] == sum[lane];
    for (; i + 1 < p.n; ++i)
      fit &= p.step(i) > leastStep && p.step(i) < greatestStep;
    return fit;
  }

  // The coefficients of all cells. False if a share would show: they are then to be made again.
  bool construct(EndSlope left, EndSlope right) {
    const std::int64_t rows = p_.n - 2;
    const std::int64_t most = 2 * laneCount * longest;
    const std::int64_t stretches = (rows + most - 1) / most * laneCount;
    half_ = (rows + 2 * stretches - 1) / (2 * stretches);
    Share passed = {0.0, 0.0, 1};
    for (std::int64_t stretch = 0; stretch < stretches; stretch += laneCount) {
      // Neighbours overlap by a row or two where lengths do not come out even; either may give their cells.
      for (int lane = 0; lane < laneCount; ++lane)
        start_[lane] = 1 + (rows - 2 * half_) * (stretch + lane) / (stretches - 1);
      const EndSlope* const first = stretch == 0 ? &left : nullptr;
      const EndSlope* const last = stretch + laneCount == stretches ? &right : nullptr;
      Elimination<uniform, 1> up(p_, y_);
      Elimination<uniform, -1> down(p_, y_);
      runIn(up, 0, first);
      runIn(down, 2 * half_ - 1, last);
      const Lanes upTaken = up.t;
      const Lanes upShare = up.share;
      const Lanes downTaken = down.t;
      const Lanes downShare = down.share;
      eliminate(up, down);
      substitute(first, last);
      bool unseen = isUnseen(passed);
      for (int lane = 0; lane < laneCount; ++lane) {
        if (lane > 0 || first == nullptr)
          unseen &= isUnseen({upShare[lane], upTaken[lane], start_[lane] - rowsOutside - 1});
        passed = {downShare[lane], downTaken[lane], start_[lane] + 2 * half_ + rowsOutside};
        if (lane + 1 < laneCount) unseen &= isUnseen(passed);
      }
      if (!unseen) return false;
    }
    return true;
  }

 private:
  // Rows that an elimination starts early; the longest elimination, whose results stay in the nearest caches; and
  // breakpoints from which on stretches pay.
  static constexpr std::int64_t rowsOutside = 48;
  static constexpr std::int64_t longest = 256;
  static constexpr std::int64_t leastBreakpoints = laneCount == 2 ? 400 : 64 * laneCount;
  static constexpr double leastStep = 1e-140;
  static constexpr double greatestStep = 1e140;

  // The part of the slope at `row` that is missing in `taken`.
  struct Share {
    double part;
    double taken;
    std::int64_t row;
  };

  bool isUnseen(const Share& share) const {
    return share.part * magnitude(c_[4 * share.row + 1]) <= 0x1p-54 * magnitude(share.taken);
  }

  // Brings an elimination to row `first` of every stretch. At an end the outer lane takes the row of the end, and
  // before it runs along with its neighbour.
  template <int direction>
  void runIn(Elimination<uniform, direction>& e, std::int64_t first, const EndSlope* end) const {
    constexpr int outer = direction == 1 ? 0 : laneCount - 1;
    for (int lane = 0; lane < laneCount; ++lane)
      e.start[lane] = start_[lane];
    if (end != nullptr) e.start[outer] = start_[outer + direction];
    e.enter(first - direction * rowsOutside);
    for (std::int64_t k = rowsOutside; k > 0; --k)
      e.take(first - direction * k);
    if (end == nullptr) return;
    e.start[outer] = start_[outer];
    e.enter(first);
    e.g[outer] = end->g;
    e.t[outer] = end->t;
  }

  // What the eliminations leave of a pair of rows stands side by side.
  double* at(double* work, std::int64_t k, int direction) const {
    return work + laneCount * (2 * k + (direction == 1 ? 0 : 1));
  }

  template <int direction>
  void take(Elimination<uniform, direction>& e, std::int64_t row, std::int64_t k) {
    e.take(row);
    store(at(g_, k, direction), e.g);
    store(at(t_, k, direction), e.t);
  }

  void eliminate(Elimination<uniform, 1> up, Elimination<uniform, -1> down) {
    for (std::int64_t k = 0; k < half_; ++k) {
      take(up, k, k);
      take(down, 2 * half_ - 1 - k, k);
    }
  }

  // A row of every stretch, its slopes known.
  struct Rows {
    Lanes m;
    Lanes y;
    Lanes x;
  };

  Rows rowsAt(std::int64_t i, Lanes m) const {
    if constexpr (uniform) return {m, pick(y_.y + i, start_), Lanes{}};
    return {m, pick(y_.y + i, start_), pick(p_.x + i, start_)};
  }

  // The row that follows one whose slope is known.
  template <int direction>
  Rows rowsBehind(const Rows& known, std::int64_t k) const {
    return rowsAt(
        direction == 1 ? k : 2 * half_ - 1 - k,
        subtractProduct(load<Lanes>(at(t_, k, direction)), load<Lanes>(at(g_, k, direction)), known.m));
  }

  // Cells i of all stretches, by the rows at both of their ends.
  void storeCellsAt(std::int64_t i, const Rows& left, const Rows& right) {
    const Lanes r = uniform ? broadcast<Lanes>(p_.r) : 1.0 / (right.x - left.x);
    const Cubic<Lanes> cells = hermiteForm(left.y, left.m, right.m, (right.y - left.y) * r, r);
    storeCubicsAt([&](int lane) { return c_ + 4 * (i + start_[lane]); }, cells.c0, cells.c1, cells.c2,
                  cells.c3);
  }

  void storeCell(std::int64_t i, double m, double mNext) {
    storeCells(c_ + 4 * i,
               hermiteForm(y_[i], m, mNext, p_.difference(y_, i), p_.template reciprocals<double>(i)));
  }

  void substitute(const EndSlope* first, const EndSlope* last) {
    // The middle rows: m = t - g m', m' = t' - g' m.
    std::int64_t k = half_ - 1;
    const Lanes g = load<Lanes>(at(g_, k, 1));
    const Lanes gAcross = load<Lanes>(at(g_, k, -1));
    const Lanes across = load<Lanes>(at(t_, k, -1));
    Rows low = rowsAt(k, (load<Lanes>(at(t_, k, 1)) - g * across) / (1.0 - g * gAcross));
    Rows high = rowsAt(k + 1, subtractProduct(across, gAcross, low.m));
    storeCellsAt(k, low, high);
    while (--k >= 0) {
      const Rows lower = rowsBehind<1>(low, k);
      storeCellsAt(k, lower, low);
      low = lower;
      const Rows higher = rowsBehind<-1>(high, k);
      storeCellsAt(2 * half_ - 2 - k, high, higher);
      high = higher;
    }
    if (first != nullptr) {
      end_ = 0;
      endSlope_ = first->t - first->g * low.m[0];
    }
    // The cells between stretches.
    for (int lane = 0; lane < laneCount; ++lane) {
      const std::int64_t i = start_[lane] - 1;
      storeCell(i, i == end_ ? endSlope_ : c_[4 * i + 1], low.m[lane]);
      end_ = i + 2 * half_;
      endSlope_ = high.m[lane];
    }
    if (last != nullptr) storeCell(end_, endSlope_, last->t - last->g * endSlope_);
  }

  Partition<uniform> p_;
  RowValues y_;
  double* c_;
  double* g_;
  double* t_;
  std::int64_t half_ = 0;               // rows of an elimination
  std::int64_t start_[laneCount] = {};  // the first row of each stretch
  std::int64_t end_ = 0;                // the last row of the stretch before, and its slope
  double endSlope_ = 0.0;
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
