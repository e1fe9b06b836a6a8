#pragma once

// Textbook loops that the construction and solver rows are compared with; compiled at -O2 without level
// flags.

#include <cstddef>
#include <vector>

namespace bench {

// One function of a construction, and scratch that is kept between calls. Cubic ends are free.
struct PlainSpline {
  std::size_t n = 0;
  const double* x = nullptr;
  const double* y = nullptr;
  const double* bc = nullptr;
  const double* ic = nullptr;
  double* coeff = nullptr;  // as the library stores them
  std::vector<double> a = {};
  std::vector<double> b = {};
  std::vector<double> c = {};
};

void plainLinear(PlainSpline& s);
void plainQuadratic(PlainSpline& s);
void plainSubbotin(PlainSpline& s);  // slopes given at both ends
void plainSecondDerivatives(PlainSpline& s);
void plainNatural(PlainSpline& s);  // Thomas' algorithm for the slopes
void plainHermite(PlainSpline& s);
void plainBessel(PlainSpline& s);
void plainAkima(PlainSpline& s);
void plainModifiedAkima(PlainSpline& s);
void plainPchip(PlainSpline& s);
void plainSteffen(PlainSpline& s);

// Thomas' algorithm on copies of nothing: overwrites d and b. b is column-major with stride n.
void plainThomas(std::size_t n, std::size_t nrhs, const double* dl, double* d, const double* du, double* b);

}  // namespace bench
