#include "plain_smoothing.h"

#include <vector>

namespace bench {

void plainSmooth(std::size_t n, const double* x, const double* y, double lambda, double* coeff) {
  std::vector<double> h(n - 1);
  for (std::size_t i = 0; i + 1 < n; ++i)
    h[i] = x[i + 1] - x[i];
  // Rows 1 .. n - 2 of R + lambda Q^T Q and Q^T y, and their factors.
  std::vector<double> d(n), e(n), f(n), z(n);
  for (std::size_t i = 1; i + 1 < n; ++i) {
    const double a = 1.0 / h[i - 1];
    const double c = 1.0 / h[i];
    d[i] = (h[i - 1] + h[i]) / 3.0 + lambda * (a * a + (a + c) * (a + c) + c * c);
    if (i + 2 < n) e[i] = h[i] / 6.0 - lambda * c * ((a + c) + (c + 1.0 / h[i + 1]));
    if (i + 3 < n) f[i] = lambda * c / h[i + 1];
    z[i] = (y[i + 1] - y[i]) * c - (y[i] - y[i - 1]) * a;
  }
  std::vector<double> l1(n), l2(n), gamma(n + 2), g(n);
  for (std::size_t i = 1; i + 1 < n; ++i) {
    if (i > 2) l2[i] = f[i - 2] / d[i - 2];
    if (i > 1) {
      const double band = e[i - 1] - (i > 2 ? f[i - 2] * l1[i - 1] : 0.0);
      l1[i] = band / d[i - 1];
      d[i] -= l1[i] * band;
      z[i] -= l1[i] * z[i - 1];
    }
    if (i > 2) {
      d[i] -= l2[i] * f[i - 2];
      z[i] -= l2[i] * z[i - 2];
    }
  }
  for (std::size_t i = n - 2; i > 0; --i) {
    gamma[i] = z[i] / d[i];
    if (i + 2 < n) gamma[i] -= l1[i + 1] * gamma[i + 1];
    if (i + 3 < n) gamma[i] -= l2[i + 2] * gamma[i + 2];
  }
  double left = 0.0;
  for (std::size_t i = 0; i < n; ++i) {
    const double right = i + 1 < n ? (gamma[i + 1] - gamma[i]) / h[i] : 0.0;
    g[i] = y[i] - lambda * (right - left);
    left = right;
  }
  for (std::size_t i = 0; i + 1 < n; ++i) {
    coeff[4 * i] = g[i];
    coeff[4 * i + 1] = (g[i + 1] - g[i]) / h[i] - h[i] * (2.0 * gamma[i] + gamma[i + 1]) / 6.0;
    coeff[4 * i + 2] = 0.5 * gamma[i];
    coeff[4 * i + 3] = (gamma[i + 1] - gamma[i]) / (6.0 * h[i]);
  }
}

}  // namespace bench
