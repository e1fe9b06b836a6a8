#pragma once

// A cubic spline from its defining conditions alone: 4 coefficients a cell, one dense linear system in long
// double, Gaussian elimination with pivoting. Shares no formula with the library.

#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

namespace support {

using Row = std::vector<long double>;

// Solves a x = b; a and b are consumed.
inline Row solveDense(std::vector<Row> a, Row b) {
  const std::size_t n = b.size();
  for (std::size_t k = 0; k < n; ++k) {
    std::size_t pivot = k;
    for (std::size_t i = k + 1; i < n; ++i)
      if (std::fabs(a[i][k]) > std::fabs(a[pivot][k])) pivot = i;
    std::swap(a[k], a[pivot]);
    std::swap(b[k], b[pivot]);
    for (std::size_t i = k + 1; i < n; ++i) {
      const long double factor = a[i][k] / a[k][k];
      if (factor == 0.0L) continue;
      for (std::size_t j = k; j < n; ++j)
        a[i][j] -= factor * a[k][j];
      b[i] -= factor * b[k];
    }
  }
  for (std::size_t k = n; k-- > 0;) {
    for (std::size_t j = k + 1; j < n; ++j)
      b[k] -= a[k][j] * b[j];
    b[k] /= a[k][k];
  }
  return b;
}

// Collects the conditions of one spline over breakpoints x and solves them.
class DenseSpline {
 public:
  explicit DenseSpline(std::vector<double> x) : x_(std::move(x)), unknowns_(4 * (x_.size() - 1)) {}

  // factor * (derivative `order` of cell `cell` at breakpoint `at`) added to a condition.
  Row term(std::size_t cell, std::size_t at, int order, long double factor = 1.0L) const {
    Row row(unknowns_, 0.0L);
    const long double t = static_cast<long double>(x_[at]) - x_[cell];
    for (int m = order; m < 4; ++m) {
      long double value = factor;
      for (int j = 0; j < order; ++j)
        value *= m - j;
      row[4 * cell + static_cast<std::size_t>(m)] = value * std::pow(t, static_cast<long double>(m - order));
    }
    return row;
  }

  void require(Row row, long double value) {
    rows_.push_back(std::move(row));
    values_.push_back(value);
  }

  void require(const Row& first, const Row& second, long double value) {
    Row sum = first;
    for (std::size_t i = 0; i < sum.size(); ++i)
      sum[i] += second[i];
    require(std::move(sum), value);
  }

  // Values at both ends of every cell, slope and curvature continuous inside.
  void interpolate(const std::vector<double>& y) {
    const std::size_t last = x_.size() - 1;
    for (std::size_t i = 0; i < last; ++i) {
      require(term(i, i, 0), y[i]);
      require(term(i, i + 1, 0), y[i + 1]);
    }
    for (std::size_t i = 1; i < last; ++i)
      for (const int order : {1, 2})
        require(term(i - 1, i, order), term(i, i, order, -1.0L), 0.0L);
  }

  Row solve() const { return solveDense(rows_, values_); }

 private:
  std::vector<double> x_;
  std::size_t unknowns_;
  std::vector<Row> rows_;
  Row values_;
};

}  // namespace support
