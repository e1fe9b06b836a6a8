#pragma once

// Function values as constructions read them: by function they stand side by side, by breakpoint they stand ny apart.

#include <cstdint>

#include "task/df_task.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

inline std::int64_t functionCount(const DfTask& task) {
  return task.ny > 1 ? task.ny : 1;
}

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
inline std::int64_t firstUnclosed(const DfTask& task, std::int64_t functions) {
  for (std::int64_t f = 0; f < functions; ++f) {
    const Values y(task, f);
    if (!(y[0] == y[task.nx - 1])) return f;
  }
  return functions;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
