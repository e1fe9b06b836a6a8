// The Mersenne Twister MT19937 (M. Matsumoto, T. Nishimura, ACM Transactions on Modeling and Computer
// Simulation 8, 1998).

#include <cstdint>

#include "streams/registry.h"
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

using Generator = Twister<Mt19937>;
using Fills = WordFills<Generator>;

std::int32_t skip(Mt19937Stream& stream, std::uint64_t outputs) {
  if (outputs >= shortestMt19937Jump) return jumpMt19937(stream.mt, outputs);
  Generator::standAt(stream, stream.index + static_cast<std::int64_t>(outputs));
  return RSG_STATUS_OK;
}

std::int32_t stateOp(std::int32_t method, RsgStream* header, std::int64_t count, const std::uint32_t* args) {
  auto& stream = *reinterpret_cast<Mt19937Stream*>(header);
  switch (method) {
    case stateSeed:
      seedTwister(stream.mt, Mt19937::size, count, args);
      stream.index = Mt19937::size;
      return RSG_STATUS_OK;
    case stateLeapfrog:
      return RSG_ERROR_LEAPFROG;
    case stateSkipAhead:
      return count < 1 ? RSG_ERROR_SKIP_AHEAD : skip(stream, skippedOutputs(count, args));
    default:
      return RSG_ERROR_STATE_METHOD;
  }
}

}  // namespace

extern const BrngOperations mt19937;
const BrngOperations mt19937 = {stateOp, Fills::fillFloat, Fills::fillDouble, Fills::fillInt};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
