#include "plain_streams.h"

#include <bit>
#include <cstring>
#include <vector>

#include "streams/mt2203.h"
#include "streams/quasi_directions.h"
#include "streams/twister_states.h"

#include <ravenfit/random_streams.h>

namespace bench {
namespace {

constexpr double twoTo32 = 4294967296.0;

struct PlainMcg31 {
  static constexpr double step = 1.0 / 2147483647.0;
  std::uint64_t x;

  double next() {
    const std::uint64_t now = x;
    x = x * 1132489760 % 2147483647;
    return static_cast<double>(now);
  }
};

struct PlainR250 {
  static constexpr double step = 1.0 / twoTo32;
  std::uint32_t ring[250];
  int i;

  explicit PlainR250(std::uint32_t seed) : i(0) {
    for (std::uint32_t& word : ring)
      word = seed *= 69069;
    for (int j = 0; j < 32; ++j)
      ring[3 + 7 * j] = (ring[3 + 7 * j] & 0xFFFFFFFF >> j) | 0x80000000 >> j;
  }
  double next() {
    ring[i] ^= ring[i < 147 ? i + 103 : i - 147];
    const std::uint32_t word = ring[i];
    if (++i == 250) i = 0;
    return word;
  }
};

struct PlainMrg32k3a {
  static constexpr double step = 1.0 / 4294967087.0;
  std::int64_t x[3];
  std::int64_t y[3];

  double next() {
    std::int64_t p = (1403580 * x[1] - 810728 * x[0]) % 4294967087;
    if (p < 0) p += 4294967087;
    x[0] = x[1];
    x[1] = x[2];
    x[2] = p;
    std::int64_t q = (527612 * y[2] - 1370589 * y[0]) % 4294944443;
    if (q < 0) q += 4294944443;
    y[0] = y[1];
    y[1] = y[2];
    y[2] = q;
    return static_cast<double>(p > q ? p - q : p - q + 4294967087);
  }
};

struct PlainMcg59 {
  static constexpr double step = 1.0 / 576460752303423488.0;
  std::uint64_t x;

  double next() {
    const std::uint64_t now = x;
    x = x * 302875106592253 & 0x7FFFFFFFFFFFFFF;
    return static_cast<double>(static_cast<std::int64_t>(now));
  }
};

struct PlainWichmannHill {
  static constexpr double step = 1.0;
  std::uint32_t x[4];
  // 1/m rounded toward zero: to nearest, a sum could be an integer here and not there.
  double r[4];

  static constexpr std::uint32_t mult[4] = {125, 117, 127, 126};
  static constexpr std::uint32_t m[4] = {16770647, 16770643, 16770623, 16770617};

  explicit PlainWichmannHill(std::uint32_t seed) : x{seed, 1, 1, 1} {
    for (int j = 0; j < 4; ++j) {
      r[j] = 1.0 / m[j];
      if (static_cast<long double>(r[j]) * m[j] > 1.0L) r[j] -= 0x1p-76;
    }
  }
  double next() {
    double sum = 0.0;
    for (int j = 0; j < 4; ++j) {
      sum += x[j] * r[j];
      x[j] = static_cast<std::uint32_t>(std::uint64_t{mult[j]} * x[j] % m[j]);
    }
    return sum - static_cast<double>(static_cast<int>(sum));
  }
};

template <int size, int offset, std::uint32_t lowerMask, int firstShift>
struct PlainTwister {
  static constexpr double step = 1.0 / twoTo32;
  std::uint32_t mt[size];
  int index = size;
  std::uint32_t matrixA;
  std::uint32_t temperB;
  std::uint32_t temperC;

  PlainTwister(std::uint32_t seed, std::uint32_t a, std::uint32_t b, std::uint32_t c)
      : matrixA(a), temperB(b), temperC(c) {
    rvn::seedTwister(mt, size, 1, &seed);
  }
  double next() {
    if (index == size) {
      for (int i = 0; i < size; ++i) {
        const std::uint32_t y = (mt[i] & ~lowerMask) | (mt[i + 1 < size ? i + 1 : 0] & lowerMask);
        mt[i] =
            mt[i + offset < size ? i + offset : i + offset - size] ^ y >> 1 ^ ((y & 1) != 0 ? matrixA : 0);
      }
      index = 0;
    }
    std::uint32_t y = mt[index++];
    y ^= y >> firstShift;
    y ^= y << 7 & temperB;
    y ^= y << 15 & temperC;
    return y ^ y >> 18;
  }
};

struct PlainSfmt19937 {
  static constexpr double step = 1.0 / twoTo32;
  std::uint32_t s[624];
  int index = 624;

