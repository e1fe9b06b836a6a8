#include <cstdint>

#include "construct/coefficients.h"
#include "construct/partition.h"
#include "construct/scratch.h"
#include "construct/stretches.h"
#include "construct/tridiagonal_rows.h"
#include "construct/two_ended_spline.h"
#include "construct/values.h"
#include "task/spline_kind.h"
#include "vector/level.h"
#include "vector/smaller.h"

// The quadratic spline of Subbotin: pieces join with a continuous slope at knots t_k between the breakpoints
// (Y. N. Subbotin, 1967; S. B. Stechkin, Y. N. Subbotin, Splines in Numerical Mathematics, 1976). Piece k
// reaches from t_k to t_(k+1) about x_k; t_0 = x_0 and t_n = x_(n-1). With h_k = x_(k+1) - x_k, the distances
// a_k = t_(k+1) - x_k and b_k = x_k - t_k of a breakpoint to its knots and u_k = y_(k+1) - y_k, the slopes
// z_k at the breakpoints solve, for i = 1 .. n - 2,
//
//   P_i a_(i-1) z_(i-1) + (2 + P_i a_(i-1) + Q_i b_(i+1)) z_i + Q_i b_(i+1) z_(i+1)
//       = 2 (P_i u_(i-1) + Q_i u_i),
//
//   P_i = h_i / (x_(i+1) - x_(i-1)) / b_i,   Q_i = h_(i-1) / (x_(i+1) - x_(i-1)) / a_i,
//
// with one row for each end.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The knots t_0 .. t_n in the three forms that they are given in: all of them, the two ends of an equidistant run, or
// none, which means midpoints.
template <bool uniform>
struct Knots {
  Partition<uniform> p;
  const double* ic;
  bool run;
  double step;  // of the run

  explicit Knots(const DfTask& task)
      : p(task),
        ic(task.ic),
        run(ic != nullptr && (task.icType & DF_IC_KNOT_ENDS) != 0),
        step(run ? (ic[1] - ic[0]) / static_cast<double>(task.nx - 2) : 0.0) {}

  double operator[](std::int64_t k) const {
    if (k == 0) return p.point(0);
    if (k == p.n) return p.point(p.n - 1);
    if (ic == nullptr) return (p.point(k - 1) + p.point(k)) * 0.5;
    return run ? ic[0] + static_cast<double>(k - 1) * step : ic[k];
  }

  // The inner knot behind breakpoint i of every lane, at x, before the next one.
  Lanes behind(const std::int64_t* start, std::int64_t i, Lanes x, Lanes xNext) const {
    if (ic == nullptr) return (x + xNext) * 0.5;
    if (!run) return pick(ic + (i + 1), start);
    return ic[0] + positions(start, i) * step;
  }

  void prefetch(std::int64_t i) const {
    if (ic != nullptr && !run) __builtin_prefetch(ic + i);
  }

  // Given ends of a uniform partition may be off by rounding.
  static constexpr double endTolerance = 0x1p-40;

  // Whether given knots are where they belong. Comparisons refuse a NaN; the last interior knot is not
  // tested.
  bool inPlace() const {
    if (ic == nullptr) return true;
    const double first = p.point(0);
    const double last = p.point(p.n - 1);
    if (run) {
      if (!(first < ic[0]) || !(ic[1] < last)) return false;
    } else if constexpr (uniform) {
      if (!(magnitude(ic[0] - first) < endTolerance)) return false;
      if (!(magnitude(ic[p.n] - last) < endTolerance)) return false;
    } else {
      if (!(ic[0] == first) || !(ic[p.n] == last)) return false;
    }
    for (std::int64_t k = 0; k < p.n - 2; ++k) {
      const double knot = (*this)[k + 1];
      if (!(p.point(k) < knot) || !(knot < p.point(k + 1))) return false;
    }
    return true;
  }
};

// Interior rows: P_i and Q_i, which the right-hand sides need too, and the elements of the matrix.
struct WeightedRows {
  double* before;
  double* after;
  double* lower;
  double* diagonal;
  double* upper;
};

