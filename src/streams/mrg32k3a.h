#pragma once

// Constants and jumps of the combined multiple recursive generator MRG32k3a.

#include <cstdint>

namespace rvn {

// A linear map of three successive values, oldest first, modulo the component's modulus.
struct Mrg32k3aMatrix {
  std::uint32_t at[3][3];
};

// One step of a component: x <- (a1 x[1] + a0 x[0] + a2 x[2]) mod m, with a1 or a2 zero and a0 negative.
struct Mrg32k3aComponent {
  std::uint32_t m;
  std::uint32_t factor;      // of the positive term
  std::uint32_t positive;    // index of the value it multiplies
  std::uint32_t subtracted;  // times the oldest value
};

constexpr Mrg32k3aComponent mrg32k3aX = {4294967087, 1403580, 1, 810728};
constexpr Mrg32k3aComponent mrg32k3aY = {4294944443, 527612, 2, 1370589};

// Both components' steps taken 2^k times, for k = 0 .. 63.
struct Mrg32k3aJumps {
  struct {
    Mrg32k3aMatrix x;
    Mrg32k3aMatrix y;
  } power[64];
};
extern const Mrg32k3aJumps mrg32k3aJumps;

}  // namespace rvn
