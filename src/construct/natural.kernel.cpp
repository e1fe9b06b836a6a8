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

// The arrays of one construction inside its scratch block, in this order. Lengths in doubles.
struct NaturalScratch {
  double* steps;   // n - 1, unused on uniform partitions
  double* slopes;  // n - 1 per function: divided differences
  double* rhs;     // n per function and one more column, the right-hand sides and then the slopes m
  double* dl;      // n - 1
  double* d;       // n
  double* du;      // n - 1

  NaturalScratch(double* block, std::int64_t n, std::int64_t columns)
      : steps(block),
        slopes(steps + (n - 1)),
        rhs(slopes + (n - 1) * columns),
        dl(rhs + n * (columns + 1)),
        d(dl + (n - 1)),
        du(d + n) {}

  // False if the length does not fit 64 bits.
  static bool length(std::int64_t n, std::int64_t columns, std::int64_t* doubles) {
    std::int64_t perColumn = 0;
    if (__builtin_mul_overflow(2 * n - 1, columns, &perColumn)) return false;
    return !__builtin_add_overflow(perColumn, 6 * n - 4, doubles);
  }
};

// What the functions of one construction share.
template <bool uniform>
struct Partition {
  std::int64_t n;
  const double* x;
  const double* steps;
  double h;  // uniform
  double r;  // 1 / h, uniform

  Partition(const DfTask& task, const double* stepArray)
      : n(task.nx),
        x(task.x),
        steps(stepArray),
        h((task.x[1] - task.x[0]) / static_cast<double>(task.nx - 1)),
        r(1.0 / h) {}

  double step(std::int64_t i) const {
    if constexpr (uniform) return h;
    return steps[i];
  }

  // Reciprocals of as many steps from i on as V has lanes.
  template <class V>
  V reciprocals(std::int64_t i) const {
    if constexpr (uniform) return broadcast<V>(r);
    return 1.0 / load<V>(steps + i);
  }
};

void fillSteps(std::int64_t n, const double* __restrict x, double* __restrict h) {
  for (std::int64_t i = 0; i < n - 1; ++i)
    h[i] = x[i + 1] - x[i];
}

