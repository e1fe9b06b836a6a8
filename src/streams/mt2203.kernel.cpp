// The family MT2203: small Mersenne Twisters with parameters of their own (M. Matsumoto, T. Nishimura, Dynamic
// creation of pseudorandom number generators, 2000).

#include "streams/mt2203.h"

#include <cstdint>

#include "streams/locate.h"
#include "streams/operations.h"
#include "streams/twister.h"
#include "streams/twister_states.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct Mt2203 {
  using Stream = Mt2203Stream;
  static constexpr int size = 69;
  static constexpr int offset = 34;
  static constexpr std::uint32_t lowerMask = 0x1F;
  static constexpr int firstShift = 12;
  static constexpr bool fuses = false;

  std::uint32_t matrixA;
  std::uint32_t temperB;
  std::uint32_t temperC;

  explicit Mt2203(const Stream& stream)
      : matrixA(stream.matrixA), temperB(stream.temperB), temperC(stream.temperC) {}
};

struct Generator : Twister<Mt2203> {
  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    seedTwister(stream.mt, size, count, seeds);
    stream.index = size;
    setMember(stream);
  }

  static bool restore(Stream& stream, const std::uint32_t* words) {
    setMember(stream);
    return restoreWords(stream, words);
  }

  static void setMember(Stream& stream) {
    const std::uint32_t* const parameters = Mt2203Parameters[memberOf(stream.header.brngId)];
    stream.matrixA = parameters[0];
    stream.temperB = parameters[1];
    stream.temperC = parameters[2];
  }
};

}  // namespace

extern const BrngRecord mt2203Record;
const BrngRecord mt2203Record = {
    .family = 8,
    .members = mt2203Members,
    .stateSize = sizeof(Generator::Stream),
    .seedCount = 70,
    .includesZero = 1,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<Generator>,
    .name = "MT2203",
    .usedSeeds = 0,
    .split = RSG_SPLIT_MEMBERS,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
