#pragma once

// What all construction families share: the tests of their dispatchers, the numbering of end conditions,
// access to function values, and scratch memory. Included by kernels only.

#include <cstddef>
#include <cstdint>

#include "runtime/memory.h"
#include "runtime/work_share.h"
#include "task/df_task.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The legal combinations of end conditions, numbered alike in all families.
enum class EndSlot : int {
  notAKnot,
  free,
  slopeSlope,
  slopeCurvature,
  curvatureSlope,
  curvatureCurvature,
  periodic,
  none,  // Akima only
};
constexpr int endSlots = 7;  // without `none`

enum class EndKind { notAKnot, free, slope, curvature, periodic, none };

constexpr EndKind leftEnds[endSlots + 1] = {EndKind::notAKnot, EndKind::free,      EndKind::slope,
                                            EndKind::slope,    EndKind::curvature, EndKind::curvature,
                                            EndKind::periodic, EndKind::none};
constexpr EndKind rightEnds[endSlots + 1] = {EndKind::notAKnot,  EndKind::free,  EndKind::slope,
                                             EndKind::curvature, EndKind::slope, EndKind::curvature,
                                             EndKind::periodic,  EndKind::none};

// The member of a family that serves a task, or the status that refuses it.
struct Member {
  std::int32_t status;
  int layout;   // 0: values by breakpoint, 1: by function
  int uniform;  // 0 or 1
  int slot;     // EndSlot
};

// Slot of a boundary type, or -1.
[[maybe_unused]] inline int slotOf(std::int64_t bcType) {
  constexpr std::int64_t types[endSlots] = {DF_END_NOT_A_KNOT,
                                            DF_END_FREE,
                                            DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE,
                                            DF_END_LEFT_SLOPE + DF_END_RIGHT_CURVATURE,
                                            DF_END_LEFT_CURVATURE + DF_END_RIGHT_SLOPE,
                                            DF_END_LEFT_CURVATURE + DF_END_RIGHT_CURVATURE,
                                            DF_END_PERIODIC};
  for (int slot = 0; slot < endSlots; ++slot)
    if (bcType == types[slot]) return slot;
  return -1;
}

// Reads layout and uniformity of a task with at least `minimum` breakpoints.
[[maybe_unused]] inline Member selectLayout(const DfTask& task, std::int64_t minimum) {
  const int uniform = (task.xhint & DF_XHINT_UNIFORM) != 0 ? 1 : 0;
  if (task.nx < minimum) return {DF_ERROR_BREAKPOINT_COUNT, 0, 0, 0};
  switch (task.yhint) {
    case DF_VALUES_BY_BREAKPOINT:
      return {DF_STATUS_OK, 0, uniform, 0};
    case DF_VALUES_DEFAULT:
    case DF_VALUES_BY_FUNCTION:
    case DF_VALUES_FIRST_ROW:
      return {DF_STATUS_OK, 1, uniform, 0};
    default:
      return {DF_ERROR_VALUES_HINT, 0, 0, 0};
  }
}

// Tests and decodes a task for a cubic family; only some take DF_END_NONE.
enum class NoEnds { refused, accepted };

[[maybe_unused]] inline Member selectMember(const DfTask& task, std::int64_t minimum,
                                            NoEnds noEnds = NoEnds::refused) {
  Member member = selectLayout(task, minimum);
  if (member.status != DF_STATUS_OK) return member;
  member.slot = slotOf(task.bcType);
  if (task.bcType == DF_END_NONE && noEnds == NoEnds::accepted) member.slot = static_cast<int>(EndSlot::none);
  if (member.slot < 0) {
    member.status = DF_ERROR_BOUNDARY_CONDITION;
    return member;
  }
  const bool twoValues = member.slot >= static_cast<int>(EndSlot::slopeSlope) &&
                         member.slot <= static_cast<int>(EndSlot::curvatureCurvature);
  const bool periodicValue =
      task.bcType == DF_END_PERIODIC && (task.kind == DF_KIND_DEFAULT || task.kind == DF_KIND_HERMITE);
  if ((twoValues || periodicValue) && task.bc == nullptr) member.status = DF_ERROR_NULL_BOUNDARY;
  return member;
}

[[maybe_unused]] inline std::int64_t functionCount(const DfTask& task) {
  return task.ny > 1 ? task.ny : 1;
}

[[maybe_unused]] inline std::int64_t least(std::int64_t a, std::int64_t b) {
  return a < b ? a : b;
}

// Runs blocks 0 .. blocks - 1 through the table if they are shared, else here, one after another.
[[maybe_unused]] inline void runBlocks(std::int64_t blocks, bool shared, std::int64_t workers, void* context,
                                       WorkBody body, const WorkShareTable& workShare) {
  if (shared) {
    workShare.parallelFor(blocks, workers, context, body);
    return;
  }
  for (std::int64_t block = 0; block < blocks; ++block)
    body(block, 0, 1, context);
}

// Values of one function: by function they stand side by side, by breakpoint they stand ny apart.
struct RowValues {
  const double* y;

  RowValues(const DfTask& task, std::int64_t f) : y(task.yRows[f]) {}
  double operator[](std::int64_t i) const { return y[i]; }
  void prefetch(std::int64_t i) const { __builtin_prefetch(y + i); }

  // Values at as many breakpoints from i on as V has lanes.
  template <class V>
  V lanes(std::int64_t i) const {
    return load<V>(y + i);
  }
};

struct ColumnValues {
  const double* y;
  std::int64_t stride;

  ColumnValues(const DfTask& task, std::int64_t f) : y(task.yRows[0] + f), stride(functionCount(task)) {}
  double operator[](std::int64_t i) const { return y[i * stride]; }
  void prefetch(std::int64_t i) const { __builtin_prefetch(y + i * stride); }

  template <class V>
  V lanes(std::int64_t i) const {
    double values[sizeof(V) / 8];
    for (double& value : values)
      value = y[i++ * stride];
    return load<V>(values);
  }
};

// The first function whose values at both ends differ, or `functions`. A NaN differs from everything.
template <class Values>
[[maybe_unused]] inline std::int64_t firstUnclosed(const DfTask& task, std::int64_t functions) {
  for (std::int64_t f = 0; f < functions; ++f) {
    const Values y(task, f);
    if (!(y[0] == y[task.nx - 1])) return f;
  }
  return functions;
}

// One block of scratch memory for one construction, released on every way out.
class Scratch {
 public:
  Scratch() = default;
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { rvnFree(block_); }

  // Room for `count` elements; null if memory is exhausted or the size does not fit the machine.
  template <class Element>
  Element* allocate(std::int64_t count) {
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, sizeof(Element), &bytes)) return nullptr;
    block_ = rvnMalloc(bytes, blockAlignment);
    return static_cast<Element*>(block_);
  }

 private:
  void* block_ = nullptr;
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
