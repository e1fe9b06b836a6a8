#pragma once

// What a generator's rule must have, and from there to the operations of its record.

#include <cstdint>

#include "streams/registry.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class A, class B>
concept Is = __is_same(A, B);

// A rule has the record of its stream and seeds it; the word count may be 0 or less.
template <class Rule>
concept Seeds = requires(typename Rule::Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
  { Rule::seed(stream, count, seeds) } -> Is<void>;
};

// The stream becomes number k of `count` interleaved ones. Returns a status.
template <class Rule>
concept Leapfrogs = requires(typename Rule::Stream& stream, std::int64_t count, std::uint32_t k) {
  { Rule::leapfrog(stream, count, k) } -> Is<std::int32_t>;
};

template <class Rule>
concept SelectsCoordinates = Leapfrogs<Rule> && requires {
  Rule::dimensions;
};

template <class Rule>
concept Skips = requires(typename Rule::Stream& stream, std::uint64_t outputs) {
  { Rule::skip(stream, outputs) } -> Is<std::int32_t>;
};

// fill(stream, n, out) gives n outputs to a sink: Mapped<Real> maps them to an interval, Raw stores them as they are.
template <class Rule>
concept FillsSinks = requires(RsgStream* stream, std::int64_t n, double* r, double a, unsigned char* bytes) {
  { Rule::fill(stream, n, typename Rule::template Mapped<double>(r, a, a)) } -> Is<void>;
  { Rule::fill(stream, n, typename Rule::Raw{bytes}) } -> Is<void>;
};

// fillOne(stream, out) gives one output to a sink, which most programs ask for at a time.
template <class Rule>
concept FillsOne = requires(RsgStream* stream, double* r, double a) {
  { Rule::fillOne(stream, typename Rule::template Mapped<double>(r, a, a)) } -> Is<void>;
};

// A fill of its own for every kind of output, with a status.
template <class Rule>
concept FillsByKind = requires(RsgStream* stream, std::int64_t n, double* d, float* f, void* raw) {
  { Rule::fillReal(stream, n, d, 0.0, 1.0) } -> Is<std::int32_t>;
  { Rule::fillReal(stream, n, f, 0.0F, 1.0F) } -> Is<std::int32_t>;
  { Rule::fillRaw(stream, n, raw) } -> Is<std::int32_t>;
};

// restore() fills the whole state and tells whether a stream can have it; all that is not in the words is made again.
template <class Rule>
concept Saves = requires(const typename Rule::Stream& saved, typename Rule::Stream& loaded,
                         std::uint32_t* words) {
  { Rule::savedWords + 0 } -> Is<std::int32_t>;
  { Rule::save(saved, words) } -> Is<void>;
  { Rule::restore(loaded, words) } -> Is<bool>;
};

// Whoever has a move by name has it in this form, or it would be refused.
template <class Rule>
concept MovesInForm = (Leapfrogs<Rule> || !requires { &Rule::leapfrog; }) &&
                      (Skips<Rule> || !requires { &Rule::skip; });

template <class Rule>
concept Fills = FillsSinks<Rule> || FillsByKind<Rule>;

template <class Rule>
concept GeneratorRule = Seeds<Rule> && MovesInForm<Rule> && Fills<Rule> && Saves<Rule>;

template <Seeds Rule>
std::int32_t stateOperation(std::int32_t method, RsgStream* header, std::int64_t count,
                            const std::uint32_t* args) {
  auto& stream = *reinterpret_cast<typename Rule::Stream*>(header);
  switch (method) {
    case stateSeed:
      Rule::seed(stream, count, args);
      return RSG_STATUS_OK;
    case stateLeapfrog:
      if constexpr (Leapfrogs<Rule>) {
        return Rule::leapfrog(stream, count, *args);
      } else {
        return RSG_ERROR_LEAPFROG;
      }
    case stateSkipAhead:
      if constexpr (Skips<Rule>) {
        return count < 1 ? RSG_ERROR_SKIP_AHEAD : Rule::skip(stream, skippedOutputs(count, args));
      } else {
        return RSG_ERROR_SKIP_AHEAD;
      }
    default:
      return RSG_ERROR_STATE_METHOD;
  }
}

template <class Rule, class Real>
[[gnu::noinline]] std::int32_t fillMany(RsgStream* stream, std::int64_t n, Real* r, Real a, Real b) {
  Rule::fill(stream, n,
             typename Rule::template Mapped<Real>(r, static_cast<double>(a), static_cast<double>(b)));
  return RSG_STATUS_OK;
}

template <class Rule, class Real>
std::int32_t fillReal(RsgStream* stream, std::int64_t n, Real* r, Real a, Real b) {
  if constexpr (FillsByKind<Rule>) {
    return Rule::fillReal(stream, n, r, a, b);
  } else {
    if constexpr (FillsOne<Rule>) {
      if (n == 1) {
        Rule::fillOne(
            stream, typename Rule::template Mapped<Real>(r, static_cast<double>(a), static_cast<double>(b)));
        return RSG_STATUS_OK;
      }
    }
    return fillMany<Rule>(stream, n, r, a, b);
  }
}

template <class Rule>
std::int32_t fillRaw(RsgStream* stream, std::int64_t n, void* r) {
  if constexpr (FillsByKind<Rule>) {
    return Rule::fillRaw(stream, n, r);
  } else {
    Rule::fill(stream, n, typename Rule::Raw{static_cast<unsigned char*>(r)});
    return RSG_STATUS_OK;
  }
}

template <Saves Rule>
void saveState(const RsgStream* header, std::uint32_t* words) {
  static_assert(Rule::savedWords <= mostSavedWords);
  Rule::save(*reinterpret_cast<const typename Rule::Stream*>(header), words);
}

template <Saves Rule>
bool restoreState(RsgStream* header, const std::uint32_t* words) {
  return Rule::restore(*reinterpret_cast<typename Rule::Stream*>(header), words);
}

// Whether one of n words is not zero.
inline bool anySet(const std::uint32_t* words, std::int64_t n) {
  std::uint32_t bits = 0;
  for (std::int64_t i = 0; i < n; ++i)
    bits |= words[i];
  return bits != 0;
}

template <class Rule>
constexpr std::int32_t movesOf = (Skips<Rule> ? RSG_MOVE_SKIP_AHEAD : 0) |
                                 (SelectsCoordinates<Rule> ? RSG_MOVE_COORDINATE
                                  : Leapfrogs<Rule>        ? RSG_MOVE_LEAPFROG
                                                           : 0);

template <GeneratorRule Rule>
constexpr BrngOperations operationsOf = {stateOperation<Rule>, fillReal<Rule, float>, fillReal<Rule, double>,
                                         fillRaw<Rule>,        saveState<Rule>,       restoreState<Rule>,
                                         Rule::savedWords,     movesOf<Rule>};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
