#include "demo/reference_check.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdlib>

namespace rvn {

double evalCellDerivative(std::int32_t nx, const double* coeff, std::int32_t order, std::int32_t derivative,
                          std::int32_t cell, double site, double cellLeft, std::int32_t functionIndex) {
  if (derivative >= order) return 0.0;
  const double* c = coeff + (std::ptrdiff_t{nx - 1} * functionIndex + cell) * order;
  const double t = site - cellLeft;
  double sum = 0.0;
  double power = 1.0;
  for (std::int32_t m = derivative; m < order; ++m) {
    std::int64_t fact = 1;
    for (std::int32_t j = 0; j < derivative; ++j)
      fact *= m - j;
    sum += static_cast<double>(fact) * c[m] * power;
    power *= t;
  }
  return sum;
}

std::int32_t findSiteCells(std::int32_t nx, const double* x, std::int32_t nsite, const double* sites,
                           std::int32_t* cells) {
  for (std::int32_t i = 0; i < nsite; ++i) {
    std::int32_t cell = 0;
    while (cell < nx && !(x[cell] > sites[i]))
      ++cell;
    cells[i] = cell;
  }
  return 1;
}

std::int32_t checkResults(std::int32_t nx, const double* x, std::int32_t ny, std::int32_t order,
                          const double* coeff, std::int32_t nsite, const double* sites, std::int32_t ndorder,
                          const std::int32_t* dorder, const double* r, double* ref) {
  constexpr double tolerance = 0.01;
  auto* cells =
      static_cast<std::int32_t*>(std::malloc(static_cast<std::size_t>(nsite) * sizeof(std::int32_t)));
  if (cells == nullptr) std::exit(1);
  const std::int32_t found = findSiteCells(nx, x, nsite, sites, cells);
  for (std::int32_t i = 0; i < nsite; ++i)
    cells[i] = std::min(cells[i] - 1, nx - 2);

  std::int32_t count = 1;
  if (dorder != nullptr)
    count = static_cast<std::int32_t>(
        std::count_if(dorder, dorder + ndorder, [](std::int32_t wanted) { return wanted != 0; }));
  std::fill_n(ref, std::ptrdiff_t{count} * ny * nsite, 0.0);

  std::int64_t failures = 0;
  for (std::int32_t j = 0; j < ny; ++j) {
    for (std::int32_t i = 0; i < nsite; ++i) {
      if (x[0] > sites[i] || x[nx - 1] < sites[i]) continue;
      std::ptrdiff_t slot = (std::ptrdiff_t{j} * nsite + i) * count;
      const auto compare = [&](std::int32_t derivative) {
        ref[slot] = evalCellDerivative(nx, coeff, order, derivative, cells[i], sites[i], x[cells[i]], j);
        if (std::fabs(r[slot] - ref[slot]) > tolerance) ++failures;
        ++slot;
      };
      if (dorder == nullptr || dorder[0] != 0) compare(0);
      if (dorder == nullptr) continue;
      for (std::int32_t k = 1; k <= count; ++k)
        if (k < ndorder && dorder[k] != 0) compare(k);
    }
  }
  std::free(cells);
  return failures != 0 ? -1 : found;
}

}  // namespace rvn
