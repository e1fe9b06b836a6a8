#pragma once

// The tridiagonal system of the natural family for the slopes m_i at the breakpoints (C. de Boor, A Practical
// Guide to Splines, 1978, ch. IV). With steps h_i = x_(i+1) - x_i and divided differences d_i = (y_(i+1) -
// y_i) / h_i:
//
//   h_i m_(i-1) + 2 (h_(i-1) + h_i) m_i + h_(i-1) m_(i+1) = 3 (h_(i-1) d_i + h_i d_(i-1)),   i = 1 .. n - 2,
//
// and one row for each end. The matrix depends on the partition and the end conditions only. On a uniform
// partition the rows are divided by h.
//
// Periodic ends: m_(n-1) = m_0, and the cyclic system of order n - 1 is the tridiagonal one plus a rank-one
// change u v^T with v = e_0 + e_(n-2), solved by one more right-hand side u (J. Sherman, W. J. Morrison,
// 1950).

#include <cstdint>

#include "construct/coefficients.h"
#include "construct/partition.h"
#include "construct/two_ended_spline.h"
#include "construct/values.h"
#include "task/spline_kind.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Rows of the matrix are given by their three elements; row i of a run stands at index i - first.
struct MatrixRows {
  double* lower;
  double* diagonal;
  double* upper;
};

// Interior rows first .. last - 1.
template <bool uniform>
inline void fillMatrixRows(const Partition<uniform>& p, std::int64_t first, std::int64_t last,
                           const MatrixRows& rows) {
  const double* __restrict x = p.x;
  double* __restrict lower = rows.lower - first;
  double* __restrict diagonal = rows.diagonal - first;
  double* __restrict upper = rows.upper - first;
  for (std::int64_t i = first; i < last; ++i) {
    lower[i] = uniform ? 1.0 : x[i + 1] - x[i];
    diagonal[i] = uniform ? 4.0 : 2.0 * (x[i + 1] - x[i - 1]);
    upper[i] = uniform ? 1.0 : x[i] - x[i - 1];
  }
}

// An end row: its diagonal element, the one beside it, and its right-hand side for one function.
struct EndRow {
  double diagonal;
  double beside;
};

template <bool uniform>
inline EndRow leftRow(const Partition<uniform>& p, EndKind left) {
  switch (left) {
    case EndKind::periodic:
      if constexpr (uniform) return {3.0, 1.0};
      return {p.step(0) + 2.0 * p.step(p.n - 2), p.step(p.n - 2)};
    case EndKind::notAKnot:
      if constexpr (uniform) return {2.0, 1.0};
      return {p.step(1), p.x[2] - p.x[0]};
    case EndKind::slope:
      return {1.0, 0.0};
    default:
      return {2.0, 1.0};
  }
}

template <bool uniform>
inline EndRow rightRow(const Partition<uniform>& p, EndKind right) {
  switch (right) {
    case EndKind::notAKnot:
      if constexpr (uniform) return {2.0, 1.0};
      return {p.step(p.n - 3), p.x[p.n - 1] - p.x[p.n - 3]};
    case EndKind::periodic:
    case EndKind::slope:
      return {1.0, 0.0};
    default:
      return {2.0, 1.0};
  }
}

// Right-hand sides of at most rowsPerRun interior rows from `first` on; b[0] belongs to the first.
template <class Values, bool uniform>
inline void fillRhsRun(const Partition<uniform> p, const Values y, std::int64_t first, std::int64_t count,
                       double* __restrict b) {
  if constexpr (uniform) {
    const double factor = 3.0 * p.r;
    forLanes(0, count, [=]<class V>(std::int64_t k, V) {
      store(b + k, factor * (y.template lanes<V>(first + k + 1) - y.template lanes<V>(first + k - 1)));
    });
  } else {
    // Each divided difference serves two rows: d[k] is d_(first + k - 1).
    double differences[rowsPerRun + 1];
    double* const d = differences;
    forLanes(0, count + 1,
             [=]<class V>(std::int64_t k, V) { store(d + k, p.template differences<V>(y, first + k - 1)); });
    const double* __restrict x = p.x + first;
    for (std::int64_t k = 0; k < count; ++k)
      b[k] = 3.0 * ((x[k] - x[k - 1]) * d[k + 1] + (x[k + 1] - x[k]) * d[k]);
  }
}

// The not-a-knot side, from the end cell h, d, the one beside it g, e and a = h + g.
inline double notAKnotRhs(double h, double d, double g, double e, double a) {
  return (e * (h * h) + d * g * (h + 2.0 * a)) / a;
}

