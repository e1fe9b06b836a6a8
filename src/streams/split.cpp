#include "streams/split.h"

#include <cstddef>
#include <cstring>

#include "runtime/memory.h"

namespace rvn {
namespace {

constexpr std::uint64_t longStretch = std::uint64_t{1} << 63;
constexpr std::uint64_t droppedValues = 20;

// SplitMix64 (G. L. Steele, D. Lea, C. H. Flood, 2014).
struct SeedSequence {
  std::uint64_t state;

  std::uint32_t next() {
    state += 0x9E3779B97F4A7C15;
    std::uint64_t z = (state ^ state >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return static_cast<std::uint32_t>((z ^ z >> 31) >> 32);
  }
};

// The next output of a stream, which stays where it is.
std::int32_t peek(const BrngRecord& record, const RsgStream* stream, std::uint32_t (&words)[4]) {
  RsgStream* const copy = copyStream(record, stream);
  if (copy == nullptr) return RSG_ERROR_MEMORY;
  const std::int32_t status = record.operations->fillInt(copy, 1, words);
  rvnFree(copy);
  return status;
}

// Members that begin with one seed, or close ones, begin alike: MT2203 needs different seeds, Wichmann-Hill seeds that
// are far from each other and a few steps.
std::int32_t makeMembers(const BrngRecord& record, const RsgStream* stream, std::int32_t count,
                         RsgStream** parts) {
  std::uint32_t output[4] = {};
  if (const std::int32_t status = peek(record, stream, output)) return status;
  SeedSequence seeds = {std::uint64_t{output[1]} << 32 | output[0]};
  seeds.state += seeds.next() + (std::uint64_t{output[3]} << 32 | output[2]);
  const bool skips = (record.operations->moves & RSG_MOVE_SKIP_AHEAD) != 0;
  for (std::int32_t i = 0; i < count; ++i) {
    const auto member =
        static_cast<std::int32_t>((std::int64_t{memberOf(stream->brngId)} + i) % record.members);
    parts[i] = makeStream(record, identifierOf(record, member));
    if (parts[i] == nullptr) return RSG_ERROR_MEMORY;
    if (!skips) {
      const std::uint32_t seed = output[0] + static_cast<std::uint32_t>(member);
      record.operations->stateOp(stateSeed, parts[i], 1, &seed);
    } else {
      const std::uint32_t seed[4] = {seeds.next(), seeds.next(), seeds.next(), seeds.next()};
      record.operations->stateOp(stateSeed, parts[i], 4, seed);
      skipAhead(record, parts[i], droppedValues);
    }
  }
  return RSG_STATUS_OK;
}

std::int32_t makeCopies(const BrngRecord& record, const RsgStream* stream, std::int32_t count,
                        RsgStream** parts) {
  for (std::int32_t i = 0; i < count; ++i) {
    parts[i] = copyStream(record, stream);
    if (parts[i] == nullptr) return RSG_ERROR_MEMORY;
  }
  return RSG_STATUS_OK;
}

// Each part is a copy of the one before, moved on.
std::int32_t makeStretches(const BrngRecord& record, const RsgStream* stream, std::int32_t count,
                           std::uint64_t stretch, RsgStream** parts) {
  if ((record.operations->moves & RSG_MOVE_SKIP_AHEAD) == 0) return RSG_ERROR_SKIP_AHEAD;
  const RsgStream* from = stream;
  for (std::int32_t i = 0; i < count; from = parts[i], ++i) {
    parts[i] = copyStream(record, from);
    if (parts[i] == nullptr) return RSG_ERROR_MEMORY;
    if (i == 0) continue;
    if (const std::int32_t status = skipAhead(record, parts[i], stretch)) return status;
  }
  return RSG_STATUS_OK;
}

std::int32_t makeLeaps(const BrngRecord& record, const RsgStream* stream, std::int32_t count,
                       RsgStream** parts) {
  if (const std::int32_t status = makeCopies(record, stream, count, parts)) return status;
  for (std::int32_t i = 0; i < count; ++i) {
    const auto k = static_cast<std::uint32_t>(i);
    record.operations->stateOp(stateLeapfrog, parts[i], count, &k);
  }
  return RSG_STATUS_OK;
}

// The outputs of a part where the caller names none; 0 if there are too many parts.
std::uint64_t ownStretch(const BrngRecord& record, const RsgStream* stream, std::int32_t count) {
  if (!isQuasiRandom(record)) return longStretch;
  const QuasiPlace place = placeOf(record, stream);
  const std::uint64_t points = (std::uint64_t{1} << 32) - place.pointIndex;
  return points / static_cast<std::uint64_t>(count) * static_cast<std::uint64_t>(place.width());
}

std::int32_t makeParts(const BrngRecord& record, const RsgStream* stream, std::int32_t count,
                       std::uint64_t stretch, RsgStream** parts) {
  if (stretch != 0) return makeStretches(record, stream, count, stretch, parts);
  switch (record.split) {
    case RSG_SPLIT_LEAPFROG:
      return makeLeaps(record, stream, count, parts);
    case RSG_SPLIT_MEMBERS:
      return makeMembers(record, stream, count, parts);
    case RSG_SPLIT_SKIP:
      return makeStretches(record, stream, count, ownStretch(record, stream, count), parts);
    default:
      return makeCopies(record, stream, count, parts);
  }
}

bool canSplit(const BrngRecord& record, const RsgStream* stream, std::int32_t count) {
  switch (record.split) {
    case RSG_SPLIT_NONE:
      return false;
    case RSG_SPLIT_MEMBERS:
      return count <= record.members;
    case RSG_SPLIT_SKIP:
      return ownStretch(record, stream, count) != 0;
    default:
      return true;
  }
}

}  // namespace

QuasiPlace placeOf(const BrngRecord& record, const RsgStream* stream) {
  QuasiPlace place;
  std::uint32_t words[mostSavedWords];
  static_assert(sizeof place <= sizeof words);
  record.operations->save(stream, words);
  std::memcpy(&place, words, sizeof place);
  return place;
}

std::int32_t skipAhead(const BrngRecord& record, RsgStream* stream, std::uint64_t outputs) {
  const std::uint32_t words[2] = {static_cast<std::uint32_t>(outputs),
                                  static_cast<std::uint32_t>(outputs >> 32)};
  return record.operations->stateOp(stateSkipAhead, stream, 2, words);
}

std::int32_t splitStream(const BrngRecord& record, const RsgStream* stream, std::int32_t count,
                         std::uint64_t stretch, RsgStream** parts) {
  if (stretch == 0 && !canSplit(record, stream, count)) return RSG_ERROR_SPLIT;
  for (std::int32_t i = 0; i < count; ++i)
    parts[i] = nullptr;
  const std::int32_t status = makeParts(record, stream, count, stretch, parts);
  for (std::int32_t i = 0; status != RSG_STATUS_OK && i < count; ++i) {
    rvnFree(parts[i]);
    parts[i] = nullptr;
  }
  return status;
}

}  // namespace rvn
