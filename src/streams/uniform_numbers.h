#pragma once

// Uniform numbers as variates need them: exact in both tails, and never 0 or 1.

#include <cstdint>

#include "streams/registry.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Uniform numbers u, one for each output of a generator.
struct UniformBlock {
  static constexpr std::int64_t size = 512;
  static_assert(size % wordCount == 0);

  double offset[size];  // u - 1/2
  double tail[size];    // the smaller of u and 1 - u

  // Draws `count` of them, at most `size`; a last vector is filled up with numbers of the centre. Returns a stream status.
  std::int32_t draw(const BrngRecord& record, RsgStream* stream, std::int64_t count) {
    if (record.outputModulus == 0.0) return drawDoubles(record, stream, count);
    return record.wordSize == 8 ? drawWide(record, stream, count) : drawWords(record, stream, count);
  }

 private:
  std::int32_t drawWords(const BrngRecord& record, RsgStream* stream, std::int64_t count) {
    std::uint32_t words[size];
    const std::int32_t status = record.operations->fillInt(stream, count, words);
    if (status != RSG_STATUS_OK) return status;
    const std::int64_t padded = (count + wordCount - 1) / wordCount * wordCount;
    for (std::int64_t i = count; i < padded; ++i)
      words[i] = 1U << 30;
    const auto first = broadcast<Lanes>(record.outputOffset);
    const auto modulus = broadcast<Lanes>(record.outputModulus);
    const auto scale = broadcast<Lanes>(1.0 / record.outputModulus);
    const auto put = [&](std::int64_t i, Lanes number) {
      const Lanes w = number + first;
      const Lanes above = modulus - w;
      store(offset + i, (w - 0.5 * modulus) * scale);
      store(tail + i, (w < above ? w : above) * scale);
    };
    for (std::int64_t i = 0; i < padded; i += wordCount) {
      const auto w = load<Words>(words + i);
      put(i, unsignedDoubles<0>(w));
      put(i + laneCount, unsignedDoubles<1>(w));
    }
    return status;
  }

  std::int32_t drawWide(const BrngRecord& record, RsgStream* stream, std::int64_t count) {
    std::uint64_t words[size];
    const std::int32_t status = record.operations->fillInt(stream, count, words);
    if (status != RSG_STATUS_OK) return status;
    const auto half = static_cast<std::int64_t>(0.5 * record.outputModulus);
    const double scale = 1.0 / record.outputModulus;
    for (std::int64_t i = 0; i < count; ++i) {
      const std::int64_t fromMiddle = static_cast<std::int64_t>(words[i]) - half;
      const std::int64_t distance = fromMiddle < 0 ? -fromMiddle : fromMiddle;
      offset[i] = static_cast<double>(fromMiddle) * scale;
      tail[i] = static_cast<double>(half - distance) * scale;
    }
    for (; count % laneCount != 0; ++count) {
      offset[count] = 0.0;
      tail[count] = 0.5;
    }
    return status;
  }

  std::int32_t drawDoubles(const BrngRecord& record, RsgStream* stream, std::int64_t count) {
    const std::int32_t status = record.operations->fillDouble(stream, count, offset, 0.0, 1.0);
    if (status != RSG_STATUS_OK) return status;
    for (std::int64_t i = count; i % laneCount != 0; ++i)
      offset[i] = 0.5;
    const auto least = broadcast<Lanes>(0x1p-54);
    for (std::int64_t i = 0; i < count; i += laneCount) {
      const auto u = load<Lanes>(offset + i);
      const Lanes above = 1.0 - u;
      const Lanes smaller = u < above ? u : above;
      store(tail + i, smaller < least ? least : smaller);
      store(offset + i, u - 0.5);
    }
    return status;
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
