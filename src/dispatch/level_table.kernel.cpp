#include "dispatch/level_table.h"

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const TaskKernels taskKernels;
extern const SplineKinds splineKinds;
extern const InterpKernels interpKernels;
extern const StreamKernels streamKernels;
extern const TridiagonalKernels tridiagonalKernels;
extern const SplineToolKernels splineToolKernels;
extern const SmoothingKernels smoothingKernels;
extern const VariateKernels variateKernels;

extern const LevelTable levelTable;
const LevelTable levelTable = {&taskKernels,        &splineKinds,       &interpKernels,    &streamKernels,
                               &tridiagonalKernels, &splineToolKernels, &smoothingKernels, &variateKernels};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
