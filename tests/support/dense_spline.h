#pragma once

// A spline from its defining conditions alone: one dense linear system in long double, Gaussian elimination
// with pivoting. Shares no formula with the library.

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

// Collects the conditions of one spline: `order` coefficients a cell, in powers of the distance from the cell's
// centre.
class DenseSpline {
 public:
  // Factors of some coefficients.
  using Terms = std::vector<std::pair<std::size_t, long double>>;

  DenseSpline(std::vector<double> centres, std::size_t order) : centres_(std::move(centres)), order_(order) {}

  // factor * (derivative of cell `cell` at x), added to a condition.
  Terms term(std::size_t cell, long double x, int derivative, long double factor = 1.0L) const {
    Terms terms;
    const long double t = x - centres_[cell];
    for (int m = derivative; m < static_cast<int>(order_); ++m) {
      long double value = factor * std::pow(t, static_cast<long double>(m - derivative));
      for (int j = 0; j < derivative; ++j)
        value *= m - j;
      terms.emplace_back(order_ * cell + static_cast<std::size_t>(m), value);
    }
    return terms;
  }

  void require(Terms terms, long double value) {
    conditions_.push_back(std::move(terms));
    values_.push_back(value);
  }

  void require(Terms first, const Terms& second, long double value) {
    first.insert(first.end(), second.begin(), second.end());
    require(std::move(first), value);
  }

  // A derivative is the same on both sides of x.
  void join(std::size_t cell, std::size_t next, long double x, int derivative) {
    require(term(cell, x, derivative), term(next, x, derivative, -1.0L), 0.0L);
  }

  Row solve() const {
    std::vector<Row> rows(conditions_.size(), Row(order_ * centres_.size()));
    for (std::size_t i = 0; i < rows.size(); ++i)
      for (const auto& [at, factor] : conditions_[i])
        rows[i][at] += factor;
    return solveDense(std::move(rows), values_);
  }

  // How far coefficients are from the conditions, relative to the terms of each.
  long double worstError(const double* coeff) const {
    long double worst = 0.0L;
    for (std::size_t i = 0; i < conditions_.size(); ++i) {
      long double sum = -values_[i];
      long double magnitude = 1.0L + std::fabs(values_[i]);
      for (const auto& [at, factor] : conditions_[i]) {
        sum += factor * coeff[at];
        magnitude += std::fabs(factor * coeff[at]);
      }
      const long double error = std::fabs(sum) / magnitude;
      if (!(error <= worst)) worst = error;
    }
    return worst;
  }

 private:
  std::vector<double> centres_;
  std::size_t order_;
  std::vector<Terms> conditions_;
  Row values_;
};

}  // namespace support
