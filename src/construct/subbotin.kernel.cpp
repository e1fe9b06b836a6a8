#include "construct/subbotin.h"

#include <cstdint>

#include "construct/cells.h"
#include "construct/framework.h"
#include "construct/partition.h"
#include "construct/tridiagonal_rows.h"
#include "runtime/level.h"

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
// with one row for each end where the curvature is given, and none where the slope is.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// All arrays have n + 1 elements.
struct SubbotinScratch {
  double* t;
  double* a;
  double* b;
  double* p;
  double* q;
  double* dl;
  double* d;
  double* du;

  SubbotinScratch(double* block, std::int64_t n)
      : t(block),
        a(t + n + 1),
        b(a + n + 1),
        p(b + n + 1),
        q(p + n + 1),
        dl(q + n + 1),
        d(dl + n + 1),
        du(d + n + 1) {}

  static std::int64_t length(std::int64_t n) { return 8 * (n + 1); }
};

// Given ends of a uniform partition may be off by rounding.
constexpr double endTolerance = 0x1p-40;

// Fills the knots; false if given ones are not where they belong. Comparisons refuse a NaN. The last interior
// knot is not tested.
template <bool uniform, bool knotEnds>
bool fillKnots(const DfTask& task, const Partition<uniform>& p, double* t) {
  const std::int64_t n = p.n;
  const double* ic = task.ic;
  t[0] = p.point(0);
  t[n] = p.point(n - 1);
  if (ic == nullptr) {
    for (std::int64_t k = 0; k < n - 1; ++k)
      t[k + 1] = (p.point(k) + p.point(k + 1)) * 0.5;
    return true;
  }
  if constexpr (knotEnds) {
    if (!(t[0] < ic[0]) || !(ic[1] < t[n])) return false;
    const double step = (ic[1] - ic[0]) / static_cast<double>(n - 2);
    for (std::int64_t k = 1; k < n; ++k)
      t[k] = ic[0] + static_cast<double>(k - 1) * step;
  } else if constexpr (uniform) {
    if (!(magnitude(ic[0] - t[0]) < endTolerance) || !(magnitude(ic[n] - t[n]) < endTolerance)) return false;
  } else {
    if (!(ic[0] == t[0]) || !(ic[n] == t[n])) return false;
  }
  if constexpr (!knotEnds)
    for (std::int64_t k = 1; k < n; ++k)
      t[k] = ic[k];
  for (std::int64_t k = 0; k < n - 2; ++k)
    if (!(p.point(k) < t[k + 1]) || !(t[k + 1] < p.point(k + 1))) return false;
  return true;
}

// First and last breakpoint whose slope is unknown.
template <EndSlot slot>
constexpr std::int64_t firstUnknown = leftEnds[static_cast<int>(slot)] == EndKind::slope ? 1 : 0;

template <EndSlot slot>
constexpr std::int64_t unknownsFromEnd = rightEnds[static_cast<int>(slot)] == EndKind::slope ? 2 : 1;

template <bool uniform, EndSlot slot>
TridiagonalRows fillMatrix(const Partition<uniform>& p, const SubbotinScratch& s) {
  const std::int64_t n = p.n;
  for (std::int64_t k = 0; k < n; ++k) {
    s.a[k] = s.t[k + 1] - p.point(k);
    s.b[k] = p.point(k) - s.t[k];
  }
  forLanes(1, n - 1, [&]<class V>(std::int64_t i, V) {
    const V w = p.template distances<V>(i - 1, i + 1);
    const V before = p.template distances<V>(i, i + 1) / w / load<V>(s.b + i);
    const V after = p.template distances<V>(i - 1, i) / w / load<V>(s.a + i);
    const V lower = load<V>(s.a + i - 1) * before;
    const V upper = load<V>(s.b + i + 1) * after;
    store(s.p + i, before);
    store(s.q + i, after);
    store(s.dl + i - 1, lower);
    store(s.d + i, 2.0 + lower + upper);
    store(s.du + i, upper);
  });
  if constexpr (firstUnknown<slot> == 0) {
    const double ratio = s.b[1] / p.step(0);
    s.d[0] = 2.0 - ratio;
    s.du[0] = ratio;
  }
  if constexpr (unknownsFromEnd<slot> == 1) {
    const double ratio = s.b[n - 1] / p.step(n - 2);
    s.dl[n - 2] = 1.0 - ratio;
    s.d[n - 1] = 1.0 + ratio;
  }
  constexpr std::int64_t first = firstUnknown<slot>;
  return {n + 1 - unknownsFromEnd<slot> - first, s.dl + first, s.d + first, s.du + first};
}

template <class Values, bool uniform, EndSlot slot>
void fillRightHandSide(const Partition<uniform>& p, const SubbotinScratch& s, const Values& y,
                       const double* bc, double* z) {
  const std::int64_t n = p.n;
  forLanes(1, n - 1, [&]<class V>(std::int64_t i, V) {
    const V here = y.template lanes<V>(i);
    const V before = here - y.template lanes<V>(i - 1);
    const V after = y.template lanes<V>(i + 1) - here;
    store(z + i, 2.0 * (load<V>(s.p + i) * before + load<V>(s.q + i) * after));
  });
  if constexpr (firstUnknown<slot> == 1) {
    z[0] = bc[0];
    z[1] -= s.dl[0] * bc[0];
  } else {
    z[0] = 2.0 * (y[1] - y[0]) / p.step(0) - s.a[0] * bc[0];
  }
  if constexpr (unknownsFromEnd<slot> == 2) {
    z[n - 1] = bc[1];
    z[n - 2] -= s.du[n - 2] * bc[1];
  } else {
    z[n - 1] = 2.0 * (y[n - 1] - y[n - 2]) / p.step(n - 2) + s.b[n - 1] * bc[1];
  }
}

