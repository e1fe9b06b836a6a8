#pragma once

// The per-level kernels of the tridiagonal solver. Sizes and strides in elements; `n` at least 1.

#include <cstdint>

namespace rvn {

struct TridiagonalKernels {
  // Factors in place; returns 0 or the number, from 1, of the row whose pivot is zero or a NaN.
  std::int64_t (*factor)(std::int64_t n, double* dl, double* d, const double* du);
  // Factors and solves; returns as `factor`.
  std::int64_t (*factorSolve)(std::int64_t n, std::int64_t nrhs, double* dl, double* d, const double* du,
                              double* b, std::int64_t ldb);
  void (*solve)(bool transposed, std::int64_t n, std::int64_t nrhs, const double* dl, const double* d,
                const double* du, double* b, std::int64_t ldb);
};

}  // namespace rvn
