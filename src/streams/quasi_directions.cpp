#include "streams/quasi_directions.h"

namespace rvn {
namespace {

// Polynomials over GF(2) are integers whose bit k is the coefficient of x^k.
constexpr int degree(std::uint64_t p) {
  int e = -1;
  for (; p != 0; p >>= 1)
    ++e;
  return e;
}

constexpr std::uint64_t product(std::uint64_t p, std::uint64_t q) {
  std::uint64_t sum = 0;
  for (; q != 0; q >>= 1, p <<= 1)
    if ((q & 1) != 0) sum ^= p;
  return sum;
}

constexpr int largestSobolDegree = 8;

struct SobolCoordinate {
  std::uint16_t polynomial;            // primitive, of degree s
  std::uint8_t m[largestSobolDegree];  // the first s of them, m[j] odd and below 2^(j+1)
};

// The coordinates from 1 on: P. Bratley, B. L. Fox, Algorithm 659, ACM Transactions on Mathematical Software 14,
// 1988. Coordinate 0 has all m[j] equal to 1.
constexpr SobolCoordinate sobolCoordinates[sobolDimensions - 1] = {
    {3, {1}},
    {7, {1, 1}},
    {11, {1, 3, 7}},
    {13, {1, 1, 5}},
    {19, {1, 3, 1, 1}},
    {25, {1, 1, 3, 7}},
    {37, {1, 3, 3, 9, 9}},
    {59, {1, 3, 7, 13, 3}},
    {47, {1, 1, 5, 11, 27}},
    {61, {1, 3, 5, 1, 15}},
    {55, {1, 1, 7, 3, 29}},
    {41, {1, 3, 7, 7, 21}},
    {67, {1, 1, 1, 9, 23, 37}},
    {97, {1, 3, 3, 5, 19, 33}},
    {91, {1, 1, 3, 13, 11, 7}},
    {109, {1, 1, 7, 13, 25, 5}},
    {103, {1, 3, 5, 11, 7, 11}},
    {115, {1, 1, 1, 3, 13, 39}},
    {131, {1, 3, 1, 15, 17, 63, 13}},
    {193, {1, 1, 5, 5, 1, 27, 33}},
    {137, {1, 3, 3, 3, 25, 17, 115}},
    {145, {1, 1, 3, 15, 29, 15, 41}},
    {143, {1, 3, 1, 7, 3, 23, 79}},
    {241, {1, 3, 7, 9, 31, 29, 17}},
    {157, {1, 1, 5, 13, 11, 3, 29}},
    {185, {1, 3, 1, 9, 5, 21, 119}},
    {167, {1, 1, 3, 1, 23, 13, 75}},
    {229, {1, 3, 3, 11, 27, 31, 73}},
    {171, {1, 1, 7, 7, 19, 25, 105}},
    {213, {1, 3, 5, 5, 21, 9, 7}},
    {191, {1, 1, 1, 15, 5, 49, 59}},
    {253, {1, 1, 1, 1, 1, 33, 65}},
    {203, {1, 3, 5, 15, 17, 19, 21}},
    {211, {1, 1, 7, 11, 13, 29, 3}},
    {239, {1, 3, 7, 5, 7, 11, 113}},
    {247, {1, 1, 5, 3, 15, 19, 61}},
    {285, {1, 3, 1, 1, 9, 27, 89, 7}},
    {369, {1, 1, 3, 7, 31, 15, 45, 23}},
    {299, {1, 3, 3, 9, 9, 25, 107, 39}},
};

// The irreducible polynomials in increasing order of their integers, from x on.
struct IrreduciblePolynomials {
  std::uint16_t p[niederreiterDimensions];
};

// Crosses out multiples, as the sieve of Eratosthenes does.
consteval IrreduciblePolynomials findIrreducible() {
  constexpr int largestDegree = 11;  // 412 irreducible polynomials have at most this degree
  constexpr std::uint32_t end = 1U << (largestDegree + 1);
  bool reducible[end] = {};
  IrreduciblePolynomials irreducible = {};
  int found = 0;
  for (std::uint32_t p = 2; found < niederreiterDimensions; ++p) {
    if (reducible[p]) continue;
    irreducible.p[found++] = static_cast<std::uint16_t>(p);
    if (2 * degree(p) > largestDegree) continue;
    const std::uint32_t factors = 1U << (largestDegree - degree(p) + 1);
    for (std::uint32_t q = 2; q < factors; ++q)
      reducible[product(p, q)] = true;
  }
  return irreducible;
}

constexpr IrreduciblePolynomials irreducible = findIrreducible();

}  // namespace

// I. M. Sobol, 1967: with the polynomial x^s + a[1] x^(s-1) + ... + a[s-1] x + 1,
//   m[j] = 2 a[1] m[j-1] ^ ... ^ 2^(s-1) a[s-1] m[j-s+1] ^ 2^s m[j-s] ^ m[j-s],  number[j] = m[j] 2^(31-j).
void sobolDirections(std::uint32_t polynomial, std::uint32_t (&m)[directionCount],
                     std::uint32_t (&number)[directionCount]) {
  const int s = degree(polynomial);
  for (int j = s; j < directionCount; ++j) {
    m[j] = m[j - s] ^ m[j - s] << s;
    for (int k = 1; k < s; ++k)
      if ((polynomial >> (s - k) & 1) != 0) m[j] ^= m[j - k] << k;
  }
  for (int j = 0; j < directionCount; ++j)
    number[j] = m[j] << (31 - j);
}

void sobolDirections(int coordinate, std::uint32_t (&number)[directionCount]) {
  if (coordinate == 0) {
    for (int j = 0; j < directionCount; ++j)
      number[j] = 1U << (31 - j);
    return;
  }
  const SobolCoordinate& c = sobolCoordinates[coordinate - 1];
  std::uint32_t m[directionCount] = {};
  for (int j = 0; j < degree(c.polynomial); ++j)
    m[j] = c.m[j];
  sobolDirections(c.polynomial, m, number);
}

// H. Niederreiter, 1988: with the irreducible polynomial p of degree e, digit q e + u of number[r] is the
// coefficient of x^-(r+1) in the expansion of x^k / p^(q+1) in powers of 1/x, where k = e - 1 - u: the first
// digit of a power of p is the one whose expansion begins first. The matrix is then regular.
void niederreiterDirections(int coordinate, std::uint32_t (&number)[directionCount]) {
  const std::uint64_t p = irreducible.p[coordinate];
  const int e = degree(p);
  for (std::uint32_t& one : number)
    one = 0;
  std::uint64_t power = 1;
  for (int digit = 0; digit < directionCount;) {
    power = product(power, p);  // of degree 42 at most
    // 1 / power by long division; bit 63 is the coefficient of x^-1.
    std::uint64_t expansion = 0;
    std::uint64_t remainder = 1;
    const int top = degree(power);
    for (int i = 63; i >= 0; --i) {
      remainder <<= 1;
      if ((remainder >> top & 1) == 0) continue;
      remainder ^= power;
      expansion |= std::uint64_t{1} << i;
    }
    for (int k = e - 1; k >= 0 && digit < directionCount; --k, ++digit)
      for (int r = 0; r < directionCount; ++r)
        number[r] |= static_cast<std::uint32_t>(expansion << (k + r) >> 63) << (31 - digit);
  }
}

}  // namespace rvn