// Rows from .. to - 1, at most rowsPerRun + 1; row `from` stands at index 0.
template <bool uniform>
[[gnu::noinline]] void fillWeightedRows(const Knots<uniform> knots, std::int64_t from, std::int64_t to,
                                        const WeightedRows rows) {
  const Partition<uniform> p = knots.p;
  double x[rowsPerRun + 3];
  double t[rowsPerRun + 2];
  for (std::int64_t i = from - 1; i <= to; ++i)
    x[i - from + 1] = p.point(i);
  for (std::int64_t i = from; i <= to; ++i)
    t[i - from] = knots[i];
  forLanes(0, to - from, [&]<class V>(std::int64_t j, V) {
    const std::int64_t i = from + j;
    const V w = p.template distances<V>(i - 1, i + 1);
    const V here = load<V>(x + j + 1);
    const V knot = load<V>(t + j);
    const V knotNext = load<V>(t + j + 1);
    const V before = p.template distances<V>(i, i + 1) / w / (here - knot);
    const V after = p.template distances<V>(i - 1, i) / w / (knotNext - here);
    const V lower = (knot - load<V>(x + j)) * before;
    const V upper = (load<V>(x + j + 2) - knotNext) * after;
    store(rows.before + j, before);
    store(rows.after + j, after);
    store(rows.lower + j, lower);
    store(rows.diagonal + j, 2.0 + lower + upper);
    store(rows.upper + j, upper);
  });
}

// A row at an end: where the slope is given it says so; a given curvature s makes, with a_0 and b_1,
//   (2 - b_1 / h_0) z_0 + b_1 / h_0 z_1 = 2 u_0 / h_0 - a_0 s,
// and likewise at the right end.
struct EndRow {
  double diagonal;
  double beside;
  double rhs;
};

template <class Values, bool uniform>
struct SubbotinSource {
  std::int64_t n;
  Knots<uniform> knots;
  Partition<uniform> p;
  Values y;
  EndPair ends;
  const double* bc;
  double* c;

  SubbotinSource(const DfTask& task, const Knots<uniform>& t, EndPair pair, std::int64_t f)
      : n(task.nx), knots(t), p(t.p), y(task, f), ends(pair), bc(task.bc), c(task.coeffRows[f]) {}

  EndRow left() const {
    if (ends.left == EndKind::slope) return {1.0, 0.0, bc[0]};
    const double ratio = (p.point(1) - knots[1]) / p.step(0);
    return {2.0 - ratio, ratio, 2.0 * (y[1] - y[0]) / p.step(0) - (knots[1] - p.point(0)) * bc[0]};
  }

  EndRow right() const {
    if (ends.right == EndKind::slope) return {1.0, 0.0, bc[1]};
    const double b = p.point(n - 1) - knots[n - 1];
    const double h = p.step(n - 2);
    return {1.0 + b / h, 1.0 - b / h, 2.0 * (y[n - 1] - y[n - 2]) / h + b * bc[1]};
  }

  // Right-hand sides of the interior rows from .. to - 1.
  [[gnu::noinline]] void fillRhs(std::int64_t from, std::int64_t to, const double* before,
                                 const double* after, double* rhs) const {
    forLanes(0, to - from, [=, values = y]<class V>(std::int64_t j, V) {
      const V here = values.template lanes<V>(from + j);
      const V rise = here - values.template lanes<V>(from + j - 1);
      const V riseNext = values.template lanes<V>(from + j + 1) - here;
      store(rhs + j, 2.0 * (load<V>(before + j) * rise + load<V>(after + j) * riseNext));
    });
  }

  [[gnu::noinline]] void fillRows(std::int64_t first, std::int64_t count, RowRun& run) const {
    const std::int64_t from = first > 0 ? first : 1;
    const std::int64_t to = smaller(first + count, n - 1);
    const std::int64_t skip = from - first;
    double before[rowsPerRun + 1];
    double after[rowsPerRun + 1];
    fillWeightedRows(knots, from, to,
                     {before, after, run.lower + skip, run.diagonal + skip, run.upper + skip});
    fillRhs(from, to, before, after, run.rhs + skip);
    if (first == 0) {
      const EndRow row = left();
      run.diagonal[0] = row.diagonal;
      run.upper[0] = row.beside;
      run.rhs[0] = row.rhs;
    }
    if (first + count == n) {
      const EndRow row = right();
      run.diagonal[count - 1] = row.diagonal;
      run.lower[count - 1] = row.beside;
      run.rhs[count - 1] = row.rhs;
    }
  }

  // Half the second derivative of piece k < n - 1, from a continuous slope at the knot behind it:
  //   e_k = (z_(k+1) - z_k) / (2 h_k) + (2 u_k - h_k (z_k + z_(k+1))) / (2 h_k a_k)
  template <class V>
  static V bend(V h, V a, V rise, V slope, V slopeNext) {
    return (slopeNext - slope) / (2.0 * h) + (2.0 * rise - h * (slope + slopeNext)) / (2.0 * h * a);
  }

  // Pieces from .. to - 1 by the slopes z, which may stand in the last n elements of the row c. The last two
  // pieces, k = n - 2 and n - 1, go by a step from the piece before:
  //   e_(k+1) = e_k + (u_k - h_k (z_k + z_(k+1)) / 2) / (b_(k+1) (b_(k+1) - h_k))
  [[gnu::noinline]] void fillCells(const double* z, std::int64_t from, std::int64_t to) const {
    fillInner(z, from, smaller(to, n - 2));
    if (to < n - 1) return;
    const double slopes[3] = {z[n - 3], z[n - 2], z[n - 1]};
    fillLast(slopes);
  }

