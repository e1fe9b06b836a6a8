#pragma once

// The functions of simd_x86.h without a processor: lane by lane, for vectors of 16 bytes.

#include "vector/lanes.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

static_assert(level.vectorBytes == 16 && !level.fused);

inline double asInt(double v) {
  return static_cast<std::int32_t>(v);
}

inline Pair truncated(Pair v) {
  return Pair{asInt(v[0]), asInt(v[1])};
}

inline double greaterOf(double a, double b) {
  return a > b ? a : b;
}

inline Pair greaterOf(Pair a, Pair b) {
  return a > b ? a : b;
}

inline Pair squareRoot(Pair v) {
  return Pair{__builtin_sqrt(v[0]), __builtin_sqrt(v[1])};
}

inline void storeAsInts(std::int32_t* to, Pair v) {
  const std::int32_t ints[2] = {static_cast<std::int32_t>(v[0]), static_cast<std::int32_t>(v[1])};
  __builtin_memcpy(to, ints, sizeof ints);
}

inline Pair loadPairOfInts(const void* from) {
  std::int32_t ints[2];
  __builtin_memcpy(ints, from, sizeof ints);
  return Pair{static_cast<double>(ints[0]), static_cast<double>(ints[1])};
}

inline void storeAs(float* to, Pair v) {
  const float rounded[2] = {static_cast<float>(v[0]), static_cast<float>(v[1])};
  __builtin_memcpy(to, rounded, sizeof rounded);
}

template <int half>
inline Pair signedDoubles(FourWords w) {
  return Pair{static_cast<double>(static_cast<std::int32_t>(w[2 * half])),
              static_cast<double>(static_cast<std::int32_t>(w[2 * half + 1]))};
}

inline Pair upperHalves(WideWords w) {
  return Pair{static_cast<double>(w[0] >> 32), static_cast<double>(w[1] >> 32)};
}

inline WideWords multiplyHalves(WideWords a, WideWords b) {
  return (a & 0xFFFFFFFFu) * (b & 0xFFFFFFFFu);
}

inline FourWords fourWordByWord(const std::uint32_t* w) {
  return FourWords{w[0], w[1], w[2], w[3]};
}

// Words lie in memory with the lowest byte first.
typedef unsigned char Bytes __attribute__((vector_size(16)));

inline FourWords byteUp(FourWords block) {
  return (FourWords)__builtin_shufflevector(Bytes{}, (Bytes)block, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25,
                                            26, 27, 28, 29, 30);
}

inline FourWords byteDown(FourWords block) {
  return (FourWords)__builtin_shufflevector((Bytes)block, Bytes{}, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13,
                                            14, 15, 16);
}

constexpr std::int64_t countedAtOnce = 1;

inline std::int32_t countLessEqual(const double* x, double s) {
  return *x <= s;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
