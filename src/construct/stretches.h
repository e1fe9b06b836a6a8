#pragma once

// The system of one long function in one pass over its data: stretches of neighbouring rows are solved side by side in
// lanes, each from both of its ends towards its middle.
//
// An elimination needs what the rows before its first have taken. It starts some rows earlier with nothing taken, as
// if the slope before those were zero. The share of that slope in what the last of these rows passes on is the product
// of (element towards it) / pivot over them; where rows are diagonally dominant by a factor of two, as those of the
// natural family are for steps above zero, it falls by about 0.27 a row on equal steps and by at least 2/3 on any. The
// product is kept, and once the slopes are known each share is compared with what it was left out of: a system where
// any would show in the last bit must be solved in one piece.

#include <cstdint>

#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The row of an end, eliminated: m = t - g m_next.
struct EndSlope {
  double g;
  double t;
};

// One elimination per lane: its last row says m = t - g m_next.
struct Eliminations {
  std::int64_t start[laneCount] = {};  // row 0 of each
  Lanes g = {};
  Lanes t = {};
  Lanes share = broadcast<Lanes>(1.0);

  // Takes a row with elements towards the row before it and the next one.
  void take(Lanes before, Lanes diagonal, Lanes next, Lanes rhs) {
    const Lanes r = 1.0 / subtractProduct(diagonal, before, g);
    t = subtractProduct(rhs, before, t) * r;
    g = next * r;
    share *= before * r;
  }
};

// What a row of all lanes adds to cells: its slopes, values and breakpoints.
struct SolvedRows {
  Lanes m;
  Lanes y;
  Lanes x;
};

// Breakpoints from which on stretches pay.
constexpr std::int64_t leastForStretches = laneCount == 2 ? 400 : 64 * laneCount;

// Doubles of scratch for n breakpoints; in one piece the system takes 2 n of them.
constexpr std::int64_t stretchesScratch(std::int64_t n) {
  return 2 * n + std::int64_t{4} * laneCount;
}

// A system has
//   n                               the number of breakpoints
//   order, c                        doubles of a cell, the second of which is its slope, and the cells
//   values(), points(start, i)      the function, and breakpoint i of all lanes
//   Chain<direction>                Eliminations towards higher rows (1) or lower ones (-1), with
//     enter(i), take(i)             to make row i of all lanes the next, and to take it
//   storeCellsAt(start, i, a, b)    cells i of all lanes between rows a and b
//   storeCell(i, m, mNext)          one cell, those before it being stored
template <class System>
class Stretches {
 public:
  // `work` holds stretchesScratch(n) doubles.
  Stretches(const System& system, double* work)
      : system_(system), g_(work), t_(work + stretchesScratch(system.n) / 2) {}

  // The coefficients of all cells by the rows of both ends. False if a share would show: they are then to be made
  // again.
  bool construct(EndSlope left, EndSlope right) {
    const std::int64_t rows = system_.n - 2;
    const std::int64_t most = 2 * longest * laneCount;
    const std::int64_t stretches = (rows + most - 1) / most * laneCount;
    half_ = (rows + 2 * stretches - 1) / (2 * stretches);
    Share passed = {0.0, 0.0, 1};
    for (std::int64_t stretch = 0; stretch < stretches; stretch += laneCount) {
      // Neighbours overlap by a row or two where lengths do not come out even; either may give their cells.
      for (int lane = 0; lane < laneCount; ++lane)
        start_[lane] = 1 + (rows - 2 * half_) * (stretch + lane) / (stretches - 1);
      const EndSlope* const first = stretch == 0 ? &left : nullptr;
      const EndSlope* const last = stretch + laneCount == stretches ? &right : nullptr;
      Up up(system_);
      Down down(system_);
      runIn<1>(up, 0, first);
      runIn<-1>(down, 2 * half_ - 1, last);
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
  using Up = typename System::template Chain<1>;
  using Down = typename System::template Chain<-1>;

  // Rows that an elimination starts early, and the longest elimination: what it leaves stays in the nearest caches.
  static constexpr std::int64_t rowsOutside = 48;
  static constexpr std::int64_t longest = 256;

  // The part of the slope at `row` that is missing in `taken`.
  struct Share {
    double part;
    double taken;
    std::int64_t row;
  };

  SolvedRows rowsAt(std::int64_t i, Lanes m) const {
    return {m, pick(system_.values() + i, start_), system_.points(start_, i)};
  }

  double slope(std::int64_t i) const { return system_.c[System::order * i + 1]; }

  // The pivots have missed at most as great a part.
  bool isUnseen(const Share& share) const {
    return share.part <= 0x1p-54 &&
           share.part * magnitude(slope(share.row)) <= 0x1p-54 * magnitude(share.taken);
  }

  // Brings an elimination to row `first` of every stretch. At an end the outer lane takes the row of the end, and
  // before it runs along with its neighbour.
  template <int direction, class Chain>
  void runIn(Chain& e, std::int64_t first, const EndSlope* end) const {
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

  template <int direction, class Chain>
  void take(Chain& e, std::int64_t row, std::int64_t k) {
    e.take(row);
    store(at(g_, k, direction), e.g);
    store(at(t_, k, direction), e.t);
  }

  void eliminate(Up up, Down down) {
    for (std::int64_t k = 0; k < half_; ++k) {
      take<1>(up, k, k);
      take<-1>(down, 2 * half_ - 1 - k, k);
    }
  }

  // The slopes of the row that follows one whose slopes are known.
  template <int direction>
  Lanes slopesBehind(Lanes known, std::int64_t k) const {
    return subtractProduct(load<Lanes>(at(t_, k, direction)), load<Lanes>(at(g_, k, direction)), known);
  }

  void substitute(const EndSlope* first, const EndSlope* last) {
    // The middle rows: m = t - g m', m' = t' - g' m.
    std::int64_t k = half_ - 1;
    const Lanes g = load<Lanes>(at(g_, k, 1));
    const Lanes gAcross = load<Lanes>(at(g_, k, -1));
    const Lanes across = load<Lanes>(at(t_, k, -1));
    SolvedRows low = rowsAt(k, (load<Lanes>(at(t_, k, 1)) - g * across) / (1.0 - g * gAcross));
    SolvedRows high = rowsAt(k + 1, subtractProduct(across, gAcross, low.m));
    system_.storeCellsAt(start_, k, low, high);
    while (--k >= 0) {
      const SolvedRows lower = rowsAt(k, slopesBehind<1>(low.m, k));
      system_.storeCellsAt(start_, k, lower, low);
      low = lower;
      const std::int64_t up = 2 * half_ - 1 - k;
      const SolvedRows higher = rowsAt(up, slopesBehind<-1>(high.m, k));
      system_.storeCellsAt(start_, up - 1, high, higher);
      high = higher;
    }
    if (first != nullptr) {
      end_ = 0;
      endSlope_ = first->t - first->g * low.m[0];
    }
    // The cells between stretches.
    for (int lane = 0; lane < laneCount; ++lane) {
      const std::int64_t i = start_[lane] - 1;
      system_.storeCell(i, i == end_ ? endSlope_ : slope(i), low.m[lane]);
      end_ = i + 2 * half_;
      endSlope_ = high.m[lane];
    }
    if (last != nullptr) system_.storeCell(end_, endSlope_, last->t - last->g * endSlope_);
  }

  System system_;
  double* g_;
  double* t_;
  std::int64_t half_ = 0;               // rows of an elimination
  std::int64_t start_[laneCount] = {};  // the first row of each stretch
  std::int64_t end_ = 0;                // the last row of the stretch before, and its slope
  double endSlope_ = 0.0;
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
