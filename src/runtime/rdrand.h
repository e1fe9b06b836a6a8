#pragma once

// The processor's random numbers. The function lives in one object of the archive, so that a program which
// defines it itself draws numbers of its own making.

#include <cstdint>

namespace rvn {

// RDRAND: whether a number was at hand. Callers test the feature first.
bool drawHardwareRandom(std::uint32_t* number);

}  // namespace rvn
