#pragma once

// The vector vocabulary of kernels, over the compilers' vector extensions. Width comes from the level. This is
// the only file with intrinsics of arithmetic. Everything has internal linkage, so that no build of a helper can
// stand in for another level's.

#include "runtime/level.h"

#include <immintrin.h>

#include <cstdint>

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

// c - a * b, rounded as `fused` rounds.
template <class V>
[[maybe_unused]] inline V subtractProduct(V c, V a, V b) {
  if constexpr (level.fusesSolver) {
    return fused(-a, b, c);
  } else {
    return c - a * b;
  }
}

// Transposes a two by two block: rows in, columns out.
[[maybe_unused]] inline void transpose(Pair& a, Pair& b) {
  const Pair low = __builtin_shufflevector(a, b, 0, 2);
  b = __builtin_shufflevector(a, b, 1, 3);
  a = low;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
