#pragma once

// From a generator's rule to the four operations of its row.

#include <cstdint>

#include "runtime/level.h"
#include "streams/registry.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// `Rule` has the record `Stream` and seed(stream, count, seeds), and where the generator can
//   leapfrog(stream, count, k)  the stream becomes number k of `count` interleaved ones;
//   skip(stream, outputs).
// Both return a status.
template <class Rule>
std::int32_t stateOperation(std::int32_t method, RsgStream* header, std::int64_t count,
                            const std::uint32_t* args) {
  auto& stream = *reinterpret_cast<typename Rule::Stream*>(header);
  switch (method) {
    case stateSeed:
      Rule::seed(stream, count, args);
      return RSG_STATUS_OK;
    case stateLeapfrog:
      if constexpr (requires { Rule::leapfrog(stream, count, *args); }) {
        return Rule::leapfrog(stream, count, *args);
      } else {
        return RSG_ERROR_LEAPFROG;
      }
    case stateSkipAhead:
      if constexpr (requires { Rule::skip(stream, std::uint64_t{}); }) {
        return count < 1 ? RSG_ERROR_SKIP_AHEAD : Rule::skip(stream, skippedOutputs(count, args));
      } else {
        return RSG_ERROR_SKIP_AHEAD;
      }
    default:
      return RSG_ERROR_STATE_METHOD;
  }
}

// `Fills` has fillFloat, fillDouble and fillInt.
template <class Rule, class Fills>
constexpr BrngOperations operationsOf = {stateOperation<Rule>, Fills::fillFloat, Fills::fillDouble,
                                         Fills::fillInt};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
