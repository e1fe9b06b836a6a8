#include "interp/spline_tool_kernels.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const CheckBreakpoints breakpointCheck;
extern const Integrate integration;
extern const CalculusKernels calculusKernels;
extern const Solve rootFinder;
extern const Invert inversion;

extern const SplineToolKernels splineToolKernels;
const SplineToolKernels splineToolKernels = {&breakpointCheck, &integration, &calculusKernels, &rootFinder,
                                             &inversion};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
