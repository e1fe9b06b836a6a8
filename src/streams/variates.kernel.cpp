// Normal, exponential and log-normal variates: quantiles of uniform numbers, a block at a time.

#include <cstdint>

#include "streams/locate.h"
#include "streams/normal_quantile.h"
#include "streams/stream.h"
#include "streams/uniform_numbers.h"
#include "streams/variate_kernels.h"
#include "vector/elementary.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Calls make(uniforms, count, to) for block after block; `to` has room for whole vectors.
template <class Make>
std::int32_t fillBlocks(RsgStream* stream, std::int64_t n, double* r, Make make) {
  const BrngRecord& record = recordOf(stream->brngId);
  UniformBlock uniforms;
  double made[UniformBlock::size];
  for (std::int64_t done = 0; done < n; done += UniformBlock::size) {
    const std::int64_t count = n - done < UniformBlock::size ? n - done : UniformBlock::size;
    const std::int32_t status = uniforms.draw(record, stream, count);
    if (status != RSG_STATUS_OK) return status;
    make(uniforms, count, made);
    __builtin_memcpy(r + done, made, static_cast<std::size_t>(count) * sizeof(double));
  }
  return RSG_STATUS_OK;
}

// The quantiles of all numbers by the formula of the centre, and then those of the tails among them, side by side.
void makeStandardNormal(const UniformBlock& uniforms, std::int64_t count, double* z) {
  std::int32_t inTail[UniformBlock::size + laneCount];
  std::int64_t tails = 0;
  for (std::int64_t i = 0; i < count; i += laneCount) {
    store(z + i, centralQuantile(load<Lanes>(uniforms.offset + i)));
    for (std::int64_t k = i; k < i + laneCount; ++k) {
      inTail[tails] = static_cast<std::int32_t>(k);
      tails += uniforms.tail[k] < centralTail ? 1 : 0;
    }
  }
  for (std::int64_t k = 0; k < laneCount && tails > 0; ++k)
    inTail[tails + k] = inTail[0];
  for (std::int64_t i = 0; i < tails; i += laneCount) {
    const Lanes quantile = tailQuantile(pick<Lanes>(uniforms.tail, inTail + i));
    for (int k = 0; k < laneCount; ++k)
      z[inTail[i + k]] = uniforms.offset[inTail[i + k]] < 0.0 ? -quantile[k] : quantile[k];
  }
}

std::int32_t normal(RsgStream* stream, std::int64_t n, double* r, double mean, double sigma) {
  return fillBlocks(stream, n, r, [=](const UniformBlock& uniforms, std::int64_t count, double* z) {
    makeStandardNormal(uniforms, count, z);
    for (std::int64_t i = 0; i < count; i += laneCount)
      store(z + i, load<Lanes>(z + i) * sigma + mean);
  });
}

std::int32_t logNormal(RsgStream* stream, std::int64_t n, double* r, double mean, double sigma) {
  return fillBlocks(stream, n, r, [=](const UniformBlock& uniforms, std::int64_t count, double* z) {
    makeStandardNormal(uniforms, count, z);
    for (std::int64_t i = 0; i < count; i += laneCount)
      store(z + i, exponential(load<Lanes>(z + i) * sigma + mean));
  });
}

// -ln(1 - u) for a tail t: -ln(t) above the middle, and -ln(1 - t) below it, where 1 - t, or its double, is as exact as
// the t that it is taken from.
inline Lanes exponentialQuantile(Lanes offset, Lanes t) {
  constexpr double nearOne = 0.29289321881345243;  // up to it 1 - t is no less than sqrt(1/2)
  const Binary<Lanes> above(t);
  const Lanes k = offset < 0.0 ? (t > nearOne ? Lanes{} - 1.0 : Lanes{}) : above.k;
  const Lanes f = offset < 0.0 ? (t > nearOne ? 1.0 - 2.0 * t : -t) : above.f;
  return -logarithm(k, f);
}

std::int32_t exponentialVariates(RsgStream* stream, std::int64_t n, double* r, double mean) {
  return fillBlocks(stream, n, r, [=](const UniformBlock& uniforms, std::int64_t count, double* to) {
    for (std::int64_t i = 0; i < count; i += laneCount)
      store(to + i,
            exponentialQuantile(load<Lanes>(uniforms.offset + i), load<Lanes>(uniforms.tail + i)) * mean);
  });
}

}  // namespace

extern const VariateKernels variateKernels;
const VariateKernels variateKernels = {normal, exponentialVariates, logNormal};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
