#include <cstddef>
#include <cstdint>

#include "api/report.h"
#include "dispatch/generators.h"
#include "streams/saved_stream.h"
#include "streams/split.h"

#include <ravenfit/stream_tools.h>

namespace {

using rvn::BrngRecord;
using rvn::refuseParameter;

RsgInfo describe(const BrngRecord& record, std::int32_t member) {
  RsgInfo info = {};
  info.name = record.name;
  info.brngId = rvn::identifierOf(record, member);
  info.member = member;
  info.members = record.members;
  info.wordBytes = static_cast<std::int32_t>(record.wordSize);
  info.bits = static_cast<std::int32_t>(record.bitCount);
  info.stateBytes = static_cast<std::int32_t>(record.stateSize);
  info.seedWords = record.usedSeeds;
  info.moves = record.operations->moves;
  info.split = record.split;
  info.coordinate = -1;
  return info;
}

}  // namespace

extern "C" {

std::int32_t rsgGeneratorInfo(std::int32_t brngId, RsgInfo* info) {
  static constexpr char name[] = "rsgGeneratorInfo";
  const BrngRecord* const record = rvn::findGenerator(brngId);
  if (record == nullptr) return refuseParameter(name, 1, RSG_ERROR_GENERATOR);
  if (info == nullptr) return refuseParameter(name, 2, RSG_ERROR_ARGUMENT);
  *info = describe(*record, rvn::memberOf(brngId));
  return RSG_STATUS_OK;
}

std::int32_t rsgStreamInfo(const RsgStream* stream, RsgInfo* info) {
  static constexpr char name[] = "rsgStreamInfo";
  if (const std::int32_t status = rvn::rsgStreamCheck(stream)) return refuseParameter(name, 1, status);
  if (info == nullptr) return refuseParameter(name, 2, RSG_ERROR_ARGUMENT);
  const BrngRecord& record = *rvn::findGenerator(stream->brngId);
  *info = describe(record, rvn::memberOf(stream->brngId));
  if (rvn::isQuasiRandom(record)) {
    const rvn::QuasiPlace place = rvn::placeOf(record, stream);
    info->dimension = place.dimension;
    info->coordinate = place.onlyCoordinate;
  }
  return RSG_STATUS_OK;
}

std::int32_t rsgNewStreamFromSeeds(RsgStream** stream, std::int32_t brngId, std::int32_t count,
                                   const std::uint32_t* seeds) {
  static constexpr char name[] = "rsgNewStreamFromSeeds";
  if (stream == nullptr) return refuseParameter(name, 1, RSG_ERROR_NULL_STREAM);
  const BrngRecord* const record = rvn::findGenerator(brngId);
  if (record == nullptr) return refuseParameter(name, 2, RSG_ERROR_GENERATOR);
  if (count < 0) return refuseParameter(name, 3, RSG_ERROR_ARGUMENT);
  if (count > 0 && seeds == nullptr) return refuseParameter(name, 4, RSG_ERROR_ARGUMENT);
  *stream = rvn::makeStream(*record, brngId);
  if (*stream == nullptr) return RSG_ERROR_MEMORY;
  return record->operations->stateOp(rvn::stateSeed, *stream, count, seeds);
}

std::int32_t rsgCopyStream(RsgStream** copy, const RsgStream* source) {
  static constexpr char name[] = "rsgCopyStream";
  if (copy == nullptr) return refuseParameter(name, 1, RSG_ERROR_NULL_STREAM);
  if (const std::int32_t status = rvn::rsgStreamCheck(source)) return refuseParameter(name, 2, status);
  *copy = rvn::copyStream(*rvn::findGenerator(source->brngId), source);
  return *copy == nullptr ? RSG_ERROR_MEMORY : RSG_STATUS_OK;
}

std::int32_t rsgSaveSize(const RsgStream* stream) {
  if (const std::int32_t status = rvn::rsgStreamCheck(stream))
    return refuseParameter("rsgSaveSize", 1, status);
  const BrngRecord& record = *rvn::findGenerator(stream->brngId);
  if (!record.isSaved) return refuseParameter("rsgSaveSize", 1, RSG_ERROR_NOT_SAVED);
  return static_cast<std::int32_t>(rvn::savedSize(record));
}

std::int32_t rsgSaveStream(const RsgStream* stream, void* buffer, std::int32_t size) {
  static constexpr char name[] = "rsgSaveStream";
  if (const std::int32_t status = rvn::rsgStreamCheck(stream)) return refuseParameter(name, 1, status);
  if (buffer == nullptr) return refuseParameter(name, 2, RSG_ERROR_ARGUMENT);
  if (size < 0) return refuseParameter(name, 3, RSG_ERROR_ARGUMENT);
  const BrngRecord& record = *rvn::findGenerator(stream->brngId);
  if (!record.isSaved) return refuseParameter(name, 1, RSG_ERROR_NOT_SAVED);
  if (static_cast<std::size_t>(size) < rvn::savedSize(record))
    return refuseParameter(name, 3, RSG_ERROR_BUFFER_SIZE);
  rvn::saveStream(record, stream, static_cast<unsigned char*>(buffer));
  return RSG_STATUS_OK;
}

std::int32_t rsgLoadStream(RsgStream** stream, const void* buffer, std::int32_t size) {
  static constexpr char name[] = "rsgLoadStream";
  if (stream == nullptr) return refuseParameter(name, 1, RSG_ERROR_NULL_STREAM);
  if (buffer == nullptr) return refuseParameter(name, 2, RSG_ERROR_ARGUMENT);
  if (size < 0) return refuseParameter(name, 3, RSG_ERROR_ARGUMENT);
  const auto* const bytes = static_cast<const unsigned char*>(buffer);
  const auto length = static_cast<std::size_t>(size);
  std::int32_t brngId = 0;
  if (const std::int32_t status = rvn::readSavedGenerator(bytes, length, &brngId))
    return refuseParameter(name, 2, status);
  const BrngRecord* const record = rvn::findGenerator(brngId);
  if (record == nullptr) return refuseParameter(name, 2, RSG_ERROR_SAVED_STREAM);
  const std::int32_t status = rvn::loadStream(*record, brngId, bytes, length, stream);
  return status == RSG_ERROR_SAVED_STREAM ? refuseParameter(name, 2, status) : status;
}

}  // extern "C"
