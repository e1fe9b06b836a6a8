#pragma once

// The body that the quasi-random generators share.
//
// A stream delivers points 1, 2, ... of a sequence, coordinate by coordinate. A coordinate of point i is the XOR
// of the direction numbers of all bits that are set in the Gray code i ^ (i >> 1). The codes of neighbours differ
// in one bit, the lowest zero bit of i, so that a step is the XOR of one row of direction numbers (I. A. Antonov,
// V. M. Saleev, 1979). Point 0 would be zero and is not delivered.
//
// A long fill of few coordinates groups 2^g points to one wide point. The points i 2^g + j, 0 <= j < 2^g, are
// point i of a sequence with 2^g times as many coordinates, because Gray codes are linear under XOR: from i to
// i + 1 all of them change by number[c+g] ^ number[g-1], where c is the lowest zero bit of i.

#include <cstddef>
#include <cstdint>

#include "streams/operations.h"
#include "streams/quasi_directions.h"
#include "streams/stream.h"
#include "streams/word_fill.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Rows and points are read and written in whole vectors.
constexpr int paddedDimension(int dimension) {
  return (dimension + wordCount - 1) / wordCount * wordCount;
}

// `Rule` has
//   Stream             the record of the stream, see below;
//   dimensions         the largest dimension;
//   fuses              whether the mapping to an interval fuses at levels that can;
//   directions(coordinate, number).
//
// `Stream` has, with rows of at least paddedDimension(dimensions) words,
//   pointIndex         number of the current point, 1 for the first;
//   dimension          coordinates of a point;
//   onlyCoordinate     the one coordinate that is delivered, or -1 for all;
//   nextCoordinate     the coordinate of the current point that is delivered next; 0 if only one is;
//   point[]            the current point;
//   directionByBit[32][]
// and possibly direction[][33], the same numbers in one row a coordinate.
template <class Rule>
struct QuasiRandom : WordOutputs<WordMapping::upperBits, Rule::fuses> {
  using Stream = typename Rule::Stream;
  static_assert(sizeof Stream::point >= sizeof(std::uint32_t) * paddedDimension(Rule::dimensions));

  static std::int64_t min(std::int64_t p, std::int64_t q) { return p < q ? p : q; }
  static std::uint32_t grayCode(std::uint32_t index) { return index ^ index >> 1; }
  // Of the last index the highest bit: that step leads to point 0.
  static int lowestZeroBit(std::uint32_t index) { return __builtin_ctz(~index | 1U << 31); }

  static void change(Stream& stream, int bit) {
    const std::uint32_t* const row = stream.directionByBit[bit];
    const std::ptrdiff_t dimension = stream.dimension;
    for (std::ptrdiff_t d = 0; d < dimension; d += wordCount)
      store(stream.point + d, load<Words>(stream.point + d) ^ load<Words>(row + d));
  }

  static void moveTo(Stream& stream, std::uint32_t index) {
    std::uint32_t bits = grayCode(stream.pointIndex) ^ grayCode(index);
    for (; bits != 0; bits &= bits - 1)
      change(stream, __builtin_ctz(bits));
    stream.pointIndex = index;
  }

  // Behind the last index that 32 bits hold, the sequence begins again.
  static void step(Stream& stream) {
    if (stream.pointIndex == UINT32_MAX) return moveTo(stream, 1);
    change(stream, lowestZeroBit(stream.pointIndex));
    ++stream.pointIndex;
  }

