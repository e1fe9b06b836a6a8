#pragma once

// Textbook loops that the construction and solver rows are compared with; compiled at -O2 without level
// flags.

#include <cstddef>
#include <vector>

namespace bench {

// Scratch of a natural spline construction, kept between calls.
struct PlainSpline {
  std::vector<double> upper;
  std::vector<double> slopes;
};

// Natural cubic spline of one function by Thomas' algorithm for the slopes; coefficients as the library
// stores them.
void plainNaturalSpline(std::size_t n, const double* x, const double* y, PlainSpline& scratch, double* coeff);

// Thomas' algorithm on copies of nothing: overwrites d and b. b is column-major with stride n.
void plainThomas(std::size_t n, std::size_t nrhs, const double* dl, double* d, const double* du, double* b);

}  // namespace bench
