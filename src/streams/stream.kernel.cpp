#include "streams/stream.h"

#include "runtime/memory.h"
#include "streams/locate.h"
#include "streams/stream_kernels.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

std::int32_t newStream(RsgStream** stream, std::int32_t brngId, std::int64_t seedCount,
                       const std::uint32_t* seeds) {
  if (!isUsable(brngId)) return RSG_ERROR_GENERATOR;
  const BrngRecord& record = recordOf(brngId);
  RsgStream* const created = makeStream(record, brngId);
  *stream = created;
  if (created == nullptr) return RSG_ERROR_MEMORY;
  return record.operations->stateOp(stateSeed, created, seedCount, seeds);
}

std::int32_t deleteStream(RsgStream** stream) {
  rsgReleaseResources(*stream);
  rvnFree(*stream);
  *stream = nullptr;
  return RSG_STATUS_OK;
}

// min(b, max(a, x)); with these orders of comparison a NaN stays a NaN.
template <class V>
V clamped(V x, V a, V b) {
  const V low = a > x ? a : x;
  return b < low ? b : low;
}

void clampAll(std::int64_t n, double* r, double a, double b) {
  constexpr std::int64_t group = 4 * std::int64_t{laneCount};
  const auto lowest = broadcast<Lanes>(a);
  const auto highest = broadcast<Lanes>(b);
  std::int64_t i = 0;
  for (; i + group <= n; i += group)
    for (std::int64_t k = i; k < i + group; k += laneCount)
      store(r + k, clamped(load<Lanes>(r + k), lowest, highest));
  for (; i < n; ++i)
    store(r + i, clamped(load<double>(r + i), a, b));
}

// Out of line: fills that clamp nothing do not pay for its registers.
[[gnu::noinline]] std::int32_t clampedFill(decltype(BrngOperations::fillDouble) fill, RsgStream* stream,
                                           std::int64_t n, double* r, double a, double b) {
  const std::int32_t status = fill(stream, n, r, a, b);
  if (status >= 0) clampAll(n, r, a, b);
  return status;
}

std::int32_t uniform(std::int32_t method, RsgStream* stream, std::int64_t n, double* r, double a, double b) {
  const auto fill = recordOf(stream->brngId).operations->fillDouble;
  if ((method & RNG_UNIFORM_CLAMPED) != 0) return clampedFill(fill, stream, n, r, a, b);
  return fill(stream, n, r, a, b);
}

const BrngRecord* find(std::int32_t brngId) {
  return isUsable(brngId) ? &recordOf(brngId) : nullptr;
}

}  // namespace

extern const ValueKernels valueKernels;

extern const StreamKernels streamKernels;
const StreamKernels streamKernels = {newStream, deleteStream, uniform, &brngRegistry, find, &valueKernels};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
