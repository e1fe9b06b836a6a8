#include <cstdint>

#include "construct/construct_kernels.h"
#include "construct/framework.h"
#include "construct/hermite_form.h"
#include "runtime/level.h"

#include <raven/tridiagonal.h>

// The cubic spline with two continuous derivatives (C. de Boor, A Practical Guide to Splines, 1978, ch. IV).
// With steps h_i = x_(i+1) - x_i and divided differences d_i = (y_(i+1) - y_i) / h_i the slopes m_i solve
//
//   h_i m_(i-1) + 2 (h_(i-1) + h_i) m_i + h_(i-1) m_(i+1) = 3 (h_(i-1) d_i + h_i d_(i-1)),   i = 1 .. n - 2,
//
// and one row for each end. The matrix depends on the partition and the end conditions only: it is factored
// once for all functions. On a uniform partition the rows are divided by h.
//
// Periodic ends: m_(n-1) = m_0, and the cyclic system of order n - 1 is the tridiagonal one plus a rank-one
// change u v^T with v = e_0 + e_(n-2), solved by one more right-hand side u (J. Sherman, W. J. Morrison,
// 1950).

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The arrays of one construction inside its scratch block. Steps and divided differences are not kept:
// computing them anew from x and y costs less than their way through memory.
struct NaturalScratch {
  double* dl;      // n - 1
  double* d;       // n
  double* du;      // n - 1
  double* column;  // n: the right-hand side of a single function, or the vector u

  NaturalScratch(double* block, std::int64_t n)
      : dl(block), d(dl + (n - 1)), du(d + n), column(du + (n - 1)) {}

  static std::int64_t length(std::int64_t n) { return 4 * n - 2; }
};

// What the functions of one construction share.
template <bool uniform>
struct Partition {
  std::int64_t n;
  const double* x;
  double h;  // uniform
  double r;  // 1 / h, uniform

  explicit Partition(const DfTask& task)
      : n(task.nx), x(task.x), h((task.x[1] - task.x[0]) / static_cast<double>(task.nx - 1)), r(1.0 / h) {}

  double step(std::int64_t i) const { return uniform ? h : x[i + 1] - x[i]; }

  // Reciprocals of as many steps from i on as V has lanes.
  template <class V>
  V reciprocals(std::int64_t i) const {
    if constexpr (uniform) return broadcast<V>(r);
    return 1.0 / (load<V>(x + i + 1) - load<V>(x + i));
  }

  // Divided differences likewise.
  template <class V, class Values>
  V differences(const Values& y, std::int64_t i) const {
    return (y.template lanes<V>(i + 1) - y.template lanes<V>(i)) * reciprocals<V>(i);
  }
};

template <EndSlot slot, bool uniform>
void fillMatrix(const Partition<uniform>& p, const NaturalScratch& s) {
  const std::int64_t n = p.n;
  const double* __restrict x = p.x;
  double* __restrict dl = s.dl;
  double* __restrict d = s.d;
  double* __restrict du = s.du;
  for (std::int64_t i = 1; i < n - 1; ++i) {
    dl[i - 1] = uniform ? 1.0 : x[i + 1] - x[i];
    d[i] = uniform ? 4.0 : 2.0 * (x[i + 1] - x[i - 1]);
    du[i] = uniform ? 1.0 : x[i] - x[i - 1];
  }

  constexpr EndKind left = leftEnds[static_cast<int>(slot)];
  constexpr EndKind right = rightEnds[static_cast<int>(slot)];
  if constexpr (left == EndKind::periodic && uniform) {
    d[0] = 3.0;
    du[0] = 1.0;
  } else if constexpr (left == EndKind::periodic) {
    d[0] = p.step(0) + 2.0 * p.step(n - 2);
    du[0] = p.step(n - 2);
  } else if constexpr (left == EndKind::notAKnot && !uniform) {
    d[0] = p.step(1);
    du[0] = x[2] - x[0];
  } else if constexpr (left == EndKind::slope) {
    d[0] = 1.0;
    du[0] = 0.0;
  } else {
    d[0] = 2.0;
    du[0] = 1.0;
  }

  if constexpr (right == EndKind::periodic) {
    d[n - 2] = uniform ? 3.0 : 2.0 * p.step(n - 2) + p.step(n - 3);
    dl[n - 3] = uniform ? 1.0 : p.step(n - 2);
    du[n - 2] = 0.0;
    dl[n - 2] = 0.0;
    d[n - 1] = 1.0;
  } else if constexpr (right == EndKind::notAKnot && !uniform) {
    dl[n - 2] = x[n - 1] - x[n - 3];
    d[n - 1] = p.step(n - 3);
  } else if constexpr (right == EndKind::slope) {
    dl[n - 2] = 0.0;
    d[n - 1] = 1.0;
  } else {
    dl[n - 2] = 1.0;
    d[n - 1] = 2.0;
  }
}

