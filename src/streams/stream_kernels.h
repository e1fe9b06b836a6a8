#pragma once

// The per-level kernels of the random streams.

#include <cstdint>

#include <ravenfit/random_streams.h>

namespace rvn {

struct BrngRegistry;

struct StreamKernels {
  std::int32_t (*newStream)(RsgStream** stream, std::int32_t brngId, std::int64_t seedCount,
                            const std::uint32_t* seeds);
  std::int32_t (*deleteStream)(RsgStream** stream);
  std::int32_t (*uniform)(std::int32_t method, RsgStream* stream, std::int64_t n, double* r, double a,
                          double b);
  const BrngRegistry* registry;
};

}  // namespace rvn
