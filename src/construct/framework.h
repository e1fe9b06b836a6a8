#pragma once

// What all construction families share: the tests of their dispatchers, the numbering of end conditions,
// access to function values and partition, and scratch memory. Included by kernels only.

#include <cstddef>
#include <cstdint>

#include "runtime/level.h"
#include "runtime/memory.h"
#include "runtime/simd.h"
#include "task/df_task.h"

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
};
constexpr int endSlots = 7;

enum class EndKind { notAKnot, free, slope, curvature, periodic };

constexpr EndKind leftEnds[endSlots] = {EndKind::notAKnot, EndKind::free,      EndKind::slope,
                                        EndKind::slope,    EndKind::curvature, EndKind::curvature,
                                        EndKind::periodic};
constexpr EndKind rightEnds[endSlots] = {EndKind::notAKnot,  EndKind::free,  EndKind::slope,
                                         EndKind::curvature, EndKind::slope, EndKind::curvature,
                                         EndKind::periodic};

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

// Tests and decodes a task for a cubic family with at least `minimum` breakpoints.
[[maybe_unused]] inline Member selectMember(const DfTask& task, std::int64_t minimum) {
  Member member = {DF_STATUS_OK, 0, 0, 0};
  const auto refused = [&member](std::int32_t status) {
    member.status = status;
    return member;
  };
  if (task.nx < minimum) return refused(DF_ERROR_BREAKPOINT_COUNT);
  if (task.yhint == DF_VALUES_BY_BREAKPOINT) {
    member.layout = 0;
  } else if (task.yhint == DF_VALUES_FIRST_ROW || task.yhint == DF_VALUES_BY_FUNCTION ||
             task.yhint == DF_VALUES_DEFAULT) {
    member.layout = 1;
  } else {
    return refused(DF_ERROR_VALUES_HINT);
  }
  member.uniform = (task.xhint & DF_XHINT_UNIFORM) != 0 ? 1 : 0;
  member.slot = slotOf(task.bcType);
  if (member.slot < 0) return refused(DF_ERROR_BOUNDARY_CONDITION);
  const bool twoValues = member.slot >= static_cast<int>(EndSlot::slopeSlope) &&
                         member.slot <= static_cast<int>(EndSlot::curvatureCurvature);
  const bool periodicValues =
      task.bcType == DF_END_PERIODIC && (task.kind == DF_KIND_DEFAULT || task.kind == DF_KIND_HERMITE);
  if ((twoValues || periodicValues) && task.bc == nullptr) return refused(DF_ERROR_NULL_BOUNDARY);
  return member;
}

[[maybe_unused]] inline std::int64_t functionCount(const DfTask& task) {
  return task.ny > 1 ? task.ny : 1;
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
