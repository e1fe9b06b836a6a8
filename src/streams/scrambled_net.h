#pragma once

// Streams of scrambled Sobol points. What makes them is compiled once; kernels fill from them.

#include <cstddef>
#include <cstdint>

#include "streams/quasi_directions.h"
#include "streams/stream.h"

#include <ravenfit/variates.h>

namespace rvn {

// As quasi_sequence.h wants it, and what the scrambling was made of. A digital shift is part of the point, which only
// ever changes by XOR.
template <int room>
struct NetStream {
  RsgStream header;
  std::uint32_t pointIndex;
  std::int32_t dimension;
  std::int32_t onlyCoordinate;
  std::int32_t nextCoordinate;
  std::uint32_t seed[2];  // low word first
  std::int32_t scrambling;
  std::uint32_t zero;
  std::uint32_t point[room];
  std::uint32_t directionByBit[directionCount][room];
};

// Rooms are whole vectors of every level.
constexpr int widestVector = 16;
using ScrambledSobolStream = NetStream<48>;
using SobolTableStream = NetStream<21216>;
static_assert(sizeof(ScrambledSobolStream) == 6384);
static_assert(offsetof(SobolTableStream, point) == 48);

// Whether `length` numbers are rows d s a m_1 .. m_s for d = 2 .. dimension, each of them as it must be.
bool isSobolTable(std::int32_t dimension, const std::uint32_t* table, std::int64_t length);

// What a stream is made of. Without a table it has the library's numbers.
struct NetPlan {
  std::int32_t dimension;
  std::uint64_t seed;
  std::int32_t scrambling;
  const std::uint32_t* table;
};

// The stream stands at its first point, of all coordinates.
void makeNet(ScrambledSobolStream& stream, const NetPlan& plan);
void makeNet(SobolTableStream& stream, const NetPlan& plan);

}  // namespace rvn
