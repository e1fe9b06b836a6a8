#pragma once

// One tridiagonal matrix for all functions of a construction. The right-hand sides of the functions, and then
// their solutions, stand in the last n elements of the coefficient rows: cells are filled from the front and
// reach them last.

#include <cstdint>

#include "construct/values.h"
#include "solvers/tridiagonal_kernels.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct TridiagonalRows {
  std::int64_t n;
  double* dl;
  double* d;
  double* du;
};

// Elements of a coefficient row.
inline std::int64_t rowLength(const DfTask& task) {
  return task.order * (task.kind == DF_KIND_SUBBOTIN ? task.nx : task.nx - 1);
}

inline double* rowTail(const DfTask& task, std::int64_t f) {
  return task.coeffRows[f] + (rowLength(task) - task.nx);
}

// Returns 0, or the number, from 1, of a row whose pivot is zero or a NaN.
inline std::int64_t factor(const TridiagonalKernels& solver, const TridiagonalRows& rows) {
  return solver.factor(rows.n, rows.dl, rows.d, rows.du);
}

inline void solve(const TridiagonalKernels& solver, const TridiagonalRows& rows, double* b,
                  std::int64_t columns = 1, std::int64_t stride = INT64_MAX) {
  solver.solve(false, rows.n, columns, rows.dl, rows.d, rows.du, b, stride);
}

// Solves for every function: in one call if the coefficient rows stand one after another, as edit makes them.
inline void solveRows(const TridiagonalKernels& solver, const DfTask& task, const TridiagonalRows& rows) {
  const std::int64_t functions = functionCount(task);
  const std::int64_t stride = rowLength(task);
  bool contiguous = true;
  for (std::int64_t f = 1; contiguous && f < functions; ++f)
    contiguous = task.coeffRows[f] == task.coeffRows[f - 1] + stride;
  if (contiguous) return solve(solver, rows, rowTail(task, 0), functions, stride);
  for (std::int64_t f = 0; f < functions; ++f)
    solve(solver, rows, rowTail(task, f));
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
