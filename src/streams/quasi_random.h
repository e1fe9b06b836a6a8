#pragma once

// The body that the quasi-random generators share.

#include <cstddef>
#include <cstdint>

#include "streams/operations.h"
#include "streams/quasi_points.h"
#include "streams/quasi_sequence.h"
#include "streams/quasi_wide_points.h"
#include "streams/word_fill.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// `Rule` has
//   Stream             the record of the stream, see quasi_sequence.h;
//   dimensions         the largest dimension;
//   fuses              whether the mapping to an interval fuses at levels that can;
//   directions(coordinate, number).
template <class Rule>
struct QuasiRandom : WordOutputs<WordMapping::upperBits, Rule::fuses> {
  using Stream = typename Rule::Stream;
  static constexpr std::uint32_t dimensions = Rule::dimensions;
  static_assert(sizeof Stream::point >= sizeof(std::uint32_t) * paddedDimension(Rule::dimensions));

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
    if (stream.onlyCoordinate >= 0 || n > shortFill || width < 2 || width > 2 * wordCount) {
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

  static constexpr std::int32_t savedWords = 4;

  static void save(const Stream& stream, std::uint32_t* words) {
    words[0] = stream.pointIndex;
    words[1] = static_cast<std::uint32_t>(stream.dimension);
    words[2] = static_cast<std::uint32_t>(stream.onlyCoordinate);
    words[3] = static_cast<std::uint32_t>(stream.nextCoordinate);
  }

  // Whether saved words are a place in a sequence from point `first` on.
  static bool isPlace(const std::uint32_t* words, std::uint32_t first) {
    constexpr std::uint32_t all = UINT32_MAX;
    const std::uint32_t dimension = words[1];
    const bool known = words[0] >= first && dimension >= 1 && dimension <= Rule::dimensions;
    if (!known || (words[2] != all && words[2] >= dimension)) return false;
    return words[3] < (words[2] == all ? dimension : 1);
  }

  static void standAt(Stream& stream, const std::uint32_t* words) {
    moveTo(stream, words[0]);
    stream.onlyCoordinate = static_cast<std::int32_t>(words[2]);
    stream.nextCoordinate = static_cast<std::int32_t>(words[3]);
  }

  // Direction numbers and point follow from the place.
  static bool restore(Stream& stream, const std::uint32_t* words) {
    if (!isPlace(words, 1)) return false;
    seed(stream, 1, words + 1);
    standAt(stream, words);
    return true;
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