// Interior right-hand sides of one function.
template <class Values, bool uniform>
void fillInterior(const Partition<uniform>& p, const Values& y, double* __restrict b) {
  const std::int64_t n = p.n;
  if constexpr (uniform) {
    const double factor = 3.0 * p.r;
    std::int64_t i = 1;
    for (; i + laneCount <= n - 1; i += laneCount)
      store(b + i, factor * (y.template lanes<Lanes>(i + 1) - y.template lanes<Lanes>(i - 1)));
    for (; i < n - 1; ++i)
      b[i] = factor * (y[i + 1] - y[i - 1]);
  } else {
    // Each divided difference serves two rows: a run of them at a time, d[k] being d_(start + k - 1).
    constexpr std::int64_t run = 256;
    double d[run + 1];
    d[0] = p.template differences<double>(y, 0);
    for (std::int64_t start = 1; start < n - 1; start += run) {
      const std::int64_t count = n - 1 - start < run ? n - 1 - start : run;
      std::int64_t k = 0;
      for (; k + laneCount <= count; k += laneCount)
        store(d + k + 1, p.template differences<Lanes>(y, start + k));
      for (; k < count; ++k)
        d[k + 1] = p.template differences<double>(y, start + k);
      const double* __restrict x = p.x + start;
      for (k = 0; k < count; ++k)
        b[start + k] = 3.0 * ((x[k] - x[k - 1]) * d[k + 1] + (x[k + 1] - x[k]) * d[k]);
      d[0] = d[count];
    }
  }
}

template <EndSlot slot, class Values, bool uniform>
void fillEnds(const Partition<uniform>& p, const Values& y, const double* bc, double* b) {
  const std::int64_t n = p.n;
  const double* x = p.x;
  const auto d = [&](std::int64_t i) { return p.template differences<double>(y, i); };
  constexpr EndKind left = leftEnds[static_cast<int>(slot)];
  constexpr EndKind right = rightEnds[static_cast<int>(slot)];
  if constexpr (left == EndKind::periodic && uniform) {
    b[0] = 3.0 * p.r * (y[1] - y[n - 2]);
  } else if constexpr (left == EndKind::periodic) {
    b[0] = 3.0 * (d(0) * p.step(n - 2) + d(n - 2) * p.step(0));
  } else if constexpr (left == EndKind::notAKnot && uniform) {
    b[0] = 0.5 * p.r * (y[2] - y[0]);
  } else if constexpr (left == EndKind::notAKnot) {
    const double h0 = p.step(0);
    const double h1 = p.step(1);
    const double a = x[2] - x[0];
    b[0] = (d(1) * (h0 * h0) + d(0) * h1 * (h0 + 2.0 * a)) / a;
  } else if constexpr (left == EndKind::slope) {
    b[0] = bc[0];
  } else if constexpr (left == EndKind::curvature) {
    b[0] = 3.0 * d(0) - 0.5 * p.step(0) * bc[0];
  } else {
    b[0] = 3.0 * d(0);
  }

  if constexpr (right == EndKind::periodic) {
    b[n - 1] = 0.0;
  } else if constexpr (right == EndKind::notAKnot && uniform) {
    b[n - 1] = 0.5 * p.r * (y[n - 1] - y[n - 3]);
  } else if constexpr (right == EndKind::notAKnot) {
    const double h0 = p.step(n - 2);
    const double h1 = p.step(n - 3);
    const double a = x[n - 1] - x[n - 3];
    b[n - 1] = (d(n - 3) * (h0 * h0) + d(n - 2) * h1 * (h0 + 2.0 * a)) / a;
  } else if constexpr (right == EndKind::slope) {
    b[n - 1] = bc[1];
  } else if constexpr (right == EndKind::curvature) {
    b[n - 1] = 3.0 * d(n - 2) + 0.5 * p.step(n - 2) * bc[1];
  } else {
    b[n - 1] = 3.0 * d(n - 2);
  }
}

// The column u of the rank-one change.
template <bool uniform>
void fillCorrection(const Partition<uniform>& p, double* u) {
  const std::int64_t n = p.n;
  for (std::int64_t i = 0; i < n; ++i)
    u[i] = 0.0;
  u[0] = uniform ? 1.0 : p.step(0);
  u[n - 2] = uniform ? 1.0 : p.step(n - 3);
}

// m := m - z (v^T m) / (1 + v^T z), z being the solution for u.
void correctPeriodic(std::int64_t n, const double* __restrict z, double* __restrict m) {
  const double g = 1.0 / (z[n - 2] + 1.0 + z[0]);
  const double w = (m[n - 2] + m[0]) * g;
  for (std::int64_t i = 0; i < n - 1; ++i)
    m[i] -= z[i] * w;
  m[n - 1] = m[0];
}

