#include "plain_interp.h"

#include <algorithm>

namespace bench {
namespace {

std::int32_t cellOf(std::size_t nx, const double* x, double s) {
  return static_cast<std::int32_t>(std::upper_bound(x, x + nx, s) - x);
}

std::int32_t uniformCellOf(std::size_t nx, double x0, double step, double s) {
  if (s < x0) return 0;
  return std::min(static_cast<std::int32_t>((s - x0) / step) + 1, static_cast<std::int32_t>(nx));
}

std::size_t pieceOf(std::int32_t cell, std::size_t nx) {
  return static_cast<std::size_t>(std::clamp(cell - 1, 0, static_cast<std::int32_t>(nx) - 2));
}

void cubic(const double* c, double t, double* value, double* second) {
  *value = ((c[3] * t + c[2]) * t + c[1]) * t + c[0];
  if (second != nullptr) *second = 2.0 * c[2] + 6.0 * c[3] * t;
}

}  // namespace

void plainCells(std::size_t nx, const double* x, std::size_t nsite, const double* site, std::int32_t* cell) {
  for (std::size_t i = 0; i < nsite; ++i)
    cell[i] = cellOf(nx, x, site[i]);
}

void plainUniformCells(std::size_t nx, double x0, double step, std::size_t nsite, const double* site,
                       std::int32_t* cell) {
  for (std::size_t i = 0; i < nsite; ++i)
    cell[i] = uniformCellOf(nx, x0, step, site[i]);
}

void plainSortedCells(std::size_t nx, const double* x, std::size_t nsite, const double* site,
                      std::int32_t* cell) {
  std::size_t c = 0;
  for (std::size_t i = 0; i < nsite; ++i) {
    while (c < nx && x[c] <= site[i])
      ++c;
    cell[i] = static_cast<std::int32_t>(c);
  }
}

void plainValues(std::size_t nx, const double* x, const double* coeff, std::size_t nsite, const double* site,
                 double* value, double* second) {
  for (std::size_t i = 0; i < nsite; ++i) {
    const std::size_t q = pieceOf(cellOf(nx, x, site[i]), nx);
    cubic(coeff + 4 * q, site[i] - x[q], value + i, second == nullptr ? nullptr : second + i);
  }
}

void plainUniformValues(std::size_t nx, double x0, double step, const double* coeff, std::size_t nsite,
                        const double* site, double* value, double* second) {
  for (std::size_t i = 0; i < nsite; ++i) {
    const std::size_t q = pieceOf(uniformCellOf(nx, x0, step, site[i]), nx);
    cubic(coeff + 4 * q, site[i] - (static_cast<double>(q) * step + x0), value + i,
          second == nullptr ? nullptr : second + i);
  }
}

void plainChannels(std::size_t nx, const double* x, std::size_t functions, const double* coeff,
                   std::size_t nsite, const double* site, double* value) {
  for (std::size_t i = 0; i < nsite; ++i) {
    const std::size_t q = pieceOf(cellOf(nx, x, site[i]), nx);
    for (std::size_t f = 0; f < functions; ++f)
      cubic(coeff + 4 * (f * (nx - 1) + q), site[i] - x[q], value++, nullptr);
  }
}

}  // namespace bench
