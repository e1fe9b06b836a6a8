#pragma once

// States of the Mersenne Twisters, their seeding, and jumps over many steps.

#include <cstddef>
#include <cstdint>

#include "streams/stream.h"

namespace rvn {

struct Mt19937Stream {
  RsgStream header;
  std::uint32_t mt[624];
  std::int32_t index;  // of the next word; 624: the array must be renewed
};
static_assert(sizeof(Mt19937Stream) == 2520);
static_assert(offsetof(Mt19937Stream, mt) == 16);

struct Mt2203Stream {
  RsgStream header;
  std::uint32_t mt[69];
  std::int32_t index;     // of the next word; 69: the array must be renewed
  std::uint32_t matrixA;  // the member's
  std::uint32_t temperB;
  std::uint32_t temperC;
};
static_assert(sizeof(Mt2203Stream) == 312);
static_assert(offsetof(Mt2203Stream, mt) == 16);

struct Sfmt19937Stream {
  RsgStream header;
  std::uint32_t sfmt[624];  // 156 blocks of four words
  std::int32_t index;       // of the next block's first word; 624: the array must be renewed
  std::uint32_t carry[3];   // words of the block before that one
  std::int32_t carryPos;    // the range of `carry`
  std::int32_t carryEnd;    // that is not yet delivered
};
static_assert(sizeof(Sfmt19937Stream) == 2536);
static_assert(offsetof(Sfmt19937Stream, sfmt) == 16);

// Fills mt from any number of seed words; with count below 1 the key is the word 1.
void seedTwister(std::uint32_t* mt, std::uint32_t size, std::int64_t count, const std::uint32_t* seeds);
void seedSfmt19937(std::uint32_t* sfmt, std::int64_t count, const std::uint32_t* seeds);

// Moves an array by `steps` steps, of one word or of a block. Returns 0 or RSG_ERROR_MEMORY, and then the array
// is as it was.
std::int32_t jumpMt19937(std::uint32_t* mt, std::uint64_t steps);
std::int32_t jumpSfmt19937(std::uint32_t* sfmt, std::uint64_t steps);

// Below so many steps, drawing is as fast as a jump.
constexpr std::uint64_t shortestMt19937Jump = 19937;
constexpr std::uint64_t shortestSfmt19937Jump = 19968;

}  // namespace rvn
