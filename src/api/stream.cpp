#include "streams/stream.h"

#include "api/report.h"
#include "dispatch/kernel_slot.h"

namespace rvn {

namespace {

KernelSlot<decltype(StreamKernels::newStream)> newStreamSlot{nullptr};
KernelSlot<decltype(StreamKernels::deleteStream)> deleteStreamSlot{nullptr};

}  // namespace
}  // namespace rvn

extern "C" {

std::int32_t rsgNewStream(RsgStream** stream, std::int32_t brngId, std::uint32_t seed) {
  static constexpr char name[] = "rsgNewStream";
  if (stream == nullptr) return rvn::refuseParameter(name, 1, RSG_ERROR_NULL_STREAM);
  const auto newStream =
      rvn::loadKernel(rvn::newStreamSlot, [](const rvn::LevelTable& t) { return t.streams->newStream; });
  const std::uint32_t seeds[1] = {seed};
  const std::int32_t status = newStream(stream, brngId, 1, seeds);
  return status == RSG_ERROR_GENERATOR ? rvn::refuseParameter(name, 2, status) : status;
}

std::int32_t rsgDeleteStream(RsgStream** stream) {
  static constexpr char name[] = "rsgDeleteStream";
  std::int32_t status = stream == nullptr ? RSG_ERROR_NULL_STREAM : rvn::rsgStreamCheck(*stream);
  if (status == RSG_STATUS_OK) {
    const auto deleteStream = rvn::loadKernel(
        rvn::deleteStreamSlot, [](const rvn::LevelTable& t) { return t.streams->deleteStream; });
    status = deleteStream(stream);
  }
  return status < 0 ? rvn::refuseParameter(name, 1, status) : status;
}

}  // extern "C"
