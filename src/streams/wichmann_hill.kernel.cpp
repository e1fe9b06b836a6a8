// The Wichmann-Hill generator: x_j <- mult_j x_j mod m_j for j = 0 .. 3, output u = frac(sum of x_j / m_j) of
// the state before that step (B. A. Wichmann, I. D. Hill, Applied Statistics 31, 1982; four components with
// moduli just under 2^24: N. M. Maclaren, Applied Statistics 38, 1989).
//
// Everything but the output sum is integers held in doubles, exact in every operation, so the sequence is
// that of a remainder in integers. With c, x < m < 2^24 the product t = c x is below 2^48. Its quotient by m
// is q = trunc(x (c/m)): x (c/m) is computed with an error below 2^-27, and t/m, never an integer since m is
// prime, stays at least 1/m > 2^-24 away from the integers. q m and t - q m are exact again. Nothing is
// fused.

#include "streams/wichmann_hill.h"

#include <cstddef>

#include "streams/locate.h"
#include "streams/operations.h"
#include "streams/pow_mod.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr int components = 4;

// A pass takes steps side by side, in some vectors per component. Two are enough work to cover the latency of the
// recurrence, and no more than registers hold.
constexpr int stepsOf(int vectors) {
  return vectors * laneCount;
}

// (c x) mod m, with `ratio` = c/m rounded to nearest.
template <class V>
inline V multiplyMod(V x, V c, V ratio, V m) {
  return c * x - truncated(x * ratio) * m;
}

// The four components of one step in vectors.
constexpr int partLanes = sizeof(PartOfFour) / 8;
constexpr int vectorsPerStep = components / partLanes;
static_assert(vectorsPerStep * partLanes == components);
struct Step {
  PartOfFour part[vectorsPerStep];
};

inline Step operator/(const Step& x, const Step& m) {
  Step ratio;
  for (int i = 0; i < vectorsPerStep; ++i)
    ratio.part[i] = x.part[i] / m.part[i];
  return ratio;
}

inline Step multiplyMod(const Step& x, const Step& c, const Step& ratio, const Step& m) {
  Step product;
  for (int i = 0; i < vectorsPerStep; ++i)
    product.part[i] = multiplyMod(x.part[i], c.part[i], ratio.part[i], m.part[i]);
  return product;
}

inline Step asStep(const std::uint32_t* from) {
  Step step;
  for (std::ptrdiff_t i = 0; i < vectorsPerStep; ++i)
    step.part[i] = loadInts<PartOfFour>(from + i * partLanes);
  return step;
}

inline void storeState(const Step& step, void* to) {
  for (std::ptrdiff_t i = 0; i < vectorsPerStep; ++i)
    storeAsInts(static_cast<std::int32_t*>(to) + i * partLanes, step.part[i]);
}

const std::uint32_t* moduli(const WichmannHillStream& stream) {
  return WichmannHillModuli[memberOf(stream.header.brngId)];
}

// What a fill starts from: the states of the outputs of the first pass, and the multipliers that carry each of them to
// the next pass.
template <int vectors>
struct Start {
  Step state[stepsOf(vectors)];
  Step jump;   // mult^steps mod m
  Step ratio;  // jump/m
  Step m;
};

template <int vectors>
inline void start(const WichmannHillStream& stream, Start<vectors>& s) {
  s.m = asStep(moduli(stream));
  s.jump = asStep(stream.mult);
  s.ratio = s.jump / s.m;
  s.state[0] = asStep(stream.x);
  for (int known = 1; known < stepsOf(vectors); known *= 2) {
    for (int k = 0; k < known; ++k)
      s.state[known + k] = multiplyMod(s.state[k], s.jump, s.ratio, s.m);
    s.jump = multiplyMod(s.jump, s.jump, s.ratio, s.m);
    s.ratio = s.jump / s.m;
  }
}

// The same with the lanes along the sequence: lane k of x[j] is component j of step k.
template <int vectors>
struct Block {
  Lanes x[components][vectors];
  Lanes c[components];
  Lanes ratio[components];  // c/m
  Lanes m[components];
  Lanes r[components];
};

