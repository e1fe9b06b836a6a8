#include <cstdint>

#include "api/report.h"
#include "dispatch/kernel_slot.h"
#include "streams/scrambled_net.h"

namespace {

rvn::KernelSlot<decltype(rvn::StreamKernels::newStream)> newStreamSlot{nullptr};

std::int32_t newNet(RsgStream** stream, std::int32_t brngId, std::int64_t count, const std::uint32_t* seeds) {
  const auto newStream =
      rvn::loadKernel(newStreamSlot, [](const rvn::LevelTable& t) { return t.streams->newStream; });
  return newStream(stream, brngId, count, seeds);
}

bool isScrambling(std::int32_t scrambling) {
  return scrambling >= RSG_SCRAMBLING_NONE && scrambling <= RSG_SCRAMBLING_LINEAR;
}

}  // namespace

extern "C" {

std::int32_t rsgNewScrambledSobol(RsgStream** stream, std::int32_t dimension, std::uint64_t seed,
                                  std::int32_t scrambling) {
  static constexpr char name[] = "rsgNewScrambledSobol";
  if (stream == nullptr) return rvn::refuseParameter(name, 1, RSG_ERROR_NULL_STREAM);
  if (dimension < 1 || dimension > rvn::sobolDimensions)
    return rvn::refuseParameter(name, 2, RSG_ERROR_DIMENSION);
  if (!isScrambling(scrambling)) return rvn::refuseParameter(name, 4, RSG_ERROR_SCRAMBLING);
  const std::uint32_t seeds[4] = {static_cast<std::uint32_t>(dimension), static_cast<std::uint32_t>(seed),
                                  static_cast<std::uint32_t>(seed >> 32),
                                  static_cast<std::uint32_t>(scrambling)};
  return newNet(stream, RSG_BRNG_SCRAMBLED_SOBOL, 4, seeds);
}

std::int32_t rsgNewSobolFromTable(RsgStream** stream, std::int32_t dimension, const std::uint32_t* table,
                                  std::int32_t length, std::uint64_t seed, std::int32_t scrambling) {
  static constexpr char name[] = "rsgNewSobolFromTable";
  if (stream == nullptr) return rvn::refuseParameter(name, 1, RSG_ERROR_NULL_STREAM);
  if (dimension < 1 || dimension > RSG_TABLE_DIMENSIONS)
    return rvn::refuseParameter(name, 2, RSG_ERROR_DIMENSION);
  if (!isScrambling(scrambling)) return rvn::refuseParameter(name, 6, RSG_ERROR_SCRAMBLING);
  const bool missing = dimension > 1 && table == nullptr;
  if (missing || !rvn::isSobolTable(dimension, table, length))
    return rvn::refuseParameter(name, 3, RSG_ERROR_TABLE);
  if (const std::int32_t status = newNet(stream, RSG_BRNG_SOBOL_TABLE, 0, nullptr)) return status;
  rvn::makeNet(*reinterpret_cast<rvn::SobolTableStream*>(*stream), {dimension, seed, scrambling, table});
  return RSG_STATUS_OK;
}

}  // extern "C"
