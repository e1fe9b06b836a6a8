#include <cstdint>

#include "construct/coefficients.h"
#include "construct/scratch.h"
#include "construct/values.h"
#include "task/spline_kind.h"
#include "vector/level.h"
#include "vector/smaller.h"

// The broken line through the data: c_0 = y_i, c_1 = (y_(i+1) - y_i) / h_i.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Work is shared in blocks of so many cells and functions.
constexpr std::int64_t blockCells = 1024;
constexpr std::int64_t blockFunctions = 4;
constexpr std::int64_t leastSharedValues = 128;
constexpr std::int64_t leastSharedBlocks = 5;

template <class Values, bool uniform>
void fillLines(const DfTask& task, std::int64_t f, std::int64_t from, std::int64_t to) {
  const Values y(task, f);
  const double* x = task.x;
  double* c = task.coeffRows[f];
  const double q = uniform ? static_cast<double>(task.nx - 1) / (x[1] - x[0]) : 0.0;
  forLanes(from, to, [&]<class V>(std::int64_t i, V) {
    const V left = y.template lanes<V>(i);
    const V rise = y.template lanes<V>(i + 1) - left;
    if constexpr (uniform) {
      storeLines(c + 2 * i, left, rise * q);
    } else {
      storeLines(c + 2 * i, left, rise / (load<V>(x + i + 1) - load<V>(x + i)));
    }
  });
}

std::int64_t blocksAlongX(const DfTask& task) {
  return (task.nx - 1 + blockCells - 1) / blockCells;
}

template <class Values, bool uniform>
void blockWorker(std::int64_t block, std::int64_t, std::int64_t, void* context) {
  const DfTask& task = **static_cast<const DfTask* const*>(context);
  const std::int64_t from = block % blocksAlongX(task) * blockCells;
  const std::int64_t first = block / blocksAlongX(task) * blockFunctions;
  const std::int64_t to = smaller(from + blockCells, task.nx - 1);
  const std::int64_t last = smaller(first + blockFunctions, functionCount(task));
  for (std::int64_t f = first; f < last; ++f)
    fillLines<Values, uniform>(task, f, from, to);
}

template <class Values, bool uniform>
std::int32_t constructLinear(const DfTask& task, EndPair, const ConstructServices& services) {
  const WorkShareTable& workShare = services.workShare;
  const std::int64_t functions = functionCount(task);
  if constexpr (level.testsLinearPeriod) {
    if (task.bcType == DF_END_PERIODIC && firstUnclosed<Values>(task, functions) < functions)
      return DF_ERROR_PERIODIC_VALUES;
  }
  if (!level.sharesWork || task.nx * functions < leastSharedValues) {
    for (std::int64_t f = 0; f < functions; ++f)
      fillLines<Values, uniform>(task, f, 0, task.nx - 1);
    return DF_STATUS_OK;
  }
  const std::int64_t blocks = blocksAlongX(task) * ((functions + blockFunctions - 1) / blockFunctions);
  const DfTask* context = &task;
  runBlocks(blocks, blocks >= leastSharedBlocks, smaller(blocks, workShare.threadCount()), &context,
            blockWorker<Values, uniform>, workShare);
  return DF_STATUS_OK;
}

}  // namespace

extern const SplineKind linear;
const SplineKind linear = {
    .order = DF_ORDER_LINEAR,
    .mostOrder = DF_ORDER_LINEAR,
    .kind = anyKind,
    .pieces = linearPieces,
    .leastBreakpoints = 2,
    .testsMethod = true,
    .construct = {{{constructLinear<ColumnValues, false>, constructLinear<ColumnValues, true>},
                   {constructLinear<RowValues, false>, constructLinear<RowValues, true>}}},
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
