#pragma once

// Powers of ten to 128 bits, for conversions between doubles and decimals.

#include <array>
#include <cstddef>
#include <cstdint>

namespace command {

#ifdef __SIZEOF_INT128__
#define RAVENFIT_HAS_128_BITS 1
__extension__ typedef unsigned __int128 uint128;

constexpr int least_power = -342;
constexpr int largest_power = 324;
constexpr std::size_t powers = largest_power - least_power + 1;

struct power_of_ten {
  std::uint64_t high;
  std::uint64_t low;
};

// 10^k = g 2^(floor(log2 10^k) - 127) for g from 2^127 on and below 2^128, of which the whole part is given.
extern const std::array<power_of_ten, powers> powers_of_ten;
inline const power_of_ten& power_of(int k) {
  return powers_of_ten[static_cast<std::size_t>(k - least_power)];
}

// floor(log2 10^k), for |k| up to 1233.
constexpr int log2_of_power(int k) {
  return (k * 1741647) >> 19;
}
#endif

}  // namespace command
