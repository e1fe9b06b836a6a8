// The congruential generator x <- 1132489760 x mod 2^31 - 1 (P. L'Ecuyer, Mathematics of Computation 68, 1999).

#include <cstddef>
#include <cstdint>

#include "streams/congruential.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct Mcg31Stream {
  RsgStream header;
  std::uint32_t x;     // the next output
  std::uint32_t mult;  // here since leapfrog changes it
};
static_assert(sizeof(Mcg31Stream) == 24);
static_assert(offsetof(Mcg31Stream, x) == 16);

struct Mcg31 {
  using Stream = Mcg31Stream;
  static constexpr std::uint64_t m = 0x7FFFFFFF;
  static constexpr std::uint32_t multiplier = 1132489760;
  static constexpr std::int64_t shortestBlock = 8;
  static constexpr int vectorsPerPass = 8;

  // t = x c is (t mod 2^31) + (t div 2^31) modulo m.
  static std::uint64_t multiply(std::uint64_t x, std::uint64_t c) {
    const std::uint64_t t = x * c;
    const std::uint64_t s = (t & m) + (t >> 31);
    return s < m ? s : s - m;
  }

  // The same, folded twice: no x is a multiple of m, so that the second sum is below m.
  static WideWords multiply(WideWords x, WideWords c) {
    const WideWords t = multiplyHalves(x, c);
    const WideWords s = (t & m) + (t >> 31);
    return (s & m) + (s >> 31);
  }

  static WideWords canonical(WideWords x) { return x; }
  static std::uint64_t canonical(std::uint64_t x) { return x; }

  static std::uint64_t power(std::uint64_t c, std::uint64_t n) {
    std::uint64_t result = 1;
    for (; n != 0; n >>= 1, c = multiply(c, c))
      if ((n & 1) != 0) result = multiply(result, c);
    return result;
  }

  static std::uint32_t firstState(std::int64_t count, const std::uint32_t* seeds) {
    const std::uint64_t x = count < 1 ? 0 : seeds[0] % m;
    return x == 0 ? 1 : static_cast<std::uint32_t>(x);
  }

  static bool canHave(std::uint32_t x, std::uint32_t mult) { return x - 1 < m - 1 && mult - 1 < m - 1; }

  struct Interval {
    double scale;
    double from;

    Interval(double a, double b) : scale((b - a) * 4.656612875245797e-10), from(a) {}  // 1/m
    Lanes lanes(WideWords x) const { return doublesBelow52Bits(x) * scale + from; }
    double one(std::uint64_t x) const {
      return static_cast<double>(static_cast<std::int64_t>(x)) * scale + from;
    }
  };
};

using Generator = Congruential<Mcg31>;

}  // namespace

extern const BrngRecord mcg31Record;
const BrngRecord mcg31Record = {
    .family = 0,
    .members = 1,
    .stateSize = sizeof(Generator::Stream),
    .seedCount = 1,
    .includesZero = 0,
    .wordSize = 4,
    .bitCount = 31,
    .operations = &operationsOf<Generator>,
    .name = "MCG31",
    .usedSeeds = 1,
    .split = RSG_SPLIT_LEAPFROG,
    .outputOffset = 0.0,
    .outputModulus = 0x1p31 - 1.0,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
