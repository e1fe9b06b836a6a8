#pragma once

// What is known of a spline kind, in one record at the foot of the kind's own file. The entry points test a task by its
// record, call the construction that stands in it, and tell interpolation the form of the pieces.

#include <cstdint>

#include "runtime/work_share.h"
#include "task/df_task.h"

namespace rvn {

struct TridiagonalKernels;

// The form of a spline's pieces, by which interpolation picks its evaluator.
enum Pieces : std::int32_t {
  linearPieces,
  quadraticPieces,
  cubicPieces,
  knotPieces,  // parabolas that join between breakpoints
  anyOrderPieces,
  stepLeftPieces,  // from here on the function values themselves
  stepRightPieces,
  lookupPieces,
  piecesCount
};

enum class EndKind : std::uint8_t { none, notAKnot, free, slope, curvature, periodic, midpoint };

struct EndPair {
  EndKind left;
  EndKind right;
};

// Sets of boundary types.
enum EndSet : std::uint32_t {
  noEnds = 1,
  notAKnotEnds = 2,
  freeEnds = 4,
  givenEnds = 8,  // slopes and curvatures
  periodicEnds = 16,
  midpointEnds = 32,
  mixedEnds = 64,  // one not-a-knot, one given
  splineEnds = notAKnotEnds | freeEnds | givenEnds | mixedEnds | periodicEnds
};

struct EndType {
  std::int64_t bcType;
  EndPair ends;
  EndSet set;
};

constexpr EndType endTypes[] = {
    {DF_END_NONE, {EndKind::none, EndKind::none}, noEnds},
    {DF_END_NOT_A_KNOT, {EndKind::notAKnot, EndKind::notAKnot}, notAKnotEnds},
    {DF_END_FREE, {EndKind::free, EndKind::free}, freeEnds},
    {DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE, {EndKind::slope, EndKind::slope}, givenEnds},
    {DF_END_LEFT_SLOPE + DF_END_RIGHT_CURVATURE, {EndKind::slope, EndKind::curvature}, givenEnds},
    {DF_END_LEFT_CURVATURE + DF_END_RIGHT_SLOPE, {EndKind::curvature, EndKind::slope}, givenEnds},
    {DF_END_LEFT_CURVATURE + DF_END_RIGHT_CURVATURE, {EndKind::curvature, EndKind::curvature}, givenEnds},
    {DF_END_PERIODIC, {EndKind::periodic, EndKind::periodic}, periodicEnds},
    {DF_END_QUADRATIC_VALUE, {EndKind::midpoint, EndKind::midpoint}, midpointEnds},
    {DF_END_NOT_A_KNOT_SLOPE, {EndKind::notAKnot, EndKind::slope}, mixedEnds},
    {DF_END_NOT_A_KNOT_CURVATURE, {EndKind::notAKnot, EndKind::curvature}, mixedEnds},
    {DF_END_SLOPE_NOT_A_KNOT, {EndKind::slope, EndKind::notAKnot}, mixedEnds},
    {DF_END_CURVATURE_NOT_A_KNOT, {EndKind::curvature, EndKind::notAKnot}, mixedEnds},
};

constexpr std::int64_t largestEndType = DF_END_CURVATURE_NOT_A_KNOT;

struct EndTypePlaces {
  std::int8_t of[largestEndType + 1];  // of a boundary type in endTypes, -1: none
};

consteval EndTypePlaces findEndTypes() {
  EndTypePlaces place = {};
  for (std::int8_t& at : place.of)
    at = -1;
  for (std::int8_t i = 0; i < static_cast<std::int8_t>(sizeof endTypes / sizeof *endTypes); ++i)
    place.of[endTypes[i].bcType] = i;
  return place;
}

constexpr EndTypePlaces endTypePlaces = findEndTypes();

// What a construction may use beside its task.
struct ConstructServices {
  const WorkShareTable& workShare;
  const TridiagonalKernels& (*solver)();  // of the processor's class; asked only by what solves with it
};

// Fills the coefficients of a task that has passed the tests of its record. Returns a DfStatus.
using Construct = std::int32_t (*)(const DfTask& task, EndPair ends, const ConstructServices& services);

// By values (0: by breakpoint, 1: by function) and by uniform partition.
struct ConstructMembers {
  Construct member[2][2];
};

constexpr std::int64_t anyKind = -1;

struct SplineKind {
  std::int64_t order;
  std::int64_t mostOrder;  // `order`, but for pieces of any higher order
  std::int64_t kind;       // anyKind: not looked at
  Pieces pieces;
  std::int64_t leastBreakpoints = 0;
  bool breakpointsLast = false;  // their number is tested behind the ends, not in front
  bool testsMethod = false;      // a method that the entry point let pass is refused
  std::int32_t internal =
      DF_IC_NONE;          // slopes, curvatures: exactly these; knots: among others, and without an array
  std::uint32_t ends = 0;  // the EndSet that is served; 0: not looked at
  std::uint32_t endsWithValues = givenEnds | mixedEnds | midpointEnds;  // those that read bc
  ConstructMembers construct = {};
};

struct SplineKinds {
  const SplineKind* const* row;
  std::int64_t count;

  // The record that serves an order and a kind, or null.
  const SplineKind* find(std::int64_t order, std::int64_t kind) const {
    for (std::int64_t i = 0; i < count; ++i) {
      const SplineKind& known = *row[i];
      if (known.kind != kind && known.kind != anyKind) continue;
      if (order >= known.order && order <= known.mostOrder) return row[i];
    }
    return nullptr;
  }
};

}  // namespace rvn