template <int vectors>
inline void arrange(const Start<vectors>& s, const double* reciprocals, Block<vectors>& block) {
  for (int j = 0; j < components; ++j) {
    const int part = j / partLanes;
    const int lane = j % partLanes;
    for (int k = 0; k < stepsOf(vectors); ++k)
      block.x[j][k / laneCount][k % laneCount] = s.state[k].part[part][lane];
    block.c[j] = broadcast<Lanes>(s.jump.part[part][lane]);
    block.ratio[j] = broadcast<Lanes>(s.ratio.part[part][lane]);
    block.m[j] = broadcast<Lanes>(s.m.part[part][lane]);
    block.r[j] = broadcast<Lanes>(reciprocals[j]);
  }
}

// Step k of the block.
template <int vectors>
inline Step stepOf(const Block<vectors>& block, std::int64_t k) {
  double x[components * stepsOf(vectors)];
  __builtin_memcpy(x, block.x, sizeof x);
  Step step;
  for (std::int64_t i = 0; i < vectorsPerStep; ++i) {
    std::int64_t place[partLanes];
    for (std::int64_t lane = 0; lane < partLanes; ++lane)
      place[lane] = (i * partLanes + lane) * stepsOf(vectors) + k;
    step.part[i] = pick<PartOfFour>(x, place);
  }
  return step;
}

// One vector of values over the interval from a on, of the given width.
template <int vectors>
inline Lanes valuesOf(const Block<vectors>& block, int v, Lanes width, Lanes a) {
  const Lanes s = ((block.x[0][v] * block.r[0] + block.x[1][v] * block.r[1]) + block.x[2][v] * block.r[2]) +
                  block.x[3][v] * block.r[3];
  return (s - truncated(s)) * width + a;
}

template <int vectors>
inline void advance(Block<vectors>& block) {
#pragma GCC unroll 4
  for (int j = 0; j < components; ++j)
#pragma GCC unroll 2
    for (int v = 0; v < vectors; ++v)
      block.x[j][v] = multiplyMod(block.x[j][v], block.c[j], block.ratio[j], block.m[j]);
}

