#pragma once

// An evaluation of piece-wise polynomials that shares nothing with the engine: a linear scan for the cell and
// the definition of the derivative.

#include <cstdint>

namespace rvn {

// Derivative of the polynomial of one cell at `site`. Function f's coefficients of cell i stand at element
// ((nx - 1) f + i) order of `coeff`, in ascending powers of (site - cellLeft).
double evalCellDerivative(std::int32_t nx, const double* coeff, std::int32_t order, std::int32_t derivative,
                          std::int32_t cell, double site, double cellLeft, std::int32_t functionIndex);

// For each site the index of the first breakpoint strictly greater than it, nx if there is none. Returns 1.
std::int32_t findSiteCells(std::int32_t nx, const double* x, std::int32_t nsite, const double* sites,
                           std::int32_t* cells);

// Recomputes the results of an interpolation into `ref` and compares them with `r`, both with the derivatives
// of a site side by side. Sites outside the partition are skipped. The selectors are examined up to the
// number of requested derivatives, not to their full length. Returns 1 if no result differs by more than
// 0.01, else -1.
std::int32_t checkResults(std::int32_t nx, const double* x, std::int32_t ny, std::int32_t order,
                          const double* coeff, std::int32_t nsite, const double* sites, std::int32_t ndorder,
                          const std::int32_t* dorder, const double* r, double* ref);

}  // namespace rvn
