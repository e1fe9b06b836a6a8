#pragma once

// What the machine allows: the loads and stores that a row cannot do without, with everything else known beforehand. With
// 32-byte vectors where the processor has them.

#include <cstddef>
#include <cstdint>

namespace bench {

// Loads of n doubles of each of 1 to 3 arrays, one after another at `from`, and stores of 1 to 4 doubles for each.
void limitStream(std::size_t n, std::size_t reads, const double* from, std::size_t writes, double* to);

// Values of cubic pieces that are known: loads of a piece's breakpoint, unless x is null, and coefficients for each site.
void limitPieces(const double* x, const double* coeff, std::size_t nsite, const double* site,
                 const std::int32_t* piece, double* value);

// Cells that are known, each confirmed by its breakpoint.
void limitCells(const double* x, std::size_t nsite, const double* site, const std::int32_t* known,
                std::int32_t* cell);

// Cells by one multiplication.
void limitUniformCells(double x0, double inverseStep, std::int32_t last, std::size_t nsite,
                       const double* site, std::int32_t* cell);

}  // namespace bench
