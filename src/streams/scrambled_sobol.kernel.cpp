// Sobol points with a random scrambling, and by direction numbers of the caller's.

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

// A table comes when the stream is there.
struct SobolTable : QuasiRandom<Net<SobolTableStream, RSG_TABLE_DIMENSIONS>> {
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
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
