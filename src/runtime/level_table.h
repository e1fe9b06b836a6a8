#pragma once

// The builds of every kernel, one row per CPU level.

#include "construct/construct_kernels.h"
#include "interp/interp_kernels.h"
#include "solvers/tridiagonal_kernels.h"
#include "streams/stream_kernels.h"
#include "task/task_kernels.h"

namespace rvn {

struct LevelTable {
  const TaskKernels* task;
  const ConstructKernels* construct;
  const InterpKernels* interp;
  const StreamKernels* streams;
  const TridiagonalKernels* tridiagonal;
};

// Rows 0 and 1 are the same build.
extern const LevelTable* const levelTables[10];

}  // namespace rvn
