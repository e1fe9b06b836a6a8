#pragma once

#include <cstdint>

#include "task/spline_kind.h"

namespace rvn {

// The record of this process's level that serves an order and a kind, or null.
const SplineKind* findSplineKind(std::int64_t order, std::int64_t kind);

// The order of a task whose values come from rows that are all there, by the formula of the order and whatever else a call
// may say: a polynomial spline over a partition that is searched in the common way. 0 for any other.
std::uint8_t findPlainOrder(const DfTask& task);

}  // namespace rvn
