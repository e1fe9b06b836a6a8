#pragma once

// The table through which every stream operation reaches its generator.

#include <cstdint>

#include <ravenfit/stream_tools.h>

namespace rvn {

// What a generator's state operation does; `args` differs by method.
enum StateMethod : std::int32_t {
  stateSeed = 0,      // args: `count` seed words, unused when count is below 1
  stateLeapfrog = 1,  // the stream becomes stream args[0] of `count` interleaved ones
  stateSkipAhead =
      2,  // by the 64-bit number of outputs in args, low word first; `count` is its words, 1 or 2
};

// The number of outputs that a skip-ahead is asked for; `count` is 1 or more.
static inline std::uint64_t skippedOutputs(std::int64_t count, const std::uint32_t* args) {
  return count > 1 ? static_cast<std::uint64_t>(args[1]) << 32 | args[0] : args[0];
}

// One build of a generator. All return 0 or a negative stream status. The state is the one that the next fill
// emits from; a fill leaves it ready for value n + 1. Arrays may have any address.
struct BrngOperations {
  std::int32_t (*stateOp)(std::int32_t method, RsgStream* stream, std::int64_t count,
                          const std::uint32_t* args);
  std::int32_t (*fillFloat)(RsgStream* stream, std::int64_t n, float* r, float a, float b);
  std::int32_t (*fillDouble)(RsgStream* stream, std::int64_t n, double* r, double a, double b);
  std::int32_t (*fillInt)(RsgStream* stream, std::int64_t n, void* r);  // n raw outputs of wordSize bytes

  // The state as savedWords words, and back to a block that has a header; false: no stream can have this state.
  void (*save)(const RsgStream* stream, std::uint32_t* words);
  bool (*restore)(RsgStream* stream, const std::uint32_t* words);
  std::int32_t savedWords;
  std::int32_t moves;  // RSG_MOVE_*
};

// A family of generators; each is at the foot of its kernel source.
struct BrngRecord {
  std::int32_t family;  // its place among the families, from 0
  std::int32_t members;
  std::uint32_t stateSize;           // bytes of a stream, the 16-byte header included
  std::uint32_t seedCount;           // seed words that the generator can take at most
  std::uint32_t includesZero;        // 1 if a raw output can be zero
  std::uint32_t wordSize;            // bytes of a raw output
  std::uint32_t bitCount;            // significant bits of a raw output
  const BrngOperations* operations;  // null: this version has no such generator
  const char* name;
  std::int32_t usedSeeds;  // seed words that have an effect; 0: as many as there are
  std::int32_t split;      // RSG_SPLIT_*
  bool isSaved = true;     // false: a stream cannot go on without numbers that only its maker has
  // An output w is the uniform number (w + outputOffset) / outputModulus, never 0 or 1. A modulus of 0: outputs are not
  // numbers by themselves, and fillDouble over [0, 1) takes their place.
  double outputOffset = 0.5;
  double outputModulus = 0x1p32;
};

// A block with its header; the state is the caller's to fill in. Null without memory.
RsgStream* makeStream(const BrngRecord& record, std::int32_t brngId);

// A stream in the same state. Buffers stay with the first one; generators here have none.
RsgStream* copyStream(const BrngRecord& record, const RsgStream* stream);

constexpr std::int32_t memberRowCount = 279;
constexpr std::int32_t firstFamilyForm = 0x100000;  // identifiers from here on name family and member
constexpr std::int32_t wichmannHillFamily = 4;
constexpr std::int32_t wichmannHillMembers = 273;
constexpr std::int32_t firstWichmannHillRow = 4;  // of the member table
constexpr std::int32_t mostSavedWords = 625;

static inline bool namesFamily(std::int32_t brngId) {
  return brngId >= firstFamilyForm;
}

static inline std::int32_t memberOf(std::int32_t brngId) {
  if (namesFamily(brngId)) return brngId & (firstFamilyForm - 1);
  const std::int32_t member = brngId - firstWichmannHillRow;
  return member >= 0 && member < wichmannHillMembers ? member : 0;
}

static inline std::int32_t identifierOf(const BrngRecord& record, std::int32_t member) {
  return (record.family + 1) * firstFamilyForm + member;
}

// The rows of the member table repeat rows of the family table: memberRow[i] is the family of row i.
struct BrngRegistry {
  const BrngRecord* const* family;
  std::int32_t familyCount;
  std::uint8_t memberRow[memberRowCount];
};

}  // namespace rvn
