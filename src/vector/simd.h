#pragma once

// The vector vocabulary of kernels, over the compilers' vector extensions. Width comes from the level. This
// is the only file with intrinsics of arithmetic. Everything has internal linkage, so that no build of a
// helper can stand in for another level's.

#include <cstdint>
#include <immintrin.h>

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr int laneCount = level.vectorBytes / 8;  // doubles in the level's widest register

// Two doubles, at every level, and the level's own width.
typedef double Pair __attribute__((vector_size(16)));
typedef double Lanes __attribute__((vector_size(level.vectorBytes)));
typedef std::int64_t LaneMask __attribute__((vector_size(level.vectorBytes)));

// Loads and stores of `V` at any address.
template <class V>
[[maybe_unused]] inline V load(const void* from) {
  V v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}

template <class V>
[[maybe_unused]] inline void store(void* to, V v) {
  __builtin_memcpy(to, &v, sizeof v);
}

template <class V>
[[maybe_unused]] inline V broadcast(double a) {
  return a - V{};  // not V{} + a, which would turn -0.0 into 0.0
}

// Calls body(i, V{}) for every i of from .. to - 1, for as many at a time as V has lanes: vectors first, then
// single doubles.
template <class Body>
[[maybe_unused]] inline void forLanes(std::int64_t from, std::int64_t to, Body body) {
  for (; from + laneCount <= to; from += laneCount)
    body(from, Lanes{});
  for (; from < to; ++from)
    body(from, 0.0);
}

// Fetches the cache line of the double `distance` behind `at` for writing; it need not exist.
[[maybe_unused]] inline void prefetchBehind(const double* at, std::int64_t distance) {
  const auto address = reinterpret_cast<std::uintptr_t>(at) + static_cast<std::uintptr_t>(distance) * 8;
  __builtin_prefetch(reinterpret_cast<const void*>(address), 1);
}

[[maybe_unused]] inline double magnitude(double a) {
  return __builtin_fabs(a);
}

[[maybe_unused]] inline Lanes magnitude(Lanes a) {
  return (Lanes)((LaneMask)a & INT64_MAX);
}

// a * b + c, rounded once where the level has the instruction and twice elsewhere. Bodies that promise equal
// results on every level write the two operations out instead.
[[maybe_unused]] inline double fused(double a, double b, double c) {
#if RVN_LEVEL == 9
  return __builtin_fma(a, b, c);
#else
  return a * b + c;
#endif
}

[[maybe_unused]] inline Pair fused(Pair a, Pair b, Pair c) {
#if RVN_LEVEL == 9
  return _mm_fmadd_pd(a, b, c);
#else
  return a * b + c;
#endif
}

#if RVN_LEVEL >= 8
[[maybe_unused]] inline Lanes fused(Lanes a, Lanes b, Lanes c) {
#if RVN_LEVEL == 9
  return _mm256_fmadd_pd(a, b, c);
#else
  return a * b + c;
#endif
}
#endif

// c - a * b, rounded as `fused` rounds.
template <class V>
[[maybe_unused]] inline V subtractProduct(V c, V a, V b) {
  if constexpr (level.fused) {
    return fused(-a, b, c);
  } else {
    return c - a * b;
  }
}

// `low` and `high` hold neighbouring elements of an array: the vectors one element above `low` and one below
// `high`.
template <class V>
[[maybe_unused]] inline V oneUp(V low, V high) {
  if constexpr (sizeof(V) == 8) {
    return high;
  } else if constexpr (sizeof(V) == 16) {
    return __builtin_shufflevector(low, high, 1, 2);
  } else {
    return __builtin_shufflevector(low, high, 1, 2, 3, 4);
  }
}

template <class V>
[[maybe_unused]] inline V oneDown(V low, V high) {
  if constexpr (sizeof(V) == 8) {
    return low;
  } else if constexpr (sizeof(V) == 16) {
    return __builtin_shufflevector(low, high, 1, 2);
  } else {
    return __builtin_shufflevector(low, high, 3, 4, 5, 6);
  }
}

// Transposes a two by two block: rows in, columns out.
[[maybe_unused]] inline void transpose(Pair& a, Pair& b) {
  const Pair low = __builtin_shufflevector(a, b, 0, 2);
  b = __builtin_shufflevector(a, b, 1, 3);
  a = low;
}

