// The twister of 128-bit blocks SFMT19937 (M. Saito, M. Matsumoto, Monte Carlo and Quasi-Monte Carlo Methods
// 2006, 2008). A block has four words; the stream holds the place of a block, and beside it what is left of the one
// before.

#include <cstdint>

#include "streams/operations.h"
#include "streams/twister_states.h"
#include "streams/word_fill.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t size = 624;
constexpr std::int64_t blockWords = 4;

// A renewed block but for the term last << 18, `last` being the block before it.
inline FourWords withoutLast(FourWords z, FourWords far, FourWords beforeLast) {
  constexpr FourWords mask = {0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6};
  return z ^ byteUp(z) ^ ((far >> 11) & mask) ^ byteDown(beforeLast);
}

void renew(std::uint32_t* sfmt) {
  constexpr std::int64_t offset = 122 * blockWords;
  auto beforeLast = load<FourWords>(sfmt + size - 2 * blockWords);
  auto last = load<FourWords>(sfmt + size - blockWords);
  // Shifted twice, a word of 32 bits is gone: without its own such term the block before does as well, and blocks wait for
  // the last but one alone.
  FourWords lastPart = last;
  const auto run = [&](std::int64_t from, std::int64_t to, std::int64_t far) {
    for (std::int64_t i = from; i < to; i += blockWords) {
      const FourWords part =
          withoutLast(load<FourWords>(sfmt + i), load<FourWords>(sfmt + i + far), beforeLast);
      const FourWords next = part ^ (lastPart << 18);
      store(sfmt + i, next);
      beforeLast = last;
      last = next;
      lastPart = part;
    }
  };
  run(0, size - offset, offset);
  run(size - offset, size, offset - size);
}

// The place of the next word. The words between it and `index` are those of the carry, and no block is renewed before
// they are taken.
std::int64_t positionOf(const Sfmt19937Stream& stream) {
  return stream.index - (stream.carryEnd - stream.carryPos);
}

// The stream goes on with word `position` of the array, 1 or more.
void standAt(Sfmt19937Stream& stream, std::int64_t position) {
  const std::int64_t index = (position + blockWords - 1) & -blockWords;
  stream.index = static_cast<std::int32_t>(index);
  stream.carryEnd = 3;
  stream.carryPos = static_cast<std::int32_t>(3 - (index - position));
  __builtin_memcpy(stream.carry, stream.sfmt + index - 3, sizeof stream.carry);
}

struct Sfmt19937 : WordOutputs<WordMapping::signedWord, true> {
  using Stream = Sfmt19937Stream;

  struct Block {
    Stream& stream;
    const std::uint32_t* next;

    explicit Block(Stream& of) : stream(of), next(of.sfmt + positionOf(of)) {}
    std::int64_t left() {
      if (next == stream.sfmt + size) {
        renew(stream.sfmt);
        next = stream.sfmt;
      }
      return stream.sfmt + size - next;
    }
    template <class W>
    W at(std::int64_t i) const {
      return load<W>(next + i);
    }
    void take(std::int64_t n) {
      next += n;
      standAt(stream, next - stream.sfmt);
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

  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    seedSfmt19937(stream.sfmt, count, seeds);
    standAt(stream, size);
  }

  static constexpr std::int32_t savedWords = size + 1;

  static void save(const Stream& stream, std::uint32_t* words) {
    __builtin_memcpy(words, stream.sfmt, sizeof stream.sfmt);
    words[size] = static_cast<std::uint32_t>(positionOf(stream));
  }

  static bool restore(Stream& stream, const std::uint32_t* words) {
    __builtin_memcpy(stream.sfmt, words, sizeof stream.sfmt);
    const std::uint32_t position = words[size];
    if (position < 1 || position > size || !anySet(words, size)) return false;
    standAt(stream, position);
    return true;
  }

  static std::int32_t skip(Stream& stream, std::uint64_t outputs) {
    if (outputs == 0) return RSG_STATUS_OK;
    std::int64_t position = positionOf(stream);
    std::uint64_t rest = outputs;
    if (outputs / blockWords >= shortestSfmt19937Jump) {
      if (const std::int32_t status = jumpSfmt19937(stream.sfmt, outputs / blockWords)) return status;
      rest = outputs % blockWords;
    }
    position += static_cast<std::int64_t>(rest);
    for (; position > size; position -= size)
      renew(stream.sfmt);
    standAt(stream, position);
    return RSG_STATUS_OK;
  }
};

}  // namespace

extern const BrngRecord sfmt19937Record;
const BrngRecord sfmt19937Record = {
    .family = 12,
    .members = 1,
    .stateSize = sizeof(Sfmt19937::Stream),
    .seedCount = 625,
    .includesZero = 1,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<Sfmt19937>,
    .name = "SFMT19937",
    .usedSeeds = 0,
    .split = RSG_SPLIT_SKIP,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
