#pragma once

// One tridiagonal matrix for all functions of a construction. The right-hand sides of the functions, and then
// their solutions, stand in the last n elements of the coefficient rows: cells are filled from the front and
// reach them last.

#include <cstdint>

#include "construct/framework.h"

#include <ravenfit/tridiagonal.h>

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct TridiagonalRows {
  std::int64_t n;
  double* dl;
  double* d;
  double* du;
};

// Elements of a coefficient row.
[[maybe_unused]] inline std::int64_t rowLength(const DfTask& task) {
  return task.order * (task.kind == DF_KIND_SUBBOTIN ? task.nx : task.nx - 1);
}

[[maybe_unused]] inline double* rowTail(const DfTask& task, std::int64_t f) {
  return task.coeffRows[f] + (rowLength(task) - task.nx);
}

// Both return the solver's info.
[[maybe_unused]] inline std::int32_t factor(const TridiagonalRows& rows) {
  const auto n = static_cast<std::int32_t>(rows.n);
  std::int32_t info = 0;
  DDTTRFB(&n, rows.dl, rows.d, rows.du, &info);
  return info;
}

[[maybe_unused]] inline std::int32_t solve(const TridiagonalRows& rows, double* b, std::int64_t columns = 1,
                                           std::int64_t stride = INT32_MAX) {
  const auto n = static_cast<std::int32_t>(rows.n);
  const auto nrhs = static_cast<std::int32_t>(columns);
  const auto ldb = static_cast<std::int32_t>(stride);
  std::int32_t info = 0;
  DDTTRSB("N", &n, &nrhs, rows.dl, rows.d, rows.du, b, &ldb, &info);
  return info;
}

// Solves for every function: in one call if the coefficient rows stand one after another, as edit makes them.
[[maybe_unused]] inline std::int32_t solveRows(const DfTask& task, const TridiagonalRows& rows) {
  const std::int64_t functions = functionCount(task);
  const std::int64_t stride = rowLength(task);
  bool contiguous = stride <= INT32_MAX;
  for (std::int64_t f = 1; contiguous && f < functions; ++f)
    contiguous = task.coeffRows[f] == task.coeffRows[f - 1] + stride;
  if (contiguous) return solve(rows, rowTail(task, 0), functions, stride);
  for (std::int64_t f = 0; f < functions; ++f)
    if (const std::int32_t info = solve(rows, rowTail(task, f))) return info;
  return 0;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