// Coefficients from the slopes m, which may stand in the last n elements of the row c: the cells are written
// in ascending order and end where the slopes that are still needed begin.
template <class Values, bool uniform>
void fillCoefficients(const Partition<uniform>& p, const Values& y, const double* m, double* c) {
  const auto cells = [&]<class V>(std::int64_t i, V) {
    const V r = p.template reciprocals<V>(i);
    const V left = y.template lanes<V>(i);
    const V d = (y.template lanes<V>(i + 1) - left) * r;
    storeCells(c + 4 * i, hermiteForm(left, load<V>(m + i), load<V>(m + i + 1), d, r));
  };
  std::int64_t i = 0;
  for (; i + laneCount <= p.n - 1; i += laneCount)
    cells(i, Lanes{});
  for (; i < p.n - 1; ++i)
    cells(i, 0.0);
}

// Where the right-hand side of function f, and then its slopes, stand inside its coefficient row.
double* rowTail(const DfTask& task, std::int64_t f) {
  return task.coeffRows[f] + (3 * task.nx - 4);
}

std::int32_t factor(std::int64_t n, const NaturalScratch& s) {
  const auto order = static_cast<std::int32_t>(n);
  std::int32_t info = 0;
  DDTTRFB(&order, s.dl, s.d, s.du, &info);
  return info;
}

std::int32_t solve(std::int64_t n, std::int64_t columns, const NaturalScratch& s, double* b,
                   std::int64_t stride) {
  const auto order = static_cast<std::int32_t>(n);
  const auto nrhs = static_cast<std::int32_t>(columns);
  const auto ldb = static_cast<std::int32_t>(stride);
  std::int32_t info = 0;
  DDTTRSB("N", &order, &nrhs, s.dl, s.d, s.du, b, &ldb, &info);
  return info;
}

// All columns in one call if the rows of the coefficients stand one after another, as edit makes them.
std::int32_t solveRows(const DfTask& task, std::int64_t functions, const NaturalScratch& s) {
  const std::int64_t n = task.nx;
  const std::int64_t stride = 4 * (n - 1);
  bool contiguous = stride <= INT32_MAX;
  for (std::int64_t f = 1; contiguous && f < functions; ++f)
    contiguous = task.coeffRows[f] == task.coeffRows[f - 1] + stride;
  if (contiguous) return solve(n, functions, s, rowTail(task, 0), stride);
  for (std::int64_t f = 0; f < functions; ++f)
    if (const std::int32_t info = solve(n, 1, s, rowTail(task, f), n)) return info;
  return 0;
}

// The steps of one function around its solve.
template <class Values, bool uniform, EndSlot slot>
void prepareFunction(const DfTask& task, const Partition<uniform>& p, std::int64_t f, double* b) {
  const Values y(task, f);
  fillInterior(p, y, b);
  fillEnds<slot>(p, y, task.bc, b);
}

// Returns the status of the function's data.
template <class Values, bool uniform, EndSlot slot>
std::int32_t finishFunction(const DfTask& task, const Partition<uniform>& p, std::int64_t f, const double* z,
                            double* m) {
  const Values y(task, f);
  std::int32_t status = DF_STATUS_OK;
  if constexpr (slot == EndSlot::periodic) {
    if (!(y[0] == y[p.n - 1])) status = DF_ERROR_PERIODIC_VALUES;
    correctPeriodic(p.n, z, m);
  }
  fillCoefficients(p, y, m, task.coeffRows[f]);
  return status;
}

// A single function: its right-hand side stays in the scratch block, since one call factors and solves where
// the level has it and a failure must leave the coefficients alone.
template <class Values, bool uniform, EndSlot slot>
std::int32_t constructSingle(const DfTask& task, const Partition<uniform>& p, const NaturalScratch& s) {
  prepareFunction<Values, uniform, slot>(task, p, 0, s.column);
  std::int32_t info = 0;
  if constexpr (level.sharesWork) {
    const auto order = static_cast<std::int32_t>(p.n);
    const std::int32_t one = 1;
    DDTSVB(&order, &one, s.dl, s.d, s.du, s.column, &order, &info);
  } else {
    info = factor(p.n, s);
    if (info == 0) info = solve(p.n, 1, s, s.column, p.n);
  }
  if (info != 0) return DF_ERROR_SOLVER;
  return finishFunction<Values, uniform, slot>(task, p, 0, nullptr, s.column);
}

// One function a block, on shared, read-only factors; its right-hand side stands in its own coefficient row.
template <bool uniform>
struct SharedContext {
  const DfTask* task;
  const Partition<uniform>* partition;
  const NaturalScratch* scratch;
  std::int32_t* statuses;
};

