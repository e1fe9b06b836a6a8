// The sequence of I. M. Sobol (USSR Computational Mathematics and Mathematical Physics 7, 1967) in up to 40
// dimensions.

// Stores bound it, and every one of 64 bytes into an array at any address crosses a line.
#define RVN_WIDEST_VECTOR 32

#include <cstddef>
#include <cstdint>

#include "streams/quasi_random.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct SobolStream {
  RsgStream header;
  std::uint32_t pointIndex;
  std::int32_t dimension;
  std::int32_t onlyCoordinate;
  std::int32_t nextCoordinate;
  std::uint32_t point[48];
  std::uint32_t direction[sobolDimensions][directionCount + 1];
  std::uint32_t directionByBit[directionCount][48];
};
static_assert(sizeof(SobolStream) == 11648);
static_assert(offsetof(SobolStream, pointIndex) == 16);

struct Sobol {
  using Stream = SobolStream;
  static constexpr std::uint32_t dimensions = sobolDimensions;
  static constexpr bool fuses = true;

  static void directions(int coordinate, std::uint32_t (&number)[directionCount]) {
    sobolDirections(coordinate, number);
  }
};

using Generator = QuasiRandom<Sobol>;

}  // namespace

extern const BrngRecord sobolRecord;
const BrngRecord sobolRecord = {
    .family = 5,
    .members = 1,
    .stateSize = sizeof(Generator::Stream),
    .seedCount = 2604,
    .includesZero = 0,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<Generator>,
    .name = "Sobol",
    .usedSeeds = 1,
    .split = RSG_SPLIT_SKIP,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
