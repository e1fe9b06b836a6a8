#include <cstdint>

#include "construct/coefficients.h"
#include "construct/partition.h"
#include "construct/values.h"
#include "task/spline_kind.h"
#include "vector/level.h"
#include "vector/smaller.h"

// The cubic spline with given second derivatives M_i at the interior breakpoints, the same for every
// function. With steps h_i and divided differences d_i a cell inside is
//
//   c_1 = d_i - (M_(i+1) / 6 + M_i / 3) h_i,   c_2 = M_i / 2,   c_3 = (M_(i+1) - M_i) / (6 h_i).
//
// All but d_i is common to all functions, so cells are built a run at a time, for one function after another.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t runCells = 256;
constexpr double third = 1.0 / 3.0;
constexpr double sixth = 1.0 / 6.0;

// What the functions share of one run of cells.
struct SharedRun {
  double r[runCells];   // reciprocal steps
  double c1[runCells];  // the part of c_1 that is taken from d_i
  double c3[runCells];
};

// Interior cells first .. last - 1.
template <bool uniform>
void fillShared(Partition<uniform> p, const double* ic, std::int64_t first, std::int64_t last,
                SharedRun& run) {
  forLanes(first, last, [&]<class V>(std::int64_t i, V) {
    const V r = p.template reciprocals<V>(i);
    const V bend = load<V>(ic + i - 1);
    const V bendNext = load<V>(ic + i);
    store(run.r + (i - first), r);
    store(run.c1 + (i - first), (bendNext * sixth + bend * third) * p.template distances<V>(i, i + 1));
    store(run.c3 + (i - first), (bendNext - bend) * sixth * r);
  });
}

template <class Values>
[[gnu::noinline]] void fillInterior(Values y, const double* ic, std::int64_t first, std::int64_t last,
                                    const SharedRun& run, double* c) {
  forLanes(first, last, [=, &run]<class V>(std::int64_t i, V) {
    const V left = y.template lanes<V>(i);
    const V d = (y.template lanes<V>(i + 1) - left) * load<V>(run.r + (i - first));
    storeCells(c + 4 * i, Cubic<V>{left, d - load<V>(run.c1 + (i - first)), 0.5 * load<V>(ic + i - 1),
                                   load<V>(run.c3 + (i - first))});
  });
}

// The first cell; c_3 of the second one is there already.
void fillFirst(EndKind end, double y, double d, double g, const double* bc, double bend, double* c) {
  c[0] = y;
  switch (end) {
    case EndKind::notAKnot:
      c[3] = c[7];
      c[2] = 0.5 * bend - 3.0 * g * c[3];
      c[1] = d - (c[2] + c[3] * g) * g;
      break;
    case EndKind::free:
      c[3] = bend / (6.0 * g);
      c[2] = 0.0;
      c[1] = d - g * g * c[3];
      break;
    case EndKind::slope:
      c[1] = bc[0];
      c[3] = 0.5 * (bc[0] - d) / (g * g) + 0.25 * bend / g;
      c[2] = 0.5 * bend - 3.0 * g * c[3];
      break;
    case EndKind::curvature:
      c[2] = 0.5 * bc[0];
      c[3] = (0.5 * bend - c[2]) / (3.0 * g);
      c[1] = d - (c[3] * g + c[2]) * g;
      break;
    default:  // periodic
      c[2] = 0.5 * bc[0];
      c[1] = d - g * (2.0 * bc[0] + bend) / 6.0;
      c[3] = (bend - bc[0]) / (6.0 * g);
      break;
  }
}

// The last cell; c_3 of the cell before it stands at c[-1]. A free end halves the given second derivative at
// the right end, unlike at the left one.
void fillLast(EndKind end, double y, double d, double g, const double* bc, double bend, double* c) {
  c[0] = y;
  c[2] = 0.5 * bend;
  switch (end) {
    case EndKind::notAKnot:
      c[3] = c[-1];
      break;
    case EndKind::free:
      c[3] = -c[2] / (6.0 * g);
      break;
    case EndKind::slope:
      c[3] = ((bc[1] - d) / g - c[2]) * 0.5 / g;
      break;
    case EndKind::curvature:
      c[3] = (bc[1] - bend) / (6.0 * g);
      break;
    default:  // periodic
      c[3] = (bc[0] - bend) / (6.0 * g);
      c[1] = d - g * (2.0 * bend + bc[0]) / 6.0;
      return;
  }
  c[1] = d - (c[3] * g + c[2]) * g;
}

template <class Values, bool uniform>
std::int32_t constructFromSecondDerivatives(const DfTask& task, EndPair ends, const ConstructServices&) {
  const std::int64_t n = task.nx;
  const std::int64_t functions = functionCount(task);
  const Partition<uniform> p(task);
  SharedRun run;

  // Functions before one with ends that differ are complete, those behind it stay untouched.
  const std::int64_t closed =
      ends.left == EndKind::periodic ? firstUnclosed<Values>(task, functions) : functions;
  const std::int64_t begun = smaller(closed + 1, functions);
  for (std::int64_t i = 1; i < n - 2; i += runCells) {
    const std::int64_t last = smaller(i + runCells, n - 2);
    fillShared(p, task.ic, i, last, run);
    for (std::int64_t f = 0; f < begun; ++f)
      fillInterior(Values(task, f), task.ic, i, last, run, task.coeffRows[f]);
  }
  for (std::int64_t f = 0; f < closed; ++f) {
    const Values y(task, f);
    double* c = task.coeffRows[f];
    if (n == 3) c[7] = 0.0;
    // Of two cells, the one whose end stands for itself comes first.
    const bool lastFirst = ends.left == EndKind::notAKnot && ends.right != EndKind::notAKnot;
    const auto fillEnd = [&] {
      fillLast(ends.right, y[n - 2], p.difference(y, n - 2), p.step(n - 2), task.bc, task.ic[n - 3],
               c + 4 * (n - 2));
    };
    if (lastFirst) fillEnd();
    fillFirst(ends.left, y[0], p.difference(y, 0), p.step(0), task.bc, task.ic[0], c);
    if (!lastFirst) fillEnd();
  }
  return closed < functions ? DF_ERROR_PERIODIC_VALUES : DF_STATUS_OK;
}

}  // namespace

extern const SplineKind secondDerivatives;
const SplineKind secondDerivatives = {
    .order = DF_ORDER_CUBIC,
    .mostOrder = DF_ORDER_CUBIC,
    .kind = DF_KIND_DEFAULT,
    .pieces = cubicPieces,
    .leastBreakpoints = 3,
    .internal = DF_IC_CURVATURES,
    .ends = splineEnds,
    .endsWithValues = givenEnds | mixedEnds | periodicEnds,
    .construct = {{{constructFromSecondDerivatives<ColumnValues, false>,
                    constructFromSecondDerivatives<ColumnValues, true>},
                   {constructFromSecondDerivatives<RowValues, false>,
                    constructFromSecondDerivatives<RowValues, true>}}},
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
