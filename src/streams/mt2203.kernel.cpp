// The family MT2203: small Mersenne Twisters with parameters of their own (M. Matsumoto, T. Nishimura, Dynamic
// creation of pseudorandom number generators, 2000).

#include "streams/mt2203.h"

#include <cstdint>

#include "streams/locate.h"
#include "streams/registry.h"
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

using Fills = WordFills<Twister<Mt2203>>;

std::int32_t stateOp(std::int32_t method, RsgStream* header, std::int64_t count, const std::uint32_t* args) {
  auto& stream = *reinterpret_cast<Mt2203Stream*>(header);
  switch (method) {
    case stateSeed: {
      seedTwister(stream.mt, Mt2203::size, count, args);
      stream.index = Mt2203::size;
      const std::uint32_t* const parameters = Mt2203Parameters[rsgBrngLocate(header->brngId).member];
      stream.matrixA = parameters[0];
      stream.temperB = parameters[1];
      stream.temperC = parameters[2];
      return RSG_STATUS_OK;
    }
    case stateLeapfrog:
      return RSG_ERROR_LEAPFROG;
    case stateSkipAhead:
      return RSG_ERROR_SKIP_AHEAD;
    default:
      return RSG_ERROR_STATE_METHOD;
  }
}

}  // namespace

extern const BrngOperations mt2203;
const BrngOperations mt2203 = {stateOp, Fills::fillFloat, Fills::fillDouble, Fills::fillInt};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
