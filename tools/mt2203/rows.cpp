#include "mt2203/rows.h"

#include "mt2203/polynomial.h"
#include "mt2203/tempering.h"

namespace mt2203 {
namespace {

constexpr int firstGiven = 0x055F;
constexpr int secondGiven = 0x04E1;

}  // namespace

std::uint16_t lowBits(int member) {
  if (member == 0) return firstGiven;
  if (member == 1) return secondGiven;
  if (member == members - 1) return 0x1D4B;
  int bits = member - 1;
  if (bits >= secondGiven) ++bits;
  if (bits >= firstGiven) ++bits;
  return static_cast<std::uint16_t>(bits);
}

Row findRow(const Sieve& sieve, int member) {
  if (member == 0) return {0xAF81055Fu, 0xDD7EEF80u, 0xEFD78000u};
  if (member == 1) return {0x832604E1u, 0x66AD7F80u, 0xEBD58000u};
  if (member == members - 1) return {0xE8761D4Bu, 0x72967680u, 0xEFEB0000u};
  for (const std::uint32_t matrixA : sieve.candidates(lowBits(member))) {
    if (!isIrreducible(characteristicPolynomial(matrixA), sievedDegree)) continue;
    const Tempering tempering = bestTempering(matrixA, worstDefect);
    if (tempering.defect <= worstDefect) return {matrixA, tempering.masks.b, tempering.masks.c};
  }
  return {};
}

}  // namespace mt2203
