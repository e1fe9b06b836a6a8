#include "mt2203/candidates.h"

#include <bit>

namespace mt2203 {
namespace {

constexpr int freeBits = 15;

std::uint64_t product(std::uint32_t a, std::uint32_t b) {
  std::uint64_t out = 0;
  for (std::uint64_t shifted = a; b != 0; b >>= 1, shifted <<= 1)
    if ((b & 1) != 0) out ^= shifted;
  return out;
}

int degreeOf(std::uint32_t p) {
  return static_cast<int>(std::bit_width(p)) - 1;
}

// All irreducible polynomials of degrees 2 to sievedDegree, by the sieve of Eratosthenes. Neither x nor x + 1
// can divide a characteristic polynomial whose top bit of `matrixA` is set.
std::vector<std::uint32_t> irreducibles() {
  constexpr std::uint32_t end = 2u << sievedDegree;
  std::vector<bool> composite(end);
  std::vector<std::uint32_t> found;
  for (std::uint32_t p = 2; p < end; ++p) {
    if (composite[p]) continue;
    if (p > 3) found.push_back(p);
    const int room = sievedDegree - degreeOf(p);
    if (room < degreeOf(p)) continue;
    for (std::uint32_t cofactor = 2; cofactor < 2u << room; ++cofactor)
      composite[static_cast<std::size_t>(product(p, cofactor))] = true;
  }
  return found;
}

// Residues modulo q, of degree up to 20.
struct Field {
  std::uint32_t q;

  std::uint32_t timesX(std::uint32_t a) const {
    a <<= 1;
    return (a >> degreeOf(q) & 1) != 0 ? a ^ q : a;
  }
  std::uint32_t times(std::uint32_t a, std::uint32_t b) const {
    std::uint32_t out = 0;
    for (; b != 0; b >>= 1, a = timesX(a))
      if ((b & 1) != 0) out ^= a;
    return out;
  }
};

// The mixing function of splitmix64 (G. L. Steele, D. Lea, C. H. Flood, 2014).
std::uint64_t mixed(std::uint64_t z) {
  z += 0x9E3779B97F4A7C15u;
  z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9u;
  z = (z ^ z >> 27) * 0x94D049BB133111EBu;
  return z ^ z >> 31;
}

}  // namespace

Sieve::Divisor Sieve::divisor(std::uint32_t q) {
  const Field field{q};
  std::uint32_t power = 1;  // x^k
  std::uint32_t u = 0;
  std::uint32_t v = 0;
  for (int k = 0; k <= 69; ++k) {
    if (k == 33 || k == 68) v ^= power;
    if (k == 34 || k == 69) u ^= power;
    power = field.timesX(power);
  }
  std::uint32_t of[33];  // of[i]: what bit 31 - i adds; the last is the leading term
  of[0] = 1;
  for (int i = 1; i < 33; ++i)
    of[i] = field.times(of[i - 1], i <= 27 ? u : v);

  Divisor d = {};
  d.constant = of[32] ^ of[0];
  for (int i = 0; i < 16; ++i)
    d.of[i] = of[31 - i];
  int kernels = 0;
  for (int i = 0; i < freeBits; ++i) {
    std::uint32_t vector = of[15 - i];
    auto bits = static_cast<std::uint16_t>(1 << i);
    for (int k = 0; k < d.rank; ++k)
      if ((vector ^ d.vector[k]) < vector) {
        vector ^= d.vector[k];
        bits ^= d.bits[k];
      }
    if (vector == 0) {
      d.kernel[kernels++] = bits;
      continue;
    }
    // Vectors stay in descending order, so that one pass from the front reduces.
    int at = d.rank++;
    for (; at > 0 && d.vector[at - 1] < vector; --at) {
      d.vector[at] = d.vector[at - 1];
      d.bits[at] = d.bits[at - 1];
    }
    d.vector[at] = vector;
    d.bits[at] = bits;
  }
  return d;
}

Sieve::Sieve() {
  for (const std::uint32_t q : irreducibles())
    divisors_.push_back(divisor(q));
}

std::vector<std::uint32_t> Sieve::candidates(std::uint16_t lowBits) const {
  constexpr std::uint32_t count = 1u << freeBits;
  std::vector<bool> divided(count);
  for (const Divisor& d : divisors_) {
    std::uint32_t rest = d.constant;
    for (int i = 0; i < 16; ++i)
      if ((lowBits >> i & 1) != 0) rest ^= d.of[i];
    std::uint32_t free = 0;
    for (int k = 0; k < d.rank; ++k)
      if ((rest ^ d.vector[k]) < rest) {
        rest ^= d.vector[k];
        free ^= d.bits[k];
      }
    if (rest != 0) continue;
    const std::uint32_t solutions = 1u << (freeBits - d.rank);
    for (std::uint32_t i = 1; i <= solutions; ++i) {
      divided[free] = true;
      if (i < solutions) free ^= d.kernel[std::countr_zero(i)];
    }
  }
  const std::uint64_t order = mixed(lowBits);
  std::vector<std::uint32_t> left;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto free = static_cast<std::uint32_t>(order + i * (order >> 32 | 1)) % count;
    if (!divided[free]) left.push_back(0x80000000u | free << 16 | lowBits);
  }
  return left;
}

}  // namespace mt2203
