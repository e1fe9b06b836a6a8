#include "streams/registry.h"

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const BrngRecord mcg31Record;
extern const BrngRecord r250Record;
extern const BrngRecord mrg32k3aRecord;
extern const BrngRecord mcg59Record;
extern const BrngRecord wichmannHillRecord;
extern const BrngRecord sobolRecord;
extern const BrngRecord niederreiterRecord;
extern const BrngRecord mt19937Record;
extern const BrngRecord mt2203Record;
extern const BrngRecord sfmt19937Record;
extern const BrngRecord rdrandRecord;
extern const BrngRecord scrambledSobolRecord;
extern const BrngRecord sobolTableRecord;

namespace {

// A family that a caller's buffer would feed: no stream of it can exist.
template <std::int32_t number, std::uint32_t bytes>
constexpr BrngRecord bufferFed = {number, 1, bytes, 0, 1, 4, 32, nullptr, nullptr, 0, RSG_SPLIT_NONE};

// In the order of their numbers.
constexpr const BrngRecord* families[] = {
    &mcg31Record,        &r250Record,       &mrg32k3aRecord,       &mcg59Record,
    &wichmannHillRecord, &sobolRecord,      &niederreiterRecord,   &mt19937Record,
    &mt2203Record,       &bufferFed<9, 40>, &bufferFed<10, 56>,    &bufferFed<11, 48>,
    &sfmt19937Record,    &rdrandRecord,     &scrambledSobolRecord, &sobolTableRecord,
};

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
