// The lagged generator z[n] = z[n - 250] xor z[n - 147] (S. Kirkpatrick, E. P. Stoll, Journal of Computational
// Physics 40, 1981).

#include <cstddef>
#include <cstdint>

#include "streams/operations.h"
#include "streams/stream.h"
#include "streams/word_fill.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::uint32_t ringSize = 250;
constexpr std::uint32_t firstTap = 103;
static_assert(wordCount <= firstTap);

struct R250Stream {
  RsgStream header;
  std::uint32_t ring[ringSize];
  std::uint32_t head;  // the oldest word, which the next one replaces
  std::uint32_t tap;   // the other word that the next one is made of
};
static_assert(sizeof(R250Stream) == 1024);
static_assert(offsetof(R250Stream, ring) == 16);

struct R250 : WordOutputs<WordMapping::unsignedWord, false> {
  using Stream = R250Stream;

  // A word is renewed as it is taken. A run ends where the head or the tap reaches the ring's end. The words of a vector
  // do not need each other: the tap stands 103 places ahead of the head or 147 behind it.
  struct Block {
    Stream& stream;
    std::uint32_t* head;
    const std::uint32_t* tap;

    explicit Block(Stream& of) : stream(of), head(of.ring + of.head), tap(of.ring + of.tap) {}
    std::int64_t left() const { return stream.ring + ringSize - (head > tap ? head : tap); }
    template <class W>
    W at(std::int64_t i) const {
      const W w = load<W>(head + i) ^ load<W>(tap + i);
      store(head + i, w);
      return w;
    }
    void take(std::int64_t n) {
      stream.head = (stream.head + static_cast<std::uint32_t>(n)) % ringSize;
      stream.tap = (stream.tap + static_cast<std::uint32_t>(n)) % ringSize;
      head = stream.ring + stream.head;
      tap = stream.ring + stream.tap;
    }
  };

  template <class Out>
  static void fill(RsgStream* header, std::int64_t n, const Out& out) {
    fillFromBlock(Block(*reinterpret_cast<Stream*>(header)), n, out);
  }

  template <class Out>
  static void fillOne(RsgStream* header, const Out& out) {
    fillOneFromBlock(Block(*reinterpret_cast<Stream*>(header)), out);
  }

  static constexpr std::int32_t savedWords = ringSize + 1;

  static void save(const Stream& stream, std::uint32_t* words) {
    __builtin_memcpy(words, stream.ring, sizeof stream.ring);
    words[ringSize] = stream.head;
  }

  static bool restore(Stream& stream, const std::uint32_t* words) {
    __builtin_memcpy(stream.ring, words, sizeof stream.ring);
    stream.head = words[ringSize];
    stream.tap = (stream.head + firstTap) % ringSize;
    return stream.head < ringSize;
  }

  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    stream.head = 0;
    stream.tap = firstTap;
    if (count >= ringSize) {
      __builtin_memcpy(stream.ring, seeds, sizeof stream.ring);
      return;
    }
    std::uint32_t s = count < 1 || seeds[0] == 0 ? 1 : seeds[0];
    for (std::uint32_t& word : stream.ring)
      word = s *= 69069;
    // 32 words whose leading bits form a triangle, so that the words span all bits.
    for (std::uint32_t j = 0; j < 32; ++j) {
      std::uint32_t& word = stream.ring[3 + 7 * j];
      word = (word & 0xFFFFFFFF >> j) | 0x80000000 >> j;
    }
  }
};

}  // namespace

extern const BrngRecord r250Record;
const BrngRecord r250Record = {
    .family = 1,
    .members = 1,
    .stateSize = sizeof(R250::Stream),
    .seedCount = 252,
    .includesZero = 1,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<R250>,
    .name = "R250",
    .usedSeeds = ringSize,
    .split = RSG_SPLIT_NONE,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
