#pragma once

// The system of a cubic smoothing spline (C. H. Reinsch, 1967; P. J. Green, B. W. Silverman, 1994, section 2.3). With
// steps h_i, a_i = 1 / h_i, reciprocal weights v_i and second derivatives gamma_i at the breakpoints, 0 at both ends,
//
//   (R + lambda Q^T V Q) gamma = Q^T y,   g = y - lambda V Q gamma,
//
// where (Q^T y)_i = a_i (y_(i+1) - y_i) - a_(i-1) (y_i - y_(i-1)), R has the diagonal (h_(i-1) + h_i) / 3 and h_i / 6
// beside it, i = 1 .. n - 2. The matrix is written alpha R + beta P, with P = Q^T V Q and lambda = beta / alpha, one of
// both being 1, so that every lambda can be had; the unknowns are then u = gamma / alpha.
//
// The condition of the matrix grows like lambda / h^3, up to n^4. Two things keep the smoothed values exact. A solution
// is refined by the rest Q^T g - alpha R u of the values g that it gave: rounding errors in that are those of g,
// which do no harm, since the way from values to smoothed values never enlarges. And where doubles would not do,
// P and the factors are made of pairs of doubles.

#include <cstdint>

#include "vector/simd.h"
#include "vector/twofold.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// A partition in units of about its mean step, and weights in units of about the greatest.
struct SmoothingData {
  std::int64_t n;
  double* h;  // n - 1
  double* a;  // n - 1
  double* v;  // n

  double diagonal(std::int64_t i) const { return (h[i - 1] + h[i]) * (1.0 / 3.0); }
  double beside(std::int64_t i) const { return h[i] * (1.0 / 6.0); }
};

// Calls put(i, (Q u)_i) for i = 0 .. n - 1; u[0] and u[n - 1] are 0.
template <class V, class Put>
inline void spread(const SmoothingData& data, const V* u, Put put) {
  V left = V{};
  for (std::int64_t i = 0; i + 1 < data.n; ++i) {
    const V right = (u[i + 1] - u[i]) * data.a[i];
    put(i, right - left);
    left = right;
  }
  put(data.n - 1, -left);
}

// Calls put(i, (Q^T y)_i) for i = 1 .. n - 2.
template <class V, class Put>
inline void gather(const SmoothingData& data, const V* y, Put put) {
  V left = (y[1] - y[0]) * data.a[0];
  for (std::int64_t i = 1; i + 1 < data.n; ++i) {
    const V right = (y[i + 1] - y[i]) * data.a[i];
    put(i, right - left);
    left = right;
  }
}

// The matrix and its factors L D L^T, in numbers N: doubles, or pairs of them.
template <class N>
class SmoothingSystem {
 public:
  static constexpr std::int64_t arrays = 6;

  SmoothingSystem() = default;

  // `block` has room for `arrays` times n + 1 numbers.
  SmoothingSystem(const SmoothingData& data, N* block)
      : data_(data),
        p0_(block),
        p1_(p0_ + (data.n + 1)),
        p2_(p1_ + (data.n + 1)),
        pivot_(p2_ + (data.n + 1)),
        l1_(pivot_ + (data.n + 1)),
        l2_(l1_ + (data.n + 1)) {
    for (std::int64_t i = 1; i + 1 < data.n; ++i) {
      const N left = data.a[i - 1];
      const N right = data.a[i];
      const N middle = -(left + right);
      const N vMiddle = data.v[i];
      const N vRight = data.v[i + 1];
      const N next = i + 2 < data.n ? N{data.a[i + 1]} : N{};
      p0_[i] = left * left * data.v[i - 1] + middle * middle * vMiddle + right * right * vRight;
      p1_[i] = i + 2 < data.n ? right * (middle * vMiddle - (right + next) * vRight) : N{};
      p2_[i] = i + 3 < data.n ? right * next * vRight : N{};
    }
  }

  double alpha() const { return alpha_; }
  double beta() const { return beta_; }

