// The combined multiple recursive generator MRG32k3a (P. L'Ecuyer, Operations Research 47, 1999):
//   x[n] = (1403580 x[n-2] - 810728 x[n-3]) mod m1,  y[n] = (527612 y[n-1] - 1370589 y[n-3]) mod m2,
//   z[n] = x[n] - y[n], plus m1 where x[n] <= y[n].
//
// Long fills cut the sequence into as many stretches as two vectors have lanes and walk them side by side, each
// lane in a stretch of its own. A step of lanes is made of doubles: both products and their difference t are
// integers below 2^53 and exact; so are q m, with q = t/m rounded to an integer, and t - q m, which lies
// between -m and m.

// Every lane of a result is stored by itself, into its own stretch.
#define RVN_WIDEST_VECTOR 32

#include "streams/mrg32k3a.h"

#include <cstddef>
#include <cstdint>

#include "streams/operations.h"
#include "streams/stream.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct Mrg32k3aStream {
  RsgStream header;
  std::uint32_t x[3];  // the last three values, oldest first
  std::uint32_t y[3];
};
static_assert(sizeof(Mrg32k3aStream) == 40);
static_assert(offsetof(Mrg32k3aStream, x) == 16);

constexpr double outputScale = 2.328306549837829e-10;  // 1/m1

template <const Mrg32k3aComponent& c>
std::uint32_t next(std::uint32_t (&x)[3]) {
  const std::uint64_t t =
      std::uint64_t{c.factor} * x[c.positive] + std::uint64_t{c.subtracted} * (c.m - x[0]);
  x[0] = x[1];
  x[1] = x[2];
  x[2] = static_cast<std::uint32_t>(t % c.m);
  return x[2];
}

std::uint32_t nextOutput(Mrg32k3aStream& stream) {
  const std::uint32_t x = next<mrg32k3aX>(stream.x);
  const std::uint32_t y = next<mrg32k3aY>(stream.y);
  return x - y + (mrg32k3aX.m & -std::uint32_t{x <= y});  // no branch: half of them would be mispredicted
}

void jump(std::uint32_t (&x)[3], const Mrg32k3aMatrix& by, std::uint64_t m) {
  std::uint32_t moved[3];
  for (int i = 0; i < 3; ++i) {
    std::uint64_t sum = 0;
    for (int k = 0; k < 3; ++k)
      sum += std::uint64_t{by.at[i][k]} * x[k] % m;
    moved[i] = static_cast<std::uint32_t>(sum % m);
  }
  __builtin_memcpy(x, moved, sizeof moved);
}

// Moves the stream by 2^k outputs.
void jump(Mrg32k3aStream& stream, int k) {
  jump(stream.x, mrg32k3aJumps.power[k].x, mrg32k3aX.m);
  jump(stream.y, mrg32k3aJumps.power[k].y, mrg32k3aY.m);
}

constexpr int vectorsPerPass = 2;
constexpr int stretches = vectorsPerPass * laneCount;

// Stretches of 2^k outputs: shorter ones do not pay for the jumps between their starts, longer ones write to
// too many places at once for the first-level cache.
constexpr int shortestStretch = 5;
constexpr int longestStretch = 9;

// A component's value in lanes; the values wait in `x`, oldest first.
template <const Mrg32k3aComponent& c>
inline Lanes next(Lanes (&x)[3]) {
  constexpr double toInteger = 0x1.8p52;  // |t/m| is below 2^21: adding this rounds to an integer
  const auto m = broadcast<Lanes>(c.m);
  const Lanes t = x[c.positive] * broadcast<Lanes>(c.factor) - x[0] * broadcast<Lanes>(c.subtracted);
  const Lanes q = (t * broadcast<Lanes>(1.0 / c.m) + toInteger) - toInteger;
  const Lanes r = fused(-q, m, t);
  x[0] = x[1];
  x[1] = x[2];
  x[2] = r < Lanes{} ? r + m : r;
  return x[2];
}

// Gives out.lanes(i, length, z) outputs i, i + length, i + 2 length, ... of `stretches` stretches.
template <class Out>
void fillStretches(Mrg32k3aStream& stream, int logLength, std::int64_t done, const Out& out) {
  double start[2][3][stretches];
  for (int lane = 0; lane < stretches; ++lane) {
    for (int i = 0; i < 3; ++i) {
      start[0][i][lane] = stream.x[i];
      start[1][i][lane] = stream.y[i];
    }
    jump(stream, logLength);
  }
  Lanes x[vectorsPerPass][3];
  Lanes y[vectorsPerPass][3];
  for (std::ptrdiff_t v = 0; v < vectorsPerPass; ++v)
    for (int i = 0; i < 3; ++i) {
      x[v][i] = load<Lanes>(start[0][i] + v * laneCount);
      y[v][i] = load<Lanes>(start[1][i] + v * laneCount);
    }
  const std::int64_t length = std::int64_t{1} << logLength;
  for (std::int64_t i = 0; i < length; ++i)
#pragma GCC unroll 2
    for (std::int64_t v = 0; v < vectorsPerPass; ++v) {
      const Lanes d = next<mrg32k3aX>(x[v]) - next<mrg32k3aY>(y[v]);
      out.lanes(done + i + v * laneCount * length, length,
                d > Lanes{} ? d : d + static_cast<double>(mrg32k3aX.m));
    }
}

