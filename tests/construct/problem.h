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
      {"second derivatives", 4, 0, 3, 2, {1, 2, 12, 36, 24, 48, 0x108, 0x120, 0x204, 0x210, 64}, 0},
      {"natural", 4, 2, 3, 0, {1, 2, 12, 36, 24, 48, 0x108, 0x120, 0x204, 0x210, 64}, -1},
      {"hermite", 4, 3, 3, 1, {1, 2, 12, 36, 24, 48, 0x108, 0x120, 0x204, 0x210, 64}, 0},
      {"bessel", 4, 4, 4, 0, {1, 2, 12, 36, 24, 48, 0x108, 0x120, 0x204, 0x210, 64}, 1},
      {"akima", 4, 5, 5, 0, {1, 2, 12, 36, 24, 48, 0x108, 0x120, 0x204, 0x210, 64, 0}, 2},
      {"modified akima", 4, 0x101, 5, 0, {1, 2, 12, 36, 24, 48, 0x108, 0x120, 0x204, 0x210, 64, 0}, 2},
      {"pchip", 4, 0x102, 3, 0, {1, 2, 12, 36, 24, 48, 0x108, 0x120, 0x204, 0x210, 64, 0}, 1},
      {"steffen", 4, 0x103, 3, 0, {1, 2, 12, 36, 24, 48, 0x108, 0x120, 0x204, 0x210, 64, 0}, 1},
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

// Slopes at all breakpoints of a local family, from the data alone, by published formulas: the derivative of the
// parabola through three points (Lagrange), Akima's and its modification, Fritsch and Butland's, Steffen's. Chords
// go on beyond both ends as the kind continues them; at the joint of periodic data, and only there, in circles.
inline support::Row localSlopes(const Problem& p, const double* y) {
  const auto n = static_cast<std::int64_t>(p.x.size());
  const std::int32_t kind = p.family->kind;
  bool periodic = false;
  const auto h = [&](std::int64_t i) {
    if (periodic) i = (i + n - 1) % (n - 1);
    i = i < 0 ? 0 : i > n - 2 ? n - 2 : i;
    return static_cast<long double>(p.x[size(i + 1)]) - p.x[size(i)];
  };
  const auto inner = [&](std::int64_t i) { return (static_cast<long double>(y[i + 1]) - y[i]) / h(i); };
  const auto d = [&](std::int64_t i) {
    if (periodic) return inner((i + n - 1) % (n - 1));
    if (i >= 0 && i <= n - 2) return inner(i);
    const long double out = i < 0 ? -i : i - (n - 2);
    const std::int64_t end = i < 0 ? 0 : n - 2;
    return (1 + out) * inner(end) - out * inner(i < 0 ? 1 : n - 3);
  };
  const auto weight = [&](std::int64_t j) {
    if (kind == 0x101) return std::fabs(d(j) - d(j - 1)) + std::fabs(d(j) + d(j - 1)) / 2;
    if (!periodic) j = j < 1 ? 1 : j > n - 2 ? n - 2 : j;
    return std::fabs(d(j) - d(j - 1));
  };
  const auto slope = [&](std::int64_t i) -> long double {
    const long double before = d(i - 1);
    const long double after = d(i);
    const long double parabola = before + (after - before) * h(i - 1) / (h(i - 1) + h(i));
    const long double sign = before > 0 && after > 0 ? 1 : before < 0 && after < 0 ? -1 : 0;
    const long double least = std::fmin(std::fabs(before), std::fabs(after));
    const long double low = weight(i - 1);
    const long double high = weight(i + 1);
    switch (kind) {
      case DF_KIND_HERMITE:
        return i > 0 && i < n - 1 ? p.ic[size(i) - 1] : p.bc[0];
      case DF_KIND_BESSEL:
        return parabola;
      case 0x102:
        if (sign == 0) return 0;
        return 3 * (h(i - 1) + h(i)) / ((2 * h(i) + h(i - 1)) / before + (h(i) + 2 * h(i - 1)) / after);
      case 0x103:
        return 2 * sign * std::fmin(least, std::fabs(parabola) / 2);
      default:
        return low + high < 1e-10L ? (before + after) / 2 : (before * high + after * low) / (low + high);
    }
  };
  // The end with chord a over a cell of width h, beside chord b over one of width g.
  const auto freeEnd = [&](long double a, long double wide, long double b,
                           long double beside) -> long double {
    if (kind == DF_KIND_AKIMA) return a + (a - b) / 2;
    if (kind == 0x103) return a;
    const long double m = ((2 * wide + beside) * a - wide * b) / (wide + beside);
    if (m * a <= 0) return 0;
    return a * b <= 0 && std::fabs(m) > 3 * std::fabs(a) ? 3 * a : m;
  };
  support::Row m(size(n));
  for (std::int64_t i = 1; i < n - 1; ++i)
    m[size(i)] = slope(i);
  periodic = p.bcType == DF_END_PERIODIC;
  if (periodic) m[0] = m.back() = slope(0);
  if (p.bcType == DF_END_NONE && p.family->order == 4) {
    m[0] = kind == 0x101 ? slope(0) : freeEnd(d(0), h(0), d(1), h(1));
    m.back() = kind == 0x101 ? slope(n - 1) : freeEnd(d(n - 2), h(n - 2), d(n - 3), h(n - 3));
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
  const bool knot = p.bcType == DF_END_NOT_A_KNOT || (p.bcType & (left ? 0x100 : 0x200)) != 0;
  switch (knot ? std::int32_t{DF_END_NOT_A_KNOT} : p.bcType) {
    case DF_END_NOT_A_KNOT: {
      const long double chord = (static_cast<long double>(y[third]) - y[at]) / (p.x[third] - p.x[at]);
      if (p.uniform && !given) {
        dense.require(dense.term(cell, p.x[at], 1, local ? 1.0L : 2.0L),
                      dense.term(cell, p.x[inner], 1, local ? 2.0L : 1.0L), chord);
      } else if (local) {
        dense.require(dense.term(cell, p.x[third], 0), y[third]);
      } else if (given && n == 3 && p.bcType == DF_END_NOT_A_KNOT) {
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
