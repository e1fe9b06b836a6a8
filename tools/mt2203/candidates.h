#pragma once

// Values of `matrixA` that are worth a full test.

#include <cstdint>
#include <vector>

namespace mt2203 {

constexpr int sievedDegree = 20;

// The characteristic polynomial is affine in the bits of `matrixA`. With the low 16 bits and the top one given,
// an irreducible polynomial q divides it on an affine subspace of the other 15 bits, which is marked whole.
class Sieve {
 public:
  Sieve();

  // The values with top bit set and these low 16 bits whose characteristic polynomials have no factor of
  // degree up to 20, in an order that looks random and depends on the low bits only.
  std::vector<std::uint32_t> candidates(std::uint16_t lowBits) const;

 private:
  struct Divisor {
    std::uint32_t constant;    // the polynomial modulo q with only the top bit set
    std::uint32_t of[16];      // what each of the low 16 bits adds
    std::uint8_t rank;         // of what the free bits add: so many vectors,
    std::uint32_t vector[15];  // each with a leading bit that the ones behind it lack,
    std::uint16_t bits[15];    // and the free bits that make it;
    std::uint16_t kernel[15];  // 15 - rank choices of free bits that add nothing
  };
  static Divisor divisor(std::uint32_t q);

  std::vector<Divisor> divisors_;
};

}  // namespace mt2203
