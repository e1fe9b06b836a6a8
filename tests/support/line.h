#pragma once

// The shortest life of a task: a line, splined. For tests of what goes on around it.

#include <cmath>

#include <ravenfit/data_fitting.h>

namespace support {

// Whether create, edit, construct, interpolate and destroy succeed, and the spline is 2 x + 1.
inline bool splinesALine() {
  static const double x[] = {0, 1, 2.5, 3, 4};
  static const double y[] = {1, 3, 6, 7, 9};
  double coeff[16];
  const double site = 3.25;
  double r = 0;
  DfTask* task = nullptr;
  const bool done =
      dfTaskCreate(&task, 5, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT) == 0 &&
      dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr,
                       coeff, DF_COEFF_DEFAULT) == 0 &&
      dfTaskConstruct(task, 0, 0) == 0 &&
      dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, DF_SITES_GENERAL, 0,
                        nullptr, nullptr, &r, DF_RESULTS_DEFAULT, nullptr) == 0;
  const bool destroyed = dfTaskDestroy(&task) == 0;
  return done && destroyed && std::fabs(r - 7.5) < 1e-12;
}

}  // namespace support
