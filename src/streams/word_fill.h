#pragma once

// The fills of generators whose raw output is a 32-bit word.

#include <cstdint>

#include "streams/operations.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// What a word counts as in the interval from a to b: w (b - a) / 2^32 from a on, the same with a signed word from
// the middle on, or its upper 31 bits, (w >> 1) (b - a) / 2^31 from a on.
enum class WordMapping { unsignedWord, signedWord, upperBits };

// Where the words of a fill go: output i is stored as it is,
struct RawWords {
  unsigned char* r;

  void put(std::int64_t i, Words w) const { store(r + i * 4, w); }
  void put(std::int64_t i, std::uint32_t w) const { store(r + i * 4, w); }
};

// or mapped to an interval.
template <class Real, WordMapping mapping, bool fuses>
struct MappedWords {
  Real* r;
  double scale;
  double origin;

  MappedWords(Real* to, double a, double b)
      : r(to),
        scale((b - a) * (mapping == WordMapping::upperBits ? 0x1p-31 : 0x1p-32)),
        origin(mapping == WordMapping::signedWord ? (a + b) * 0.5 : a) {}

  void put(std::int64_t i, Words w) const {
    storeAs(r + i, mapped<fuses>(numbers<0>(w), broadcast<Lanes>(scale), broadcast<Lanes>(origin)));
    storeAs(r + i + laneCount,
            mapped<fuses>(numbers<1>(w), broadcast<Lanes>(scale), broadcast<Lanes>(origin)));
  }

  void put(std::int64_t i, std::uint32_t w) const {
    store(r + i, static_cast<Real>(mapped<fuses>(number(w), scale, origin)));
  }

 private:
  static double number(std::uint32_t w) {
    if constexpr (mapping == WordMapping::unsignedWord) {
      return static_cast<double>(w);
    } else {
      return static_cast<double>(static_cast<std::int32_t>(mapping == WordMapping::upperBits ? w >> 1 : w));
    }
  }

  template <int half>
  static Lanes numbers(Words w) {
    if constexpr (mapping == WordMapping::unsignedWord) {
      return unsignedDoubles<half>(w);
    } else {
      return signedDoubles<half>(mapping == WordMapping::upperBits ? w >> 1 : w);
    }
  }
};

// A block of words that is renewed when all of them are taken; what a fill leaves of it waits for the next one.
//   left()     the words that can be taken now, renewed if there were none;
//   at<W>(i)   word i of them, or as many from i on as W has; asked for once, in order;
//   take(n)    moves behind the first n of them.
template <class Block>
concept WordBlock = requires(Block& block, std::int64_t n) {
  { block.left() } -> Is<std::int64_t>;
  { block.template at<std::uint32_t>(n) } -> Is<std::uint32_t>;
  { block.template at<Words>(n) } -> Is<Words>;
  { block.take(n) } -> Is<void>;
};

template <WordBlock Block, class Out>
inline void fillFromBlock(Block block, std::int64_t n, const Out& out) {
  for (std::int64_t done = 0; done < n;) {
    const std::int64_t left = block.left();
    const std::int64_t run = left < n - done ? left : n - done;
    std::int64_t i = 0;
    for (; i + wordCount <= run; i += wordCount)
      out.put(done + i, block.template at<Words>(i));
    for (; i < run; ++i)
      out.put(done + i, block.template at<std::uint32_t>(i));
    done += run;
    block.take(run);
  }
}

template <WordBlock Block, class Out>
inline void fillOneFromBlock(Block block, const Out& out) {
  block.left();
  out.put(0, block.template at<std::uint32_t>(0));
  block.take(1);
}

// What a generator of words is derived from.
template <WordMapping mapping, bool fuses>
struct WordOutputs {
  using Raw = RawWords;
  template <class Real>
  using Mapped = MappedWords<Real, mapping, fuses>;
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