template <EndSlot slot, bool uniform>
void fillMatrix(const Partition<uniform>& p, const NaturalScratch& s) {
  const std::int64_t n = p.n;
  const double* x = p.x;
  double* __restrict dl = s.dl;
  double* __restrict d = s.d;
  double* __restrict du = s.du;
  if constexpr (uniform) {
    for (std::int64_t i = 1; i < n - 1; ++i) {
      dl[i - 1] = 1.0;
      d[i] = 4.0;
      du[i] = 1.0;
    }
  } else {
    const double* __restrict h = s.steps;
    for (std::int64_t i = 1; i < n - 1; ++i) {
      dl[i - 1] = h[i];
      d[i] = 2.0 * (x[i + 1] - x[i - 1]);
      du[i] = h[i - 1];
    }
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

// Divided differences of one function, and the interior right-hand sides.
template <class Values, bool uniform>
void fillInterior(const Partition<uniform>& p, const Values& y, double* __restrict d, double* __restrict b) {
  const std::int64_t n = p.n;
  std::int64_t i = 0;
  for (; i + laneCount <= n - 1; i += laneCount) {
    const Lanes difference = y.template lanes<Lanes>(i + 1) - y.template lanes<Lanes>(i);
    store(d + i, difference * p.template reciprocals<Lanes>(i));
  }
  for (; i < n - 1; ++i)
    d[i] = (y[i + 1] - y[i]) * p.template reciprocals<double>(i);

  if constexpr (uniform) {
    const double factor = 3.0 * p.r;
    for (i = 1; i + laneCount <= n - 1; i += laneCount)
      store(b + i, factor * (y.template lanes<Lanes>(i + 1) - y.template lanes<Lanes>(i - 1)));
    for (; i < n - 1; ++i)
      b[i] = factor * (y[i + 1] - y[i - 1]);
  } else {
    const double* __restrict h = p.steps;
    for (i = 1; i < n - 1; ++i)
      b[i] = 3.0 * (h[i - 1] * d[i] + h[i] * d[i - 1]);
  }
}

template <EndSlot slot, class Values, bool uniform>
void fillEnds(const Partition<uniform>& p, const Values& y, const double* bc, const double* d, double* b) {
  const std::int64_t n = p.n;
  const double* x = p.x;
  constexpr EndKind left = leftEnds[static_cast<int>(slot)];
  constexpr EndKind right = rightEnds[static_cast<int>(slot)];
  if constexpr (left == EndKind::periodic && uniform) {
    b[0] = 3.0 * p.r * (y[1] - y[n - 2]);
  } else if constexpr (left == EndKind::periodic) {
    b[0] = 3.0 * (d[0] * p.step(n - 2) + d[n - 2] * p.step(0));
  } else if constexpr (left == EndKind::notAKnot && uniform) {
    b[0] = 0.5 * p.r * (y[2] - y[0]);
  } else if constexpr (left == EndKind::notAKnot) {
    const double h0 = p.step(0);
    const double h1 = p.step(1);
    const double a = x[2] - x[0];
    b[0] = (d[1] * (h0 * h0) + d[0] * h1 * (h0 + 2.0 * a)) / a;
  } else if constexpr (left == EndKind::slope) {
    b[0] = bc[0];
  } else if constexpr (left == EndKind::curvature) {
    b[0] = 3.0 * d[0] - 0.5 * p.step(0) * bc[0];
  } else {
    b[0] = 3.0 * d[0];
  }

  if constexpr (right == EndKind::periodic) {
    b[n - 1] = 0.0;
  } else if constexpr (right == EndKind::notAKnot && uniform) {
    b[n - 1] = 0.5 * p.r * (y[n - 1] - y[n - 3]);
  } else if constexpr (right == EndKind::notAKnot) {
    const double h0 = p.step(n - 2);
    const double h1 = p.step(n - 3);
    const double a = x[n - 1] - x[n - 3];
    b[n - 1] = (d[n - 3] * (h0 * h0) + d[n - 2] * h1 * (h0 + 2.0 * a)) / a;
  } else if constexpr (right == EndKind::slope) {
    b[n - 1] = bc[1];
  } else if constexpr (right == EndKind::curvature) {
    b[n - 1] = 3.0 * d[n - 2] + 0.5 * p.step(n - 2) * bc[1];
  } else {
    b[n - 1] = 3.0 * d[n - 2];
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

template <class Values, bool uniform>
void fillCoefficients(const Partition<uniform>& p, const Values& y, const double* __restrict d,
                      const double* __restrict m, double* __restrict c) {
  std::int64_t i = 0;
  for (; i + laneCount <= p.n - 1; i += laneCount)
    storeCells(c + 4 * i, hermiteForm(y.template lanes<Lanes>(i), load<Lanes>(m + i), load<Lanes>(m + i + 1),
                                      load<Lanes>(d + i), p.template reciprocals<Lanes>(i)));
  for (; i < p.n - 1; ++i)
    storeCells(c + 4 * i, hermiteForm(y[i], m[i], m[i + 1], d[i], p.template reciprocals<double>(i)));
}

// Solves for the `columns` right-hand sides; 0 or the solver's info. Where work is shared, factoring and
// solving are one call.
std::int32_t factorAndSolve(std::int64_t n, std::int64_t columns, const NaturalScratch& s) {
  const auto order = static_cast<std::int32_t>(n);
  const auto nrhs = static_cast<std::int32_t>(columns);
  std::int32_t info = 0;
  if constexpr (level.sharesWork) {
    DDTSVB(&order, &nrhs, s.dl, s.d, s.du, s.rhs, &order, &info);
  } else {
    DDTTRFB(&order, s.dl, s.d, s.du, &info);
    if (info != 0) return info;
    DDTTRSB("N", &order, &nrhs, s.dl, s.d, s.du, s.rhs, &order, &info);
  }
  return info;
}

// All functions on the calling thread, solved together.
template <class Values, bool uniform, EndSlot slot>
std::int32_t constructTogether(const DfTask& task) {
  constexpr bool periodic = slot == EndSlot::periodic;
  const std::int64_t n = task.nx;
  const std::int64_t functions = functionCount(task);
  Scratch scratch;
  std::int64_t length = 0;
  if (functions >= INT32_MAX || !NaturalScratch::length(n, functions, &length)) return DF_ERROR_MEMORY;
  auto* block = scratch.allocate<double>(length);
  if (block == nullptr) return DF_ERROR_MEMORY;
  const NaturalScratch s(block, n, functions);
  const Partition<uniform> p(task, s.steps);

  if constexpr (!uniform) fillSteps(n, task.x, s.steps);
  fillMatrix<slot>(p, s);
  std::int32_t status = DF_STATUS_OK;
  for (std::int64_t f = 0; f < functions; ++f) {
    const Values y(task, f);
    double* d = s.slopes + f * (n - 1);
    double* b = s.rhs + f * n;
    fillInterior(p, y, d, b);
    fillEnds<slot>(p, y, task.bc, d, b);
    if (periodic && !(y[0] == y[n - 1])) status = DF_ERROR_PERIODIC_VALUES;
  }
  const double* z = s.rhs + functions * n;
  if constexpr (periodic) fillCorrection(p, s.rhs + functions * n);

  if (factorAndSolve(n, periodic ? functions + 1 : functions, s) != 0) return DF_ERROR_SOLVER;
  for (std::int64_t f = 0; f < functions; ++f) {
    double* m = s.rhs + f * n;
    if constexpr (periodic) correctPeriodic(n, z, m);
    fillCoefficients(p, Values(task, f), s.slopes + f * (n - 1), m, task.coeffRows[f]);
  }
  return status;
}

// One function a block on shared, read-only factors. Each worker has divided differences and a right-hand
// side of its own.
template <class Values, bool uniform>
struct SharedContext {
  const DfTask* task;
  const Partition<uniform>* partition;
  const NaturalScratch* factors;
  const double* z;        // the solution for u, periodic only
  double* workerScratch;  // 2 n doubles per worker
  std::int32_t* statuses;
};

template <class Values, bool uniform, EndSlot slot>
void blockWorker(std::int64_t f, std::int64_t thread, std::int64_t, void* context) {
  const auto& shared = *static_cast<const SharedContext<Values, uniform>*>(context);
  const DfTask& task = *shared.task;
  const auto order = static_cast<std::int32_t>(task.nx);
  const std::int32_t one = 1;
  double* d = shared.workerScratch + thread * 2 * task.nx;
  double* b = d + task.nx;
  const Values y(task, f);
  fillInterior(*shared.partition, y, d, b);
  fillEnds<slot>(*shared.partition, y, task.bc, d, b);
  std::int32_t info = 0;
  DDTTRSB("N", &order, &one, shared.factors->dl, shared.factors->d, shared.factors->du, b, &order, &info);
  if (info != 0) {
    shared.statuses[f] = DF_ERROR_SOLVER;
    return;
  }
  if constexpr (slot == EndSlot::periodic) {
    if (!(y[0] == y[task.nx - 1])) shared.statuses[f] = DF_ERROR_PERIODIC_VALUES;
    correctPeriodic(task.nx, shared.z, b);
  }
  fillCoefficients(*shared.partition, y, d, b, task.coeffRows[f]);
}

template <class Values, bool uniform, EndSlot slot>
std::int32_t constructShared(const DfTask& task, std::int64_t workers, const WorkShareTable& workShare) {
  const std::int64_t n = task.nx;
  const std::int64_t functions = functionCount(task);
  Scratch scratch;
  Scratch statusScratch;
  // The matrix, one right-hand side for u, and the workers' arrays.
  std::int64_t length = 0;
  if (__builtin_mul_overflow(2 * n, workers, &length) || __builtin_add_overflow(length, 8 * n, &length))
    return DF_ERROR_MEMORY;
  auto* block = scratch.allocate<double>(length);
  if (block == nullptr) return DF_ERROR_MEMORY;
  auto* statuses = statusScratch.allocate<std::int32_t>(functions);
  if (statuses == nullptr) return DF_ERROR_MEMORY;
  for (std::int64_t f = 0; f < functions; ++f)
    statuses[f] = DF_STATUS_OK;

  const NaturalScratch s(block, n, 1);
  const Partition<uniform> p(task, s.steps);
  if constexpr (!uniform) fillSteps(n, task.x, s.steps);
  fillMatrix<slot>(p, s);
  const auto order = static_cast<std::int32_t>(n);
  std::int32_t info = 0;
  DDTTRFB(&order, s.dl, s.d, s.du, &info);
  if (info != 0) return DF_ERROR_SOLVER;
  if constexpr (slot == EndSlot::periodic) {
    const std::int32_t one = 1;
    fillCorrection(p, s.rhs);
    DDTTRSB("N", &order, &one, s.dl, s.d, s.du, s.rhs, &order, &info);
    if (info != 0) return DF_ERROR_SOLVER;
  }
  SharedContext<Values, uniform> context = {&task, &p, &s, s.rhs, block + 8 * n, statuses};
  workShare.parallelFor(functions, workers, &context, blockWorker<Values, uniform, slot>);
  for (std::int64_t f = 0; f < functions; ++f)
    if (statuses[f] != DF_STATUS_OK) return statuses[f];
  return DF_STATUS_OK;
}

using NaturalKernel = std::int32_t (*)(const DfTask& task, const WorkShareTable& workShare);

template <class Values, bool uniform, EndSlot slot>
std::int32_t naturalKernel(const DfTask& task, const WorkShareTable& workShare) {
  if constexpr (level.sharesWork) {
    const std::int64_t threads = workShare.threadCount();
    const std::int64_t workers = threads < task.ny ? threads : task.ny;
    if (workers > 1 && task.nx >= 300 && (task.nx >= 600 || workers >= 8))
      return constructShared<Values, uniform, slot>(task, workers, workShare);
  }
  return constructTogether<Values, uniform, slot>(task);
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
