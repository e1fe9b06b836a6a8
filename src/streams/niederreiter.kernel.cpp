// The sequence of H. Niederreiter (Journal of Number Theory 30, 1988) in base 2, in up to 318 dimensions.

// Stores bound it, and every one of 64 bytes into an array at any address crosses a line.
#define RVN_WIDEST_VECTOR 32

#include <cstddef>
#include <cstdint>

#include "streams/quasi_random.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Room for one table of direction numbers only: that in the order of steps.
struct NiederreiterStream {
  RsgStream header;
  std::uint32_t pointIndex;
  std::int32_t dimension;
  std::int32_t onlyCoordinate;
  std::int32_t nextCoordinate;
  std::uint32_t point[320];
  std::uint32_t directionByBit[directionCount][320];
  std::uint32_t unused[252];
};
static_assert(sizeof(NiederreiterStream) == 43280);
static_assert(offsetof(NiederreiterStream, pointIndex) == 16);

struct Niederreiter {
  using Stream = NiederreiterStream;
  static constexpr std::uint32_t dimensions = niederreiterDimensions;
  static constexpr bool fuses = false;

  static void directions(int coordinate, std::uint32_t (&number)[directionCount]) {
    niederreiterDirections(coordinate, number);
  }
};

using Generator = QuasiRandom<Niederreiter>;

}  // namespace

extern const BrngRecord niederreiterRecord;
const BrngRecord niederreiterRecord = {
    .family = 6,
    .members = 1,
    .stateSize = sizeof(Generator::Stream),
    .seedCount = 10498,
    .includesZero = 0,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<Generator>,
    .name = "Niederreiter",
    .usedSeeds = 1,
    .split = RSG_SPLIT_SKIP,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