// Rows a, b of a two by two block, or of two such blocks side by side: the columns. On 32-byte vectors each
// half is a block of its own.
template <class V>
[[maybe_unused]] inline V firstOfPairs(V a, V b) {
  if constexpr (sizeof(V) == 16) {
    return __builtin_shufflevector(a, b, 0, 2);
  } else {
    return __builtin_shufflevector(a, b, 0, 4, 2, 6);
  }
}

template <class V>
[[maybe_unused]] inline V secondOfPairs(V a, V b) {
  if constexpr (sizeof(V) == 16) {
    return __builtin_shufflevector(a, b, 1, 3);
  } else {
    return __builtin_shufflevector(a, b, 1, 5, 3, 7);
  }
}

// The two doubles at `low`, and on 32-byte vectors the two at `high` behind them.
template <class V>
[[maybe_unused]] inline V loadPairs(const double* low, const double* high) {
  if constexpr (sizeof(V) == sizeof(Pair)) {
    return load<V>(low);
  } else {
    return __builtin_shufflevector(load<Pair>(low), load<Pair>(high), 0, 1, 2, 3);
  }
}

// The pair of `v` from lane i on.
template <class V>
[[maybe_unused]] inline Pair pairAt(V v, int i) {
  if constexpr (sizeof(V) == sizeof(Pair)) {
    return v;
  } else {
    return i == 0 ? __builtin_shufflevector(v, v, 0, 1) : __builtin_shufflevector(v, v, 2, 3);
  }
}

// The doubles at row[index[0]], row[index[1]], ...: one per lane, loaded one by one.
template <class Index>
[[maybe_unused]] inline Lanes pick(const double* row, const Index* index) {
  if constexpr (laneCount == 2) {
    return Lanes{row[index[0]], row[index[1]]};
  } else {
    return Lanes{row[index[0]], row[index[1]], row[index[2]], row[index[3]]};
  }
}

// Stores doubles that hold integers as 32-bit integers.
[[maybe_unused]] inline void storeAsInts(std::int32_t* to, Lanes v) {
#if RVN_LEVEL >= 8
  const __m128i ints = _mm256_cvttpd_epi32(v);
  __builtin_memcpy(to, &ints, 16);
#else
  const __m128i ints = _mm_cvttpd_epi32(v);
  __builtin_memcpy(to, &ints, 8);
#endif
}

// The same the other way.
[[maybe_unused]] inline Lanes loadInts(const void* from) {
#if RVN_LEVEL >= 8
  return _mm256_cvtepi32_pd(load<__m128i>(from));
#else
  return _mm_cvtepi32_pd(_mm_loadl_epi64(static_cast<const __m128i*>(from)));
#endif
}

// Breakpoints that countLessEqual takes in one go.
constexpr std::int64_t countedAtOnce = level.vectorBytes == 32 ? 16 : 1;

// How many of the countedAtOnce doubles at x, which ascend, are not greater than s; NaN counts none.
[[maybe_unused]] inline std::int32_t countLessEqual(const double* x, double s) {
#if RVN_LEVEL >= 8
  const __m256d site = _mm256_set1_pd(s);
  const auto lessEqual = [&](int i) {
    return _mm256_castpd_ps(_mm256_cmp_pd(_mm256_loadu_pd(x + i), site, _CMP_LE_OQ));
  };
  // One shuffle takes a half of every 64-bit mask of two vectors; order does not matter to a count.
  const __m256 front = _mm256_shuffle_ps(lessEqual(0), lessEqual(4), 0x88);
  const __m256 back = _mm256_shuffle_ps(lessEqual(8), lessEqual(12), 0x88);
  const auto marks =
      static_cast<unsigned>(_mm256_movemask_ps(front)) << 8 | static_cast<unsigned>(_mm256_movemask_ps(back));
  return __builtin_popcount(marks);
#else
  return *x <= s;
#endif
}

// The integer part of each element; |v| must be below 2^31.
template <class V>
[[maybe_unused]] inline V truncated(V v) {
#if RVN_LEVEL >= 8
  if constexpr (sizeof(V) == 32) return _mm256_round_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
#endif
  if constexpr (sizeof(V) == 16) {
#if RVN_LEVEL >= 6
    return _mm_round_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
#else
    return _mm_cvtepi32_pd(_mm_cvttpd_epi32(v));
#endif
  }
}

// Raw outputs of generators: unsigned 32-bit words, as many as the widest register holds.
typedef std::uint32_t Words __attribute__((vector_size(level.vectorBytes)));
constexpr int wordCount = level.vectorBytes / 4;

