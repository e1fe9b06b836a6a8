// The twister of 128-bit blocks SFMT19937 (M. Saito, M. Matsumoto, Monte Carlo and Quasi-Monte Carlo Methods
// 2006, 2008). Words leave in groups of four, a block each; what a fill does not take of its last group waits
// in the stream for the next fill.

#include <cstdint>

#include "streams/operations.h"
#include "streams/twister_states.h"
#include "streams/word_fill.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t size = 624;
constexpr std::int64_t blockWords = 4;

inline FourWords renewed(FourWords z, FourWords far, FourWords beforeLast, FourWords last) {
  constexpr FourWords mask = {0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6};
  return z ^ byteUp(z) ^ ((far >> 11) & mask) ^ byteDown(beforeLast) ^ (last << 18);
}

void renew(std::uint32_t* sfmt) {
  constexpr std::int64_t offset = 122 * blockWords;
  auto beforeLast = load<FourWords>(sfmt + size - 2 * blockWords);
  auto last = load<FourWords>(sfmt + size - blockWords);
  const auto run = [&](std::int64_t from, std::int64_t to, std::int64_t far) {
    for (std::int64_t i = from; i < to; i += blockWords) {
      const FourWords next =
          renewed(load<FourWords>(sfmt + i), load<FourWords>(sfmt + i + far), beforeLast, last);
      store(sfmt + i, next);
      beforeLast = last;
      last = next;
    }
  };
  run(0, size - offset, offset);
  run(size - offset, size, offset - size);
}

void renewIfUsed(Sfmt19937Stream& stream) {
  if (stream.index < size) return;
  renew(stream.sfmt);
  stream.index = 0;
}

// The words of the block before `index` from number `used` on are yet to be delivered.
void carryRest(Sfmt19937Stream& stream, std::int64_t used) {
  stream.carryPos = 0;
  stream.carryEnd = static_cast<std::int32_t>(blockWords - used);
  for (std::int64_t i = used; i < blockWords; ++i)
    stream.carry[i - used] = stream.sfmt[stream.index - blockWords + i];
}

// The stream goes on with word `position` from the array's start on, counted over renewals.
void standAt(Sfmt19937Stream& stream, std::int64_t position) {
  for (; position > size; position -= size)
    renew(stream.sfmt);
  const std::int64_t used = position % blockWords;
  stream.index = static_cast<std::int32_t>(position - used + (used == 0 ? 0 : blockWords));
  carryRest(stream, used == 0 ? blockWords : used);
}

struct Sfmt19937 : WordOutputs<WordMapping::signedWord, true> {
  using Stream = Sfmt19937Stream;

  template <class Out>
  static void fill(RsgStream* header, std::int64_t n, const Out& out) {
    auto& stream = *reinterpret_cast<Stream*>(header);
    std::int64_t done = 0;
    for (; done < n && stream.carryPos < stream.carryEnd; ++done, ++stream.carryPos)
      out.put(done, stream.carry[stream.carryPos]);
    while (n - done >= blockWords) {
      renewIfUsed(stream);
      const std::uint32_t* const words = stream.sfmt + stream.index;
      const std::int64_t left = size - stream.index;
      const std::int64_t whole = (n - done) / blockWords * blockWords;
      const std::int64_t run = left < whole ? left : whole;
      std::int64_t i = 0;
      for (; i + wordCount <= run; i += wordCount)
        out.put(done + i, load<Words>(words + i));
      for (; i < run; ++i)
        out.put(done + i, words[i]);
      done += run;
      stream.index += static_cast<std::int32_t>(run);
    }
    if (done == n) return;
    renewIfUsed(stream);
    const std::int64_t used = n - done;
    for (std::int64_t i = 0; i < used; ++i)
      out.put(done + i, stream.sfmt[stream.index + i]);
    stream.index += static_cast<std::int32_t>(blockWords);
    carryRest(stream, used);
  }

  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    seedSfmt19937(stream.sfmt, count, seeds);
    stream.index = size;
    carryRest(stream, blockWords);
  }

  static std::int32_t skip(Stream& stream, std::uint64_t outputs) {
    if (outputs == 0) return RSG_STATUS_OK;
    const std::int64_t position = stream.index - (stream.carryEnd - stream.carryPos);
    std::uint64_t rest = outputs;
    if (outputs / blockWords >= shortestSfmt19937Jump) {
      if (const std::int32_t status = jumpSfmt19937(stream.sfmt, outputs / blockWords)) return status;
      rest = outputs % blockWords;
    }
    standAt(stream, position + static_cast<std::int64_t>(rest));
    return RSG_STATUS_OK;
  }
};

}  // namespace

extern const BrngRecord sfmt19937;
const BrngRecord sfmt19937 = {
    .family = 12,
    .members = 1,
    .stateSize = sizeof(Sfmt19937::Stream),
    .seedCount = 625,
    .includesZero = 1,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<Sfmt19937>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