struct WichmannHill {
  using Stream = WichmannHillStream;

  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    const std::int32_t member = memberOf(stream.header.brngId);
    for (int j = 0; j < components; ++j) {
      const std::uint32_t reduced = j < count ? seeds[j] % WichmannHillModuli[member][j] : 0;
      stream.x[j] = reduced == 0 ? 1 : reduced;
      stream.mult[j] = WichmannHillMultipliers[member][j];
    }
  }

  static constexpr std::int32_t savedWords = 2 * components;

  static void save(const Stream& stream, std::uint32_t* words) {
    __builtin_memcpy(words, stream.x, sizeof stream.x);
    __builtin_memcpy(words + components, stream.mult, sizeof stream.mult);
  }

  static bool restore(Stream& stream, const std::uint32_t* words) {
    __builtin_memcpy(stream.x, words, sizeof stream.x);
    __builtin_memcpy(stream.mult, words + components, sizeof stream.mult);
    const std::uint32_t* const m = moduli(stream);
    for (int j = 0; j < components; ++j)
      if (stream.x[j] - 1 >= m[j] - 1 || stream.mult[j] - 1 >= m[j] - 1) return false;
    return true;
  }

  static std::int32_t skip(Stream& stream, std::uint64_t outputs) {
    const std::uint32_t* const m = moduli(stream);
    for (int j = 0; j < components; ++j) {
      const std::uint64_t jump = rsgPowMod(stream.mult[j], outputs, m[j]);
      stream.x[j] = static_cast<std::uint32_t>(stream.x[j] * jump % m[j]);
    }
    return RSG_STATUS_OK;
  }

  static std::int32_t leapfrog(Stream& stream, std::int64_t count, std::uint32_t k) {
    skip(stream, k);
    for (int j = 0; j < components; ++j)
      stream.mult[j] = rsgPowMod(stream.mult[j], static_cast<std::uint64_t>(count), moduli(stream)[j]);
    return RSG_STATUS_OK;
  }

  // Step by step, which is ahead for at most this many values: a pass begins with as many divisions in a chain.
  static constexpr std::int64_t few = 3;

  template <class Real>
  static void fillFew(Stream& stream, std::int64_t n, Real* r, double width, double a) {
    const std::int32_t member = memberOf(stream.header.brngId);
    const double* const reciprocal = WichmannHillReciprocals[member];
    const Step m = asStep(WichmannHillModuli[member]);
    const Step c = asStep(stream.mult);
    const Step ratio = c / m;
    Step x = asStep(stream.x);
    for (std::int64_t i = 0; i < n; ++i) {
      double sum = x.part[0][0] * reciprocal[0];
      for (int j = 1; j < components; ++j)
        sum += x.part[j / partLanes][j % partLanes] * reciprocal[j];
      const double u = sum - static_cast<double>(static_cast<std::int32_t>(sum));
      store(r + i, static_cast<Real>(u * width + a));
      x = multiplyMod(x, c, ratio, m);
    }
    storeState(x, stream.x);
  }

  template <int vectors, class Real>
  static void fillInPasses(Stream& stream, std::int64_t n, Real* r, Lanes width, Lanes a) {
    constexpr std::int64_t steps = stepsOf(vectors);
    Start<vectors> s;
    start(stream, s);
    Block<vectors> block;
    arrange(s, WichmannHillReciprocals[memberOf(stream.header.brngId)], block);

    std::int64_t i = 0;
    for (; i + steps < n; i += steps) {
      for (int v = 0; v < vectors; ++v)
        storeAs(r + i + v * laneCount, valuesOf(block, v, width, a));
      advance(block);
    }
    // The last pass, perhaps in part: the state goes to the lane behind the last one emitted.
    const std::int64_t left = n - i;
    if (left == steps) {
      for (int v = 0; v < vectors; ++v)
        storeAs(r + i + v * laneCount, valuesOf(block, v, width, a));
      storeState(multiplyMod(stepOf(block, 0), s.jump, s.ratio, s.m), stream.x);
    } else {
      Real last[steps];
      for (int v = 0; v < vectors; ++v)
        storeAs(last + v * laneCount, valuesOf(block, v, width, a));
      __builtin_memcpy(r + i, last, static_cast<std::size_t>(left) * sizeof(Real));
      storeState(stepOf(block, left), stream.x);
    }
  }

  template <class Real>
  static std::int32_t fillReal(RsgStream* header, std::int64_t n, Real* r, Real from, Real to) {
    auto& stream = *reinterpret_cast<Stream*>(header);
    const auto a = static_cast<double>(from);
    const double width = static_cast<double>(to) - a;
    if (n <= few) {
      fillFew(stream, n, r, width, a);
    } else if (laneCount > 4 && n <= laneCount) {
      fillInPasses<1>(stream, n, r, broadcast<Lanes>(width), broadcast<Lanes>(a));
    } else {
      fillInPasses<2>(stream, n, r, broadcast<Lanes>(width), broadcast<Lanes>(a));
    }
    return RSG_STATUS_OK;
  }

  // A raw output is the four components in a row, which is how a Step holds them.
  static std::int32_t fillRaw(RsgStream* header, std::int64_t n, void* r) {
    constexpr std::int64_t outputBytes = 16;
    auto& stream = *reinterpret_cast<WichmannHillStream*>(header);
    constexpr std::int64_t steps = stepsOf(2);
    Start<2> s;
    start(stream, s);
    auto* const bytes = static_cast<unsigned char*>(r);
    std::int64_t i = 0;
    for (; i + steps <= n; i += steps)
      for (int k = 0; k < steps; ++k) {
        storeState(s.state[k], bytes + (i + k) * outputBytes);
        s.state[k] = multiplyMod(s.state[k], s.jump, s.ratio, s.m);
      }
    const std::int64_t left = n - i;
    for (std::int64_t k = 0; k < left; ++k)
      storeState(s.state[k], bytes + (i + k) * outputBytes);
    storeState(s.state[left], stream.x);
    return RSG_STATUS_OK;
  }
};

}  // namespace

extern const BrngRecord wichmannHillRecord;
const BrngRecord wichmannHillRecord = {
    .family = wichmannHillFamily,
    .members = wichmannHillMembers,
    .stateSize = sizeof(WichmannHill::Stream),
    .seedCount = 4,
    .includesZero = 1,
    .wordSize = 16,
    .bitCount = 24,
    .operations = &operationsOf<WichmannHill>,
    .name = "Wichmann-Hill",
    .usedSeeds = components,
    .split = RSG_SPLIT_MEMBERS,
    .outputOffset = 0.0,
    .outputModulus = 0.0,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
