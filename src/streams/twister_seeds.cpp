#include <cstdint>
#include <cstring>

#include "streams/twister_states.h"

namespace rvn {
namespace {

constexpr std::uint32_t firstFactor = 1664525;
constexpr std::uint32_t secondFactor = 1566083941;

}  // namespace

// Seeding by an array (M. Matsumoto, T. Nishimura, 2002). The key's position is added, the array's subtracted.
void seedTwister(std::uint32_t* mt, std::uint32_t size, std::int64_t count, const std::uint32_t* seeds) {
  constexpr std::uint32_t one = 1;
  const std::uint32_t* const key = count < 1 ? &one : seeds;
  const std::int64_t keyCount = count < 1 ? 1 : count;
  mt[0] = 19650218;
  for (std::uint32_t i = 1; i < size; ++i)
    mt[i] = 1812433253 * (mt[i - 1] ^ (mt[i - 1] >> 30)) + i;

  std::uint32_t i = 1;
  const auto advance = [&] {
    if (++i < size) return;
    mt[0] = mt[size - 1];
    i = 1;
  };
  std::int64_t j = 0;
  for (std::int64_t step = 0; step < (keyCount < size ? size : keyCount); ++step) {
    mt[i] =
        (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * firstFactor)) + key[j] + static_cast<std::uint32_t>(j);
    advance();
    if (++j == keyCount) j = 0;
  }
  for (std::uint32_t step = 1; step < size; ++step) {
    mt[i] = (mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * secondFactor)) - i;
    advance();
  }
  mt[0] = 0x80000000;
}

// Seeding by an array and the certification of the period (M. Saito, M. Matsumoto, 2008).
void seedSfmt19937(std::uint32_t* sfmt, std::int64_t count, const std::uint32_t* seeds) {
  constexpr std::uint32_t size = 624;
  constexpr std::uint32_t middle = 306;
  constexpr std::uint32_t lag = 11;
  constexpr std::uint32_t one = 1;
  const std::uint32_t* const key = count < 1 ? &one : seeds;
  const std::int64_t keyCount = count < 1 ? 1 : count;
  std::memset(sfmt, 0x8B, size * sizeof *sfmt);

  const auto folded = [](std::uint32_t x) { return x ^ (x >> 27); };
  const auto at = [&](std::uint32_t i) -> std::uint32_t& { return sfmt[i % size]; };
  std::uint32_t r = folded(sfmt[0] ^ sfmt[middle] ^ sfmt[size - 1]) * firstFactor;
  sfmt[middle] += r;
  r += static_cast<std::uint32_t>(keyCount);
  sfmt[middle + lag] += r;
  sfmt[0] = r;

  std::uint32_t i = 1;
  const std::int64_t steps = keyCount + 1 < size ? size - 1 : keyCount;
  for (std::int64_t j = 0; j < steps; ++j) {
    r = folded(sfmt[i] ^ at(i + middle) ^ at(i + size - 1)) * firstFactor;
    at(i + middle) += r;
    r += i + (j < keyCount ? key[j] : 0);
    at(i + middle + lag) += r;
    sfmt[i] = r;
    i = (i + 1) % size;
  }
  for (std::uint32_t step = 0; step < size; ++step) {
    r = folded(sfmt[i] + at(i + middle) + at(i + size - 1)) * secondFactor;
    at(i + middle) ^= r;
    r -= i;
    at(i + middle + lag) ^= r;
    sfmt[i] = r;
    i = (i + 1) % size;
  }

  // A state whose product with this vector is even may lie on a shorter cycle; its lowest bit mends that.
  constexpr std::uint32_t parity[4] = {0x00000001, 0, 0, 0x13C9E684};
  std::uint32_t product = 0;
  for (std::uint32_t k = 0; k < 4; ++k)
    product ^= sfmt[k] & parity[k];
  for (int shift = 16; shift > 0; shift /= 2)
    product ^= product >> shift;
  if ((product & 1) == 0) sfmt[0] ^= 1;
}

}  // namespace rvn
