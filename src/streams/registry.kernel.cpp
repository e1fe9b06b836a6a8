#include "streams/registry.h"

#include "vector/level.h"

// The generators in the order of their families; three that a caller's buffer would feed, of which no stream can exist,
// have a size of streams alone.
#define RVN_FAMILIES(GENERATOR, BUFFER_FED) \
  GENERATOR(mcg31)                          \
  GENERATOR(r250)                           \
  GENERATOR(mrg32k3a)                       \
  GENERATOR(mcg59)                          \
  GENERATOR(wichmannHill)                   \
  GENERATOR(sobol)                          \
  GENERATOR(niederreiter)                   \
  GENERATOR(mt19937)                        \
  GENERATOR(mt2203)                         \
  BUFFER_FED(9, 40)                         \
  BUFFER_FED(10, 56)                        \
  BUFFER_FED(11, 48)                        \
  GENERATOR(sfmt19937)                      \
  GENERATOR(rdrand)

#define RVN_NOTHING(family, stateSize)
#define RVN_DECLARATION(name) extern const BrngRecord name##Record;
#define RVN_ADDRESS(name) &name##Record,
#define RVN_BUFFER_ADDRESS(family, stateSize) &bufferFed<family, stateSize>,

namespace rvn::RVN_LEVEL_NAMESPACE {

RVN_FAMILIES(RVN_DECLARATION, RVN_NOTHING)

namespace {

template <std::int32_t number, std::uint32_t bytes>
constexpr BrngRecord bufferFed = {number, 1, bytes, 0, 1, 4, 32, nullptr};

constexpr const BrngRecord* families[] = {RVN_FAMILIES(RVN_ADDRESS, RVN_BUFFER_ADDRESS)};

template <std::int32_t n>
consteval std::int32_t lengthOf(const BrngRecord* const (&)[n]) {
  return n;
}

consteval BrngRegistry makeRegistry() {
  BrngRegistry registry = {families, lengthOf(families), {}};
  // The families 0 to 3, the Wichmann-Hill members, and the families 5 and 6.
  for (int i = 0; i < memberRowCount; ++i) {
    const int behind = i - (firstWichmannHillRow + wichmannHillMembers);
    const int family = i < firstWichmannHillRow ? i : wichmannHillFamily + (behind < 0 ? 0 : behind + 1);
    registry.memberRow[i] = static_cast<std::uint8_t>(family);
  }
  return registry;
}

}  // namespace

extern const BrngRegistry brngRegistry;
const BrngRegistry brngRegistry = makeRegistry();

}  // namespace rvn::RVN_LEVEL_NAMESPACE
