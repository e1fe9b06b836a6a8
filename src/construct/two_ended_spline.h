#pragma once

// A spline of a single function whose slopes solve a tridiagonal system, in two passes over its data.
// Building the system, then solving it, then forming the coefficients would send every row through memory six
// times; here the rows are made a run at a time where the elimination needs them, and the coefficients where
// the slopes come out.
//
// Elimination goes from both ends towards row c = n / 2. With l, d, u the elements of a row, b its right-hand
// side, and the pivots p:
//
//   top      p_i = d_i - l_i u_(i-1) / p_(i-1)     g_i = u_i / p_i    t_i = (b_i - l_i t_(i-1)) / p_i
//   bottom   p_k = d_k - u_k l_(k+1) / p_(k+1)     g_k = l_k / p_k    t_k = (b_k - u_k t_(k+1)) / p_k
//
// and from row c outwards m_i = t_i - g_i m_(i+1) above it, m_k = t_k - g_k m_(k-1) below it. Both directions
// run side by side, since each is one chain of dependent operations.

#include <cstdint>

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Rows that a source makes in one go, and room for them and the row behind them.
constexpr std::int64_t rowsPerRun = 256;

struct RowRun {
  double lower[rowsPerRun + 1];
  double diagonal[rowsPerRun + 1];
  double upper[rowsPerRun + 1];
  double rhs[rowsPerRun + 1];
};

// A source is made for one function and has
//   n                                the number of breakpoints
//   fillRows(first, count, run)      rows first .. first + count - 1, end rows among them
//   fillCells(m, from, to)           the coefficients of the cells from .. to - 1 by the slopes m
//   prefetchData(i), cellAddress(i)  where a row's data are, and where a cell goes
template <class Source>
class TwoEndedSpline {
 public:
  // `work` holds 2 n doubles.
  TwoEndedSpline(const Source& source, double* work) : source_(source), g_(work), t_(work + source.n) {}

  // False if the system is singular; the coefficients are then untouched, or with `evenIfSingular` infinities
  // or not-a-numbers.
  bool construct(bool evenIfSingular) {
    const bool solved = eliminate();
    if (solved || evenIfSingular) substitute();
    return solved;
  }

 private:
  static bool unusable(double pivot) { return pivot == 0.0 || pivot != pivot; }

  static constexpr std::int64_t lineOfDoubles = 8;

  // Fetches the data and the results of elimination of a row, and with it of its neighbours in the cache
  // line.
  void prefetchRow(std::int64_t i) const {
    source_.prefetchData(i);
    __builtin_prefetch(g_ + i, 1);
    __builtin_prefetch(t_ + i, 1);
  }

  // Fetches two cells from i on, and the rows about them at every fourth call of a loop over j = 1, 3, 5 ...
  void prefetchCells(std::int64_t i, std::int64_t j) const {
    __builtin_prefetch(source_.cellAddress(i), 1);
    if (j % lineOfDoubles == 1) prefetchRow(i);
  }

  // What elimination has taken so far from the next row of one end.
  struct Taken {
    double pivot = 0.0;
    double rhs = 0.0;
    bool failed = false;
  };

  // Eliminates a row. `across` is its element towards row c, `back` the element by which the next row sees
  // it.
  static void step(Taken& taken, double diagonal, double rhs, double across, double back, double* g,
                   double* t) {
    const double p = diagonal - taken.pivot;
    taken.failed |= unusable(p);
    const double r = 1.0 / p;
    *g = across * r;
    *t = (rhs - taken.rhs) * r;
    taken.pivot = across * back * r;
    taken.rhs = back * *t;
  }

  // Rows i .. i + count - 1 from the top and k .. k - count + 1 from the bottom, side by side; the runs begin with the rows
  // `first` of above and `last` of below, and hold those that the next step sees.
  void eliminateRun(const RowRun& above, std::int64_t first, const RowRun& below, std::int64_t last,
                    std::int64_t i, std::int64_t k, std::int64_t count, std::int64_t ahead, Taken& top,
                    Taken& bottom) {
    for (std::int64_t j = 0; j < count; ++j) {
      if (j % lineOfDoubles == 0 && ahead >= 0) {
        prefetchRow(i + j + ahead);
        prefetchRow(k - j - ahead);
      }
      const std::int64_t a = i + j - first;
      step(top, above.diagonal[a], above.rhs[a], above.upper[a], above.lower[a + 1], g_ + i + j, t_ + i + j);
      const std::int64_t b = k - j - last;
      step(bottom, below.diagonal[b], below.rhs[b], below.lower[b], below.upper[b - 1], g_ + k - j,
           t_ + k - j);
    }
  }