template <class Values, bool uniform, EndSlot slot>
void blockWorker(std::int64_t f, std::int64_t, std::int64_t, void* context) {
  const auto& shared = *static_cast<const SharedContext<uniform>*>(context);
  const DfTask& task = *shared.task;
  const Partition<uniform>& p = *shared.partition;
  double* b = rowTail(task, f);
  prepareFunction<Values, uniform, slot>(task, p, f, b);
  if (solve(p.n, 1, *shared.scratch, b, p.n) != 0) {
    shared.statuses[f] = DF_ERROR_SOLVER;
    return;
  }
  shared.statuses[f] = finishFunction<Values, uniform, slot>(task, p, f, shared.scratch->column, b);
}

// Whether functions are shared among workers, and among how many.
std::int64_t workerCount(const DfTask& task, const WorkShareTable& workShare) {
  if constexpr (!level.sharesWork) return 1;
  const std::int64_t threads = workShare.threadCount();
  const std::int64_t workers = threads < task.ny ? threads : task.ny;
  return workers > 1 && task.nx >= 300 && (task.nx >= 600 || workers >= 8) ? workers : 1;
}

using NaturalKernel = std::int32_t (*)(const DfTask& task, const WorkShareTable& workShare);

template <class Values, bool uniform, EndSlot slot>
std::int32_t naturalKernel(const DfTask& task, const WorkShareTable& workShare) {
  const std::int64_t n = task.nx;
  const std::int64_t functions = functionCount(task);
  const std::int64_t workers = workerCount(task, workShare);
  Scratch scratch;
  Scratch statusScratch;
  auto* block = scratch.allocate<double>(NaturalScratch::length(n));
  if (block == nullptr) return DF_ERROR_MEMORY;
  std::int32_t* statuses = nullptr;
  if (workers > 1) {
    statuses = statusScratch.allocate<std::int32_t>(functions);
    if (statuses == nullptr) return DF_ERROR_MEMORY;
  }

  const NaturalScratch s(block, n);
  const Partition<uniform> p(task);
  fillMatrix<slot>(p, s);
  if (functions == 1 && slot != EndSlot::periodic) return constructSingle<Values, uniform, slot>(task, p, s);
  if (factor(n, s) != 0) return DF_ERROR_SOLVER;
  if constexpr (slot == EndSlot::periodic) {
    fillCorrection(p, s.column);
    if (solve(n, 1, s, s.column, n) != 0) return DF_ERROR_SOLVER;
  }

  std::int32_t status = DF_STATUS_OK;
  if (workers > 1) {
    SharedContext<uniform> context = {&task, &p, &s, statuses};
    workShare.parallelFor(functions, workers, &context, blockWorker<Values, uniform, slot>);
    for (std::int64_t f = functions; f-- > 0;)
      if (statuses[f] != DF_STATUS_OK) status = statuses[f];
    return status;
  }
  for (std::int64_t f = 0; f < functions; ++f)
    prepareFunction<Values, uniform, slot>(task, p, f, rowTail(task, f));
  if (solveRows(task, functions, s) != 0) return DF_ERROR_SOLVER;
  for (std::int64_t f = 0; f < functions; ++f) {
    const std::int32_t mismatch =
        finishFunction<Values, uniform, slot>(task, p, f, s.column, rowTail(task, f));
    if (mismatch != DF_STATUS_OK) status = mismatch;
  }
  return status;
}

template <class Values, bool uniform>
constexpr NaturalKernel kernelsBySlot[endSlots] = {
    naturalKernel<Values, uniform, EndSlot::notAKnot>,
    naturalKernel<Values, uniform, EndSlot::free>,
    naturalKernel<Values, uniform, EndSlot::slopeSlope>,
    naturalKernel<Values, uniform, EndSlot::slopeCurvature>,
    naturalKernel<Values, uniform, EndSlot::curvatureSlope>,
    naturalKernel<Values, uniform, EndSlot::curvatureCurvature>,
    naturalKernel<Values, uniform, EndSlot::periodic>,
};

// By layout and uniformity.
constexpr const NaturalKernel* kernels[2][2] = {
    {kernelsBySlot<ColumnValues, false>, kernelsBySlot<ColumnValues, true>},
    {kernelsBySlot<RowValues, false>, kernelsBySlot<RowValues, true>},
};

std::int32_t naturalDispatcher(const DfTask& task, std::int64_t, std::int64_t method,
                               const WorkShareTable& workShare) {
  if (method != 0) return DF_ERROR_METHOD;
  const Member member = selectMember(task, 3);
  if (member.status != DF_STATUS_OK) return member.status;
  return kernels[member.layout][member.uniform][member.slot](task, workShare);
}

}  // namespace

extern const FamilyDispatcher naturalFamily;
const FamilyDispatcher naturalFamily = naturalDispatcher;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