// Pieces by the slopes z, which stand in the last n elements of the row c. With a continuous slope at the
// knot, half the second derivative of piece k is
//
//   e_k = (z_(k+1) - z_k) / (2 h_k) + (2 u_k - h_k (z_k + z_(k+1))) / (2 h_k a_k),
//   e_(k+1) = e_k + (u_k - h_k (z_k + z_(k+1)) / 2) / (b_(k+1) (b_(k+1) - h_k)).
template <class Values, bool uniform>
void fillPieces(const Partition<uniform>& p, const SubbotinScratch& s, const Values& y, const double* z,
                double* c) {
  const std::int64_t n = p.n;
  forLanes(0, n - 2, [&]<class V>(std::int64_t k, V) {
    const V h = p.template distances<V>(k, k + 1);
    const V left = y.template lanes<V>(k);
    const V rise = y.template lanes<V>(k + 1) - left;
    const V slope = load<V>(z + k);
    const V slopeNext = load<V>(z + k + 1);
    const V e = (slopeNext - slope) / (2.0 * h) +
                (2.0 * rise - h * (slope + slopeNext)) / (2.0 * h * load<V>(s.a + k));
    storeParabolas(c + 3 * k, left, slope, e);
  });
  double e = c[3 * (n - 3) + 2];
  double slope = z[n - 3];
  for (std::int64_t k = n - 3; k < n - 1; ++k) {
    const double slopeNext = z[k + 1];
    const double h = p.step(k);
    const double b = s.b[k + 1];
    e += ((y[k + 1] - y[k]) - 0.5 * h * (slope + slopeNext)) / (b * (b - h));
    slope = slopeNext;
    storeParabolas(c + 3 * (k + 1), y[k + 1], slope, e);
  }
}

template <class Values, bool uniform, EndSlot slot, bool knotEnds>
std::int32_t subbotinKernel(const DfTask& task) {
  const std::int64_t n = task.nx;
  Scratch scratch;
  auto* block = scratch.allocate<double>(SubbotinScratch::length(n));
  if (block == nullptr) return DF_ERROR_MEMORY;
  const Partition<uniform> p(task);
  const SubbotinScratch s(block, n);
  if (!fillKnots<uniform, knotEnds>(task, p, s.t)) return DF_ERROR_NULL_INTERNAL;
  const TridiagonalRows rows = fillMatrix<uniform, slot>(p, s);
  for (std::int64_t f = 0; f < functionCount(task); ++f)
    fillRightHandSide<Values, uniform, slot>(p, s, Values(task, f), task.bc, rowTail(task, f));
  // A matrix that cannot be factored shows in the coefficients alone.
  factor(rows);
  solveRows(task, firstUnknown<slot>, rows);
  for (std::int64_t f = 0; f < functionCount(task); ++f)
    fillPieces(p, s, Values(task, f), rowTail(task, f), task.coeffRows[f]);
  return DF_STATUS_OK;
}

using SubbotinKernel = std::int32_t (*)(const DfTask& task);

// From slopeSlope to curvatureCurvature; the other ends are not served.
constexpr int servedSlots = 4;
constexpr int firstServed = static_cast<int>(EndSlot::slopeSlope);

template <class Values, bool uniform, bool knotEnds>
constexpr SubbotinKernel kernelsBySlot[servedSlots] = {
    subbotinKernel<Values, uniform, EndSlot::slopeSlope, knotEnds>,
    subbotinKernel<Values, uniform, EndSlot::slopeCurvature, knotEnds>,
    subbotinKernel<Values, uniform, EndSlot::curvatureSlope, knotEnds>,
    subbotinKernel<Values, uniform, EndSlot::curvatureCurvature, knotEnds>,
};

// By the form of the knots, layout and uniformity.
constexpr const SubbotinKernel* kernels[2][2][2] = {
    {{kernelsBySlot<ColumnValues, false, false>, kernelsBySlot<ColumnValues, true, false>},
     {kernelsBySlot<RowValues, false, false>, kernelsBySlot<RowValues, true, false>}},
    {{kernelsBySlot<ColumnValues, false, true>, kernelsBySlot<ColumnValues, true, true>},
     {kernelsBySlot<RowValues, false, true>, kernelsBySlot<RowValues, true, true>}},
};

std::int32_t constructSubbotin(const DfTask& task, int layout, int uniform) {
  if ((task.icType & DF_IC_KNOTS) == 0) return DF_ERROR_INTERNAL_CONDITION;
  const int slot = slotOf(task.bcType) - firstServed;
  if (slot < 0 || slot >= servedSlots) return DF_ERROR_BOUNDARY_CONDITION;
  if (task.bc == nullptr) return DF_ERROR_NULL_BOUNDARY;
  if (task.nx < 3) return DF_ERROR_BREAKPOINT_COUNT;
  const int knotEnds = (task.icType & DF_IC_KNOT_ENDS) != 0 ? 1 : 0;
  return kernels[knotEnds][layout][uniform][slot](task);
}

}  // namespace

extern const SubbotinFamily subbotinFamily;
const SubbotinFamily subbotinFamily = constructSubbotin;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
