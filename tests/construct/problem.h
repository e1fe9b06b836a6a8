#pragma once

// Construction problems for every family, and their splines from the defining conditions.

#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "support/dense_spline.h"
#include "support/task.h"

#include <ravenfit/data_fitting.h>

namespace problem {

inline std::size_t size(std::int64_t n) {
  return static_cast<std::size_t>(n);
}

struct Family {
  const char* name;
  std::int32_t order;
  std::int32_t kind;
  std::int32_t leastNx;
  std::int32_t icType;
  std::vector<std::int32_t> ends;
  int reach;  // cells left of a breakpoint that its value touches, less one; -1: all
};

inline const std::vector<Family>& families() {
  static const std::vector<Family> table = {
      {"linear", 2, 0, 2, 0, {0}, 0},
      {"quadratic", 3, 0, 2, 0, {128}, -1},
      {"second derivatives", 4, 0, 3, 2, {1, 2, 12, 36, 24, 48, 64}, 0},
      {"natural", 4, 2, 3, 0, {1, 2, 12, 36, 24, 48, 64}, -1},
      {"hermite", 4, 3, 3, 1, {1, 2, 12, 36, 24, 48, 64}, 0},
      {"bessel", 4, 4, 4, 0, {1, 2, 12, 36, 24, 48, 64}, 1},
      {"akima", 4, 5, 5, 0, {1, 2, 12, 36, 24, 48, 64, 0}, 2},
      {"subbotin", 3, 1, 3, 8, {12, 36, 24, 48}, -1},
  };
  return table;
}

// One task's data. Values have the same first and last number; conditions differ at both ends.
struct Problem {
  const Family* family;
  std::int32_t bcType;
  bool uniform;
  std::int32_t nx;
  std::int32_t ny;
  std::vector<double> x;  // all breakpoints: dyadic equal steps, or irregular ones
  std::vector<double> y;  // by function
  std::vector<double> bc = {0.75, -1.25};
  std::vector<double> ic;

  Problem(const Family& kind, std::int32_t end, bool equalSteps, std::int32_t breakpoints,
          std::int32_t functions)
      : family(&kind), bcType(end), uniform(equalSteps), nx(breakpoints), ny(functions) {
    for (std::int32_t i = 0; i < nx; ++i)
      x.push_back(-1.0 + 0.25 * i + (uniform ? 0.0 : 0.1 * std::sin(3.0 * i * i)));
    for (std::int32_t f = 0; f < ny; ++f) {
      for (std::int32_t i = 0; i < nx; ++i)
        y.push_back(std::cos(0.9 * i + f) + 0.1 * i);
      y.back() = y[y.size() - size(nx)];
    }
    if (kind.kind == DF_KIND_SUBBOTIN && kind.order == 3) {
      ic.push_back(x[0]);
      for (std::int32_t i = 1; i < nx; ++i)
        ic.push_back(x[size(i) - 1] + (0.4 + 0.2 * std::sin(i)) * (x[size(i)] - x[size(i) - 1]));
      ic.push_back(x.back());
    } else if (kind.icType != 0) {
      for (std::int32_t i = 1; i < nx - 1; ++i)
        ic.push_back(std::sin(1.7 * i));
    }
  }

  support::Settings settings() const {
    return {family->order,
            family->kind,
            bcType,
            bc.data(),
            ic.empty() ? 0 : family->icType,
            ic.empty() ? nullptr : ic.data()};
  }

  std::vector<double> partition() const { return uniform ? std::vector<double>{x.front(), x.back()} : x; }

  std::vector<double> valuesByBreakpoint() const {
    std::vector<double> columns(y.size());
    for (std::int32_t f = 0; f < ny; ++f)
      for (std::int32_t i = 0; i < nx; ++i)
        columns[size(i * ny + f)] = y[size(f * nx + i)];
    return columns;
  }

  support::Task task(std::int32_t yhint = DF_VALUES_BY_FUNCTION) const {
    return {nx,
            partition(),
            uniform ? DF_XHINT_UNIFORM : DF_XHINT_NONE,
            ny,
            yhint == DF_VALUES_BY_BREAKPOINT ? valuesByBreakpoint() : y,
            yhint,
            settings()};
  }

