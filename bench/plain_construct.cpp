#include "plain_construct.h"

#include <algorithm>
#include <cmath>

namespace bench {

namespace {

void hermiteCell(double r, double d, double y, double m, double mNext, double* c) {
  c[0] = y;
  c[1] = m;
  c[2] = (3.0 * d - 2.0 * m - mNext) * r;
  c[3] = (m + mNext - 2.0 * d) * r * r;
}

// Cells from the slopes m.
void hermiteCells(const PlainSpline& s, const double* m) {
  for (std::size_t i = 0; i + 1 < s.n; ++i) {
    const double r = 1.0 / (s.x[i + 1] - s.x[i]);
    hermiteCell(r, (s.y[i + 1] - s.y[i]) * r, s.y[i], m[i], m[i + 1], s.coeff + 4 * i);
  }
}

}  // namespace

void plainLinear(PlainSpline& s) {
  for (std::size_t i = 0; i + 1 < s.n; ++i) {
    s.coeff[2 * i] = s.y[i];
    s.coeff[2 * i + 1] = (s.y[i + 1] - s.y[i]) / (s.x[i + 1] - s.x[i]);
  }
}

void plainQuadratic(PlainSpline& s) {
  const double* y = s.y;
  double w = s.bc[0];
  for (std::size_t i = 0; i + 1 < s.n; ++i) {
    const double h = s.x[i + 1] - s.x[i];
    const double t = 0.5 * h;
    double* c = s.coeff + 3 * i;
    c[0] = y[i];
    c[2] = (y[i] - 2.0 * w + y[i + 1]) * 0.5 / (t * t);
    c[1] = (w - y[i]) / t - t * c[2];
    if (i + 2 == s.n) break;
    const double next = s.x[i + 2] - s.x[i + 1];
    w = 0.25 * next * ((y[i] + 3.0 * y[i + 1]) / h + (3.0 * y[i + 1] + y[i + 2]) / next) - next / h * w;
  }
}

void plainSubbotin(PlainSpline& s) {
  const std::size_t n = s.n;
  const double* x = s.x;
  const double* y = s.y;
  const double* t = s.ic;
  s.a.resize(n);
  s.b.resize(n);
  double* u = s.a.data();
  double* z = s.b.data();
  u[0] = 0.0;
  z[0] = s.bc[0];
  for (std::size_t i = 1; i + 1 < n; ++i) {
    const double w = x[i + 1] - x[i - 1];
    const double p = (x[i + 1] - x[i]) / (w * (x[i] - t[i]));
    const double q = (x[i] - x[i - 1]) / (w * (t[i + 1] - x[i]));
    const double lower = (t[i] - x[i - 1]) * p;
    const double upper = (x[i + 1] - t[i + 1]) * q;
    const double pivot = 1.0 / (2.0 + lower + upper - lower * u[i - 1]);
    u[i] = upper * pivot;
    z[i] = (2.0 * (p * (y[i] - y[i - 1]) + q * (y[i + 1] - y[i])) - lower * z[i - 1]) * pivot;
  }
  z[n - 1] = s.bc[1];
  for (std::size_t i = n - 1; i-- > 1;)
    z[i] -= u[i] * z[i + 1];
  for (std::size_t i = 0; i < n; ++i) {
    double* c = s.coeff + 3 * i;
    c[0] = y[i];
    c[1] = z[i];
    if (i + 1 < n) {
      const double h = x[i + 1] - x[i];
      const double a = t[i + 1] - x[i];
      c[2] = 0.5 * ((z[i + 1] - z[i]) + (2.0 * (y[i + 1] - y[i]) - h * (z[i] + z[i + 1])) / a) / h;
    } else {
      const double a = t[i] - x[i - 1];
      c[2] = 0.5 * (z[i] - z[i - 1] - 2.0 * a * c[-1]) / (x[i] - t[i]);
    }
  }
}

void plainSecondDerivatives(PlainSpline& s) {
  for (std::size_t i = 0; i + 1 < s.n; ++i) {
    const double h = s.x[i + 1] - s.x[i];
    const double left = i > 0 ? s.ic[i - 1] : 0.0;
    const double right = i + 2 < s.n ? s.ic[i] : 0.5 * s.ic[i - 1];
    double* c = s.coeff + 4 * i;
    c[0] = s.y[i];
    c[1] = (s.y[i + 1] - s.y[i]) / h - (left / 3.0 + right / 6.0) * h;
    c[2] = 0.5 * left;
    c[3] = (right - left) / (6.0 * h);
  }
}

void plainNatural(PlainSpline& s) {
  const std::size_t n = s.n;
  const double* x = s.x;
  const double* y = s.y;
  s.a.resize(n);
  s.b.resize(n);
  double* u = s.a.data();
  double* m = s.b.data();
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
  hermiteCells(s, m);
}

void plainHermite(PlainSpline& s) {
  const std::size_t n = s.n;
  s.a.resize(n);
  double* m = s.a.data();
  std::copy(s.ic, s.ic + n - 2, m + 1);
  m[0] = 1.5 * (s.y[1] - s.y[0]) / (s.x[1] - s.x[0]) - 0.5 * m[1];
  m[n - 1] = 1.5 * (s.y[n - 1] - s.y[n - 2]) / (s.x[n - 1] - s.x[n - 2]) - 0.5 * m[n - 2];
  hermiteCells(s, m);
}

// One pass that carries step, chord and slope along.
void plainBessel(PlainSpline& s) {
  const std::size_t n = s.n;
  const double* x = s.x;
  const double* y = s.y;
  double h = x[1] - x[0];
  double r = 1.0 / h;
  double d = (y[1] - y[0]) * r;
  double m = 0.0;
  for (std::size_t i = 0; i + 1 < n; ++i) {
    double mNext = 1.5 * d - 0.5 * m;
    double hNext = 0.0;
    double rNext = 0.0;
    double dNext = 0.0;
    if (i + 2 < n) {
      hNext = x[i + 2] - x[i + 1];
      rNext = 1.0 / hNext;
      dNext = (y[i + 2] - y[i + 1]) * rNext;
      mNext = (hNext * d + h * dNext) / (h + hNext);
    }
    if (i == 0) m = 1.5 * d - 0.5 * mNext;
    hermiteCell(r, d, y[i], m, mNext, s.coeff + 4 * i);
    h = hNext;
    r = rNext;
    d = dNext;
    m = mNext;
  }
}

namespace {

// Chords, with room for one more on each side.
double* chords(PlainSpline& s) {
  s.a.resize(s.n + 1);
  double* d = s.a.data() + 1;
  for (std::size_t i = 0; i + 1 < s.n; ++i)
    d[i] = (s.y[i + 1] - s.y[i]) / (s.x[i + 1] - s.x[i]);
  return d;
}

void freeCells(PlainSpline& s, const double* d, double* m) {
  const std::size_t n = s.n;
  m[0] = 1.5 * d[0] - 0.5 * m[1];
  m[n - 1] = 1.5 * d[n - 2] - 0.5 * m[n - 2];
  hermiteCells(s, m);
}

template <class Weight>
void akimaCells(PlainSpline& s, Weight weight) {
  const std::size_t n = s.n;
  double* d = chords(s);
  s.b.resize(n);
  double* m = s.b.data();
  d[-1] = 2.0 * d[0] - d[1];
  d[n - 1] = 2.0 * d[n - 2] - d[n - 3];
  for (std::size_t i = 1; i + 1 < n; ++i) {
    const double after = weight(d[i], d[i + 1]);
    const double before = i > 1 ? weight(d[i - 2], d[i - 1]) : weight(d[-1], d[0]);
    const double sum = after + before;
    m[i] = sum < 1e-10 ? 0.5 * (d[i - 1] + d[i]) : (after * d[i - 1] + before * d[i]) / sum;
  }
  freeCells(s, d, m);
}

}  // namespace

void plainAkima(PlainSpline& s) {
  akimaCells(s, [](double left, double right) { return std::fabs(right - left); });
}

void plainModifiedAkima(PlainSpline& s) {
  akimaCells(
      s, [](double left, double right) { return std::fabs(right - left) + 0.5 * std::fabs(right + left); });
}

void plainPchip(PlainSpline& s) {
  const double* d = chords(s);
  s.b.resize(s.n);
  double* m = s.b.data();
  for (std::size_t i = 1; i + 1 < s.n; ++i) {
    const double left = s.x[i] - s.x[i - 1];
    const double right = s.x[i + 1] - s.x[i];
    const double a = 2.0 * right + left;
    const double b = right + 2.0 * left;
    m[i] = d[i - 1] * d[i] > 0.0 ? (a + b) / (a / d[i - 1] + b / d[i]) : 0.0;
  }
  freeCells(s, d, m);
}

void plainSteffen(PlainSpline& s) {
  const double* d = chords(s);
  s.b.resize(s.n);
  double* m = s.b.data();
  for (std::size_t i = 1; i + 1 < s.n; ++i) {
    const double left = s.x[i] - s.x[i - 1];
    const double right = s.x[i + 1] - s.x[i];
    const double p = std::fabs(d[i - 1] * right + d[i] * left) / (left + right);
    const double least = std::fmin(std::fmin(std::fabs(d[i - 1]), std::fabs(d[i])), 0.5 * p);
    m[i] = (std::copysign(1.0, d[i - 1]) + std::copysign(1.0, d[i])) * least;
  }
  freeCells(s, d, m);
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