template <class Values, bool uniform>
inline double leftRhs(const Partition<uniform>& p, const Values& y, EndKind left, const double* bc) {
  const std::int64_t n = p.n;
  const auto d = [&](std::int64_t i) { return p.difference(y, i); };
  switch (left) {
    case EndKind::periodic:
      if constexpr (uniform) return 3.0 * p.r * (y[1] - y[n - 2]);
      return 3.0 * (d(0) * p.step(n - 2) + d(n - 2) * p.step(0));
    case EndKind::notAKnot:
      if constexpr (uniform) return 0.5 * p.r * (y[2] - y[0]);
      return notAKnotRhs(p.step(0), d(0), p.step(1), d(1), p.x[2] - p.x[0]);
    case EndKind::slope:
      return bc[0];
    case EndKind::curvature:
      return 3.0 * d(0) - 0.5 * p.step(0) * bc[0];
    default:
      return 3.0 * d(0);
  }
}

template <class Values, bool uniform>
inline double rightRhs(const Partition<uniform>& p, const Values& y, EndKind right, const double* bc) {
  const std::int64_t n = p.n;
  const auto d = [&](std::int64_t i) { return p.difference(y, i); };
  switch (right) {
    case EndKind::periodic:
      return 0.0;
    case EndKind::notAKnot:
      if constexpr (uniform) return 0.5 * p.r * (y[n - 1] - y[n - 3]);
      return notAKnotRhs(p.step(n - 2), d(n - 2), p.step(n - 3), d(n - 3), p.x[n - 1] - p.x[n - 3]);
    case EndKind::slope:
      return bc[1];
    case EndKind::curvature:
      return 3.0 * d(n - 2) + 0.5 * p.step(n - 2) * bc[1];
    default:
      return 3.0 * d(n - 2);
  }
}

// The column u of the rank-one change.
template <bool uniform>
inline void fillCorrection(const Partition<uniform>& p, double* u) {
  const std::int64_t n = p.n;
  for (std::int64_t i = 0; i < n; ++i)
    u[i] = 0.0;
  u[0] = uniform ? 1.0 : p.step(0);
  u[n - 2] = uniform ? 1.0 : p.step(n - 3);
}

// m := m - z (v^T m) / (1 + v^T z), z being the solution for u.
inline void correctPeriodic(std::int64_t n, const double* __restrict z, double* __restrict m) {
  const double g = 1.0 / (z[n - 2] + 1.0 + z[0]);
  const double w = (m[n - 2] + m[0]) * g;
  for (std::int64_t i = 0; i < n - 1; ++i)
    m[i] -= z[i] * w;
  m[n - 1] = m[0];
}

// Coefficients of the cells from .. to - 1 by the slopes m, which may stand in the last n elements of the row
// c: cells are written in ascending order and end where the slopes that are still needed begin.
template <class Values, bool uniform>
[[gnu::noinline]] void fillCoefficients(Partition<uniform> p, Values y, const double* m, double* c,
                                        std::int64_t from, std::int64_t to) {
  forLanes(from, to, [=]<class V>(std::int64_t i, V) {
    const V r = p.template reciprocals<V>(i);
    const V left = y.template lanes<V>(i);
    const V d = (y.template lanes<V>(i + 1) - left) * r;
    storeCells(c + 4 * i, hermiteForm(left, load<V>(m + i), load<V>(m + i + 1), d, r));
  });
}

// The system of one function, for TwoEndedSpline.
template <class Values, bool uniform>
struct NaturalSource {
  std::int64_t n;
  Partition<uniform> p;
  Values y;
  EndPair ends;
  const double* bc;
  double* c;

  NaturalSource(const DfTask& task, const Partition<uniform>& partition, EndPair pair)
      : n(task.nx), p(partition), y(task, 0), ends(pair), bc(task.bc), c(task.coeffRows[0]) {}

  [[gnu::noinline]] void fillRows(std::int64_t first, std::int64_t count, RowRun& run) const {
    const std::int64_t from = first > 0 ? first : 1;
    const std::int64_t to = smaller(first + count, n - 1);
    const std::int64_t skip = from - first;
    fillMatrixRows(p, from, to, {run.lower + skip, run.diagonal + skip, run.upper + skip});
    for (std::int64_t i = from; i < to; i += rowsPerRun)
      fillRhsRun(p, y, i, smaller(to - i, rowsPerRun), run.rhs + (i - first));
    if (first == 0) {
      const EndRow row = leftRow(p, ends.left);
      run.diagonal[0] = row.diagonal;
      run.upper[0] = row.beside;
      run.rhs[0] = leftRhs(p, y, ends.left, bc);
    }
    if (first + count == n) {
      const EndRow row = rightRow(p, ends.right);
      run.diagonal[count - 1] = row.diagonal;
      run.lower[count - 1] = row.beside;
      run.rhs[count - 1] = rightRhs(p, y, ends.right, bc);
    }
  }

  void fillCells(const double* m, std::int64_t from, std::int64_t to) const {
    fillCoefficients(p, y, m, c, from, to);
  }

  void prefetchData(std::int64_t i) const {
    y.prefetch(i);
    if constexpr (!uniform) __builtin_prefetch(p.x + i);
  }

  const double* cellAddress(std::int64_t i) const { return c + 4 * i; }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
