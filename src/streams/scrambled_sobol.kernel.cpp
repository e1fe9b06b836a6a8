// Sobol points with a random scrambling, and by direction numbers of the caller's.

// As in sobol.kernel.cpp: every store of 64 bytes into an array at any address crosses a line.
#define RVN_WIDEST_VECTOR 32

#include <cstdint>

#include "streams/quasi_random.h"
#include "streams/scrambled_net.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class NetStream, int largestDimension>
struct Net {
  using Stream = NetStream;
  static constexpr std::uint32_t dimensions = largestDimension;
  static constexpr bool fuses = true;
};

// Seed words are the dimension, the seed, low word first, and the scrambling.
struct ScrambledSobol : QuasiRandom<Net<ScrambledSobolStream, sobolDimensions>> {
  static constexpr std::int32_t savedWords = 7;

  static void save(const Stream& stream, std::uint32_t* words) {
    QuasiRandom::save(stream, words);
    words[4] = stream.seed[0];
    words[5] = stream.seed[1];
    words[6] = static_cast<std::uint32_t>(stream.scrambling);
  }

  static bool restore(Stream& stream, const std::uint32_t* words) {
    if (words[6] > RSG_SCRAMBLING_LINEAR || !isPlace(words, words[6] == RSG_SCRAMBLING_NONE ? 1 : 0))
      return false;
    const std::uint32_t seeds[4] = {words[1], words[4], words[5], words[6]};
    seed(stream, 4, seeds);
    standAt(stream, words);
    return true;
  }

  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    const auto word = [=](std::int64_t i) { return i < count ? seeds[i] : 0; };
    const bool isDimension = word(0) >= 1 && word(0) <= std::uint32_t{sobolDimensions};
    const bool isScrambling = word(3) <= RSG_SCRAMBLING_LINEAR;
    makeNet(stream, {.dimension = isDimension ? static_cast<std::int32_t>(word(0)) : 1,
                     .seed = std::uint64_t{word(2)} << 32 | word(1),
                     .scrambling = isScrambling ? static_cast<std::int32_t>(word(3)) : RSG_SCRAMBLING_NONE,
                     .table = nullptr});
  }
};

// A table comes when the stream is there, and is no part of what can be saved.
struct SobolTable : QuasiRandom<Net<SobolTableStream, RSG_TABLE_DIMENSIONS>> {
  static bool restore(Stream&, const std::uint32_t*) { return false; }

  static void seed(Stream& stream, std::int64_t, const std::uint32_t*) {
    makeNet(stream, {.dimension = 1, .seed = 0, .scrambling = RSG_SCRAMBLING_NONE, .table = nullptr});
  }
};

}  // namespace

extern const BrngRecord scrambledSobolRecord;
const BrngRecord scrambledSobolRecord = {
    .family = 14,
    .members = 1,
    .stateSize = sizeof(ScrambledSobol::Stream),
    .seedCount = 4,
    .includesZero = 1,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<ScrambledSobol>,
    .name = "Scrambled Sobol",
    .usedSeeds = 4,
    .split = RSG_SPLIT_SKIP,
};

extern const BrngRecord sobolTableRecord;
const BrngRecord sobolTableRecord = {
    .family = 15,
    .members = 1,
    .stateSize = sizeof(SobolTable::Stream),
    .seedCount = 0,
    .includesZero = 1,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<SobolTable>,
    .name = "Sobol by a table",
    .usedSeeds = 0,
    .split = RSG_SPLIT_SKIP,
    .isSaved = false,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
