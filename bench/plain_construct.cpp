#include "plain_construct.h"

namespace bench {

void plainNaturalSpline(std::size_t n, const double* x, const double* y, PlainSpline& scratch,
                        double* coeff) {
  scratch.upper.resize(n);
  scratch.slopes.resize(n);
  double* u = scratch.upper.data();
  double* m = scratch.slopes.data();
  // Row i: h_i m_(i-1) + 2 (h_(i-1) + h_i) m_i + h_(i-1) m_(i+1) = 3 (h_(i-1) d_i + h_i d_(i-1)).
  double hPrevious = x[1] - x[0];
  double dPrevious = (y[1] - y[0]) / hPrevious;
  u[0] = 0.5;
  m[0] = 1.5 * dPrevious;
  for (std::size_t i = 1; i + 1 < n; ++i) {
    const double h = x[i + 1] - x[i];
    const double d = (y[i + 1] - y[i]) / h;
    const double pivot = 1.0 / (2.0 * (hPrevious + h) - h * u[i - 1]);
    u[i] = hPrevious * pivot;
    m[i] = (3.0 * (hPrevious * d + h * dPrevious) - h * m[i - 1]) * pivot;
    hPrevious = h;
    dPrevious = d;
  }
  m[n - 1] = (3.0 * dPrevious - m[n - 2]) / (2.0 - u[n - 2]);
  for (std::size_t i = n - 1; i-- > 0;)
    m[i] -= u[i] * m[i + 1];
  for (std::size_t i = 0; i + 1 < n; ++i) {
    const double r = 1.0 / (x[i + 1] - x[i]);
    const double d = (y[i + 1] - y[i]) * r;
    double* c = coeff + 4 * i;
    c[0] = y[i];
    c[1] = m[i];
    c[2] = (3.0 * d - 2.0 * m[i] - m[i + 1]) * r;
    c[3] = (m[i] + m[i + 1] - 2.0 * d) * r * r;
  }
}

void plainThomas(std::size_t n, std::size_t nrhs, const double* dl, double* d, const double* du, double* b) {
  d[0] = 1.0 / d[0];
  for (std::size_t i = 1; i < n; ++i)
    d[i] = 1.0 / (d[i] - dl[i - 1] * d[i - 1] * du[i - 1]);
  for (std::size_t column = 0; column < nrhs; ++column) {
    double* y = b + column * n;
    for (std::size_t i = 1; i < n; ++i)
      y[i] -= dl[i - 1] * d[i - 1] * y[i - 1];
    y[n - 1] *= d[n - 1];
    for (std::size_t i = n - 1; i-- > 0;)
      y[i] = (y[i] - du[i] * y[i + 1]) * d[i];
  }
}

}  // namespace bench
