#pragma once

// The body that the multiplicative congruential generators share: x <- mult x mod m, output x before that step.
//
// A pass takes as many steps side by side as four or eight vectors have lanes, lane k standing k steps behind lane 0;
// mult^steps carries all of them to the next pass.

#include <cstddef>
#include <cstdint>

#include "streams/operations.h"
#include "streams/stream.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// `Rule` has the stream record with x and mult, and
//   multiply(x, c)         x c mod m of single numbers and of lanes;
//   canonical(x)           what is emitted, if multiply leaves more than the residue;
//   Interval(a, b)         maps lanes of outputs, or one, to the interval from a to b;
//   power(c, n)            c^n;
//   vectorsPerPass         4 or 8: as many as cover the latency of multiply();
//   firstState(count, seeds);
//   canHave(x, mult)       whether a stream can;
//   shortestBlock          outputs from which on a start of many lanes pays; 0: never.
template <class Rule>
struct Congruential {
  using Stream = typename Rule::Stream;
  using Word = decltype(Stream::x);

  template <int vectors>
  struct Block {
    WideWords x[vectors];
    WideWords jump;  // mult to the steps of a pass
  };

  template <int vectors>
  static Block<vectors> start(const Stream& stream) {
    std::uint64_t first[laneCount] = {stream.x};
    std::uint64_t jump = stream.mult;
    for (int known = 1; known < laneCount; known *= 2) {
      for (int k = 0; k < known; ++k)
        first[known + k] = Rule::multiply(first[k], jump);
      jump = Rule::multiply(jump, jump);
    }
    Block<vectors> block;
    block.x[0] = load<WideWords>(first);
    for (int known = 1; known < vectors; known *= 2) {
      block.jump = WideWords{} + jump;
      for (int v = 0; v < known; ++v)
        block.x[known + v] = Rule::multiply(block.x[v], block.jump);
      jump = Rule::multiply(jump, jump);
    }
    block.jump = WideWords{} + jump;
    return block;
  }

  template <class Real>
  struct Mapped {
    Real* r;
    typename Rule::Interval interval;

    Mapped(Real* to, double a, double b) : r(to), interval(a, b) {}
    void lanes(std::int64_t i, WideWords x) const { storeAs(r + i, interval.lanes(x)); }
    void one(std::int64_t i, std::uint64_t x) const { store(r + i, static_cast<Real>(interval.one(x))); }
  };

  struct Raw {
    unsigned char* r;

    void lanes(std::int64_t i, WideWords x) const {
      for (int k = 0; k < laneCount; ++k)
        one(i + k, x[k]);
    }
    void one(std::int64_t i, std::uint64_t x) const {
      store(r + i * std::int64_t{sizeof(Word)}, static_cast<Word>(x));
    }
  };

  // As many steps side by side in plain registers as a vector has lanes.
  template <class Out>
  static void fillByChains(Stream& stream, std::int64_t n, const Out& out) {
    std::uint64_t x[laneCount] = {stream.x};
    std::uint64_t jump = stream.mult;
    for (int known = 1; known < laneCount; known *= 2) {
      for (int k = 0; k < known; ++k)
        x[known + k] = Rule::multiply(x[k], jump);
      jump = Rule::multiply(jump, jump);
    }
    std::int64_t i = 0;
    for (; i + laneCount <= n; i += laneCount) {
      out.lanes(i, Rule::canonical(wideWords(x)));
      for (std::uint64_t& one : x)
        one = Rule::multiply(one, jump);
    }
    for (; i < n; ++i) {
      out.one(i, Rule::canonical(x[0]));
      for (int k = 1; k < laneCount; ++k)
        x[k - 1] = x[k];
    }
    stream.x = static_cast<Word>(Rule::canonical(x[0]));
  }

  template <int vectors, class Out>
  static void fillByLanes(Stream& stream, std::int64_t n, const Out& out) {
    constexpr std::int64_t steps = std::int64_t{vectors} * laneCount;
    Block<vectors> block = start<vectors>(stream);
    std::int64_t i = 0;
    for (; i + steps <= n; i += steps)
#pragma GCC unroll 8
      for (std::int64_t v = 0; v < vectors; ++v) {
        out.lanes(i + v * laneCount, Rule::canonical(block.x[v]));
        block.x[v] = Rule::multiply(block.x[v], block.jump);
      }
    int v = 0;
    for (; i + laneCount <= n; i += laneCount, ++v)
      out.lanes(i, Rule::canonical(block.x[v]));
    const WideWords last = Rule::canonical(block.x[v]);
    for (int k = 0; i + k < n; ++k)
      out.one(i + k, last[k]);
    stream.x = static_cast<Word>(last[n - i]);
  }

  template <class Out>
  static void fillInOneChain(Stream& stream, std::int64_t n, const Out& out) {
    const std::uint64_t mult = stream.mult;
    std::uint64_t x = stream.x;
    for (std::int64_t i = 0; i < n; ++i) {
      out.one(i, Rule::canonical(x));
      x = Rule::multiply(x, mult);
    }
    stream.x = static_cast<Word>(Rule::canonical(x));
  }

  // Eight lanes take as long to start as so many steps in a row.
  static constexpr std::int64_t longestChain = laneCount > 4 ? 15 : 0;

  template <class Out>
  static void fill(RsgStream* header, std::int64_t n, const Out& out) {
    auto& stream = *reinterpret_cast<Stream*>(header);
    if (n <= longestChain) return fillInOneChain(stream, n, out);
    if (Rule::shortestBlock == 0 || n < Rule::shortestBlock) {
      fillByChains(stream, n, out);
    } else if (n < Rule::vectorsPerPass * laneCount) {
      fillByLanes<4>(stream, n, out);
    } else {
      fillByLanes<Rule::vectorsPerPass>(stream, n, out);
    }
  }

  template <class Out>
  static void fillOne(RsgStream* header, const Out& out) {
    fillInOneChain(*reinterpret_cast<Stream*>(header), 1, out);
  }

  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    stream.x = Rule::firstState(count, seeds);
    stream.mult = Rule::multiplier;
  }

  static constexpr std::int32_t savedWords = 2 * sizeof(Word) / 4;

  static void save(const Stream& stream, std::uint32_t* words) {
    const std::uint64_t numbers[] = {stream.x, stream.mult};
    for (const std::uint64_t number : numbers)
      for (unsigned shift = 0; shift < 8 * sizeof(Word); shift += 32)
        *words++ = static_cast<std::uint32_t>(number >> shift);
  }

  static bool restore(Stream& stream, const std::uint32_t* words) {
    Word* const numbers[] = {&stream.x, &stream.mult};
    for (Word* const number : numbers) {
      std::uint64_t read = 0;
      for (unsigned shift = 0; shift < 8 * sizeof(Word); shift += 32)
        read |= std::uint64_t{*words++} << shift;
      *number = static_cast<Word>(read);
    }
    return Rule::canHave(stream.x, stream.mult);
  }

  static std::int32_t skip(Stream& stream, std::uint64_t outputs) {
    stream.x =
        static_cast<Word>(Rule::canonical(Rule::multiply(stream.x, Rule::power(stream.mult, outputs))));
    return RSG_STATUS_OK;
  }

  static std::int32_t leapfrog(Stream& stream, std::int64_t count, std::uint32_t k) {
    skip(stream, k);
    stream.mult = static_cast<Word>(Rule::power(stream.mult, static_cast<std::uint64_t>(count)));
    return RSG_STATUS_OK;
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
