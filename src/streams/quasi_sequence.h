#pragma once

// The sequence behind a quasi-random generator: points, steps and moves.
//
// A stream delivers points 1, 2, ... of a sequence, coordinate by coordinate. A coordinate of point i is the XOR
// of the direction numbers of all bits that are set in the Gray code i ^ (i >> 1). The codes of neighbours differ
// in one bit, the lowest zero bit of i, so that a step is the XOR of one row of direction numbers (I. A. Antonov,
// V. M. Saleev, 1979). Point 0 would be zero and is not delivered.
//
// A stream has, with rows of at least paddedDimension(dimensions) words,
//   pointIndex         number of the current point, 1 for the first;
//   dimension          coordinates of a point;
//   onlyCoordinate     the one coordinate that is delivered, or -1 for all;
//   nextCoordinate     the coordinate of the current point that is delivered next; 0 if only one is;
//   point[]            the current point;
//   directionByBit[32][]
// and possibly direction[][33], the same numbers in one row a coordinate.

#include <cstddef>
#include <cstdint>

#include "streams/quasi_directions.h"
#include "streams/stream.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Rows and points are read and written in whole vectors.
constexpr int paddedDimension(int dimension) {
  return (dimension + wordCount - 1) / wordCount * wordCount;
}

inline std::int64_t smaller(std::int64_t p, std::int64_t q) {
  return p < q ? p : q;
}
inline std::uint32_t grayCode(std::uint32_t index) {
  return index ^ index >> 1;
}
// Of the last index the highest bit: that step leads to point 0.
inline int lowestZeroBit(std::uint32_t index) {
  return __builtin_ctz(~index | 1U << 31);
}

template <class Stream>
inline void change(Stream& stream, int bit) {
  const std::uint32_t* const row = stream.directionByBit[bit];
  const std::ptrdiff_t dimension = stream.dimension;
  for (std::ptrdiff_t d = 0; d < dimension; d += wordCount)
    store(stream.point + d, load<Words>(stream.point + d) ^ load<Words>(row + d));
}

template <class Stream>
inline void moveTo(Stream& stream, std::uint32_t index) {
  std::uint32_t bits = grayCode(stream.pointIndex) ^ grayCode(index);
  for (; bits != 0; bits &= bits - 1)
    change(stream, __builtin_ctz(bits));
  stream.pointIndex = index;
}

// Behind the last index that 32 bits hold, the sequence begins again.
template <class Stream>
inline void step(Stream& stream) {
  if (stream.pointIndex == UINT32_MAX) return moveTo(stream, 1);
  change(stream, lowestZeroBit(stream.pointIndex));
  ++stream.pointIndex;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