  explicit PlainSfmt19937(std::uint32_t seed) { rvn::seedSfmt19937(s, 1, &seed); }
  void renew() {
    static constexpr std::uint32_t mask[4] = {0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6};
    for (int i = 0; i < 624; i += 4) {
      const std::uint32_t* const far = s + (i + 488 < 624 ? i + 488 : i - 136);
      const std::uint32_t* const c = s + (i + 616 < 624 ? i + 616 : i - 8);
      const std::uint32_t* const d = s + (i + 620 < 624 ? i + 620 : i - 4);
      std::uint32_t next[4];
      for (int k = 0; k < 4; ++k)
        next[k] = s[i + k] ^ s[i + k] << 8 ^ (k > 0 ? s[i + k - 1] >> 24 : 0) ^ (far[k] >> 11 & mask[k]) ^
                  c[k] >> 8 ^ (k < 3 ? c[k + 1] << 24 : 0) ^ d[k] << 18;
      std::memcpy(s + i, next, sizeof next);
    }
    index = 0;
  }
  // Signed words around the middle of the interval, told as words of an interval that begins there.
  double next() {
    if (index == 624) renew();
    return static_cast<double>(static_cast<std::int32_t>(s[index++])) + 0.5 * twoTo32;
  }
};

struct PlainPoints {
  static constexpr double step = 1.0 / 2147483648.0;
  std::size_t dimension;
  std::uint32_t index = 1;
  std::size_t coordinate = 0;
  std::vector<std::uint32_t> point;
  std::vector<std::uint32_t> byBit;

  PlainPoints(std::uint32_t seed, void (*directions)(int, std::uint32_t (&)[rvn::directionCount]))
      : dimension(seed), byBit(32 * std::size_t{seed}) {
    for (std::size_t d = 0; d < dimension; ++d) {
      std::uint32_t number[rvn::directionCount];
      directions(static_cast<int>(d), number);
      point.push_back(number[0]);
      for (std::size_t bit = 0; bit < 32; ++bit)
        byBit[bit * dimension + d] = number[bit];
    }
  }
  double next() {
    const std::uint32_t word = point[coordinate];
    if (++coordinate == dimension) {
      coordinate = 0;
      const std::uint32_t* const row = &byBit[static_cast<std::size_t>(std::countr_one(index)) * dimension];
      for (std::size_t d = 0; d < dimension; ++d)
        point[d] ^= row[d];
      ++index;
    }
    return static_cast<double>(static_cast<std::int32_t>(word >> 1));
  }
};

template <class G>
PlainFill fillBy(const G& generator) {
  return [g = generator](std::size_t n, double* values, double a, double b) mutable {
    const double scale = (b - a) * G::step;
    for (std::size_t i = 0; i < n; ++i)
      values[i] = g.next() * scale + a;
  };
}

}  // namespace

PlainFill plainStream(std::int32_t brngId, std::uint32_t seed) {
  switch (brngId) {
    case RSG_BRNG_MCG31:
      return fillBy(PlainMcg31{seed});
    case RSG_BRNG_R250:
      return fillBy(PlainR250(seed));
    case RSG_BRNG_MRG32K3A:
      return fillBy(PlainMrg32k3a{{seed, 1, 1}, {1, 1, 1}});
    case RSG_BRNG_MCG59:
      return fillBy(PlainMcg59{seed});
    case RSG_BRNG_WICHMANN_HILL:
      return fillBy(PlainWichmannHill(seed));
    case RSG_BRNG_SOBOL:
      return fillBy(PlainPoints(seed, rvn::sobolDirections));
    case RSG_BRNG_NIEDERREITER:
      return fillBy(PlainPoints(seed, rvn::niederreiterDirections));
    case RSG_BRNG_MT19937:
      return fillBy(PlainTwister<624, 397, 0x7FFFFFFF, 11>(seed, 0x9908B0DF, 0x9D2C5680, 0xEFC60000));
    case RSG_BRNG_MT2203: {
      const std::uint32_t* const p = rvn::Mt2203Parameters[0];
      return fillBy(PlainTwister<69, 34, 0x1F, 12>(seed, p[0], p[1], p[2]));
    }
    case RSG_BRNG_SFMT19937:
      return fillBy(PlainSfmt19937(seed));
    default:
      return nullptr;
  }
}

}  // namespace bench
