#pragma once

// The tridiagonal solver's kernels for the processor's class, which has a scale of its own.

#include "solvers/tridiagonal_kernels.h"

namespace rvn {

// Ends the process, with a message, on a class that the solver does not know.
const TridiagonalKernels& solverKernels();

}  // namespace rvn
