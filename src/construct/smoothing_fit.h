#pragma once

// Smoothing splines by one factored system, of as many functions side by side as V has lanes.

#include <cstdint>

#include "construct/coefficients.h"
#include "construct/smoothing_kernels.h"
#include "construct/smoothing_system.h"
#include "construct/smoothing_units.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Arrays of elements -1 .. n; what stands before the first and behind the last breakpoint is 0.
template <class V>
struct SmoothingArrays {
  V* u;  // solution
  V* d;  // refinement
  V* g;  // values

  static constexpr std::int64_t length(std::int64_t n) { return 3 * (n + 2); }

  SmoothingArrays(V* block, std::int64_t n) : u(block + 1), d(u + (n + 2)), g(d + (n + 2)) {
    u[-1] = u[0] = u[n - 1] = u[n] = V{};
    d[-1] = d[0] = d[n - 1] = d[n] = V{};
  }
};

// The values of functions f, f + 1, ... at breakpoint i, one in each lane.
inline void loadValue(const SmoothingCall& call, std::int64_t f, std::int64_t i, Lanes& value) {
  if (call.byBreakpoint) {
    value = load<Lanes>(call.y + (i * call.ny + f));
  } else {
    double values[laneCount];
    for (std::int64_t k = 0; k < laneCount; ++k)
      values[k] = call.y[(f + k) * call.nx + i];
    value = load<Lanes>(values);
  }
}

template <class Number>
inline void loadValue(const SmoothingCall& call, std::int64_t f, std::int64_t i, Number& value) {
  value = call.y[call.byBreakpoint ? i * call.ny + f : f * call.nx + i];
}

// Values, and the solution that belongs to them.
template <class N, class V>
inline void solveValues(const SmoothingCall& call, std::int64_t f, const SmoothingData& data,
                        const SmoothingSystem<N>& system, const SmoothingArrays<V>& arrays) {
  for (std::int64_t i = 0; i < data.n; ++i)
    loadValue(call, f, i, arrays.g[i]);
  gather(data, arrays.g, [&](std::int64_t i, V rest) { arrays.u[i] = rest; });
  system.solve(arrays.u);
}

// g := g - beta V Q u.
template <class N, class V>
inline void smoothBy(const SmoothingData& data, const SmoothingSystem<N>& system, const V* u, V* g) {
  const double beta = system.beta();
  spread(data, u, [&](std::int64_t i, V change) { g[i] = g[i] - change * (beta * data.v[i]); });
}

// Smoothed values in g and the solution in u, refined so many times.
template <class N, class V>
void smooth(const SmoothingData& data, const SmoothingSystem<N>& system, int refinements,
            const SmoothingArrays<V>& arrays) {
  V* const u = arrays.u;
  V* const d = arrays.d;
  smoothBy(data, system, u, arrays.g);
  for (int k = 0; k < refinements; ++k) {
    gather(data, arrays.g, [&](std::int64_t i, V rest) {
      const V bent = u[i - 1] * data.beside(i - 1) + u[i] * data.diagonal(i) + u[i + 1] * data.beside(i);
      d[i] = rest - bent * system.alpha();
    });
    system.solve(d);
    for (std::int64_t i = 1; i + 1 < data.n; ++i)
      u[i] = u[i] + d[i];
    smoothBy(data, system, d, arrays.g);
  }
}

// The score of generalised cross-validation, but for a factor that every lambda has: both the sum of squares and
// n - tr A = beta tr(P S) have the factor beta, which would be lost in rounding where it is small.
template <class V>
V validationScore(const SmoothingData& data, double traceOfRoughness, const V* u) {
  V sum = V{};
  spread(data, u, [&](std::int64_t i, V change) { sum = sum + change * change * data.v[i]; });
  const double share = traceOfRoughness / static_cast<double>(data.n);
  return sum * (1.0 / (share * share));
}

inline void storeCell(const SmoothingCall& call, std::int64_t f, std::int64_t i, double c0, double c1,
                      double c2, double c3) {
  storeCubics(call.coeff + 4 * (f * (call.nx - 1) + i), c0, c1, c2, c3);
}

inline void storeCell(const SmoothingCall& call, std::int64_t f, std::int64_t i, Lanes c0, Lanes c1, Lanes c2,
                      Lanes c3) {
  double cells[4 * laneCount];
  storeCubics(cells, c0, c1, c2, c3);
  for (std::int64_t k = 0; k < laneCount; ++k)
    __builtin_memcpy(call.coeff + 4 * ((f + k) * (call.nx - 1) + i), cells + 4 * k, 4 * sizeof(double));
}

// The cells of smoothed values g and second derivatives gamma = alpha u.
template <class V>
void storeSpline(const SmoothingCall& call, std::int64_t f, const SmoothingData& data,
                 const SmoothingUnits& units, double alpha, const SmoothingArrays<V>& arrays) {
  const double unit = powerOfTwo(-units.x);
  auto value = rounded(arrays.g[0]);
  auto bend = rounded(arrays.u[0]) * alpha;
  for (std::int64_t i = 0; i + 1 < data.n; ++i) {
    const auto nextValue = rounded(arrays.g[i + 1]);
    const auto nextBend = rounded(arrays.u[i + 1]) * alpha;
    const auto c1 = (nextValue - value) * data.a[i] - (2.0 * bend + nextBend) * data.beside(i);
    const auto c3 = (nextBend - bend) * (data.a[i] * (1.0 / 6.0));
    storeCell(call, f, i, value, c1 * unit, 0.5 * bend * unit * unit, c3 * unit * unit * unit);
    value = nextValue;
    bend = nextBend;
  }
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
