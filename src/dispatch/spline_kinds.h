#pragma once

#include <cstdint>

#include "task/spline_kind.h"

namespace rvn {

// The record of this process's level that serves an order and a kind, or null.
const SplineKind* findSplineKind(std::int64_t order, std::int64_t kind);

}  // namespace rvn
