#pragma once

// The per-level kernels of variates.

#include <cstdint>

#include <ravenfit/random_streams.h>

namespace rvn {

// Checked calls with n above 0; each returns a stream status.
struct VariateKernels {
  std::int32_t (*normal)(RsgStream* stream, std::int64_t n, double* r, double mean, double sigma);
  std::int32_t (*exponential)(RsgStream* stream, std::int64_t n, double* r, double mean);
  std::int32_t (*logNormal)(RsgStream* stream, std::int64_t n, double* r, double mean, double sigma);
};

}  // namespace rvn