  // Values from .. to - 1 of the array, one after the other but for what is left of the current point.
  template <class Sink>
  static void fillOneByOne(Stream& stream, std::int64_t from, std::int64_t to, Sink sink) {
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
  template <class Sink>
  static void fillCoordinate(Stream& stream, std::int32_t k, std::int64_t from, std::int64_t to, Sink sink) {
    std::uint32_t index = stream.pointIndex;
    std::uint32_t x = stream.point[k];
    for (; from < to; ++from) {
      sink.put(from, x);
      if (index == UINT32_MAX) {
        index = 1;
        x = stream.directionByBit[0][k];
      } else {
        x ^= stream.directionByBit[lowestZeroBit(index)][k];
        ++index;
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
  static std::uint32_t fillWhole(std::uint32_t* point, std::int64_t width, std::uint32_t index,
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
  template <class Sink>
  static void fillPoints(Stream& stream, std::int64_t from, std::int64_t to, Sink sink) {
    const std::int64_t width = stream.dimension;
    const std::int64_t start =
        min(to, stream.nextCoordinate == 0 ? from : from + width - stream.nextCoordinate);
    fillOneByOne(stream, from, start, sink);
    const std::uint32_t first = stream.pointIndex;
    stream.pointIndex = fillWhole(stream.point, width, first, UINT32_MAX, start, to, sink,
                                  [&](int bit) { return stream.directionByBit[bit]; });
    fillOneByOne(stream, start + std::int64_t{stream.pointIndex - first} * width, to, sink);
  }

  // What a fill delivers of each point.
  struct Coordinates {
    std::int32_t first;
    std::int32_t width;

    explicit Coordinates(const Stream& stream)
        : first(stream.onlyCoordinate < 0 ? 0 : stream.onlyCoordinate),
          width(stream.onlyCoordinate < 0 ? stream.dimension : 1) {}
  };

  // Points of at most this many coordinates are grouped, to at least `groupWords` words.
  static constexpr int groupedWidth = 15;
  static constexpr int groupWords = 64;
  static constexpr int wideWords = 128;  // the longest wide point, and room for a vector across its end
  static constexpr std::int64_t fewestGroups = 2;
  static constexpr std::int64_t fewestGrouped = fewestGroups * groupWords;

  static int logGroupPoints(std::int64_t width) {
    int g = 3;  // whole vectors whatever the width
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
  struct WideRows {
    static constexpr int kept = 4;
    const Stream& stream;
    Coordinates c;
    int g;
    unsigned made;
    std::uint32_t words[kept + 1][wideWords];

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

  template <class Sink>
  static void fillUngrouped(Stream& stream, Coordinates c, std::int64_t from, std::int64_t to, Sink sink) {
    if (c.width == 1) {
      fillCoordinate(stream, c.first, from, to, sink);
    } else {
      fillPoints(stream, from, to, sink);
    }
  }

  // The groups that end before value n of the array and before the end of the sequence, and what is before them.
  // Returns the number of values. Out of line: short fills do not pay for its registers.
  template <class Sink>
  [[gnu::noinline]] static std::int64_t fillGroups(Stream& stream, Coordinates c, std::int64_t n, Sink sink) {
    const int g = logGroupPoints(c.width);
    const std::int64_t groupValues = std::int64_t{c.width} << g;
    const std::uint32_t placeInGroup = (1U << g) - 1;
    const std::int64_t delivered =
        std::int64_t{stream.pointIndex & placeInGroup} * c.width + stream.nextCoordinate;
    const std::int64_t start = delivered == 0 ? 0 : groupValues - delivered;
    if (n - start < fewestGroups * groupValues) return 0;
    fillUngrouped(stream, c, 0, start, sink);
    if ((stream.pointIndex & placeInGroup) != 0) return start;  // the sequence began again

    std::uint32_t point[wideWords];
    Head head(stream.point, c);
    std::uint32_t* to = point;
    for (std::uint32_t j = 0;; ++j, to += c.width) {
      head.storeTo(to, c.width);
      if (j == placeInGroup) break;
      head ^= Head(stream.directionByBit[lowestZeroBit(j)], c);
    }
    const std::uint32_t first = stream.pointIndex >> g;
    WideRows rows(stream, c, g);
    const std::uint32_t next = fillWhole(point, groupValues, first, UINT32_MAX >> g, start, n, sink,
                                         [&](int bit) { return rows(bit); });
    moveTo(stream, next << g);
    return start + std::int64_t{next - first} * groupValues;
  }

  // Fewer than fewestGrouped values of points that fit in `vectors` vectors. A point waits for the next step in
  // registers. All of them go one behind the other into an array, from which they are taken word by word: a vector
  // across two fresh points would wait until both are in the cache.
  template <int vectors, class Sink>
  [[gnu::always_inline]] static void fillShort(Stream& stream, std::int64_t n, Sink sink) {
    constexpr std::int64_t padded = std::int64_t{vectors} * wordCount;
    std::uint32_t words[fewestGrouped + 2 * padded];
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

  template <class Sink>
  [[gnu::noinline]] static void fillLong(Stream& stream, std::int64_t n, Sink sink) {
    const Coordinates c(stream);
    const bool grouped = c.width <= groupedWidth && n >= fewestGrouped;
    fillUngrouped(stream, c, grouped ? fillGroups(stream, c, n, sink) : 0, n, sink);
  }

  template <class Sink>
  [[gnu::always_inline]] static void fill(RsgStream* header, std::int64_t n, const Sink& sink) {
    auto& stream = *reinterpret_cast<Stream*>(header);
    const std::int32_t width = stream.dimension;
    if (stream.onlyCoordinate >= 0 || n >= fewestGrouped || width < 2 || width > 2 * wordCount) {
      fillLong(stream, n, sink);
    } else if (width <= wordCount) {
      fillShort<1>(stream, n, sink);
    } else {
      fillShort<2>(stream, n, sink);
    }
  }

  // The first seed word is the dimension. Further ones, with which a caller could bring tables of direction
  // numbers, are not looked at: every stream has the library's.
  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    const bool known = count >= 1 && seeds[0] >= 1 && seeds[0] <= Rule::dimensions;
    __builtin_memset(&stream.pointIndex, 0, sizeof stream - offsetof(Stream, pointIndex));
    stream.pointIndex = 1;
    stream.dimension = known ? static_cast<std::int32_t>(seeds[0]) : 1;
    stream.onlyCoordinate = -1;
    for (std::int32_t d = 0; d < stream.dimension; ++d) {
      std::uint32_t number[directionCount];
      Rule::directions(d, number);
      stream.point[d] = number[0];
      for (int bit = 0; bit < directionCount; ++bit)
        stream.directionByBit[bit][d] = number[bit];
      if constexpr (requires { stream.direction; })
        __builtin_memcpy(stream.direction[d], number, sizeof number);
    }
  }

  // A number of streams that nobody interleaves means the selection of a coordinate. The next value is that of
  // the first point whose coordinate k is not delivered yet.
  static std::int32_t leapfrog(Stream& stream, std::int64_t count, std::uint32_t k) {
    constexpr std::int64_t selection = 0x7FFFFFFF;
    if (count != selection || k >= static_cast<std::uint32_t>(stream.dimension)) return RSG_ERROR_LEAPFROG;
    const auto coordinate = static_cast<std::int32_t>(k);
    if (coordinate < stream.nextCoordinate) step(stream);
    stream.onlyCoordinate = coordinate;
    stream.nextCoordinate = 0;
    return RSG_STATUS_OK;
  }

  static std::int32_t skip(Stream& stream, std::uint64_t outputs) {
    const auto width = static_cast<std::uint32_t>(stream.onlyCoordinate >= 0 ? 1 : stream.dimension);
    const auto delivered = static_cast<std::uint32_t>(stream.nextCoordinate);
    if (outputs > UINT64_MAX - delivered) return RSG_ERROR_SKIP_AHEAD;
    const std::uint64_t points = (outputs + delivered) / width;
    if (points > UINT32_MAX - stream.pointIndex) return RSG_ERROR_SKIP_AHEAD;
    moveTo(stream, stream.pointIndex + static_cast<std::uint32_t>(points));
    stream.nextCoordinate = static_cast<std::int32_t>((outputs + delivered) % width);
    return RSG_STATUS_OK;
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
