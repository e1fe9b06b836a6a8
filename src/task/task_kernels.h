#pragma once

// The per-level kernels of the task layer.

#include <cstdint>

#include "task/df_task.h"

namespace rvn {

struct TaskKernels {
  std::int32_t (*create)(DfTask** task, std::int64_t nx, const double* x, std::int64_t xhint, std::int64_t ny,
                         const double* y, std::int64_t yhint, std::uint32_t flags);
  std::int32_t (*edit)(DfTask* task, std::int64_t order, std::int64_t kind, std::int64_t bcType,
                       const double* bc, std::int64_t icType, const double* ic, double* coeff,
                       std::int64_t coeffHint);
};

}  // namespace rvn