// Words loaded one by one: where they were stored just now in other vectors, one load would wait for the cache.
[[maybe_unused]] inline Words wordByWord(const std::uint32_t* w) {
  const auto one = [&](int i) { return _mm_cvtsi32_si128(static_cast<int>(w[i])); };
  const auto four = [&](int i) {
    return _mm_unpacklo_epi64(_mm_unpacklo_epi32(one(i), one(i + 1)),
                              _mm_unpacklo_epi32(one(i + 2), one(i + 3)));
  };
#if RVN_LEVEL >= 8
  return (Words)_mm256_insertf128_si256(_mm256_castsi128_si256(four(0)), four(4), 1);
#else
  return (Words)four(0);
#endif
}

// The first or the second half of the words as doubles, taken as signed numbers.
template <int half>
[[maybe_unused]] inline Lanes signedDoubles(Words w) {
#if RVN_LEVEL >= 8
  return _mm256_cvtepi32_pd(_mm256_extractf128_si256((__m256i)w, half));
#else
  return _mm_cvtepi32_pd(half == 0 ? (__m128i)w : _mm_shuffle_epi32((__m128i)w, 0xEE));
#endif
}

// The same, taken as unsigned numbers: both steps are exact.
template <int half>
[[maybe_unused]] inline Lanes unsignedDoubles(Words w) {
  return signedDoubles<half>(w ^ 0x80000000u) + 0x1p31;
}

// A block of 128 bits, and the block shifted as a whole by a byte, towards its last or its first word.
typedef std::uint32_t FourWords __attribute__((vector_size(16)));

[[maybe_unused]] inline FourWords byteUp(FourWords block) {
  return (FourWords)_mm_slli_si128((__m128i)block, 1);
}

[[maybe_unused]] inline FourWords byteDown(FourWords block) {
  return (FourWords)_mm_srli_si128((__m128i)block, 1);
}

// Numbers of generators that need more than 32 bits on the way.
typedef std::uint64_t WideWords __attribute__((vector_size(level.vectorBytes)));

template <class Number>
[[maybe_unused]] inline WideWords wideWords(const Number* x) {
  if constexpr (laneCount == 2) {
    return WideWords{x[0], x[1]};
  } else {
    return WideWords{x[0], x[1], x[2], x[3]};
  }
}

// Products of the low halves.
[[maybe_unused]] inline WideWords multiplyHalves(WideWords a, WideWords b) {
#if RVN_LEVEL == 9
  return (WideWords)_mm256_mul_epu32((__m256i)a, (__m256i)b);
#elif RVN_LEVEL == 8
  const auto half = [&](int i) {
    return _mm_mul_epu32(
        i == 0 ? _mm256_castsi256_si128((__m256i)a) : _mm256_extractf128_si256((__m256i)a, 1),
        i == 0 ? _mm256_castsi256_si128((__m256i)b) : _mm256_extractf128_si256((__m256i)b, 1));
  };
  return (WideWords)_mm256_insertf128_si256(_mm256_castsi128_si256(half(0)), half(1), 1);
#else
  return (WideWords)_mm_mul_epu32((__m128i)a, (__m128i)b);
#endif
}

// Words below 2^52 as doubles, exactly: their bits become the fraction of a double from 2^52 on.
[[maybe_unused]] inline Lanes doublesBelow52Bits(WideWords w) {
  return (Lanes)(w | 0x4330000000000000u) - 0x1p52;
}

// The upper halves as doubles; they must be below 2^31.
[[maybe_unused]] inline Lanes upperHalves(WideWords w) {
#if RVN_LEVEL >= 8
  return doublesBelow52Bits(w >> 32);
#else
  return _mm_cvtepi32_pd(_mm_shuffle_epi32((__m128i)w, 0x0D));
#endif
}

// Stores doubles, rounded to floats where the array holds those.
[[maybe_unused]] inline void storeAs(double* to, Lanes v) {
  store(to, v);
}

[[maybe_unused]] inline void storeAs(float* to, Lanes v) {
#if RVN_LEVEL >= 8
  _mm_storeu_ps(to, _mm256_cvtpd_ps(v));
#else
  _mm_storel_pi(reinterpret_cast<__m64*>(to), _mm_cvtpd_ps(v));
#endif
}

// w * scale + a: raw outputs to the interval from a on. Generators that fuse do so where the level can.
template <bool fuses, class V>
[[maybe_unused]] inline V mapped(V w, V scale, V a) {
  if constexpr (fuses && level.fused) {
    return fused(w, scale, a);
  } else {
    return w * scale + a;
  }
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
