#pragma once

// The partition of a task as construction kernels read it: breakpoints, or the two ends of equidistant ones.

#include <cstdint>

#include "task/df_task.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// The numbers start[lane] + i.
inline Lanes positions(const std::int64_t* start, std::int64_t i) {
  Lanes at = {};
  for (int lane = 0; lane < laneCount; ++lane)
    at[lane] = static_cast<double>(start[lane] + i);
  return at;
}

template <bool uniform>
struct Partition {
  std::int64_t n;
  const double* x;
  double h;  // uniform
  double r;  // 1 / h, uniform

  explicit Partition(const DfTask& task)
      : n(task.nx), x(task.x), h((task.x[1] - task.x[0]) / static_cast<double>(task.nx - 1)), r(1.0 / h) {}

  double point(std::int64_t i) const { return uniform ? x[0] + static_cast<double>(i) * h : x[i]; }
  double step(std::int64_t i) const { return uniform ? h : x[i + 1] - x[i]; }

  // Breakpoint start[lane] + i of every lane.
  Lanes points(const std::int64_t* start, std::int64_t i) const {
    if constexpr (uniform) return x[0] + positions(start, i) * h;
    return pick(x + i, start);
  }

  // The distance from breakpoints `from` to breakpoints `to`, `count` steps behind them.
  Lanes steps(Lanes from, Lanes to, int count) const {
    if constexpr (uniform) return broadcast<Lanes>(static_cast<double>(count) * h);
    return to - from;
  }

  // x_j - x_i, and the reciprocal of a step, at as many breakpoints from i on as V has lanes.
  template <class V>
  V distances(std::int64_t i, std::int64_t j) const {
    if constexpr (uniform) return broadcast<V>(static_cast<double>(j - i) * h);
    return load<V>(x + j) - load<V>(x + i);
  }

  template <class V>
  V reciprocals(std::int64_t i) const {
    if constexpr (uniform) return broadcast<V>(r);
    return 1.0 / distances<V>(i, i + 1);
  }

  // Divided differences likewise.
  template <class V, class Values>
  V differences(const Values& y, std::int64_t i) const {
    return (y.template lanes<V>(i + 1) - y.template lanes<V>(i)) * reciprocals<V>(i);
  }

  template <class Values>
  double difference(const Values& y, std::int64_t i) const {
    return differences<double>(y, i);
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
