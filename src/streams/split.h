#pragma once

// Parts of streams for workers, and the moves that they are made by.

#include <cstdint>

#include "streams/registry.h"
#include "streams/stream.h"

namespace rvn {

// What a quasi-random generator saves first.
struct QuasiPlace {
  std::uint32_t pointIndex;
  std::int32_t dimension;
  std::int32_t onlyCoordinate;  // -1: all
  std::int32_t nextCoordinate;

  std::int32_t width() const { return onlyCoordinate < 0 ? dimension : 1; }
};

static inline bool isQuasiRandom(const BrngRecord& record) {
  return (record.operations->moves & RSG_MOVE_COORDINATE) != 0;
}

// Of a stream of such a generator.
QuasiPlace placeOf(const BrngRecord& record, const RsgStream* stream);

std::int32_t skipAhead(const BrngRecord& record, RsgStream* stream, std::uint64_t outputs);

// Parts of a stream as rsgSplit describes them, of which the arguments were tested. On failure every part is null.
std::int32_t splitStream(const BrngRecord& record, const RsgStream* stream, std::int32_t count,
                         std::uint64_t stretch, RsgStream** parts);

}  // namespace rvn
