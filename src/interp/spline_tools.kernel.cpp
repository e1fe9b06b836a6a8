#include "interp/spline_tool_kernels.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const CheckBreakpoints breakpointCheck;

extern const SplineToolKernels splineToolKernels;
const SplineToolKernels splineToolKernels = {&breakpointCheck};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
