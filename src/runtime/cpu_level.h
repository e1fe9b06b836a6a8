#pragma once

// Which build of every kernel this process uses. Both scales are worked out at first need and then stay fixed.

#include <cstdint>

namespace rvn {

// 1 .. 9 by detection, also 0 or a negative number by the override. Lock-free: racing threads store one value.
std::int32_t cpuLevel();

// The older scale of the tridiagonal solver, 2 .. 8; a negative value is worked out anew at the next call.
std::int32_t solverCpuType();

// `mode` 0: the stored solverCpuType; otherwise the detection proper, 2 .. 7.
std::int32_t detectCpuType(std::int32_t mode);

// Bit mask of processor features; bit 0 is set once it has been read.
std::uint64_t cpuFeaturesRead();

// Whether the vendor string is "GenuineVetra", or RVN_ANY_VENDOR is set to a non-empty value.
bool isGenuineVetra();

}  // namespace rvn
