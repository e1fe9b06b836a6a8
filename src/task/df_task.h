#pragma once

// The task record of the data-fitting engine. Create, edit and destroy write it; kernels only read it.
// It keeps pointers to the caller's arrays and never copies them.

#include <cstdint>

#include <ravenfit/data_fitting.h>

namespace rvn {

// Coarse cell of the look-up table: the last breakpoint of the coarse cell before it and the first one of the
// coarse cell after it, so that `lo` .. `hi` bracket every site of the cell.
struct LookupCell {
  std::uint32_t lo;
  std::uint32_t hi;
};

// Partitions up to this size are counted through, and need no brackets.
static constexpr std::int64_t countedThrough = 16;

// Coarse cells of a partition: one for 16 breakpoints, 16 to 1024 of them.
static constexpr std::int64_t lookupCellsOf(std::int64_t nx) {
  return nx < 256 ? 16 : nx / 16 > 1024 ? 1024 : nx / 16;
}

}  // namespace rvn

struct DfTask {
  std::uint32_t flags;  // bit 0: `dorder` holds 64-bit integers; 0 for public tasks
  std::uint8_t taskClass;
  std::uint8_t plainOrder;  // 2 to 4: see isPlain in lifecycle.cpp; 0: anything else
  std::int32_t reservedOne0;
  std::int32_t reservedOne1;
  std::int64_t nx;
  const double* x;  // the caller's breakpoints, or the two ends of a uniform partition
  std::int64_t xhint;
  std::int64_t ny;
  const double** yRows;  // table of max(ny, 1) rows of the caller, in the record's block
  std::int64_t yhint;
  std::int64_t order;
  std::int64_t kind;
  std::int64_t icType;
  const double* ic;  // the caller's
  std::int64_t bcType;
  const double* bc;    // the caller's
  double** coeffRows;  // table of max(ny, 1) rows of the caller: coeffRoom, or a block of its own
  double** coeffRoom;  // in the record's block; null for many functions
  std::int64_t coeffHint;
  std::uint32_t prebuilt;  // non-zero: construct and interpolate trust the caller's arrays
  std::int64_t lookupCells;
  rvn::LookupCell* lookup;  // in the record's block
  double lookupInvWidth;
};

namespace rvn {

static inline bool isUniform(const DfTask& task) {
  return (task.xhint & DF_XHINT_UNIFORM) != 0;
}

}  // namespace rvn
