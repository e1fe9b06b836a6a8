// The congruential generator x <- 13^13 x mod 2^59 (N. M. Maclaren, Applied Statistics 38, 1989).

#include <cstddef>
#include <cstdint>

#include "streams/congruential.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct Mcg59Stream {
  RsgStream header;
  std::uint64_t x;     // the next output, 59 bits
  std::uint64_t mult;  // modulo 2^64; here since leapfrog changes it
};
static_assert(sizeof(Mcg59Stream) == 32);
static_assert(offsetof(Mcg59Stream, x) == 16);

// The bits from 59 on never reach the ones below, so that steps work modulo 2^64.
struct Mcg59 {
  using Stream = Mcg59Stream;
  static constexpr std::uint64_t multiplier = 0x113769B23C5FD;
  // A product in lanes takes three multiplications of halves: too much for two lanes.
  static constexpr std::int64_t shortestBlock = level.wideIntegers && laneCount > 2 ? 32 : 0;
  static constexpr int vectorsPerPass = 4;
  static constexpr std::uint64_t mask = (std::uint64_t{1} << 59) - 1;

  static std::uint64_t multiply(std::uint64_t x, std::uint64_t c) { return x * c; }

  static WideWords multiply(WideWords x, WideWords c) { return product(x, c); }

  static WideWords canonical(WideWords x) { return x & mask; }
  static std::uint64_t canonical(std::uint64_t x) { return x & mask; }

  static std::uint64_t power(std::uint64_t c, std::uint64_t n) {
    std::uint64_t result = 1;
    for (; n != 0; n >>= 1, c *= c)
      if ((n & 1) != 0) result *= c;
    return result;
  }

  static std::uint64_t firstState(std::int64_t count, const std::uint32_t* seeds) {
    std::uint64_t x = count < 1 ? 1 : seeds[0];
    if (count > 1) x |= static_cast<std::uint64_t>(seeds[1] & 0x7FFFFFF) << 32;
    return x == 0 ? 1 : x;
  }

  static bool canHave(std::uint64_t x, std::uint64_t mult) { return x != 0 && x <= mask && (mult & 1) != 0; }

  struct Interval {
    double scale;
    double from;

    Interval(double a, double b) : scale((b - a) * 0x1p-59), from(a) {}

    // The halves of x are doubles exactly.
    Lanes lanes(WideWords x) const {
      const Lanes low = doublesBelow52Bits(x & 0xFFFFFFFFu);
      return low * scale + upperHalves(x) * (scale * 0x1p32) + from;
    }
    double one(std::uint64_t x) const {
      const auto low = static_cast<double>(static_cast<std::int64_t>(x & 0xFFFFFFFF));
      const auto high = static_cast<double>(static_cast<std::int64_t>(x & ~std::uint64_t{0xFFFFFFFF}));
      return low * scale + high * scale + from;
    }
  };
};

using Generator = Congruential<Mcg59>;

}  // namespace

extern const BrngRecord mcg59Record;
const BrngRecord mcg59Record = {
    .family = 3,
    .members = 1,
    .stateSize = sizeof(Generator::Stream),
    .seedCount = 1,
    .includesZero = 0,
    .wordSize = 8,
    .bitCount = 59,
    .operations = &operationsOf<Generator>,
    .name = "MCG59",
    .usedSeeds = 2,
    .split = RSG_SPLIT_LEAPFROG,
    .outputOffset = 0.0,
    .outputModulus = 0x1p59,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