  std::string name() const {
    return std::string(family->name) + ", ends " + std::to_string(bcType) + (uniform ? ", uniform" : "") +
           ", nx " + std::to_string(nx);
  }
};

// Calls check(problem) for every family, end and partition.
template <class Check>
void forEach(std::int32_t ny, const std::vector<std::int32_t>& sizes, Check check) {
  for (const Family& family : families())
    for (const std::int32_t end : family.ends)
      for (const bool uniform : {false, true})
        for (const std::int32_t nx : sizes)
          if (nx >= family.leastNx) check(Problem(family, end, uniform, nx, ny));
}

// Slopes at all breakpoints of a local family, from the data alone: the derivative of the parabola through
// three points (Lagrange), or Akima's published formula; at the ends those of periodic data, or for Akima of
// bcType 0.
inline support::Row localSlopes(const Problem& p, const double* y) {
  const std::size_t n = p.x.size();
  support::Row d(n - 1);
  support::Row h(n - 1);
  for (std::size_t i = 0; i + 1 < n; ++i) {
    h[i] = static_cast<long double>(p.x[i + 1]) - p.x[i];
    d[i] = (static_cast<long double>(y[i + 1]) - y[i]) / h[i];
  }
  const auto parabola = [](long double a, long double slopeA, long double b, long double slopeB) {
    return slopeA + (slopeB - slopeA) * a / (a + b);
  };
  const auto mean = [](long double slopeA, long double weightA, long double slopeB, long double weightB) {
    return weightA + weightB < 1e-10L ? (slopeA + slopeB) / 2
                                      : (slopeA * weightA + slopeB * weightB) / (weightA + weightB);
  };
  support::Row m(n);
  for (std::size_t i = 1; i + 1 < n; ++i) {
    if (p.family->kind == DF_KIND_HERMITE) m[i] = p.ic[i - 1];
    if (p.family->kind == DF_KIND_BESSEL) m[i] = parabola(h[i - 1], d[i - 1], h[i], d[i]);
    if (p.family->kind == DF_KIND_AKIMA) {
      const std::size_t low = i == 1 ? 1 : i - 1;
      const std::size_t high = i == n - 2 ? i : i + 1;
      m[i] = mean(d[i - 1], std::fabs(d[high] - d[high - 1]), d[i], std::fabs(d[low] - d[low - 1]));
    }
  }
  if (p.bcType == DF_END_PERIODIC) {
    m[0] = p.bc[0];
    if (p.family->kind == DF_KIND_BESSEL) m[0] = parabola(h[n - 2], d[n - 2], h[0], d[0]);
    if (p.family->kind == DF_KIND_AKIMA)
      m[0] = mean(d[n - 2], std::fabs(d[1] - d[0]), d[0], std::fabs(d[n - 2] - d[n - 3]));
    m[n - 1] = m[0];
  } else if (p.bcType == DF_END_NONE) {
    m[0] = d[0] + (d[0] - d[1]) / 2;
    m[n - 1] = d[n - 2] + (d[n - 2] - d[n - 3]) / 2;
  }
  return m;
}

inline support::DenseSpline subbotinConditions(const Problem& p, const double* y) {
  const std::size_t n = p.x.size();
  support::DenseSpline dense(p.x, 3);
  for (std::size_t i = 0; i < n; ++i)
    dense.require(dense.term(i, p.x[i], 0), y[i]);
  for (std::size_t k = 1; k < n; ++k) {
    dense.join(k - 1, k, p.ic[k], 0);
    dense.join(k - 1, k, p.ic[k], 1);
  }
  dense.require(dense.term(0, p.x[0], (p.bcType & DF_END_LEFT_SLOPE) != 0 ? 1 : 2), p.bc[0]);
  dense.require(dense.term(n - 1, p.x[n - 1], (p.bcType & DF_END_RIGHT_SLOPE) != 0 ? 1 : 2), p.bc[1]);
  return dense;
}

// The condition of a cubic at its left or right end.
inline void requireEnd(const Problem& p, const double* y, const support::Row& slopes, bool left,
                       support::DenseSpline& dense) {
  const std::size_t n = p.x.size();
  const std::size_t cell = left ? 0 : n - 2;
  const std::size_t beside = left ? 1 : n - 3;
  const std::size_t at = left ? 0 : n - 1;
  const std::size_t inner = left ? 1 : n - 2;
  const std::size_t third = left ? 2 : n - 3;
  const bool local = p.family->kind >= DF_KIND_HERMITE;
  const bool given = p.family->kind == DF_KIND_DEFAULT;
  const auto slopeOrCurvature = [&](int derivative, long double value) {
    dense.require(dense.term(cell, p.x[at], derivative), value);
  };
  switch (p.bcType) {
    case DF_END_NOT_A_KNOT: {
      const long double chord = (static_cast<long double>(y[third]) - y[at]) / (p.x[third] - p.x[at]);
      if (p.uniform && !given) {
        dense.require(dense.term(cell, p.x[at], 1, local ? 1.0L : 2.0L),
                      dense.term(cell, p.x[inner], 1, local ? 2.0L : 1.0L), chord);
      } else if (local) {
        dense.require(dense.term(cell, p.x[third], 0), y[third]);
      } else if (given && n == 3) {
        slopeOrCurvature(3, 0.0L);
      } else {
        dense.join(cell, beside, p.x[inner], 3);
      }
      break;
    }
    case DF_END_FREE:
      slopeOrCurvature(2, given && !left ? 0.5L * p.ic.back() : 0.0L);
      break;
    case DF_END_PERIODIC:
      if (given) {
        slopeOrCurvature(2, p.bc[0]);
      } else if (local) {
        slopeOrCurvature(1, slopes[at]);
      } else if (left) {
        for (const int derivative : {1, 2})
          dense.require(dense.term(0, p.x[0], derivative), dense.term(n - 2, p.x[n - 1], derivative, -1.0L),
                        0.0L);
      }
      break;
    case DF_END_NONE:
      slopeOrCurvature(1, slopes[at]);
      break;
    default:
      slopeOrCurvature((p.bcType & (left ? DF_END_LEFT_SLOPE : DF_END_RIGHT_SLOPE)) != 0 ? 1 : 2,
                       p.bc[left ? 0 : 1]);
      break;
  }
}

// The conditions that define the spline of function f.
inline support::DenseSpline conditions(const Problem& p, std::int32_t f) {
  const double* y = p.y.data() + size(f) * p.x.size();
  const std::int32_t kind = p.family->kind;
  if (p.family->order == 3 && kind == DF_KIND_SUBBOTIN) return subbotinConditions(p, y);
  const std::size_t last = p.x.size() - 1;
  support::DenseSpline dense({p.x.begin(), p.x.end() - 1}, size(p.family->order));
  for (std::size_t i = 0; i < last; ++i)
    for (const std::size_t at : {i, i + 1})
      dense.require(dense.term(i, p.x[at], 0), y[at]);
  support::Row slopes;
  if (p.family->order == 4 && kind >= DF_KIND_HERMITE) slopes = localSlopes(p, y);
  for (std::size_t i = 1; i < last && p.family->order > 2; ++i) {
    if (p.family->order == 3 || kind == DF_KIND_NATURAL) dense.join(i - 1, i, p.x[i], 1);
    if (p.family->order == 4 && kind == DF_KIND_NATURAL) dense.join(i - 1, i, p.x[i], 2);
    for (const std::size_t cell : {i - 1, i}) {
      if (!slopes.empty()) dense.require(dense.term(cell, p.x[i], 1), slopes[i]);
      if (p.family->order == 4 && kind == DF_KIND_DEFAULT)
        dense.require(dense.term(cell, p.x[i], 2), p.ic[i - 1]);
    }
  }
  if (p.family->order == 3)
    dense.require(dense.term(0, 0.5L * (static_cast<long double>(p.x[0]) + p.x[1]), 0), p.bc[0]);
  if (p.family->order == 4)
    for (const bool left : {true, false})
      requireEnd(p, y, slopes, left, dense);
  return dense;
}

}  // namespace problem
