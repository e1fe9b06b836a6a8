#pragma once

// Polynomials over GF(2) below x^2304 and arithmetic modulo the characteristic polynomial of a generator.

#include <cstdint>

namespace mt2203 {

constexpr int degree = 2203;  // of every characteristic polynomial: 69 words less 5 bits
constexpr int words = 36;     // 2304 bits

// Bit k of the whole is the coefficient of x^k.
struct Polynomial {
  std::uint64_t word[words];

  std::uint64_t& operator[](int i) { return word[i]; }
  std::uint64_t operator[](int i) const { return word[i]; }
  bool operator==(const Polynomial&) const = default;
};

// Of the recurrence z[i + 69] = z[i + 34] ^ (upper 27 bits of z[i] | lower 5 bits of z[i + 1]) A, where A is
// the companion matrix with last row `matrixA`:
//   u^27 v^5 + sum over i < 5 of a_i u^27 v^(4 - i) + sum over i from 5 to 31 of a_i u^(31 - i)
// with u = x^69 + x^34, v = x^68 + x^33 (M. Matsumoto, T. Nishimura, ACM TOMACS 8, 1998).
Polynomial characteristicPolynomial(std::uint32_t matrixA);

// Whether f, of degree 2203 and with no factor of degree up to `sieved`, has no factor at all. The period of a
// recurrence with such a polynomial is 2^2203 - 1, which is prime.
bool isIrreducible(const Polynomial& f, int sieved);

}  // namespace mt2203
