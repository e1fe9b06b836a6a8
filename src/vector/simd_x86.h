#pragma once

// What is worth an instruction by name, for SSE2 and above: the only file with intrinsics of arithmetic. Functions are
// overloaded by the width of their vectors; a width that is missing is made of halves in simd.h.

#include <immintrin.h>

#include "vector/lanes.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

typedef std::uint64_t TwoWideWords __attribute__((vector_size(16)));

#if defined(__AVX512F__)
static_assert(level.vectorBytes <= 64);
#elif defined(__AVX__)
static_assert(level.vectorBytes <= 32);
#else
static_assert(level.vectorBytes <= 16);
#endif

// ---- 16 bytes ----

inline Pair truncated(Pair v) {
#if defined(__SSE4_1__)
  return _mm_round_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
#else
  return _mm_cvtepi32_pd(_mm_cvttpd_epi32(v));
#endif
}

// By name for a single number too: compilers see through a choice, and divide by what it keeps them from.
inline double greaterOf(double a, double b) {
  return _mm_max_sd(_mm_set_sd(a), _mm_set_sd(b))[0];
}

inline Pair greaterOf(Pair a, Pair b) {
  return _mm_max_pd(a, b);
}

inline Pair squareRoot(Pair v) {
  return _mm_sqrt_pd(v);
}

inline void storeAsInts(std::int32_t* to, Pair v) {
  const __m128i ints = _mm_cvttpd_epi32(v);
  __builtin_memcpy(to, &ints, 8);
}

inline Pair loadPairOfInts(const void* from) {
  return _mm_cvtepi32_pd(_mm_loadl_epi64(static_cast<const __m128i*>(from)));
}

inline void storeAs(float* to, Pair v) {
  _mm_storel_pi(reinterpret_cast<__m64*>(to), _mm_cvtpd_ps(v));
}

template <int half>
inline Pair signedDoubles(FourWords w) {
  return _mm_cvtepi32_pd(half == 0 ? (__m128i)w : _mm_shuffle_epi32((__m128i)w, 0xEE));
}

inline Pair upperHalves(TwoWideWords w) {
  return _mm_cvtepi32_pd(_mm_shuffle_epi32((__m128i)w, 0x0D));
}

inline TwoWideWords multiplyHalves(TwoWideWords a, TwoWideWords b) {
  return (TwoWideWords)_mm_mul_epu32((__m128i)a, (__m128i)b);
}

inline FourWords fourWordByWord(const std::uint32_t* w) {
  const auto one = [&](int i) { return _mm_cvtsi32_si128(static_cast<int>(w[i])); };
  return (FourWords)_mm_unpacklo_epi64(_mm_unpacklo_epi32(one(0), one(1)),
                                       _mm_unpacklo_epi32(one(2), one(3)));
}

inline FourWords byteUp(FourWords block) {
  return (FourWords)_mm_slli_si128((__m128i)block, 1);
}

inline FourWords byteDown(FourWords block) {
  return (FourWords)_mm_srli_si128((__m128i)block, 1);
}

#if defined(__FMA__)
inline Pair multiplyAdd(Pair a, Pair b, Pair c) {
  return _mm_fmadd_pd(a, b, c);
}
#else
static_assert(!level.fused);
#endif

// ---- 32 bytes ----

#if defined(__AVX__)
typedef double Quad __attribute__((vector_size(32)));
typedef std::uint32_t EightWords __attribute__((vector_size(32)));
typedef std::uint64_t FourWideWords __attribute__((vector_size(32)));
typedef std::int32_t FourInts __attribute__((vector_size(16)));

inline EightWords joined(FourWords low, FourWords high) {
  return (EightWords)_mm256_insertf128_si256(_mm256_castsi128_si256((__m128i)low), (__m128i)high, 1);
}

template <int half>
inline FourWords halfOf(EightWords words) {
  return (FourWords)_mm256_extractf128_si256((__m256i)words, half);
}

inline Quad doublesOfInts(FourInts v) {
  return _mm256_cvtepi32_pd((__m128i)v);
}

inline Quad truncated(Quad v) {
  return _mm256_round_pd(v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
}

inline Quad greaterOf(Quad a, Quad b) {
  return _mm256_max_pd(a, b);
}

inline Quad squareRoot(Quad v) {
  return _mm256_sqrt_pd(v);
}

#if defined(__AVX2__)
inline FourWideWords multiplyHalves(FourWideWords a, FourWideWords b) {
  return (FourWideWords)_mm256_mul_epu32((__m256i)a, (__m256i)b);
}
#endif

#if defined(__FMA__)
inline Quad multiplyAdd(Quad a, Quad b, Quad c) {
  return _mm256_fmadd_pd(a, b, c);
}
#endif
#endif

// ---- 64 bytes ----

// Forms with a mask of ones where GCC 12 takes the one without for the use of an uninitialized vector.
#if defined(__AVX512F__)
typedef double Eight __attribute__((vector_size(64)));
typedef std::uint64_t EightWideWords __attribute__((vector_size(64)));
typedef std::int32_t EightInts __attribute__((vector_size(32)));

inline Eight doublesOfInts(EightInts v) {
  return _mm512_maskz_cvtepi32_pd(0xFF, (__m256i)v);
}

inline Eight truncated(Eight v) {
  return _mm512_maskz_roundscale_pd(0xFF, v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
}

inline Eight greaterOf(Eight a, Eight b) {
  return _mm512_maskz_max_pd(0xFF, a, b);
}

inline Eight squareRoot(Eight v) {
  return _mm512_maskz_sqrt_pd(0xFF, v);
}

inline EightWideWords multiplyHalves(EightWideWords a, EightWideWords b) {
  return (EightWideWords)_mm512_maskz_mul_epu32(0xFF, (__m512i)a, (__m512i)b);
}

// One instruction, VPMULLQ.
inline EightWideWords product(EightWideWords a, EightWideWords b) {
  return a * b;
}

inline Eight multiplyAdd(Eight a, Eight b, Eight c) {
  return _mm512_fmadd_pd(a, b, c);
}
#endif

// ---- counts ----

// Breakpoints that countLessEqual takes in one go.
constexpr std::int64_t countedAtOnce = level.vectorBytes >= 32 ? 16 : 1;

// How many of the countedAtOnce doubles at x, which ascend, are not greater than s; NaN counts none.
inline std::int32_t countLessEqual(const double* x, double s) {
#if defined(__AVX512F__)
  const auto lessEqual = [&](int i) {
    return static_cast<unsigned>(_mm512_cmp_pd_mask(load<Eight>(x + i), broadcast<Eight>(s), _CMP_LE_OQ));
  };
  return __builtin_popcount(lessEqual(0) << 8 | lessEqual(8));
#elif defined(__AVX__)
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

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
