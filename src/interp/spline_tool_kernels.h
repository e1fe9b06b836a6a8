#pragma once

// The per-level kernels of what is done with splines beside building and evaluating them.

#include <cstdint>

#include "task/spline_kind.h"

namespace rvn {

// The index of the first of nx >= 1 breakpoints that is not finite or not above its predecessor, or -1.
using CheckBreakpoints = std::int64_t (*)(std::int64_t nx, const double* x);

// Each by the address of its record, which another unit fills in.
struct SplineToolKernels {
  const CheckBreakpoints* checkBreakpoints;
};

}  // namespace rvn
