#pragma once

// Fills of a quasi-random generator point by point.

#include <cstddef>
#include <cstdint>

#include "streams/quasi_sequence.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Values from .. to - 1 of the array, one after the other but for what is left of the current point.
template <class Stream, class Sink>
inline void fillOneByOne(Stream& stream, std::int64_t from, std::int64_t to, Sink sink) {
  const std::int64_t width = stream.dimension;
  std::int64_t next = stream.nextCoordinate;
  for (; next + wordCount <= width && from + wordCount <= to; next += wordCount, from += wordCount)
    sink.put(from, load<Words>(stream.point + next));
  if (next == width) {
    next = 0;
    step(stream);
  }
  for (; from < to; ++from) {
    sink.put(from, stream.point[next]);
    if (++next == width) {
      next = 0;
      step(stream);
    }
  }
  stream.nextCoordinate = static_cast<std::int32_t>(next);
}

// The same for coordinate k alone; the others follow in one move.
template <class Stream, class Sink>
inline void fillCoordinate(Stream& stream, std::int32_t k, std::int64_t from, std::int64_t to, Sink sink) {
  std::uint32_t index = stream.pointIndex;
  std::uint32_t x = stream.point[k];
  for (; from < to; ++from) {
    sink.put(from, x);
    x ^= stream.directionByBit[lowestZeroBit(index)][k];
    if (++index == 0) {
      x ^= stream.directionByBit[0][k];
      index = 1;
    }
  }
  if (stream.dimension > 1) return moveTo(stream, index);
  stream.point[0] = x;
  stream.pointIndex = index;
}

// Delivers whole points of `width` coordinates and steps behind each, from value `at` on, up to value `to` of the
// array or to the point `last`, which is not delivered. The last vector of a point may reach over its end, into
// the place of the next one. Returns the index of the point that comes next.
template <class Sink, class Row>
inline std::uint32_t fillWhole(std::uint32_t* point, std::int64_t width, std::uint32_t index,
                               std::uint32_t last, std::int64_t at, std::int64_t to, Sink sink, Row row) {
  // A point of one vector waits in a register, since a way through memory would be most of the time.
  if (width <= wordCount) {
    auto words = load<Words>(point);
    for (; at + wordCount <= to && index != last; ++index, at += width) {
      sink.put(at, words);
      words ^= load<Words>(row(lowestZeroBit(index)));
    }
    store(point, words);
    return index;
  }
  const std::int64_t padded = (width + wordCount - 1) / wordCount * wordCount;
  for (; at + padded <= to && index != last; ++index, at += width) {
    const std::uint32_t* const change = row(lowestZeroBit(index));
    for (std::int64_t d = 0; d < width; d += wordCount) {
      const auto words = load<Words>(point + d);
      sink.put(at + d, words);
      store(point + d, words ^ load<Words>(change + d));
    }
  }
  return index;
}

// Values from .. to - 1 of the array, as many as can be in whole points.
template <class Stream, class Sink>
inline void fillPoints(Stream& stream, std::int64_t from, std::int64_t to, Sink sink) {
  const std::int64_t width = stream.dimension;
  const std::int64_t start =
      smaller(to, stream.nextCoordinate == 0 ? from : from + width - stream.nextCoordinate);
  fillOneByOne(stream, from, start, sink);
  const std::uint32_t first = stream.pointIndex;
  stream.pointIndex = fillWhole(stream.point, width, first, UINT32_MAX, start, to, sink,
                                [&](int bit) { return stream.directionByBit[bit]; });
  fillOneByOne(stream, start + std::int64_t{stream.pointIndex - first} * width, to, sink);
}

// Values of a fill that is too short for wide points.
constexpr std::int64_t shortFill = 127;

// At most `shortFill` values of points that fit in `vectors` vectors. A point waits for the next step in
// registers. All of them go one behind the other into an array, from which they are taken word by word: a vector
// across two fresh points would wait until both are in the cache.
template <int vectors, class Stream, class Sink>
[[gnu::always_inline]] inline void fillShort(Stream& stream, std::int64_t n, Sink sink) {
  constexpr std::int64_t padded = std::int64_t{vectors} * wordCount;
  std::uint32_t words[shortFill + 2 * padded];
  const std::int64_t width = stream.dimension;
  const std::int64_t next = stream.nextCoordinate;
  std::uint32_t index = stream.pointIndex;
  Words point[vectors];
  for (std::ptrdiff_t v = 0; v < vectors; ++v) {
    point[v] = load<Words>(stream.point + v * wordCount);
    store(words + v * wordCount, point[v]);
  }
  std::uint32_t* at = words;
  std::int64_t left = next + n;
  for (; left >= width; left -= width) {
    do {
      const std::uint32_t* const row = stream.directionByBit[lowestZeroBit(index)];
      for (std::ptrdiff_t v = 0; v < vectors; ++v)
        point[v] ^= load<Words>(row + v * wordCount);
    } while (++index == 0);  // which is no point that is delivered
    at += width;
    for (std::ptrdiff_t v = 0; v < vectors; ++v)
      store(at + v * wordCount, point[v]);
  }
  for (std::ptrdiff_t v = 0; v < vectors; ++v)
    store(stream.point + v * wordCount, point[v]);
  stream.nextCoordinate = static_cast<std::int32_t>(left);
  stream.pointIndex = index;
  const std::uint32_t* const w = words + next;
  std::int64_t i = 0;
  for (; i + wordCount <= n; i += wordCount)
    sink.put(i, wordByWord(w + i));
  for (; i < n; ++i)
    sink.put(i, w[i]);
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