  // By the slopes at the last three breakpoints.
  void fillLast(const double* slopes) const {
    const std::int64_t k = n - 3;
    double e = bend(p.step(k), knots[k + 1] - p.point(k), y[k + 1] - y[k], slopes[0], slopes[1]);
    for (std::int64_t i = 0; i < 2; ++i) {
      const double h = p.step(k + i);
      const double b = p.point(k + i + 1) - knots[k + i + 1];
      e += ((y[k + i + 1] - y[k + i]) - 0.5 * h * (slopes[i] + slopes[i + 1])) / (b * (b - h));
      storeParabolas(c + 3 * (k + i + 1), y[k + i + 1], slopes[i + 1], e);
    }
  }

  [[gnu::noinline]] void fillInner(const double* z, std::int64_t from, std::int64_t to) const {
    double a[rowsPerRun];
    for (; from < to; from += rowsPerRun) {
      const std::int64_t last = smaller(from + rowsPerRun, to);
      for (std::int64_t i = from; i < last; ++i)
        a[i - from] = knots[i + 1] - p.point(i);
      forLanes(from, last, [&, x = p, values = y, row = c]<class V>(std::int64_t i, V) {
        const V left = values.template lanes<V>(i);
        const V slope = load<V>(z + i);
        const V e = bend<V>(x.template distances<V>(i, i + 1), load<V>(a + (i - from)),
                            values.template lanes<V>(i + 1) - left, slope, load<V>(z + i + 1));
        storeParabolas(row + 3 * i, left, slope, e);
      });
    }
  }

  void prefetchData(std::int64_t i) const {
    y.prefetch(i);
    if constexpr (!uniform) __builtin_prefetch(p.x + i);
    knots.prefetch(i);
  }

  const double* cellAddress(std::int64_t i) const { return c + 3 * i; }
};

// The system of one long function, for Stretches.
template <bool uniform>
struct SubbotinStretches {
  static constexpr int order = 3;

  SubbotinSource<RowValues, uniform> source;
  std::int64_t n;
  double* c;

  SubbotinStretches(const DfTask& task, const Knots<uniform>& knots, EndPair ends)
      : source(task, knots, ends, 0), n(task.nx), c(source.c) {}

  const double* values() const { return source.y.y; }
  Lanes points(const std::int64_t* start, std::int64_t i) const { return source.p.points(start, i); }

  // Seen in its direction the row of a breakpoint x between xBefore and xNext has the knots s before it and t behind
  // it, and
  //   P = |x - xNext| / |xNext - xBefore| / |x - s|,   Q = |x - xBefore| / |xNext - xBefore| / |x - t|.
  template <int direction>
  struct Chain : Eliminations {
    const SubbotinSource<RowValues, uniform>& source;
    // The next row's breakpoint and value and those before it, and the knot between them.
    Lanes x = {};
    Lanes xBefore = {};
    Lanes y = {};
    Lanes yBefore = {};
    Lanes knot = {};

    explicit Chain(const SubbotinStretches& system) : source(system.source) {}

    Lanes knotBetween(std::int64_t i, Lanes at, Lanes next) const {
      return direction == 1 ? source.knots.behind(start, i, at, next)
                            : source.knots.behind(start, i - 1, next, at);
    }

    void enter(std::int64_t i) {
      x = source.p.points(start, i);
      xBefore = source.p.points(start, i - direction);
      y = pick(source.y.y + i, start);
      yBefore = pick(source.y.y + (i - direction), start);
      knot = knotBetween(i - direction, xBefore, x);
    }

    void take(std::int64_t i) {
      const Lanes xNext = source.p.points(start, i + direction);
      const Lanes yNext = pick(source.y.y + (i + direction), start);
      const Lanes knotNext = knotBetween(i, x, xNext);
      const Lanes ahead = source.p.steps(x, xNext, direction);
      const Lanes behind = source.p.steps(xBefore, x, direction);
      const Lanes w = source.p.steps(xBefore, xNext, 2 * direction);
      const Lanes before = ahead / w / (x - knot);
      const Lanes after = behind / w / (knotNext - x);
      const Lanes towards = (knot - xBefore) * before;
      const Lanes next = (xNext - knotNext) * after;
      Eliminations::take(towards, 2.0 + towards + next, next,
                         2.0 * (before * (y - yBefore) + after * (yNext - y)));
      xBefore = x;
      x = xNext;
      yBefore = y;
      y = yNext;
      knot = knotNext;
    }
  };

