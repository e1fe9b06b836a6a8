// Values that are made of 32-bit words, whatever a generator's raw outputs are.

#include <cstddef>
#include <cstdint>

#include "streams/locate.h"
#include "streams/stream.h"
#include "streams/stream_kernels.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t blockWords = 512;

inline std::int64_t smaller(std::int64_t p, std::int64_t q) {
  return p < q ? p : q;
}

// Draws the outputs behind n words of a block, `outputsPerWord` each, and stores wordOf(i) of every one.
template <std::int64_t outputsPerWord, class Output, class Fill, class WordOf>
std::int32_t wordsOf(std::int64_t n, unsigned char* r, Fill fill, WordOf wordOf) {
  Output outputs[blockWords * outputsPerWord];
  for (std::int64_t done = 0; done < n; done += blockWords) {
    const std::int64_t run = smaller(blockWords, n - done);
    if (const std::int32_t status = fill(run * outputsPerWord, outputs)) return status;
    for (std::int64_t i = 0; i < run; ++i)
      store(r + (done + i) * 4, wordOf(outputs + i * outputsPerWord));
  }
  return RSG_STATUS_OK;
}

std::int32_t words32(RsgStream* stream, std::int64_t n, void* r) {
  const BrngRecord& record = recordOf(stream->brngId);
  const BrngOperations& operations = *record.operations;
  auto* const bytes = static_cast<unsigned char*>(r);
  const auto fillRaw = [&](std::int64_t count, void* to) { return operations.fillInt(stream, count, to); };
  switch (record.bitCount) {
    case 31:
      return wordsOf<2, std::uint32_t>(n, bytes, fillRaw,
                                       [](const std::uint32_t* x) { return x[0] >> 15 | x[1] >> 15 << 16; });
    case 59:
      return wordsOf<1, std::uint64_t>(
          n, bytes, fillRaw, [](const std::uint64_t* x) { return static_cast<std::uint32_t>(*x >> 27); });
    case 24:
      return wordsOf<1, double>(
          n, bytes,
          [&](std::int64_t count, double* to) { return operations.fillDouble(stream, count, to, 0.0, 1.0); },
          [](const double* u) { return static_cast<std::uint32_t>(static_cast<std::int64_t>(*u * 0x1p32)); });
    default:
      return operations.fillInt(stream, n, r);
  }
}

bool isQuasiRandom(const RsgStream* stream) {
  return (recordOf(stream->brngId).operations->moves & RSG_MOVE_COORDINATE) != 0;
}

// Pairs of words as they lie in memory: these processors have the low half first.
std::int32_t words64(RsgStream* stream, std::int64_t n, void* r) {
  return isQuasiRandom(stream) ? std::int32_t{RSG_ERROR_QUASI_RANDOM} : words32(stream, 2 * n, r);
}

// floor(w count / 2^32) from low on, of words whose product has a low half of at least 2^32 mod count: then every value
// has the same number of words (D. Lemire, ACM Transactions on Modeling and Computer Simulation 29, 2019).
struct Interval {
  std::uint32_t low;
  std::uint32_t count;
  std::uint32_t least;

  std::int32_t value(std::uint32_t w) const {
    return static_cast<std::int32_t>(low + static_cast<std::uint32_t>(std::uint64_t{w} * count >> 32));
  }
  bool takes(std::uint32_t w) const { return w * count >= least; }
};

std::int32_t integers(RsgStream* stream, std::int64_t n, std::int32_t* r, std::int32_t low,
                      std::uint32_t count) {
  if (isQuasiRandom(stream)) return RSG_ERROR_QUASI_RANDOM;
  const Interval interval = {static_cast<std::uint32_t>(low), count, count == 0 ? 0 : -count % count};
  std::uint32_t words[blockWords];
  for (std::int64_t done = 0; done < n;) {
    const std::int64_t run = smaller(blockWords, n - done);
    if (const std::int32_t status = words32(stream, run, words)) return status;
    std::int32_t* const to = r + done;
    std::uint32_t dropped = 0;
    for (std::int64_t i = 0; i < run; ++i) {
      to[i] = count == 0 ? static_cast<std::int32_t>(words[i] ^ 0x80000000u) : interval.value(words[i]);
      dropped |= interval.takes(words[i]) ? 0u : 1u;
    }
    std::int64_t kept = run;
    if (dropped != 0) {
      kept = 0;
      for (std::int64_t i = 0; i < run; ++i) {
        to[kept] = interval.value(words[i]);
        kept += interval.takes(words[i]) ? 1 : 0;
      }
    }
    done += kept;
  }
  return RSG_STATUS_OK;
}

std::int32_t uniformFloat(RsgStream* stream, std::int64_t n, float* r, float a, float b, float belowB) {
  constexpr std::int64_t block = 4096;
  const auto fill = recordOf(stream->brngId).operations->fillFloat;
  for (std::int64_t done = 0; done < n; done += block) {
    const std::int64_t run = smaller(block, n - done);
    float* const to = r + done;
    if (const std::int32_t status = fill(stream, run, to, a, b)) return status;
    for (std::int64_t i = 0; i < run; ++i) {
      const float x = to[i] < a ? a : to[i];
      to[i] = x < belowB ? x : belowB;
    }
  }
  return RSG_STATUS_OK;
}

std::int32_t uniform53(RsgStream* stream, std::int64_t n, double* r) {
  if (isQuasiRandom(stream)) return RSG_ERROR_QUASI_RANDOM;
  constexpr std::int64_t block = blockWords / 2;
  std::uint32_t words[blockWords];
  for (std::int64_t done = 0; done < n; done += block) {
    const std::int64_t run = smaller(block, n - done);
    if (const std::int32_t status = words32(stream, 2 * run, words)) return status;
    for (std::int64_t i = 0; i < run; ++i) {
      // Exact in every step. Every word was drawn just before, which the analyzer does not see.
      // NOLINTBEGIN(clang-analyzer-core.UndefinedBinaryOperatorResult)
      const auto high = static_cast<double>(static_cast<std::int32_t>(words[2 * i] >> 5));
      const auto low = static_cast<double>(static_cast<std::int32_t>(words[2 * i + 1] >> 6));
      // NOLINTEND(clang-analyzer-core.UndefinedBinaryOperatorResult)
      r[done + i] = (high * 0x1p26 + low) * 0x1p-53;
    }
  }
  return RSG_STATUS_OK;
}

}  // namespace

extern const ValueKernels valueKernels;
const ValueKernels valueKernels = {words32, words64, integers, uniformFloat, uniform53};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
