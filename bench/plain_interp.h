#pragma once

// Textbook search and evaluation that the rows of cells and values are compared with; compiled at -O2 without
// level flags.

#include <cstddef>
#include <cstdint>

namespace bench {

// Number of breakpoints not greater than each site, by std::upper_bound.
void plainCells(std::size_t nx, const double* x, std::size_t nsite, const double* site, std::int32_t* cell);

// The same for equidistant breakpoints from x0 on.
void plainUniformCells(std::size_t nx, double x0, double step, std::size_t nsite, const double* site,
                       std::int32_t* cell);

// The same for ascending sites, by a walk.
void plainSortedCells(std::size_t nx, const double* x, std::size_t nsite, const double* site,
                      std::int32_t* cell);

// Cubic pieces of 4 coefficients: values, and second derivatives unless `second` is null. Cells by
// std::upper_bound.
void plainValues(std::size_t nx, const double* x, const double* coeff, std::size_t nsite, const double* site,
                 double* value, double* second);

// The same with cells of equidistant breakpoints.
void plainUniformValues(std::size_t nx, double x0, double step, const double* coeff, std::size_t nsite,
                        const double* site, double* value, double* second);

// Values of `functions` rows of 4 (nx - 1) coefficients, those of a site side by side.
void plainChannels(std::size_t nx, const double* x, std::size_t functions, const double* coeff,
                   std::size_t nsite, const double* site, double* value);

}  // namespace bench
