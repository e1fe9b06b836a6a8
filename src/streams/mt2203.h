#pragma once

// Parameters of the members of MT2203: matrixA, temperB, temperC. Every matrixA gives the period 2^2203 - 1, and
// no two share their low 16 bits.

#include <cstdint>

namespace rvn {

constexpr std::int32_t mt2203Members = 6024;

extern const std::uint32_t Mt2203Parameters[mt2203Members][3];

}  // namespace rvn
