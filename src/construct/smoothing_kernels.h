#pragma once

// The per-level kernel of smoothing splines.

#include <cstdint>

namespace rvn {

// A checked call; see ravenfit/smoothing.h.
struct SmoothingCall {
  std::int64_t nx;
  const double* x;
  bool uniform;  // x has the two ends
  std::int64_t ny;
  const double* y;
  bool byBreakpoint;
  const double* w;  // or null
  bool crossValidated;
  double lambda;
  double* lambdaUsed;  // or null
  double* coeff;
};

struct SmoothingKernels {
  std::int32_t (*smooth)(const SmoothingCall& call);
};

}  // namespace rvn