void seedComponent(std::uint32_t (&x)[3], std::uint32_t m, std::int64_t count, const std::uint32_t* seeds) {
  for (int i = 0; i < 3; ++i) {
    x[i] = i < count ? seeds[i] : 1;
    if (x[i] >= m) x[i] -= m;
  }
  if (x[0] == 0 && x[1] == 0 && x[2] == 0) x[0] = 1;
}

struct Mrg32k3a {
  using Stream = Mrg32k3aStream;

  template <class Real>
  struct Mapped {
    Real* r;
    double scale;
    double a;

    Mapped(Real* to, double from, double b) : r(to), scale((b - from) * outputScale), a(from) {}
    void lanes(std::int64_t i, std::int64_t length, Lanes z) const {
      const Lanes values = mapped<true>(z, broadcast<Lanes>(scale), broadcast<Lanes>(a));
      for (int k = 0; k < laneCount; ++k)
        store(r + i + k * length, static_cast<Real>(values[k]));
    }
    void one(std::int64_t i, std::uint32_t z) const {
      store(r + i, static_cast<Real>(mapped<true>(static_cast<double>(z), scale, a)));
    }
  };

  struct Raw {
    unsigned char* r;

    void lanes(std::int64_t i, std::int64_t length, Lanes z) const {
      for (int k = 0; k < laneCount; ++k)
        one(i + k * length, static_cast<std::uint32_t>(static_cast<std::int64_t>(z[k])));
    }
    void one(std::int64_t i, std::uint32_t z) const { store(r + i * 4, z); }
  };

  template <class Out>
  static void fill(RsgStream* header, std::int64_t n, const Out& out) {
    auto& stream = *reinterpret_cast<Stream*>(header);
    std::int64_t done = 0;
    for (int logLength = longestStretch; logLength >= shortestStretch; --logLength)
      for (; n - done >= std::int64_t{stretches} << logLength; done += std::int64_t{stretches} << logLength)
        fillStretches(stream, logLength, done, out);
    Stream rest = stream;
    for (; done < n; ++done)
      out.one(done, nextOutput(rest));
    stream = rest;
  }

  template <class Out>
  static void fillOne(RsgStream* header, const Out& out) {
    out.one(0, nextOutput(*reinterpret_cast<Stream*>(header)));
  }

  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    seedComponent(stream.x, mrg32k3aX.m, count, seeds);
    seedComponent(stream.y, mrg32k3aY.m, count - 3, count > 3 ? seeds + 3 : seeds);
  }

  static constexpr std::int32_t savedWords = 6;

  static void save(const Stream& stream, std::uint32_t* words) {
    __builtin_memcpy(words, stream.x, sizeof stream.x);
    __builtin_memcpy(words + 3, stream.y, sizeof stream.y);
  }

  static bool restore(Stream& stream, const std::uint32_t* words) {
    __builtin_memcpy(stream.x, words, sizeof stream.x);
    __builtin_memcpy(stream.y, words + 3, sizeof stream.y);
    for (int i = 0; i < 3; ++i)
      if (stream.x[i] >= mrg32k3aX.m || stream.y[i] >= mrg32k3aY.m) return false;
    return anySet(stream.x, 3) && anySet(stream.y, 3);
  }

  static std::int32_t skip(Stream& stream, std::uint64_t outputs) {
    for (int k = 0; k < 64; ++k)
      if ((outputs >> k & 1) != 0) jump(stream, k);
    return RSG_STATUS_OK;
  }
};

}  // namespace

extern const BrngRecord mrg32k3aRecord;
const BrngRecord mrg32k3aRecord = {
    .family = 2,
    .members = 1,
    .stateSize = sizeof(Mrg32k3a::Stream),
    .seedCount = 6,
    .includesZero = 1,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<Mrg32k3a>,
    .name = "MRG32k3a",
    .usedSeeds = 6,
    .split = RSG_SPLIT_SKIP,
    .outputOffset = 0.0,
    .outputModulus = mrg32k3aX.m + 1.0,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
