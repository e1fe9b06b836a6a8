#include "streams/registry.h"

#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

// One per generator source.
extern const BrngOperations mcg31;
extern const BrngOperations mcg59;
extern const BrngOperations mrg32k3a;
extern const BrngOperations mt19937;
extern const BrngOperations mt2203;
extern const BrngOperations niederreiter;
extern const BrngOperations r250;
extern const BrngOperations rdrand;
extern const BrngOperations sfmt19937;
extern const BrngOperations sobol;
extern const BrngOperations wichmannHill;

namespace {

constexpr const BrngOperations* none = nullptr;

consteval BrngRegistry makeRegistry() {
  BrngRegistry registry = {
      {
          // bytes, seeds, zero, word, bits
          {24, 1, 0, 4, 31, &mcg31},                // MCG31
          {1024, 252, 1, 4, 32, &r250},             // R250
          {40, 6, 1, 4, 32, &mrg32k3a},             // MRG32k3a
          {32, 1, 0, 8, 59, &mcg59},                // MCG59
          {48, 4, 1, 16, 24, &wichmannHill},        // Wichmann-Hill
          {11648, 2604, 0, 4, 32, &sobol},          // Sobol
          {43280, 10498, 0, 4, 32, &niederreiter},  // Niederreiter
          {2520, 625, 1, 4, 32, &mt19937},          // MT19937
          {312, 70, 1, 4, 32, &mt2203},             // MT2203
          {40, 0, 1, 4, 32, none},                  // fed from a buffer of integers
          {56, 0, 1, 4, 32, none},                  // fed from a buffer of doubles
          {48, 0, 1, 4, 32, none},                  // fed from a buffer of floats
          {2536, 625, 1, 4, 32, &sfmt19937},        // SFMT19937
          {24, 1, 0, 4, 32, &rdrand},               // RdRandStream
      },
      {1, 1, 1, 1, wichmannHillMembers, 1, 1, 1, 6024, 1, 1, 1, 1, 1},
      {},
  };
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
