#include <cstddef>
#include <cstdint>

#include "runtime/memory.h"
#include "task/task_kernels.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Up to so many functions the rows of coefficients have their place in the record's block.
constexpr std::int64_t functionsInBlock = 64;

std::int64_t rowCount(std::int64_t ny) {
  return ny > 1 ? ny : 1;
}

// Whether `rows` rows of `rowLength` doubles lie inside the address space.
bool reachable(std::int64_t rows, std::int64_t rowLength) {
  std::ptrdiff_t reach = 0;
  return !__builtin_mul_overflow(rowLength, rows, &reach) &&
         !__builtin_mul_overflow(reach, std::ptrdiff_t{sizeof(double)}, &reach);
}

// The block of a task: the record, its row tables, its look-up table.
struct TaskLayout {
  std::int64_t rows;
  std::int64_t coeffRows;
  std::size_t bytes = 0;
  bool fits = false;

  TaskLayout(std::int64_t nx, std::int64_t xhint, std::int64_t ny)
      : rows(rowCount(ny)), coeffRows(rows <= functionsInBlock ? rows : 0) {
    const std::int64_t cells = xhint == DF_XHINT_UNIFORM ? 0 : lookupCellsOf(nx);
    std::size_t rowBytes = 0;
    fits = !__builtin_mul_overflow(rows + coeffRows, sizeof(double*), &rowBytes) &&
           !__builtin_add_overflow(
               rowBytes, sizeof(DfTask) + static_cast<std::size_t>(cells) * sizeof(LookupCell), &bytes);
  }
};
static_assert(sizeof(DfTask) % alignof(LookupCell) == 0);

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

  const TaskLayout layout(nx, xhint, ny);
  const bool fits = layout.fits && (y == nullptr || reachable(layout.rows, nx));
  auto* record = fits ? static_cast<DfTask*>(rvnMalloc(layout.bytes, blockAlignment)) : nullptr;
  *task = record;
  if (record == nullptr) return DF_ERROR_MEMORY;
  *record = DfTask{};
  record->nx = nx;
  record->x = x;
  record->xhint = xhint;
  // Entries that are never set stay recognisable.
  auto** const rows = reinterpret_cast<const double**>(record + 1);
  for (std::int64_t i = 0; i < layout.rows + layout.coeffRows; ++i)
    rows[i] = nullptr;
  if (y != nullptr) {
    record->yRows = rows;
    if (yhint == DF_VALUES_DEFAULT || yhint == DF_VALUES_BY_FUNCTION) {
      for (std::int64_t i = 0; i < ny; ++i)
        rows[i] = y + static_cast<std::ptrdiff_t>(i * nx);
    } else {
      rows[0] = y;
    }
  }
  if (layout.coeffRows > 0) record->coeffRoom = const_cast<double**>(rows + layout.rows);
  record->lookup = reinterpret_cast<LookupCell*>(rows + layout.rows + layout.coeffRows);
  record->ny = ny;
  record->yhint = yhint;
  record->flags = flags;
  record->taskClass = 4;
  record->reservedOne0 = 1;
  record->reservedOne1 = 1;
  return DF_STATUS_OK;
}

// The row table of the coefficients; the rows stand one after another unless only the first is given. Rows that reach
// beyond the address space are refused like exhausted memory.
std::int32_t setCoefficients(DfTask& task, double* coeff, std::int64_t coeffHint) {
  if (task.ny == 0) return DF_ERROR_FUNCTION_COUNT;
  if (task.coeffRows != task.coeffRoom) rvnFree(task.coeffRows);
  task.coeffRows = nullptr;
  const std::int64_t rows = rowCount(task.ny);
  const std::int64_t cells = task.kind == DF_KIND_SUBBOTIN ? task.nx : task.nx - 1;
  const std::int64_t rowLength = task.order * cells;
  const bool firstRowOnly = (coeffHint & DF_COEFF_FIRST_ROW) != 0;
  if (!firstRowOnly && !reachable(rows, rowLength)) return DF_ERROR_MEMORY;
  double** table = task.coeffRoom;
  if (table == nullptr) {
    std::size_t bytes = 0;
    if (!__builtin_mul_overflow(rows, sizeof(double*), &bytes))
      table = static_cast<double**>(rvnMalloc(bytes, blockAlignment));
    if (table == nullptr) return DF_ERROR_MEMORY;
  }
  task.coeffRows = table;
  table[0] = firstRowOnly || task.ny > 0 ? coeff : nullptr;
  for (std::int64_t i = 1; i < rows; ++i)
    table[i] = firstRowOnly ? nullptr : coeff + static_cast<std::ptrdiff_t>(i * rowLength);
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
