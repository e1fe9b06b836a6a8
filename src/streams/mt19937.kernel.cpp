// The Mersenne Twister MT19937 (M. Matsumoto, T. Nishimura, ACM Transactions on Modeling and Computer
// Simulation 8, 1998).

#include <cstdint>

#include "streams/operations.h"
#include "streams/twister.h"
#include "streams/twister_states.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct Mt19937 {
  using Stream = Mt19937Stream;
  static constexpr int size = 624;
  static constexpr int offset = 397;
  static constexpr std::uint32_t lowerMask = 0x7FFFFFFF;
  static constexpr std::uint32_t matrixA = 0x9908B0DF;
  static constexpr int firstShift = 11;
  static constexpr std::uint32_t temperB = 0x9D2C5680;
  static constexpr std::uint32_t temperC = 0xEFC60000;
  static constexpr bool fuses = true;

  explicit Mt19937(const Stream&) {}
};

struct Generator : Twister<Mt19937> {
  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    seedTwister(stream.mt, size, count, seeds);
    stream.index = size;
  }

  static bool restore(Stream& stream, const std::uint32_t* words) { return restoreWords(stream, words); }

  static std::int32_t skip(Stream& stream, std::uint64_t outputs) {
    if (outputs >= shortestMt19937Jump) return jumpMt19937(stream.mt, outputs);
    standAt(stream, stream.index + static_cast<std::int64_t>(outputs));
    return RSG_STATUS_OK;
  }
};

}  // namespace

extern const BrngRecord mt19937Record;
const BrngRecord mt19937Record = {
    .family = 7,
    .members = 1,
    .stateSize = sizeof(Generator::Stream),
    .seedCount = 625,
    .includesZero = 1,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<Generator>,
    .name = "MT19937",
    .usedSeeds = 0,
    .split = RSG_SPLIT_SKIP,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
