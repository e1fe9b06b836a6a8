#include <cstdint>

#include "construct/construct_kernels.h"
#include "construct/natural_system.h"
#include "construct/tridiagonal_rows.h"
#include "vector/level.h"

// The cubic spline with two continuous derivatives. A single function is built in one go; several share one
// factored matrix, and their right-hand sides are solved side by side inside their own coefficient rows.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The arrays of one construction of several functions, or of a periodic one, inside its scratch block.
struct NaturalScratch {
  double* dl;      // n - 1
  double* d;       // n
  double* du;      // n - 1
  double* column;  // n: the vector u of periodic ends, then its solution z

  NaturalScratch(double* block, std::int64_t n)
      : dl(block), d(dl + (n - 1)), du(d + n), column(du + (n - 1)) {}

  static std::int64_t length(std::int64_t n) { return 4 * n - 2; }
  TridiagonalRows rows(std::int64_t n) const { return {n, dl, d, du}; }
};

template <EndSlot slot, bool uniform>
void fillMatrix(const Partition<uniform>& p, const NaturalScratch& s) {
  const std::int64_t n = p.n;
  fillMatrixRows(p, 1, n - 1, {s.dl, s.d + 1, s.du + 1});
  const EndRow left = leftRow<slot>(p);
  s.d[0] = left.diagonal;
  s.du[0] = left.beside;
  const EndRow right = rightRow<slot>(p);
  s.d[n - 1] = right.diagonal;
  s.dl[n - 2] = right.beside;
  if constexpr (slot == EndSlot::periodic) {
    s.d[n - 2] = uniform ? 3.0 : 2.0 * p.step(n - 2) + p.step(n - 3);
    s.dl[n - 3] = uniform ? 1.0 : p.step(n - 2);
    s.du[n - 2] = 0.0;
  }
}

// The steps of one function around its solve.
template <class Values, bool uniform, EndSlot slot>
void prepareFunction(const DfTask& task, const Partition<uniform>& p, std::int64_t f, double* b) {
  const Values y(task, f);
  for (std::int64_t i = 1; i < p.n - 1; i += rowsPerRun)
    fillRhsRun(p, y, i, least(p.n - 1 - i, rowsPerRun), b + i);
  b[0] = leftRhs<slot>(p, y, task.bc);
  b[p.n - 1] = rightRhs<slot>(p, y, task.bc);
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
  fillCoefficients(p, y, m, task.coeffRows[f], 0, p.n - 1);
  return status;
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
  if (solve(shared.scratch->rows(p.n), b) != 0) {
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
  auto* block = scratch.allocate<double>(
      functions == 1 && slot != EndSlot::periodic ? 2 * n : NaturalScratch::length(n));
  if (block == nullptr) return DF_ERROR_MEMORY;
  std::int32_t* statuses = nullptr;
  if (workers > 1) {
    statuses = statusScratch.allocate<std::int32_t>(functions);
    if (statuses == nullptr) return DF_ERROR_MEMORY;
  }

  const Partition<uniform> p(task);
  if constexpr (slot != EndSlot::periodic)
    if (functions == 1) {
      const NaturalSource<Values, uniform, slot> source(task, p);
      return TwoEndedSpline(source, block).construct(false) ? DF_STATUS_OK : DF_ERROR_SOLVER;
    }
  const NaturalScratch s(block, n);
  fillMatrix<slot>(p, s);
  if (factor(s.rows(n)) != 0) return DF_ERROR_SOLVER;
  if constexpr (slot == EndSlot::periodic) {
    fillCorrection(p, s.column);
    if (solve(s.rows(n), s.column) != 0) return DF_ERROR_SOLVER;
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
  if (solveRows(task, s.rows(n)) != 0) return DF_ERROR_SOLVER;
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
