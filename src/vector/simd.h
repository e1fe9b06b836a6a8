#pragma once

// The vector vocabulary of kernels. Width comes from the level; bodies work for 2, 4 and 8 lanes.

#include <cstdint>

#include "vector/lanes.h"
#include "vector/level.h"
#if defined(RVN_PORTABLE)
#include "vector/simd_portable.h"
#else
#include "vector/simd_x86.h"
#endif

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

inline double magnitude(double a) {
  return __builtin_fabs(a);
}

inline Lanes magnitude(Lanes a) {
  return (Lanes)((LaneMask)a & INT64_MAX);
}

// greaterOf(a, b): the greater of two numbers, or of each pair of lanes; b where one of them is no number.

// a * b + c, rounded once where the level has the instruction and twice elsewhere. Bodies that promise equal
// results on every level write the two operations out instead.
template <class V>
inline V fused(V a, V b, V c) {
  if constexpr (!level.fused) {
    return a * b + c;
  } else if constexpr (sizeof(V) == 8) {
    return __builtin_fma(a, b, c);
  } else {
    return multiplyAdd(a, b, c);
  }
}

// c - a * b, rounded as `fused` rounds.
template <class V>
inline V subtractProduct(V c, V a, V b) {
  if constexpr (level.fused) {
    return fused(-a, b, c);
  } else {
    return c - a * b;
  }
}

// w * scale + a: raw outputs to the interval from a on. Generators that fuse do so where the level can.
template <bool fuses, class V>
inline V mapped(V w, V scale, V a) {
  if constexpr (fuses && level.fused) {
    return fused(w, scale, a);
  } else {
    return w * scale + a;
  }
}

// ---- conversions; `truncated` gives the integer part of numbers below 2^31 ----

// Doubles to numbers of half their size, as many.
template <class V>
struct HalfSize {
  typedef std::int32_t Ints __attribute__((vector_size(sizeof(V) / 2)));
  typedef float Floats __attribute__((vector_size(sizeof(V) / 2)));
};

// Stores doubles that hold integers as 32-bit integers.
template <class V>
inline void storeAsInts(std::int32_t* to, V v) {
  store(to, __builtin_convertvector(v, typename HalfSize<V>::Ints));
}

// The same the other way.
template <class V = Lanes>
inline V loadInts(const void* from) {
  if constexpr (sizeof(V) == 16) {
    return loadPairOfInts(from);
  } else {
    return doublesOfInts(load<typename HalfSize<V>::Ints>(from));
  }
}

// Stores doubles, rounded to floats where the array holds those.
inline void storeAs(double* to, Lanes v) {
  store(to, v);
}

template <class V>
inline void storeAs(float* to, V v) {
  store(to, __builtin_convertvector(v, typename HalfSize<V>::Floats));
}

// The first or the second half of the words as doubles, taken as signed numbers.
template <int half, class W>
inline Lanes signedDoubles(W w) {
  return doublesOfInts((typename HalfSize<W>::Ints)halfOf<half>(w));
}

// The same, taken as unsigned numbers: both steps are exact.
template <int half>
inline Lanes unsignedDoubles(Words w) {
  return signedDoubles<half>(w ^ 0x80000000u) + 0x1p31;
}

// Words loaded one by one: where they were stored just now in other vectors, one load would wait for the cache.
template <class W = Words>
inline W wordByWord(const std::uint32_t* w) {
  if constexpr (sizeof(W) == 16) {
    return fourWordByWord(w);
  } else {
    using Half = decltype(halfOf<0>(W{}));
    return joined(wordByWord<Half>(w), wordByWord<Half>(w + sizeof(W) / 8));
  }
}

// Products of the low halves.
template <class W>
inline W multiplyHalves(W a, W b) {
  return joined(multiplyHalves(halfOf<0>(a), halfOf<0>(b)), multiplyHalves(halfOf<1>(a), halfOf<1>(b)));
}

// Products modulo 2^64.
template <class W>
inline W product(W a, W b) {
  return multiplyHalves(a, b) + ((multiplyHalves(a, b >> 32) + multiplyHalves(a >> 32, b)) << 32);
}

// Words below 2^52 as doubles, exactly: their bits become the fraction of a double from 2^52 on.
inline Lanes doublesBelow52Bits(WideWords w) {
  return (Lanes)(w | 0x4330000000000000u) - 0x1p52;
}

// The upper halves as doubles; they must be below 2^31.
template <class W>
inline Lanes upperHalves(W w) {
  return doublesBelow52Bits(w >> 32);
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
