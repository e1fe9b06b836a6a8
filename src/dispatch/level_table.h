#pragma once

// The builds of every kernel, one row per CPU level.

#include <cstdint>

#include "construct/smoothing_kernels.h"
#include "interp/interp_kernels.h"
#include "interp/spline_tool_kernels.h"
#include "solvers/tridiagonal_kernels.h"
#include "streams/stream_kernels.h"
#include "streams/variate_kernels.h"
#include "task/spline_kind.h"
#include "task/task_kernels.h"

namespace rvn {

struct LevelTable {
  const TaskKernels* task;
  const SplineKinds* kinds;
  const InterpKernels* interp;
  const StreamKernels* streams;
  const TridiagonalKernels* tridiagonal;
  const SplineToolKernels* splineTools;
  const SmoothingKernels* smoothing;
  const VariateKernels* variates;
};

// Levels 0 to 10, and behind them the builds that are tried and not shipped. A level that was not built has the table
// of the next lower one, or of the lowest; a build on trial that was not built has none.
constexpr std::int32_t levelRowCount = 12;
struct LevelTables {
  const LevelTable* row[levelRowCount];

  constexpr const LevelTable* operator[](std::int32_t level) const { return row[level]; }
};
extern const LevelTables levelTables;

// The build of the tridiagonal solver for a processor class, 2 to 7; null for any other number.
const TridiagonalKernels* solverOfClass(std::int32_t solverClass);

}  // namespace rvn
