#pragma once

// Powers in residue classes, for jumps of congruential generators; for kernel sources.

#include <cstdint>

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// base^exponent modulo `modulus`, by squaring from the lowest bit; 1 for exponent 0, whatever the base.
std::uint32_t rsgPowMod(std::uint32_t base, std::uint64_t exponent, std::uint32_t modulus) {
  std::uint64_t result = 1;
  std::uint64_t square = base;
  for (; exponent != 0; exponent >>= 1) {
    if ((exponent & 1) != 0) result = result * square % modulus;
    square = square * square % modulus;
  }
  return static_cast<std::uint32_t>(result);
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
