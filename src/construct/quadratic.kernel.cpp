#include <cstdint>

#include "construct/coefficients.h"
#include "construct/partition.h"
#include "construct/scratch.h"
#include "construct/values.h"
#include "task/spline_kind.h"
#include "vector/level.h"
#include "vector/smaller.h"

// The quadratic spline with a continuous slope whose value at the midpoint of the first cell is given. With
// w_k the value at the midpoint of cell k and h_k its step, a continuous slope at x_(k+1) makes
//
//   w_(k+1) = h_(k+1) / 4 ((y_k + 3 y_(k+1)) / h_k + (3 y_(k+1) + y_(k+2)) / h_(k+1)) - h_(k+1) / h_k w_k,
//
// and three values give the parabola of each cell.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The recursion is one chain of dependent operations, so several functions go side by side, and cells go a
// run at a time, which stays in cache from the recursion to the parabolas.
constexpr std::int64_t runCells = 256;
constexpr std::int64_t functionsAtOnce = 4;

// Up to so many breakpoints the runs stand on the stack, beyond it in a block of nx + 1 doubles.
constexpr std::int64_t breakpointsInFrame = 4094;
constexpr std::int64_t runLength = (functionsAtOnce + 1) * (runCells + 1);
static_assert(runLength <= breakpointsInFrame + 2);

// A run of cells of some functions. Element 0 of `w` belongs to the cell before the run.
struct MidpointRun {
  double* ratio;  // h_k / h_(k-1)
  double* w[functionsAtOnce];

  explicit MidpointRun(double* block) : ratio(block) {
    for (std::int64_t j = 0; j < functionsAtOnce; ++j)
      w[j] = block + (j + 1) * (runCells + 1);
  }
};

// The terms without w of the cells first .. last - 1, first > 0: they do not depend on each other.
template <class Values, bool uniform>
void fillTerms(const Partition<uniform> p, const Values y, std::int64_t first, std::int64_t last, double* w) {
  forLanes(first, last, [=]<class V>(std::int64_t k, V) {
    const V before = y.template lanes<V>(k - 1);
    const V here = y.template lanes<V>(k);
    const V after = y.template lanes<V>(k + 1);
    if constexpr (uniform) {
      store(w + (k - first), 1.5 * here + 0.25 * (before + after));
    } else {
      const V h = p.template distances<V>(k, k + 1);
      const V g = p.template distances<V>(k - 1, k);
      store(w + (k - first), 0.25 * h * ((before + 3.0 * here) / g + (3.0 * here + after) / h));
    }
  });
}

template <bool uniform>
void fillRatios(const Partition<uniform> p, std::int64_t first, std::int64_t last, double* ratio) {
  if constexpr (!uniform)
    forLanes(first, last, [=]<class V>(std::int64_t k, V) {
      store(ratio + (k - first), p.template distances<V>(k, k + 1) / p.template distances<V>(k - 1, k));
    });
}

template <bool uniform, std::int64_t functions>
void recur(std::int64_t cells, const MidpointRun run) {
  double w[functions];
  for (std::int64_t j = 0; j < functions; ++j)
    w[j] = run.w[j][0];
  for (std::int64_t k = 0; k < cells; ++k)
    for (std::int64_t j = 0; j < functions; ++j)
      run.w[j][k + 1] = w[j] = run.w[j][k + 1] - (uniform ? w[j] : run.ratio[k] * w[j]);
}

// Cells first .. last - 1; w[0] belongs to the first.
template <class Values, bool uniform>
void fillParabolas(const Partition<uniform> p, const Values y, std::int64_t first, std::int64_t last,
                   const double* w, double* c) {
  forLanes(first, last, [=]<class V>(std::int64_t i, V) {
    prefetchBehind(c + 3 * i, 3 * runCells);
    const V left = y.template lanes<V>(i);
    const V middle = load<V>(w + (i - first));
    const V bend = left - 2.0 * middle + y.template lanes<V>(i + 1);
    if constexpr (uniform) {
      const double t = p.h * 0.5;
      const double q = t * t;
      const V c2 = bend * (0.5 / q);
      storeParabolas(c + 3 * i, left, (middle - left - q * c2) * (1.0 / t), c2);
    } else {
      const V t = p.template distances<V>(i, i + 1) * 0.5;
      const V q = t * t;
      const V c2 = bend * (0.5 / q);
      storeParabolas(c + 3 * i, left, (middle - left - q * c2) / t, c2);
    }
  });
}

template <class Values, bool uniform, std::int64_t functions>
void fillFunctions(const DfTask& task, std::int64_t f, const MidpointRun run) {
  const Partition<uniform> p(task);
  const std::int64_t cells = p.n - 1;
  for (std::int64_t first = 0; first < cells; first += runCells) {
    const std::int64_t last = smaller(first + runCells, cells);
    const std::int64_t from = first > 0 ? first : 1;  // the first cell's midpoint is given
    fillRatios(p, from, last, run.ratio);
    for (std::int64_t j = 0; j < functions; ++j) {
      run.w[j][0] = first > 0 ? run.w[j][runCells] : task.bc[0];
      fillTerms(p, Values(task, f + j), from, last, run.w[j] + 1);
    }
    recur<uniform, functions>(last - from, run);
    for (std::int64_t j = 0; j < functions; ++j) {
      fillParabolas(p, Values(task, f + j), first, last, run.w[j] + (first > 0 ? 1 : 0),
                    task.coeffRows[f + j]);
      // Where the next run looks for the last midpoint.
      run.w[j][runCells] = run.w[j][last - from];
    }
  }
}

template <class Values, bool uniform>
std::int32_t constructQuadratic(const DfTask& task, EndPair, const ConstructServices&) {
  const std::int64_t functions = functionCount(task);
  double frame[runLength];
  Scratch scratch;
  double* block = task.nx <= breakpointsInFrame ? frame : scratch.allocate<double>(task.nx + 1);
  if (block == nullptr) return DF_ERROR_MEMORY;
  const MidpointRun run(block);
  std::int64_t f = 0;
  for (; f + functionsAtOnce <= functions; f += functionsAtOnce)
    fillFunctions<Values, uniform, functionsAtOnce>(task, f, run);
  for (; f < functions; ++f)
    fillFunctions<Values, uniform, 1>(task, f, run);
  return DF_STATUS_OK;
}

}  // namespace

extern const SplineKind quadratic;
const SplineKind quadratic = {
    .order = DF_ORDER_QUADRATIC,
    .mostOrder = DF_ORDER_QUADRATIC,
    .kind = DF_KIND_DEFAULT,
    .pieces = quadraticPieces,
    .ends = midpointEnds,
    .construct = {{{constructQuadratic<ColumnValues, false>, constructQuadratic<ColumnValues, true>},
                   {constructQuadratic<RowValues, false>, constructQuadratic<RowValues, true>}}},
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
