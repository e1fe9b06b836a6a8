#pragma once

// The body that the multiplicative congruential generators share: x <- mult x mod m, output x before that step.
//
// A pass takes as many steps side by side as `vectorsPerPass` vectors have lanes, lane k standing k steps
// behind lane 0; mult^steps carries all of them to the next pass.

#include <cstddef>
#include <cstdint>

#include "runtime/simd.h"
#include "streams/registry.h"
#include "streams/stream.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// `Rule` has the stream record with x and mult, and
//   multiply(x, c)         x c mod m of single numbers and of lanes;
//   canonical(x)           what is emitted, if multiply leaves more than the residue;
//   Interval(a, b)         maps lanes of canonical outputs to the interval from a to b;
//   power(c, n)            c^n;
//   firstState(count, seeds).
template <class Rule>
struct Congruential {
  using Stream = typename Rule::Stream;
  using Word = decltype(Stream::x);

  static constexpr int vectorsPerPass = 4;
  static constexpr int stepsPerPass = vectorsPerPass * laneCount;

  struct Block {
    WideWords x[vectorsPerPass];
    WideWords jump;  // mult^stepsPerPass
  };

  static Block start(const Stream& stream) {
    std::uint64_t first[laneCount] = {stream.x};
    std::uint64_t jump = stream.mult;
    for (int known = 1; known < laneCount; known *= 2) {
      for (int k = 0; k < known; ++k)
        first[known + k] = Rule::multiply(first[k], jump);
      jump = Rule::multiply(jump, jump);
    }
    Block block;
    block.x[0] = load<WideWords>(first);
    for (int known = 1; known < vectorsPerPass; known *= 2) {
      block.jump = WideWords{} + jump;
      for (int v = 0; v < known; ++v)
        block.x[known + v] = Rule::multiply(block.x[v], block.jump);
      jump = Rule::multiply(jump, jump);
    }
    block.jump = WideWords{} + jump;
    return block;
  }

  // Calls store(i, outputs) for lanes of outputs i, i + 1, ...; the last lanes may be behind n.
  template <class Store>
  static void fill(Stream& stream, std::int64_t n, Store store) {
    Block block = start(stream);
    std::int64_t i = 0;
    for (; i + stepsPerPass <= n; i += stepsPerPass)
#pragma GCC unroll 4
      for (int v = 0; v < vectorsPerPass; ++v) {
        store(i + v * laneCount, Rule::canonical(block.x[v]), laneCount);
        block.x[v] = Rule::multiply(block.x[v], block.jump);
      }
    std::int64_t left = n - i;
    int v = 0;
    for (; left >= laneCount; left -= laneCount, i += laneCount, ++v)
      store(i, Rule::canonical(block.x[v]), laneCount);
    const WideWords last = Rule::canonical(block.x[v]);
    if (left > 0) store(i, last, left);
    stream.x = static_cast<Word>(last[left]);
  }

  template <class Real>
  static std::int32_t fillReal(RsgStream* stream, std::int64_t n, Real* r, Real a, Real b) {
    const typename Rule::Interval interval(static_cast<double>(a), static_cast<double>(b));
    fill(*reinterpret_cast<Stream*>(stream), n, [&](std::int64_t i, WideWords x, std::int64_t count) {
      const Lanes values = interval(x);
      if (count == laneCount) {
        storeAs(r + i, values);
      } else {
        for (std::int64_t k = 0; k < count; ++k)
          store(r + i + k, static_cast<Real>(values[k]));
      }
    });
    return RSG_STATUS_OK;
  }

  static std::int32_t fillFloat(RsgStream* stream, std::int64_t n, float* r, float a, float b) {
    return fillReal(stream, n, r, a, b);
  }

  static std::int32_t fillDouble(RsgStream* stream, std::int64_t n, double* r, double a, double b) {
    return fillReal(stream, n, r, a, b);
  }

  static std::int32_t fillInt(RsgStream* stream, std::int64_t n, void* r) {
    auto* const bytes = static_cast<unsigned char*>(r);
    fill(*reinterpret_cast<Stream*>(stream), n, [&](std::int64_t i, WideWords x, std::int64_t count) {
      for (std::int64_t k = 0; k < count; ++k)
        store(bytes + (i + k) * std::int64_t{sizeof(Word)}, static_cast<Word>(x[k]));
    });
    return RSG_STATUS_OK;
  }

  static void skip(Stream& stream, std::uint64_t outputs) {
    stream.x = static_cast<Word>(Rule::residue(Rule::multiply(stream.x, Rule::power(stream.mult, outputs))));
  }

  static std::int32_t stateOp(std::int32_t method, RsgStream* header, std::int64_t count,
                              const std::uint32_t* args) {
    auto& stream = *reinterpret_cast<Stream*>(header);
    switch (method) {
      case stateSeed:
        stream.x = Rule::firstState(count, args);
        stream.mult = Rule::multiplier;
        return RSG_STATUS_OK;
      case stateLeapfrog:
        skip(stream, args[0]);
        stream.mult = static_cast<Word>(Rule::power(stream.mult, static_cast<std::uint64_t>(count)));
        return RSG_STATUS_OK;
      case stateSkipAhead:
        if (count < 1) return RSG_ERROR_SKIP_AHEAD;
        skip(stream, skippedOutputs(count, args));
        return RSG_STATUS_OK;
      default:
        return RSG_ERROR_STATE_METHOD;
    }
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
