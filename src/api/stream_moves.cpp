#include <cstdint>

#include "api/report.h"
#include "dispatch/generators.h"
#include "streams/split.h"

#include <ravenfit/stream_tools.h>

namespace {

using rvn::BrngRecord;
using rvn::refuseParameter;

// Number of streams that asks the leapfrog of a quasi-random generator for one coordinate.
constexpr std::int32_t coordinateSelection = 0x7FFFFFFF;

std::int32_t selectCoordinate(const BrngRecord& record, RsgStream* stream, std::int32_t coordinate) {
  const auto k = static_cast<std::uint32_t>(coordinate);
  return record.operations->stateOp(rvn::stateLeapfrog, stream, coordinateSelection, &k);
}

}  // namespace

extern "C" {

std::int32_t rsgSkipAhead(RsgStream* stream, std::uint64_t outputs) {
  static constexpr char name[] = "rsgSkipAhead";
  if (const std::int32_t status = rvn::rsgStreamCheck(stream)) return refuseParameter(name, 1, status);
  const BrngRecord& record = *rvn::findGenerator(stream->brngId);
  const std::int32_t status = rvn::skipAhead(record, stream, outputs);
  if (status != RSG_ERROR_SKIP_AHEAD) return status;
  return refuseParameter(name, rvn::isQuasiRandom(record) ? 2 : 1, status);
}

std::int32_t rsgLeapfrog(RsgStream* stream, std::int32_t k, std::int32_t count) {
  static constexpr char name[] = "rsgLeapfrog";
  if (const std::int32_t status = rvn::rsgStreamCheck(stream)) return refuseParameter(name, 1, status);
  if (count < 1) return refuseParameter(name, 3, RSG_ERROR_ARGUMENT);
  if (k < 0 || k >= count) return refuseParameter(name, 2, RSG_ERROR_ARGUMENT);
  const BrngRecord& record = *rvn::findGenerator(stream->brngId);
  if (rvn::isQuasiRandom(record)) {
    const rvn::QuasiPlace place = rvn::placeOf(record, stream);
    if (count != place.width()) return refuseParameter(name, 3, RSG_ERROR_LEAPFROG);
    // Every count-th output is one and the same coordinate.
    if (place.onlyCoordinate >= 0) return RSG_STATUS_OK;
    return selectCoordinate(record, stream, (place.nextCoordinate + k) % place.dimension);
  }
  const auto place = static_cast<std::uint32_t>(k);
  const std::int32_t status = record.operations->stateOp(rvn::stateLeapfrog, stream, count, &place);
  return status == RSG_ERROR_LEAPFROG ? refuseParameter(name, 1, status) : status;
}

std::int32_t rsgSelectCoordinate(RsgStream* stream, std::int32_t coordinate) {
  static constexpr char name[] = "rsgSelectCoordinate";
  if (const std::int32_t status = rvn::rsgStreamCheck(stream)) return refuseParameter(name, 1, status);
  const BrngRecord& record = *rvn::findGenerator(stream->brngId);
  if (!rvn::isQuasiRandom(record)) return refuseParameter(name, 1, RSG_ERROR_LEAPFROG);
  if (coordinate < 0 || coordinate >= rvn::placeOf(record, stream).dimension)
    return refuseParameter(name, 2, RSG_ERROR_ARGUMENT);
  return selectCoordinate(record, stream, coordinate);
}

std::int32_t rsgSplit(const RsgStream* stream, std::int32_t count, std::uint64_t stretch, RsgStream** parts) {
  static constexpr char name[] = "rsgSplit";
  if (const std::int32_t status = rvn::rsgStreamCheck(stream)) return refuseParameter(name, 1, status);
  if (count < 1) return refuseParameter(name, 2, RSG_ERROR_ARGUMENT);
  if (parts == nullptr) return refuseParameter(name, 4, RSG_ERROR_ARGUMENT);
  const std::int32_t status =
      rvn::splitStream(*rvn::findGenerator(stream->brngId), stream, count, stretch, parts);
  if (status == RSG_ERROR_SPLIT) return refuseParameter(name, 2, status);
  return status == RSG_ERROR_SKIP_AHEAD ? refuseParameter(name, 3, status) : status;
}

}  // extern "C"
