#include <cstdint>

#include "construct/natural_stretches.h"
#include "construct/natural_system.h"
#include "construct/scratch.h"
#include "construct/tridiagonal_rows.h"
#include "construct/values.h"
#include "task/spline_kind.h"
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

template <bool uniform>
void fillMatrix(const Partition<uniform>& p, EndPair ends, const NaturalScratch& s) {
  const std::int64_t n = p.n;
  fillMatrixRows(p, 1, n - 1, {s.dl, s.d + 1, s.du + 1});
  const EndRow left = leftRow(p, ends.left);
  s.d[0] = left.diagonal;
  s.du[0] = left.beside;
  const EndRow right = rightRow(p, ends.right);
  s.d[n - 1] = right.diagonal;
  s.dl[n - 2] = right.beside;
  if (ends.left == EndKind::periodic) {
    s.d[n - 2] = uniform ? 3.0 : 2.0 * p.step(n - 2) + p.step(n - 3);
    s.dl[n - 3] = uniform ? 1.0 : p.step(n - 2);
    s.du[n - 2] = 0.0;
  }
}

// The steps of one function around its solve.
template <class Values, bool uniform>
[[gnu::noinline]] void prepareFunction(const DfTask& task, const Partition<uniform>& p, EndPair ends,
                                       std::int64_t f, double* b) {
  const Values y(task, f);
  for (std::int64_t i = 1; i < p.n - 1; i += rowsPerRun)
    fillRhsRun(p, y, i, smaller(p.n - 1 - i, rowsPerRun), b + i);
  b[0] = leftRhs(p, y, ends.left, task.bc);
  b[p.n - 1] = rightRhs(p, y, ends.right, task.bc);
}

// Returns the status of the function's data.
template <class Values, bool uniform>
[[gnu::noinline]] std::int32_t finishFunction(const DfTask& task, const Partition<uniform>& p, EndPair ends,
                                              std::int64_t f, const double* z, double* m) {
  const Values y(task, f);
  std::int32_t status = DF_STATUS_OK;
  if (ends.left == EndKind::periodic) {
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
  EndPair ends;
  const NaturalScratch* scratch;
  const TridiagonalKernels* solver;
  std::int32_t* statuses;
};

template <class Values, bool uniform>
void blockWorker(std::int64_t f, std::int64_t, std::int64_t, void* context) {
  const auto& shared = *static_cast<const SharedContext<uniform>*>(context);
  const DfTask& task = *shared.task;
  const Partition<uniform>& p = *shared.partition;
  double* b = rowTail(task, f);
  prepareFunction<Values>(task, p, shared.ends, f, b);
  solve(*shared.solver, shared.scratch->rows(p.n), b);
  shared.statuses[f] = finishFunction<Values>(task, p, shared.ends, f, shared.scratch->column, b);
}

// Whether functions are shared among workers, and among how many.
std::int64_t workerCount(const DfTask& task, const WorkShareTable& workShare) {
  if constexpr (!level.sharesWork) return 1;
  const std::int64_t threads = workShare.threadCount();
  const std::int64_t workers = threads < task.ny ? threads : task.ny;
  return workers > 1 && task.nx >= 300 && (task.nx >= 600 || workers >= 8) ? workers : 1;
}

// One function whose ends are apart.
template <class Values, bool uniform>
[[gnu::noinline]] std::int32_t constructAlone(const DfTask& task, const Partition<uniform>& p, EndPair ends,
                                              double* work) {
  const NaturalStretches<uniform> stretches(task, p);
  if (stretches.fits()) {
    const RowValues y(task, 0);
    const EndRow left = leftRow(p, ends.left);
    const EndRow right = rightRow(p, ends.right);
    if (Stretches(stretches, work)
            .construct({left.beside / left.diagonal, leftRhs(p, y, ends.left, task.bc) / left.diagonal},
                       {right.beside / right.diagonal, rightRhs(p, y, ends.right, task.bc) / right.diagonal}))
      return DF_STATUS_OK;
  }
  const NaturalSource<Values, uniform> source(task, p, ends);
  return TwoEndedSpline(source, work).construct(false) ? DF_STATUS_OK : DF_ERROR_SOLVER;
}

template <class Values, bool uniform>
std::int32_t constructNatural(const DfTask& task, EndPair ends, const ConstructServices& services) {
  const std::int64_t n = task.nx;
  const std::int64_t functions = functionCount(task);
  const std::int64_t workers = workerCount(task, services.workShare);
  const bool periodic = ends.left == EndKind::periodic;
  const bool alone = functions == 1 && !periodic;
  const Partition<uniform> p(task);
  if (alone && n <= rowsPerRun) {
    double work[stretchesScratch(rowsPerRun)];
    return constructAlone<Values>(task, p, ends, work);
  }
  Scratch scratch;
  Scratch statusScratch;
  auto* block = scratch.allocate<double>(alone ? stretchesScratch(n) : NaturalScratch::length(n));
  if (block == nullptr) return DF_ERROR_MEMORY;
  if (alone) return constructAlone<Values>(task, p, ends, block);
  std::int32_t* statuses = nullptr;
  if (workers > 1) {
    statuses = statusScratch.allocate<std::int32_t>(functions);
    if (statuses == nullptr) return DF_ERROR_MEMORY;
  }

  const NaturalScratch s(block, n);
  const TridiagonalKernels& solver = services.solver();
  fillMatrix(p, ends, s);
  if (factor(solver, s.rows(n)) != 0) return DF_ERROR_SOLVER;
  if (periodic) {
    fillCorrection(p, s.column);
    solve(solver, s.rows(n), s.column);
  }

  std::int32_t status = DF_STATUS_OK;
  if (workers > 1) {
    SharedContext<uniform> context = {&task, &p, ends, &s, &solver, statuses};
    services.workShare.parallelFor(functions, workers, &context, blockWorker<Values, uniform>);
    for (std::int64_t f = functions; f-- > 0;)
      if (statuses[f] != DF_STATUS_OK) status = statuses[f];
    return status;
  }
  for (std::int64_t f = 0; f < functions; ++f)
    prepareFunction<Values>(task, p, ends, f, rowTail(task, f));
  solveRows(solver, task, s.rows(n));
  for (std::int64_t f = 0; f < functions; ++f) {
    const std::int32_t mismatch = finishFunction<Values>(task, p, ends, f, s.column, rowTail(task, f));
    if (mismatch != DF_STATUS_OK) status = mismatch;
  }
  return status;
}

}  // namespace

extern const SplineKind natural;
const SplineKind natural = {
    .order = DF_ORDER_CUBIC,
    .mostOrder = DF_ORDER_CUBIC,
    .kind = DF_KIND_NATURAL,
    .pieces = cubicPieces,
    .leastBreakpoints = 3,
    .testsMethod = true,
    .ends = splineEnds,
    .construct = {{{constructNatural<ColumnValues, false>, constructNatural<ColumnValues, true>},
                   {constructNatural<RowValues, false>, constructNatural<RowValues, true>}}},
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
