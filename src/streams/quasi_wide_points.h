#pragma once

// Long fills of few coordinates of a quasi-random generator, which group 2^g points to one wide point. The points
// i 2^g + j, 0 <= j < 2^g, are point i of a sequence with 2^g times as many coordinates, because Gray codes are linear
// under XOR: from i to i + 1 all of them change by number[c+g] ^ number[g-1], where c is the lowest zero bit of i.

#include <cstddef>
#include <cstdint>

#include "streams/quasi_points.h"
#include "streams/quasi_sequence.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// What a fill delivers of each point.
struct Coordinates {
  std::int32_t first;
  std::int32_t width;

  template <class Stream>
  explicit Coordinates(const Stream& stream)
      : first(stream.onlyCoordinate < 0 ? 0 : stream.onlyCoordinate),
        width(stream.onlyCoordinate < 0 ? stream.dimension : 1) {}
};

// Points of at most this many coordinates are grouped, to at least `groupWords` words.
constexpr int groupedWidth = 15;
constexpr int groupWords = 64;
static_assert(16 % wordCount == 0);
constexpr int widePointWords = 128;  // the longest wide point, and room for a vector across its end
constexpr std::int64_t fewestGroups = 2;
constexpr std::int64_t fewestGrouped = fewestGroups * groupWords;

inline int logGroupPoints(std::int64_t width) {
  int g = 3;
  while (width << g < groupWords)
    ++g;
  return g;
}

// The delivered coordinates of a row; a single one stands in all lanes.
struct Head {
  Words part[16 / wordCount];

  Head(const std::uint32_t* row, Coordinates c) {
    for (std::ptrdiff_t v = 0; v < 16 / wordCount; ++v)
      part[v] = c.width == 1 ? Words{} + row[c.first] : load<Words>(row + v * wordCount);
  }
  Head& operator^=(const Head& other) {
    for (int v = 0; v < 16 / wordCount; ++v)
      part[v] ^= other.part[v];
    return *this;
  }
  // Writes `width` words, and possibly more behind them.
  void storeTo(std::uint32_t* to, std::int64_t width) const {
    for (std::ptrdiff_t v = 0; v * wordCount < width; ++v)
      store(to + v * wordCount, part[v]);
  }
};

// Rows of wide points, made when they are wanted: those of the lowest bits are kept, the others, wanted once in
// 2^kept points, take turns.
template <class Stream>
struct WideRows {
  static constexpr int kept = 4;
  const Stream& stream;
  Coordinates c;
  int g;
  unsigned made;
  std::uint32_t words[kept + 1][widePointWords];

  WideRows(const Stream& of, Coordinates delivered, int log) : stream(of), c(delivered), g(log), made(0) {}

  const std::uint32_t* operator()(int bit) {
    const int slot = bit < kept ? bit : kept;
    if ((made >> slot & 1) != 0) return words[slot];
    if (slot < kept) made |= 1U << slot;
    Head change(stream.directionByBit[bit + g], c);
    change ^= Head(stream.directionByBit[g - 1], c);
    const std::int64_t period = c.width == 1 ? wordCount : c.width;
    for (std::int64_t i = 0; i < std::int64_t{c.width} << g; i += period)
      change.storeTo(words[slot] + i, period);
    return words[slot];
  }
};

template <class Stream, class Sink>
inline void fillUngrouped(Stream& stream, Coordinates c, std::int64_t from, std::int64_t to, Sink sink) {
  if (c.width == 1) {
    fillCoordinate(stream, c.first, from, to, sink);
  } else {
    fillPoints(stream, from, to, sink);
  }
}

// The groups that end before value n of the array and before the end of the sequence, and what is before them.
// Returns the number of values. Out of line: short fills do not pay for its registers.
template <class Stream, class Sink>
[[gnu::noinline]] std::int64_t fillGroups(Stream& stream, Coordinates c, std::int64_t n, Sink sink) {
  const int g = logGroupPoints(c.width);
  const std::int64_t groupValues = std::int64_t{c.width} << g;
  const std::uint32_t placeInGroup = (1U << g) - 1;
  const std::int64_t delivered =
      std::int64_t{stream.pointIndex & placeInGroup} * c.width + stream.nextCoordinate;
  const std::int64_t start = delivered == 0 ? 0 : groupValues - delivered;
  if (n - start < fewestGroups * groupValues) return 0;
  fillUngrouped(stream, c, 0, start, sink);
  if ((stream.pointIndex & placeInGroup) != 0) return start;  // the sequence began again

  std::uint32_t point[widePointWords];
  Head head(stream.point, c);
  std::uint32_t* to = point;
  for (std::uint32_t j = 0;; ++j, to += c.width) {
    head.storeTo(to, c.width);
    if (j == placeInGroup) break;
    head ^= Head(stream.directionByBit[lowestZeroBit(j)], c);
  }
  const std::uint32_t first = stream.pointIndex >> g;
  WideRows<Stream> rows(stream, c, g);
  const std::uint32_t next = fillWhole(point, groupValues, first, UINT32_MAX >> g, start, n, sink,
                                       [&](int bit) { return rows(bit); });
  moveTo(stream, next << g);
  return start + std::int64_t{next - first} * groupValues;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
