#pragma once

// The quantile of the normal distribution: M. J. Wichura, Algorithm AS 241 (PPND16), Applied Statistics 37, 1988. With
// q = u - 1/2 it is q A(r) / B(r), r = 0.425^2 - q^2, for |q| <= 0.425. In the tails it is C(s - 1.6) / D(s - 1.6), and
// E(s - 5) / F(s - 5) for s > 5, where s = sqrt(-ln t), t being the smaller of u and 1 - u.
//
// A quotient that is the whole result would bring the rounding errors of both polynomials with it. So the greater part of
// each is taken out of it, in numbers of few bits:
//
//   q (5/2 + (A - 5/2 B) / B),   b s + (C - b s D) / D,   b = 181 / 128, about sqrt(2).

#include <cstdint>

#include "vector/elementary.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr double centralTail = 0.075;  // tails below it are no part of the centre
constexpr double farRoot = 5.0;        // s beyond which tails have a formula of their own
constexpr double slopeOfRoot = 181.0 / 128.0;

// The published coefficients, of ascending powers.
constexpr int terms = 8;
struct Quotient {
  long double numerator[terms];
  long double denominator[terms];
};

constexpr Quotient centre = {
    {3.3871328727963666080e+0L, 1.3314166789178437745e+2L, 1.9715909503065514427e+3L,
     1.3731693765509461125e+4L, 4.5921953931549871457e+4L, 6.7265770927008700853e+4L,
     3.3430575583588128105e+4L, 2.5090809287301226727e+3L},
    {1.0L, 4.2313330701600911252e+1L, 6.8718700749205790830e+2L, 5.3941960214247511077e+3L,
     2.1213794301586595867e+4L, 3.9307895800092710610e+4L, 2.8729085735721942674e+4L,
     5.2264952788528545610e+3L},
};
constexpr Quotient tail = {
    {1.42343711074968357734e+0L, 4.63033784615654529590e+0L, 5.76949722146069140550e+0L,
     3.64784832476320460504e+0L, 1.27045825245236838258e+0L, 2.41780725177450611770e-1L,
     2.27238449892691845833e-2L, 7.74545014278341407640e-4L},
    {1.0L, 2.05319162663775882187e+0L, 1.67638483018380384940e+0L, 6.89767334985100004550e-1L,
     1.48103976427480074590e-1L, 1.51986665636164571966e-2L, 5.47593808499534494600e-4L,
     1.05075007164441684324e-9L},
};
constexpr Quotient farTail = {
    {6.65790464350110377720e+0L, 5.46378491116411436990e+0L, 1.78482653991729133580e+0L,
     2.96560571828504891230e-1L, 2.65321895265761230930e-2L, 1.24266094738807843860e-3L,
     2.71155556874348757815e-5L, 2.01033439929228813265e-7L},
    {1.0L, 5.99832206555887937690e-1L, 1.36929880922735805310e-1L, 1.48753612908506148525e-2L,
     7.86869131145613259100e-4L, 1.84631831751005468180e-5L, 1.42151175831644588870e-7L,
     2.04426310338993978564e-15L},
};

// What is left of a quotient, (numerator - (level + slope x) denominator) / denominator.
struct Remainder {
  double numerator[terms + 1] = {};
  double denominator[terms + 1] = {};

  consteval Remainder(const Quotient& of, long double level, long double slope) {
    for (int k = 0; k <= terms; ++k) {
      const long double previous = k > 0 ? of.denominator[k - 1] : 0.0L;
      const long double own = k < terms ? of.denominator[k] : 0.0L;
      const long double whole = k < terms ? of.numerator[k] : 0.0L;
      numerator[k] = static_cast<double>(whole - level * own - slope * previous);
      denominator[k] = static_cast<double>(own);
    }
  }
};

constexpr Remainder centreRemainder(centre, 2.5L, 0.0L);
constexpr Remainder tailRemainder(tail, 1.6L * slopeOfRoot, slopeOfRoot);
constexpr Remainder farTailRemainder(farTail, 5.0L * slopeOfRoot, slopeOfRoot);

template <int first>
inline Lanes polynomial(const double (&c)[terms + 1], Lanes x) {
  Lanes sum = x * c[first];
  for (int k = first - 1; k > 0; --k)
    sum = (sum + c[k]) * x;
  return sum + c[0];
}

inline Lanes centralQuantile(Lanes q) {
  const Lanes r = 0.180625 - q * q;
  const Lanes rest = polynomial<terms - 1>(centreRemainder.numerator, r) /
                     polynomial<terms - 1>(centreRemainder.denominator, r);
  return q * (2.5 + rest);
}

// The quantile of 1 - t.
inline Lanes tailQuantile(Lanes t) {
  const Lanes s = squareRoot(-logarithm(t));
  const auto part = [](const Remainder& of, Lanes x) {
    return polynomial<terms>(of.numerator, x) / polynomial<terms - 1>(of.denominator, x);
  };
  Lanes rest = part(tailRemainder, s - 1.6);
  bool anyFar = false;
  for (int k = 0; k < laneCount; ++k)
    anyFar |= s[k] > farRoot;
  if (anyFar) rest = s > farRoot ? part(farTailRemainder, s - farRoot) : rest;
  return s * slopeOfRoot + rest;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