  void storeCellsAt(const std::int64_t* start, std::int64_t i, const SolvedRows& a,
                    const SolvedRows& b) const {
    const Lanes knot = source.knots.behind(start, i, a.x, b.x);
    storeParabolasAt([&](int lane) { return c + order * (i + start[lane]); }, a.y, a.m,
                     source.bend(source.p.steps(a.x, b.x, 1), knot - a.x, b.y - a.y, a.m, b.m));
  }

  void storeCell(std::int64_t i, double m, double mNext) const {
    if (i == n - 2) {
      const double slopes[3] = {c[order * (i - 1) + 1], m, mNext};
      source.fillLast(slopes);
      return;
    }
    storeParabolas(c + order * i, source.y[i], m,
                   source.bend(source.p.step(i), source.knots[i + 1] - source.p.point(i),
                               source.y[i + 1] - source.y[i], m, mNext));
  }
};

template <bool uniform>
bool constructInStretches(const DfTask& task, const Knots<uniform>& knots, EndPair ends, double* work) {
  if (task.nx < leastForStretches) return false;
  const SubbotinStretches<uniform> system(task, knots, ends);
  const EndRow left = system.source.left();
  const EndRow right = system.source.right();
  return Stretches(system, work)
      .construct({left.beside / left.diagonal, left.rhs / left.diagonal},
                 {right.beside / right.diagonal, right.rhs / right.diagonal});
}

// The arrays that several functions share: the matrix, and what their right-hand sides are made of.
struct SharedMatrix {
  double* before;
  double* after;
  TridiagonalRows rows;

  SharedMatrix(double* block, std::int64_t n)
      : before(block), after(before + n), rows{n, after + n, after + 2 * n, after + 3 * n} {}

  static std::int64_t length(std::int64_t n) { return 5 * n; }
};

template <class Values, bool uniform>
void constructShared(const DfTask& task, const Knots<uniform>& knots, EndPair ends, const SharedMatrix& s,
                     const TridiagonalKernels& solver) {
  const std::int64_t n = task.nx;
  for (std::int64_t i = 1; i < n - 1; i += rowsPerRun)
    fillWeightedRows(knots, i, smaller(i + rowsPerRun, n - 1),
                     {s.before + i, s.after + i, s.rows.dl + i - 1, s.rows.d + i, s.rows.du + i});
  for (std::int64_t f = 0; f < task.ny; ++f) {
    const SubbotinSource<Values, uniform> source(task, knots, ends, f);
    double* const b = rowTail(task, f);
    source.fillRhs(1, n - 1, s.before + 1, s.after + 1, b + 1);
    const EndRow left = source.left();
    s.rows.d[0] = left.diagonal;
    s.rows.du[0] = left.beside;
    b[0] = left.rhs;
    const EndRow right = source.right();
    s.rows.d[n - 1] = right.diagonal;
    s.rows.dl[n - 2] = right.beside;
    b[n - 1] = right.rhs;
  }
  // A matrix that cannot be factored shows in the coefficients alone.
  factor(solver, s.rows);
  solveRows(solver, task, s.rows);
  for (std::int64_t f = 0; f < task.ny; ++f)
    SubbotinSource<Values, uniform>(task, knots, ends, f).fillCells(rowTail(task, f), 0, n - 1);
}

template <class Values, bool uniform>
std::int32_t constructSubbotin(const DfTask& task, EndPair ends, const ConstructServices& services) {
  const std::int64_t n = task.nx;
  const bool single = functionCount(task) == 1;
  Scratch scratch;
  auto* block = scratch.allocate<double>(single ? stretchesScratch(n) : SharedMatrix::length(n));
  if (block == nullptr) return DF_ERROR_MEMORY;
  const Knots<uniform> knots(task);
  if (!knots.inPlace()) return DF_ERROR_NULL_INTERNAL;
  if (single) {
    if (constructInStretches(task, knots, ends, block)) return DF_STATUS_OK;
    TwoEndedSpline(SubbotinSource<Values, uniform>(task, knots, ends, 0), block).construct(true);
  } else {
    constructShared<Values>(task, knots, ends, SharedMatrix(block, n), services.solver());
  }
  return DF_STATUS_OK;
}

}  // namespace

extern const SplineKind subbotin;
const SplineKind subbotin = {
    .order = DF_ORDER_QUADRATIC,
    .mostOrder = DF_ORDER_QUADRATIC,
    .kind = DF_KIND_SUBBOTIN,
    .pieces = knotPieces,
    .leastBreakpoints = 3,
    .breakpointsLast = true,
    .internal = DF_IC_KNOTS,
    .ends = givenEnds,
    .construct = {{{constructSubbotin<ColumnValues, false>, constructSubbotin<ColumnValues, true>},
                   {constructSubbotin<RowValues, false>, constructSubbotin<RowValues, true>}}},
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
