#pragma once

// From a generator's rule to the four operations of its row.

#include <cstdint>

#include "streams/registry.h"
#include "vector/level.h"

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

// Where the outputs of a fill go: Rule::fill(stream, n, out) gives n of them to a Rule::Mapped<Real>, which maps them
// to an interval, or to a Rule::Raw, which stores them as they are.
template <class Rule, class Real>
std::int32_t mappedFill(RsgStream* stream, std::int64_t n, Real* r, Real a, Real b) {
  Rule::fill(stream, n,
             typename Rule::template Mapped<Real>(r, static_cast<double>(a), static_cast<double>(b)));
  return RSG_STATUS_OK;
}

template <class Rule>
std::int32_t rawFill(RsgStream* stream, std::int64_t n, void* r) {
  Rule::fill(stream, n, typename Rule::Raw{static_cast<unsigned char*>(r)});
  return RSG_STATUS_OK;
}

template <class Rule>
constexpr BrngOperations operationsOf = {stateOperation<Rule>, mappedFill<Rule, float>,
                                         mappedFill<Rule, double>, rawFill<Rule>};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
