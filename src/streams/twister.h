#pragma once

// The body of Mersenne Twisters on 32-bit words (M. Matsumoto, T. Nishimura, ACM Transactions on Modeling and
// Computer Simulation 8, 1998): z[i + size] = z[i + offset] ^ (upper bits of z[i], lower bits of z[i + 1]) A,
// every word tempered on its way out. An array of `size` words is the state; it is renewed whole, in place.

#include <cstdint>

#include "streams/word_fill.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// `Rule` is made from its stream, which has mt[size] and index, and has
//   size, offset, lowerMask;  firstShift;
//   matrixA, temperB, temperC: constants or, where members differ, data.
template <class Rule>
struct Twister : WordOutputs<WordMapping::unsignedWord, Rule::fuses> {
  using Stream = typename Rule::Stream;
  static constexpr int size = Rule::size;
  static_assert(wordCount <= size - Rule::offset);  // no word of a vector is made of another one

  template <class W>
  static W renewed(const Rule& rule, W z, W next, W far) {
    const W y = (z & ~Rule::lowerMask) | (next & Rule::lowerMask);
    return far ^ (y >> 1) ^ (-(y & 1) & rule.matrixA);
  }

  template <class W>
  static W tempered(const Rule& rule, W y) {
    y ^= y >> Rule::firstShift;
    y ^= (y << 7) & rule.temperB;
    y ^= (y << 15) & rule.temperC;
    return y ^ (y >> 18);
  }

  // Words from .. to - 1, of which none is the last of the array; `far` words further on or, when negative,
  // back stand the others that they are made of.
  static void renew(const Rule& rule, std::uint32_t* mt, int from, int to, int far) {
    const int whole = to - (to - from) % wordCount;
    int i = from;
    for (; i < whole; i += wordCount)
      store(mt + i, renewed(rule, load<Words>(mt + i), load<Words>(mt + i + 1), load<Words>(mt + i + far)));
    for (; i < to; ++i)
      mt[i] = renewed(rule, mt[i], mt[i + 1], mt[i + far]);
  }

  [[gnu::noinline]] static void renew(const Rule& rule, std::uint32_t* mt) {
    renew(rule, mt, 0, size - Rule::offset, Rule::offset);
    renew(rule, mt, size - Rule::offset, size - 1, Rule::offset - size);
    mt[size - 1] = renewed(rule, mt[size - 1], mt[0], mt[Rule::offset - 1]);
  }

  struct Block {
    Stream& stream;
    const Rule rule;
    const std::uint32_t* next;

    explicit Block(Stream& of) : stream(of), rule(of), next(of.mt + of.index) {}
    std::int64_t left() {
      if (next == stream.mt + size) {
        renew(rule, stream.mt);
        next = stream.mt;
      }
      return stream.mt + size - next;
    }
    template <class W>
    W at(std::int64_t i) const {
      return tempered(rule, load<W>(next + i));
    }
    void take(std::int64_t n) {
      next += n;
      stream.index = static_cast<std::int32_t>(next - stream.mt);
    }
  };

  template <class Out>
  static void fill(RsgStream* header, std::int64_t n, const Out& out) {
    fillFromBlock(Block(*reinterpret_cast<Stream*>(header)), n, out);
  }

  template <class Out>
  static void fillOne(RsgStream* header, const Out& out) {
    fillOneFromBlock(Block(*reinterpret_cast<Stream*>(header)), out);
  }

  static constexpr std::int32_t savedWords = size + 1;

  static void save(const Stream& stream, std::uint32_t* words) {
    __builtin_memcpy(words, stream.mt, sizeof stream.mt);
    words[size] = static_cast<std::uint32_t>(stream.index);
  }

  // Of the first word only the upper bits are part of the state, which is never zero.
  static bool restoreWords(Stream& stream, const std::uint32_t* words) {
    __builtin_memcpy(stream.mt, words, sizeof stream.mt);
    stream.index = static_cast<std::int32_t>(words[size]);
    return words[size] <= size && ((words[0] & ~Rule::lowerMask) != 0 || anySet(words + 1, size - 1));
  }

  // The stream goes on with word `position` from the array's start on, counted over renewals.
  static void standAt(Stream& stream, std::int64_t position) {
    const Rule rule(stream);
    for (; position > size; position -= size)
      renew(rule, stream.mt);
    stream.index = static_cast<std::int32_t>(position);
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
