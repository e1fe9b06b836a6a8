#pragma once

// What a smoothing spline is made from, in units that keep every step on the way inside the range of doubles: powers of
// two, so that nothing is rounded.

#include <cstdint>

#include "construct/smoothing_kernels.h"
#include "construct/smoothing_system.h"
#include "vector/elementary.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr double largestDouble = 0x1.fffffffffffffp1023;

// The exponent of a power of two near a positive number, held where its reciprocal is a normal number too.
inline double unitOf(double x) {
  const double k = Binary<double>(x).k;
  return k > 1000.0 ? 1000.0 : k < -1000.0 ? -1000.0 : k;
}

// x 2^k for any integer k, at most the largest double.
inline double scaled(double x, double k) {
  while (k > 1000.0) {
    x *= 0x1p1000;
    k -= 1000.0;
  }
  while (k < -1000.0) {
    x *= 0x1p-1000;
    k += 1000.0;
  }
  x *= powerOfTwo(k);
  return x < largestDouble ? x : largestDouble;
}

struct SmoothingUnits {
  double x = 0.0;       // exponent of the unit of length
  double lambda = 0.0;  // exponent of the unit of lambda
  double mostLambda = 0.0;

  // Fills `data` in. With all points at the ends and total weight W, the least eigenvalue of R against P would be about
  // 500 / (W L^3) for a partition of length L: a lambda of W L^3 is as good as infinite.
  SmoothingUnits() = default;
  SmoothingUnits(const SmoothingCall& call, const SmoothingData& data) {
    const std::int64_t n = data.n;
    const double width = call.x[call.uniform ? 1 : n - 1] - call.x[0];
    const double step = width / static_cast<double>(n - 1);
    x = unitOf(step);
    double greatest = 1.0;
    for (std::int64_t i = 0; call.w != nullptr && i < n; ++i)
      greatest = i == 0 || call.w[i] > greatest ? call.w[i] : greatest;
    const double weightUnit = unitOf(greatest);
    lambda = 3.0 * x + weightUnit;
    double total = 0.0;
    double length = 0.0;
    for (std::int64_t i = 0; i < n; ++i) {
      const double weight = (call.w == nullptr ? 1.0 : call.w[i]) * powerOfTwo(-weightUnit);
      data.v[i] = 1.0 / weight;
      total += weight;
      if (i + 1 == n) break;
      data.h[i] = (call.uniform ? step : call.x[i + 1] - call.x[i]) * powerOfTwo(-x);
      data.a[i] = 1.0 / data.h[i];
      length += data.h[i];
    }
    mostLambda = total * length * length * length;
  }
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
