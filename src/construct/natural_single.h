#pragma once

// The natural spline of a single function in two passes over its data. Building the system, then solving it,
// then forming the coefficients would send every row through memory six times; here the rows are made a run
// at a time where the elimination needs them, and the coefficients where the slopes come out.
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

#include "construct/natural_system.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Room for one run of rows and the row behind it.
struct RowRun {
  double lower[rhsRun + 1];
  double diagonal[rhsRun + 1];
  double upper[rhsRun + 1];
  double rhs[rhsRun + 1];
};

template <class Values, bool uniform, EndSlot slot>
class SingleSpline {
 public:
  // `work` holds 2 n doubles.
  SingleSpline(const DfTask& task, const Partition<uniform>& p, double* work)
      : p_(p), y_(task, 0), bc_(task.bc), g_(work), t_(work + p.n), c_(task.coeffRows[0]) {}

  std::int32_t construct() {
    if (!eliminate()) return DF_ERROR_SOLVER;
    substitute();
    return DF_STATUS_OK;
  }

 private:
  static bool unusable(double pivot) { return pivot == 0.0 || pivot != pivot; }

  // Rows first .. first + count - 1, end rows among them.
  void fillRun(std::int64_t first, std::int64_t count, RowRun& run) const {
    const std::int64_t n = p_.n;
    const std::int64_t from = first > 0 ? first : 1;
    const std::int64_t to = first + count < n ? first + count : n - 1;
    const std::int64_t skip = from - first;
    fillMatrixRows(p_, from, to, {run.lower + skip, run.diagonal + skip, run.upper + skip});
    for (std::int64_t i = from; i < to; i += rhsRun)
      fillRhsRun(p_, y_, i, to - i < rhsRun ? to - i : rhsRun, run.rhs + (i - first));
    if (first == 0) {
      const EndRow row = leftRow<slot>(p_);
      run.diagonal[0] = row.diagonal;
      run.upper[0] = row.beside;
      run.rhs[0] = leftRhs<slot>(p_, y_, bc_);
    }
    if (first + count == n) {
      const EndRow row = rightRow<slot>(p_);
      run.diagonal[count - 1] = row.diagonal;
      run.lower[count - 1] = row.beside;
      run.rhs[count - 1] = rightRhs<slot>(p_, y_, bc_);
    }
  }

  static constexpr std::int64_t lineOfDoubles = 8;

  // Fetches the data and the results of elimination of a row, and with it of its neighbours in the cache
  // line.
  void prefetchRow(std::int64_t i) const {
    y_.prefetch(i);
    if constexpr (!uniform) __builtin_prefetch(p_.x + i);
    __builtin_prefetch(g_ + i, 1);
    __builtin_prefetch(t_ + i, 1);
  }

  // Fetches two cells from i on, and the rows about them at every fourth call of a loop over j = 1, 3, 5 ...
  void prefetchCells(std::int64_t i, std::int64_t j) const {
    __builtin_prefetch(c_ + 4 * i, 1);
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

  bool eliminate() {
    const std::int64_t n = p_.n;
    const std::int64_t c = n / 2;
    Taken top;
    Taken bottom;
    RowRun above;
    RowRun below;
    std::int64_t i = 0;
    std::int64_t k = n - 1;
    if (n % 2 == 0) {
      fillRun(0, 2, above);
      step(top, above.diagonal[0], above.rhs[0], above.upper[0], above.lower[1], g_, t_);
      i = 1;
    }
    while (i < c) {
      const std::int64_t count = c - i < rhsRun ? c - i : rhsRun;
      fillRun(i, count + 1, above);
      fillRun(k - count, count + 1, below);
      // The chain leaves time to fetch the data of the next run, if there is a whole one.
      const std::int64_t ahead = i + 2 * rhsRun <= c ? rhsRun : 0;
      for (std::int64_t j = 0; j < count; ++j) {
        if (j % lineOfDoubles == 0) {
          prefetchRow(i + j + ahead);
          prefetchRow(k - j - ahead);
        }
        step(top, above.diagonal[j], above.rhs[j], above.upper[j], above.lower[j + 1], g_ + i + j,
             t_ + i + j);
        const std::int64_t b = count - j;
        step(bottom, below.diagonal[b], below.rhs[b], below.lower[b], below.upper[b - 1], g_ + k - j,
             t_ + k - j);
      }
      if (top.failed || bottom.failed) return false;
      i += count;
      k -= count;
    }
    fillRun(c, 1, above);
    const double p = above.diagonal[0] - top.pivot - bottom.pivot;
    t_[c] = (above.rhs[0] - top.rhs - bottom.rhs) / p;
    return !top.failed && !unusable(p);
  }

  // Slopes m, in place of t, from row c outwards, and the coefficients of the cells behind them.
  void substitute() {
    const std::int64_t n = p_.n;
    const std::int64_t c = n / 2;
    std::int64_t i = c;
    std::int64_t k = c;
    while (i > 0 || k < n - 1) {
      const std::int64_t top = i < rhsRun ? i : rhsRun;
      const std::int64_t bottom = n - 1 - k < rhsRun ? n - 1 - k : rhsRun;
      const std::int64_t both = top < bottom ? top : bottom;
      double up = t_[i];
      double down = t_[k];
      std::int64_t j = 1;
      // Two rows at a time: m_(i-2) = (t_(i-2) - g_(i-2) t_(i-1)) + (g_(i-2) g_(i-1)) m_i.
      const std::int64_t aheadTop = i >= 2 * rhsRun ? rhsRun : 0;
      const std::int64_t aheadBottom = n - 1 - k >= 2 * rhsRun ? rhsRun : 0;
      for (; j + 1 <= both; j += 2) {
        prefetchCells(i - j - aheadTop - 1, j);
        prefetchCells(k + j + aheadBottom - 1, j);
        twoRows(up, g_ + i - j, g_ + i - j - 1, t_ + i - j, t_ + i - j - 1);
        twoRows(down, g_ + k + j, g_ + k + j + 1, t_ + k + j, t_ + k + j + 1);
      }
      for (std::int64_t a = j; a <= top; ++a)
        t_[i - a] -= g_[i - a] * t_[i - a + 1];
      for (std::int64_t a = j; a <= bottom; ++a)
        t_[k + a] -= g_[k + a] * t_[k + a - 1];
      fillCoefficients(p_, y_, t_, c_, i - top, i);
      fillCoefficients(p_, y_, t_, c_, k, k + bottom);
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

  const Partition<uniform>& p_;
  Values y_;
  const double* bc_;
  double* g_;
  double* t_;
  double* c_;
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