  // The greatest ratio of diagonal elements of P and R.
  double growth() const {
    double most = 0.0;
    for (std::int64_t i = 1; i + 1 < data_.n; ++i) {
      const double ratio = rounded(p0_[i]) / data_.diagonal(i);
      if (!(ratio <= most)) most = ratio;
    }
    return most;
  }

  // False if a pivot is not positive or not finite.
  bool factor(double lambda) {
    const std::int64_t n = data_.n;
    alpha_ = lambda > 1.0 ? 1.0 / lambda : 1.0;
    beta_ = lambda > 1.0 ? 1.0 : lambda;
    // The analyzer does not know that a system is made before it is factored.
    l1_[n - 1] = l1_[n] = N{};  // NOLINT(clang-analyzer-core.CallAndMessage)
    l2_[n - 1] = l2_[n] = N{};
    for (std::int64_t i = 1; i + 1 < n; ++i) {
      const N two = i > 2 ? p2_[i - 2] * beta_ : N{};
      const N one = i > 1 ? p1_[i - 1] * beta_ + alpha_ * data_.beside(i - 1) - two * l1_[i - 1] : N{};
      l2_[i] = i > 2 ? two * pivot_[i - 2] : N{};
      l1_[i] = i > 1 ? one * pivot_[i - 1] : N{};
      const N d = p0_[i] * beta_ + alpha_ * data_.diagonal(i) - l1_[i] * one - l2_[i] * two;
      if (!(rounded(d) > 0.0 && rounded(d) < __builtin_inf())) return false;
      pivot_[i] = N{1.0} / d;
    }
    return true;
  }

  // Solves for the right-hand side in u[1] .. u[n - 2]; u[-1], u[0], u[n - 1] and u[n] are 0.
  template <class V>
  void solve(V* u) const {
    const std::int64_t n = data_.n;
    for (std::int64_t i = 1; i + 1 < n; ++i)
      u[i] = u[i] - l2_[i] * u[i - 2] - l1_[i] * u[i - 1];
    for (std::int64_t i = n - 2; i > 0; --i)
      u[i] = u[i] * pivot_[i] - l2_[i + 2] * u[i + 2] - l1_[i + 1] * u[i + 1];
  }

  // tr(P S) for the inverse S of the matrix, whose central bands follow from the factors backwards (M. F. Hutchinson,
  // F. R. de Hoog, 1985). Since alpha tr(R S) + beta tr(P S) = n - 2, the smaller part gives the other one without
  // cancellation.
  double traceOfRoughness() const {
    const std::int64_t n = data_.n;
    N s0 = N{};      // S_(i+1, i+1)
    N s1 = N{};      // S_(i+1, i+2)
    N s0Next = N{};  // S_(i+2, i+2)
    N ofP = N{};
    N ofR = N{};
    for (std::int64_t i = n - 2; i > 0; --i) {
      const N c1 = l1_[i + 1];
      const N c2 = l2_[i + 2];
      const N one = -(c1 * s0) - c2 * s1;
      const N two = -(c1 * s1) - c2 * s0Next;
      const N diagonal = pivot_[i] - c1 * one - c2 * two;
      ofP = ofP + (p0_[i] * diagonal + (p1_[i] * one + p2_[i] * two) * 2.0);
      ofR = ofR + (diagonal * data_.diagonal(i) + one * (2.0 * data_.beside(i)));
      s0Next = s0;
      s0 = diagonal;
      s1 = one;
    }
    const auto all = static_cast<double>(n - 2);
    const double smooth = alpha_ * rounded(ofR);
    return smooth < 0.5 * all ? (all - smooth) / beta_ : rounded(ofP);
  }

 private:
  SmoothingData data_ = {};
  N* p0_ = nullptr;
  N* p1_ = nullptr;
  N* p2_ = nullptr;
  N* pivot_ = nullptr;  // reciprocal
  N* l1_ = nullptr;
  N* l2_ = nullptr;
  double alpha_ = 1.0;
  double beta_ = 0.0;
};

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