  bool eliminate() {
    const std::int64_t n = source_.n;
    const std::int64_t c = n / 2;
    Taken top;
    Taken bottom;
    RowRun above;
    std::int64_t i = 0;
    std::int64_t k = n - 1;
    // Every row that is read was asked for just before, which the analyzer does not see through the runs.
    // NOLINTBEGIN(clang-analyzer-core.CallAndMessage,clang-analyzer-core.UndefinedBinaryOperatorResult)
    const bool atOnce = n <= rowsPerRun;
    source_.fillRows(0, atOnce ? n : 2, above);
    if (n % 2 == 0) {
      step(top, above.diagonal[0], above.rhs[0], above.upper[0], above.lower[1], g_, t_);
      i = 1;
    }
    if (atOnce) {
      eliminateRun(above, 0, above, 0, i, k, c - i, -1, top, bottom);
      return finish(above, c, top, bottom);
    }
    RowRun below;
    while (i < c) {
      const std::int64_t count = c - i < rowsPerRun ? c - i : rowsPerRun;
      source_.fillRows(i, count + 1, above);
      source_.fillRows(k - count, count + 1, below);
      // The chain leaves time to fetch the data of the next run, if there is a whole one.
      const std::int64_t ahead = i + 2 * rowsPerRun <= c ? rowsPerRun : 0;
      eliminateRun(above, i, below, k - count, i, k, count, ahead, top, bottom);
      i += count;
      k -= count;
    }
    source_.fillRows(c, 1, above);
    return finish(above, 0, top, bottom);
    // NOLINTEND(clang-analyzer-core.CallAndMessage,clang-analyzer-core.UndefinedBinaryOperatorResult)
  }

  // Row c, which stands at place `at` of the run.
  bool finish(const RowRun& run, std::int64_t at, const Taken& top, const Taken& bottom) {
    const std::int64_t c = source_.n / 2;
    const double p = run.diagonal[at] - top.pivot - bottom.pivot;
    t_[c] = (run.rhs[at] - top.rhs - bottom.rhs) / p;
    return !top.failed && !bottom.failed && !unusable(p);
  }

  // Slopes m, in place of t, from row c outwards, and the coefficients of the cells behind them.
  void substitute() {
    const std::int64_t n = source_.n;
    const std::int64_t c = n / 2;
    std::int64_t i = c;
    std::int64_t k = c;
    while (i > 0 || k < n - 1) {
      const std::int64_t top = i < rowsPerRun ? i : rowsPerRun;
      const std::int64_t bottom = n - 1 - k < rowsPerRun ? n - 1 - k : rowsPerRun;
      const std::int64_t both = top < bottom ? top : bottom;
      double up = t_[i];
      double down = t_[k];
      std::int64_t j = 1;
      // Two rows at a time: m_(i-2) = (t_(i-2) - g_(i-2) t_(i-1)) + (g_(i-2) g_(i-1)) m_i.
      const std::int64_t aheadTop = i >= 2 * rowsPerRun ? rowsPerRun : 0;
      const std::int64_t aheadBottom = n - 1 - k >= 2 * rowsPerRun ? rowsPerRun : 0;
      for (; j + 1 <= both; j += 2) {
        if (n > rowsPerRun) {
          prefetchCells(i - j - aheadTop - 1, j);
          prefetchCells(k + j + aheadBottom - 1, j);
        }
        twoRows(up, g_ + i - j, g_ + i - j - 1, t_ + i - j, t_ + i - j - 1);
        twoRows(down, g_ + k + j, g_ + k + j + 1, t_ + k + j, t_ + k + j + 1);
      }
      for (std::int64_t a = j; a <= top; ++a)
        t_[i - a] -= g_[i - a] * t_[i - a + 1];
      for (std::int64_t a = j; a <= bottom; ++a)
        t_[k + a] -= g_[k + a] * t_[k + a - 1];
      if (top + bottom == n - 1) {
        source_.fillCells(t_, 0, n - 1);
        return;
      }
      source_.fillCells(t_, i - top, i);
      source_.fillCells(t_, k, k + bottom);
      i -= top;
      k += bottom;
    }
  }

  static void twoRows(double& m, const double* g, const double* gNext, double* t, double* tNext) {
    const double first = *t;
    *t = first - *g * m;
    m = (*tNext - *gNext * first) + (*gNext * *g) * m;
    *tNext = m;
  }

  Source source_;
  double* g_;
  double* t_;
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
