#pragma once

// The per-level kernels of the random streams.

#include <cstdint>

#include <ravenfit/random_streams.h>

namespace rvn {

struct BrngRecord;
struct BrngRegistry;

// Fills with values of 32-bit words; each returns a status. r may have any address.
struct ValueKernels {
  std::int32_t (*words32)(RsgStream* stream, std::int64_t n, void* r);
  std::int32_t (*words64)(RsgStream* stream, std::int64_t n, void* r);
  // low .. low + count - 1; 0 counts as 2^32.
  std::int32_t (*integers)(RsgStream* stream, std::int64_t n, std::int32_t* r, std::int32_t low,
                           std::uint32_t count);
  std::int32_t (*uniformFloat)(RsgStream* stream, std::int64_t n, float* r, float a, float b, float belowB);
  std::int32_t (*uniform53)(RsgStream* stream, std::int64_t n, double* r);
};

struct StreamKernels {
  std::int32_t (*newStream)(RsgStream** stream, std::int32_t brngId, std::int64_t seedCount,
                            const std::uint32_t* seeds);
  std::int32_t (*deleteStream)(RsgStream** stream);
  std::int32_t (*uniform)(std::int32_t method, RsgStream* stream, std::int64_t n, double* r, double a,
                          double b);
  const BrngRegistry* registry;
  const BrngRecord* (*find)(std::int32_t brngId);  // null: streams cannot be made of it
  const ValueKernels* values;
};

}  // namespace rvn
