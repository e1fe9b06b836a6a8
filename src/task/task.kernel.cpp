#include <cstddef>
#include <cstdint>

#include "runtime/memory.h"
#include "task/task_kernels.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// A table of max(rows, 1) null row pointers, or null: entries that are never set stay recognisable. Rows that
// `count` elements apart would reach beyond the address space are refused like exhausted memory.
template <class Row>
Row* allocateRows(std::int64_t rows, std::int64_t rowLength) {
  const std::int64_t entries = rows > 1 ? rows : 1;
  std::ptrdiff_t reach = 0;
  if (__builtin_mul_overflow(rowLength, entries, &reach)) return nullptr;
  if (__builtin_mul_overflow(reach, std::ptrdiff_t{sizeof(double)}, &reach)) return nullptr;
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(entries, sizeof(Row), &bytes)) return nullptr;
  auto* table = static_cast<Row*>(rvnMalloc(bytes, blockAlignment));
  if (table == nullptr) return nullptr;
  for (std::int64_t i = 0; i < entries; ++i)
    table[i] = nullptr;
  return table;
}

std::int32_t create(DfTask** task, std::int64_t nx, const double* x, std::int64_t xhint, std::int64_t ny,
                    const double* y, std::int64_t yhint, std::uint32_t flags) {
  if (nx < 2) return DF_ERROR_BREAKPOINT_COUNT;
  if (x == nullptr) return DF_ERROR_NULL_BREAKPOINTS;
  if (xhint != 0 && xhint != 1 && xhint != DF_XHINT_QUASI_UNIFORM && xhint != DF_XHINT_UNIFORM)
    return DF_ERROR_PARTITION_HINT;
  if (ny != 0 && y == nullptr) return DF_ERROR_FUNCTION_VALUES;
  if (ny == 0 && y != nullptr) return DF_ERROR_FUNCTION_COUNT;
  if (yhint != DF_VALUES_DEFAULT && yhint != DF_VALUES_BY_FUNCTION && yhint != DF_VALUES_BY_BREAKPOINT &&
      yhint != DF_VALUES_FIRST_ROW)
    return DF_ERROR_VALUES_HINT;

  // From here on *task is set, so that a failure leaves everything within reach of dfTaskDestroy.
  auto* record = static_cast<DfTask*>(rvnMalloc(sizeof(DfTask), blockAlignment));
  *task = record;
  if (record == nullptr) return DF_ERROR_MEMORY;
  *record = DfTask{};
  record->nx = nx;
  record->x = x;
  record->xhint = xhint;
  if (y != nullptr) {
    const bool byFunction = yhint == DF_VALUES_DEFAULT || yhint == DF_VALUES_BY_FUNCTION;
    record->yRows = allocateRows<const double*>(ny, nx);
    if (record->yRows == nullptr) return DF_ERROR_MEMORY;
    if (byFunction) {
      for (std::int64_t i = 0; i < ny; ++i)
        record->yRows[i] = y + static_cast<std::ptrdiff_t>(i * nx);
    } else {
      record->yRows[0] = y;
    }
  }
  record->ny = ny;
  record->yhint = yhint;
  record->flags = flags;
  record->taskClass = 4;
  record->reservedOne0 = 1;
  record->reservedOne1 = 1;

  constexpr std::size_t lookupBytes = lookupTableBytes + lookupSpareCells * sizeof(LookupCell);
  record->lookup = static_cast<LookupCell*>(rvnMalloc(lookupBytes, blockAlignment));
  if (record->lookup == nullptr) return DF_ERROR_MEMORY;
  return DF_STATUS_OK;
}

// The row table of the coefficients; the rows stand one after another unless only the first is given.
std::int32_t setCoefficients(DfTask& task, double* coeff, std::int64_t coeffHint) {
  if (task.ny == 0) return DF_ERROR_FUNCTION_COUNT;
  rvnFree(task.coeffRows);
  const std::int64_t cells = task.kind == DF_KIND_SUBBOTIN ? task.nx : task.nx - 1;
  const std::int64_t rowLength = task.order * cells;
  const bool firstRowOnly = (coeffHint & DF_COEFF_FIRST_ROW) != 0;
  task.coeffRows = allocateRows<double*>(task.ny, firstRowOnly ? 0 : rowLength);
  if (task.coeffRows == nullptr) return DF_ERROR_MEMORY;
  if (firstRowOnly) {
    task.coeffRows[0] = coeff;
  } else {
    for (std::int64_t i = 0; i < task.ny; ++i)
      task.coeffRows[i] = coeff + static_cast<std::ptrdiff_t>(i * rowLength);
  }
  return DF_STATUS_OK;
}

std::int32_t edit(DfTask* task, std::int64_t order, std::int64_t kind, std::int64_t bcType, const double* bc,
                  std::int64_t icType, const double* ic, double* coeff, std::int64_t coeffHint) {
  if (task == nullptr) return DF_ERROR_NULL_TASK;
  if (order < 0) return DF_ERROR_SPLINE_ORDER;
  if (kind < 0) return DF_ERROR_SPLINE_KIND;
  task->order = order;
  task->kind = kind;
  const bool needsArray = bcType != DF_END_NONE && bcType != DF_END_NOT_A_KNOT && bcType != DF_END_FREE &&
                          bcType != DF_END_PERIODIC;
  if (needsArray && bc == nullptr) return DF_ERROR_NULL_BOUNDARY;
  task->bcType = bcType;
  task->bc = bc;
  if (icType != 0 && ic == nullptr) return DF_ERROR_NULL_INTERNAL;
  if (icType == 0 && ic != nullptr) return DF_ERROR_INTERNAL_CONDITION;
  task->icType = icType;
  task->ic = ic;
  if (coeff != nullptr) {
    const std::int32_t status = setCoefficients(*task, coeff, coeffHint);
    if (status != DF_STATUS_OK) return status;
  }
  task->coeffHint = coeffHint;
  return DF_STATUS_OK;
}

}  // namespace

extern const TaskKernels taskKernels;
const TaskKernels taskKernels = {create, edit};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
