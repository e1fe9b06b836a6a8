#ifndef RAVENFIT_RAVENFIT_HPP
#define RAVENFIT_RAVENFIT_HPP

// Splines, random streams and tridiagonal systems for C++17, header-only over the C library, which is to be linked.
//
//   ravenfit::spline curve(x, y, ravenfit::cubic().left(ravenfit::slope(1.0)).outside(ravenfit::clamp));
//   double v = curve(4.5), slope = curve.derivative(4.5), area = curve.integral(0, 10);
//   auto [value, first] = curve.at<0, 1>(sites);
//
//   ravenfit::stream g(ravenfit::mt19937, 42);
//   g.fill_normal(values, mean, sigma);
//
// Failures throw ravenfit::error, whose text says what was wrong and where; operations with `try_` in their name return a
// status or a result instead, and the headers compile without exceptions. docs/cpp.md tells the rest.

#include <ravenfit/spline.hpp>
#include <ravenfit/stream.hpp>
#include <ravenfit/system.hpp>
#include <ravenfit/view.hpp>

#endif
