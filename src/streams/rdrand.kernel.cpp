// The processor's own random numbers (RDRAND). There is no sequence to seed, to skip in or to repeat.

#include "runtime/rdrand.h"

#include <cstddef>
#include <cstdint>

#include "runtime/cpu_features.h"
#include "streams/operations.h"
#include "streams/stream.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

struct RdRandStream {
  RsgStream header;
  std::uint32_t zero;
  std::uint32_t retryLimit;  // failures in a row that end a fill
};
static_assert(sizeof(RdRandStream) == 24);
static_assert(offsetof(RdRandStream, zero) == 16);

// All numbers of one value or of one pair of values, or none.
template <std::size_t count>
bool draw(const RdRandStream& stream, std::uint32_t (&numbers)[count]) {
  for (std::uint32_t failures = 0;;) {
    std::size_t drawn = 0;
    while (drawn < count && drawHardwareRandom(&numbers[drawn]))
      ++drawn;
    if (drawn == count) return true;
    if (++failures >= stream.retryLimit) return false;
  }
}

// Calls store(i, number) for n numbers, drawn in pairs.
template <class Store>
std::int32_t fillPairs(const RsgStream* header, std::int64_t n, Store store) {
  const auto& stream = *reinterpret_cast<const RdRandStream*>(header);
  if (!hasFeature(featureRdrand)) return RSG_ERROR_NO_HARDWARE;
  std::int64_t i = 0;
  for (; i + 2 <= n; i += 2) {
    std::uint32_t pair[2];
    if (!draw(stream, pair)) return RSG_ERROR_HARDWARE_RETRY;
    store(i, pair[0]);
    store(i + 1, pair[1]);
  }
  std::uint32_t last[1];
  if (i == n) return RSG_STATUS_OK;
  if (!draw(stream, last)) return RSG_ERROR_HARDWARE_RETRY;
  store(i, last[0]);
  return RSG_STATUS_OK;
}

struct RdRand {
  using Stream = RdRandStream;

  static void seed(Stream& stream, std::int64_t count, const std::uint32_t* seeds) {
    stream.zero = 0;
    stream.retryLimit = count >= 2 && seeds[1] != 0 ? seeds[1] : 10;
  }

  static constexpr std::int32_t savedWords = 1;

  static void save(const Stream& stream, std::uint32_t* words) { words[0] = stream.retryLimit; }

  static bool restore(Stream& stream, const std::uint32_t* words) {
    stream.zero = 0;
    stream.retryLimit = words[0];
    return words[0] != 0;
  }

  // A word becomes a double first, exactly: on 32-bit processors the way to a float at once would fuse.
  static std::int32_t fillReal(RsgStream* stream, std::int64_t n, float* r, float a, float b) {
    const float scale = (b - a) * 0x1p-32F;
    return fillPairs(stream, n, [&](std::int64_t i, std::uint32_t w) {
      store(r + i, static_cast<float>(static_cast<double>(w)) * scale + a);
    });
  }

  static std::int32_t fillRaw(RsgStream* stream, std::int64_t n, void* r) {
    auto* const bytes = static_cast<unsigned char*>(r);
    return fillPairs(stream, n, [&](std::int64_t i, std::uint32_t w) { store(bytes + i * 4, w); });
  }

  // Two numbers make a value, the second one its upper half.
  static std::int32_t fillReal(RsgStream* header, std::int64_t n, double* r, double a, double b) {
    const auto& stream = *reinterpret_cast<const RdRandStream*>(header);
    if (!hasFeature(featureRdrand)) return RSG_ERROR_NO_HARDWARE;
    const double scale = (b - a) * 0x1p-64;
    for (std::int64_t i = 0; i < n; ++i) {
      std::uint32_t half[2];
      if (!draw(stream, half)) return RSG_ERROR_HARDWARE_RETRY;
      const auto number = static_cast<std::int64_t>(std::uint64_t{half[1]} << 32 | half[0]);
      const double w = static_cast<double>(number) + (number < 0 ? 0x1p64 : 0.0);
      store(r + i, w * scale + a);
    }
    return RSG_STATUS_OK;
  }
};

}  // namespace

extern const BrngRecord rdrandRecord;
const BrngRecord rdrandRecord = {
    .family = 13,
    .members = 1,
    .stateSize = sizeof(RdRand::Stream),
    .seedCount = 1,
    .includesZero = 0,
    .wordSize = 4,
    .bitCount = 32,
    .operations = &operationsOf<RdRand>,
    .name = "RDRAND",
    .usedSeeds = 2,
    .split = RSG_SPLIT_INDEPENDENT,
    .outputOffset = 0.0,
    .outputModulus = 0.0,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
