#pragma once

#include <cstddef>

namespace bench {

// The cubic smoothing spline of unit weights through n points by Reinsch's system, factored band by band: 4 (n - 1)
// coefficients.
void plainSmooth(std::size_t n, const double* x, const double* y, double lambda, double* coeff);

}  // namespace bench
