#pragma once

// Vectors of a level's widest register, and how elements move between them: the compilers' vector extensions alone.
// Everything has internal linkage, so that no build of a helper can stand in for another level's.

#include <cstdint>

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr int laneCount = level.vectorBytes / 8;  // doubles in the level's widest register
constexpr int wordCount = level.vectorBytes / 4;
static_assert(laneCount == 2 || laneCount == 4 || laneCount == 8);

// Two doubles, at every level, the level's own width, and as much of four doubles as one register takes.
typedef double Pair __attribute__((vector_size(16)));
typedef double Lanes __attribute__((vector_size(level.vectorBytes)));
typedef double PartOfFour __attribute__((vector_size(laneCount < 4 ? 16 : 32)));
typedef std::int64_t LaneMask __attribute__((vector_size(level.vectorBytes)));

// Raw outputs of generators, a block of 128 bits of them, and numbers that need more than 32 bits on the way.
typedef std::uint32_t Words __attribute__((vector_size(level.vectorBytes)));
typedef std::uint32_t FourWords __attribute__((vector_size(16)));
typedef std::uint64_t WideWords __attribute__((vector_size(level.vectorBytes)));

// Loads and stores of `V` at any address.
template <class V>
inline V load(const void* from) {
  V v;
  __builtin_memcpy(&v, from, sizeof v);
  return v;
}

template <class V>
inline void store(void* to, V v) {
  __builtin_memcpy(to, &v, sizeof v);
}

template <class V>
inline V broadcast(double a) {
  return a - V{};  // not V{} + a, which would turn -0.0 into 0.0
}

// Calls body(i, V{}) for every i of from .. to - 1, for as many at a time as V has lanes: vectors first, then
// single doubles.
template <class Body>
inline void forLanes(std::int64_t from, std::int64_t to, Body body) {
  for (; from + laneCount <= to; from += laneCount)
    body(from, Lanes{});
  for (; from < to; ++from)
    body(from, 0.0);
}

// The same in vectors alone, where there is one: the last overlaps the one before it, so that a body must bear to do an
// element twice.
template <class Body>
inline void forLanesOverlapped(std::int64_t from, std::int64_t to, Body body) {
  if (to - from < laneCount) {
    for (; from < to; ++from)
      body(from, 0.0);
    return;
  }
  const std::int64_t last = to - laneCount;
  for (; from < last; from += laneCount)
    body(from, Lanes{});
  body(last, Lanes{});
}

// Fetches the cache line of the double `distance` behind `at` for writing; it need not exist.
inline void prefetchBehind(const double* at, std::int64_t distance) {
  const auto address = reinterpret_cast<std::uintptr_t>(at) + static_cast<std::uintptr_t>(distance) * 8;
  __builtin_prefetch(reinterpret_cast<const void*>(address), 1);
}

// Halves of 32 or 64 bytes, and two of 16 or 32 bytes side by side.
template <int half, class V>
inline auto halfOf(V v) {
  constexpr int n = sizeof v / sizeof v[0] / 2;
  constexpr int i = half * n;
  if constexpr (n == 2) return __builtin_shufflevector(v, v, i, i + 1);
  if constexpr (n == 4) return __builtin_shufflevector(v, v, i, i + 1, i + 2, i + 3);
  if constexpr (n == 8)
    return __builtin_shufflevector(v, v, i, i + 1, i + 2, i + 3, i + 4, i + 5, i + 6, i + 7);
}

template <class V>
inline auto joined(V low, V high) {
  constexpr int n = sizeof low / sizeof low[0];
  if constexpr (n == 2) return __builtin_shufflevector(low, high, 0, 1, 2, 3);
  if constexpr (n == 4) return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
  if constexpr (n == 8)
    return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15);
}

// `low` and `high` hold neighbouring elements of an array: the vectors one element above `low` and one below
// `high`.
template <class V>
inline V oneUp(V low, V high) {
  if constexpr (sizeof(V) == 8) {
    return high;
  } else if constexpr (sizeof(V) == 16) {
    return __builtin_shufflevector(low, high, 1, 2);
  } else if constexpr (sizeof(V) == 32) {
    return __builtin_shufflevector(low, high, 1, 2, 3, 4);
  } else {
    return __builtin_shufflevector(low, high, 1, 2, 3, 4, 5, 6, 7, 8);
  }
}

template <class V>
inline V oneDown(V low, V high) {
  if constexpr (sizeof(V) == 8) {
    return low;
  } else if constexpr (sizeof(V) == 16) {
    return __builtin_shufflevector(low, high, 1, 2);
  } else if constexpr (sizeof(V) == 32) {
    return __builtin_shufflevector(low, high, 3, 4, 5, 6);
  } else {
    return __builtin_shufflevector(low, high, 7, 8, 9, 10, 11, 12, 13, 14);
  }
}

// Transposes a two by two block: rows in, columns out.
inline void transpose(Pair& a, Pair& b) {
  const Pair low = __builtin_shufflevector(a, b, 0, 2);
  b = __builtin_shufflevector(a, b, 1, 3);
  a = low;
}

// Rows a, b of as many two by two blocks side by side as V has pairs: the columns of each block.
template <class V>
inline V firstOfPairs(V a, V b) {
  if constexpr (sizeof(V) == 16) {
    return __builtin_shufflevector(a, b, 0, 2);
  } else if constexpr (sizeof(V) == 32) {
    return __builtin_shufflevector(a, b, 0, 4, 2, 6);
  } else {
    return __builtin_shufflevector(a, b, 0, 8, 2, 10, 4, 12, 6, 14);
  }
}

template <class V>
inline V secondOfPairs(V a, V b) {
  if constexpr (sizeof(V) == 16) {
    return __builtin_shufflevector(a, b, 1, 3);
  } else if constexpr (sizeof(V) == 32) {
    return __builtin_shufflevector(a, b, 1, 5, 3, 7);
  } else {
    return __builtin_shufflevector(a, b, 1, 9, 3, 11, 5, 13, 7, 15);
  }
}

// The pair of `v` from lane i on.
template <class V>
inline Pair pairAt(V v, int i) {
  if constexpr (sizeof(V) == sizeof(Pair)) {
    return v;
  } else {
    constexpr int n = sizeof v / sizeof v[0] / 2;
    return i < n ? pairAt(halfOf<0>(v), i) : pairAt(halfOf<1>(v), i - n);
  }
}

// The doubles at row[index[0]], row[index[1]], ...: one per lane, loaded one by one.
template <class V = Lanes, class Index>
inline V pick(const double* row, const Index* index) {
  if constexpr (sizeof(V) == 16) {
    return V{row[index[0]], row[index[1]]};
  } else if constexpr (sizeof(V) == 32) {
    return V{row[index[0]], row[index[1]], row[index[2]], row[index[3]]};
  } else {
    using Half = decltype(halfOf<0>(V{}));
    return joined(pick<Half>(row, index), pick<Half>(row, index + 4));
  }
}

template <class Number>
inline WideWords wideWords(const Number* x) {
  if constexpr (laneCount == 2) {
    return WideWords{x[0], x[1]};
  } else if constexpr (laneCount == 4) {
    return WideWords{x[0], x[1], x[2], x[3]};
  } else {
    return WideWords{x[0], x[1], x[2], x[3], x[4], x[5], x[6], x[7]};
  }
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
