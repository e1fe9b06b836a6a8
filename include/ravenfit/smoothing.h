#ifndef RAVENFIT_SMOOTHING_H
#define RAVENFIT_SMOOTHING_H

/*
 * Cubic smoothing splines, for values with noise: the natural cubic spline g over the breakpoints that minimises
 *
 *   sum w_i (y_i - g(x_i))^2  +  lambda * (integral of g''(t)^2 from x_0 to x_(nx-1)),
 *
 * by the method of C. H. Reinsch (Numerische Mathematik 10, 1967) as P. J. Green and B. W. Silverman present it
 * (Nonparametric Regression and Generalized Linear Models, 1994, ch. 2): one symmetric system of five bands, in time and
 * memory proportional to nx. It is factored once for all functions.
 *
 * The result is rows of cubic coefficients, like those of any cubic kind: pass them to dfTaskEditSpline with
 * DF_ORDER_CUBIC and DF_KIND_NATURAL, and dfTaskInterpolate evaluates them without a construction.
 *
 * Threads: any number of threads may call at once with arrays of their own; what is only read may be shared.
 */

#include <stdint.h>

#include <ravenfit/data_fitting.h>
#include <ravenfit/spline_tools.h>

#ifdef __cplusplus
extern "C" {
#endif

/* How lambda is chosen. */
enum {
  DF_SMOOTH_LAMBDA = 0, /* it is given, one for all functions */
  DF_SMOOTH_GCV = 1 /* for each function the one that minimises the score of generalised cross-validation */
};

/* Statuses of dfSmooth alone. DF_ERROR_BREAKPOINTS (-1040) of ravenfit/spline_tools.h is one more: breakpoints are not
 * finite, not strictly ascending, or further apart than a double can say. */
enum {
  DF_ERROR_SMOOTH_METHOD = -1100, /* no DF_SMOOTH_* */
  DF_ERROR_LAMBDA = -1101,        /* negative, infinite or a NaN */
  DF_ERROR_WEIGHTS = -1102,       /* a weight is not positive, infinite or a NaN */
  DF_ERROR_NOT_FINITE = -1104,    /* a function value is infinite or a NaN */
  DF_ERROR_SMOOTH_SCALE =
      -1105 /* steps or weights differ by so many orders of magnitude that the system has no
                                     usable factors */
};

/* The fewest breakpoints for DF_SMOOTH_GCV: with three of them every lambda has the same score, and four say little. */
enum { DF_SMOOTH_GCV_BREAKPOINTS = 5 };

/*
 * Computes the smoothing spline of every function.
 *
 * nx      number of breakpoints: at least 2, with DF_SMOOTH_GCV at least DF_SMOOTH_GCV_BREAKPOINTS. The spline of two is
 *         the line through both.
 * x       the breakpoints, strictly ascending (nx doubles), or the two ends under DF_XHINT_UNIFORM (2 doubles).
 * xhint   DF_XHINT_*.
 * ny      number of functions, at least 1.
 * y       the function values, nx * ny doubles as yhint says.
 * yhint   DF_VALUES_DEFAULT, DF_VALUES_BY_FUNCTION or DF_VALUES_BY_BREAKPOINT.
 * w       a positive weight for every breakpoint, the same for all functions (nx doubles), or null for 1. Where values
 *         have standard deviations s_i, w_i = 1 / s_i^2.
 * method  DF_SMOOTH_LAMBDA or DF_SMOOTH_GCV.
 * lambda  the weight of the roughness, 0 or more, in units of w y^2 / (y / x^2)^2 / x, that is of w x^3. 0 interpolates:
 *         the natural spline with free ends. As lambda grows, the spline tends to the weighted least-squares line. With
 *         DF_SMOOTH_GCV it is ignored.
 * lambdaUsed  receives the lambda of every function (ny doubles), or null.
 * coeff   receives ny rows of 4 * (nx - 1) doubles: c_0 to c_3 of every cell, in ascending powers of (t - x[i]). The
 *         value c_0 of a cell is the smoothed value at its left breakpoint. No array may overlap it.
 *
 * DF_SMOOTH_GCV minimises n sum w_i (y_i - g(x_i))^2 / (n - tr A)^2, where A is the matrix that takes y to the smoothed
 * values (P. Craven, G. Wahba, 1979). Its trace comes in linear time from the five central bands of an inverse (M. F.
 * Hutchinson, F. R. de Hoog, 1985). The score is sampled over the whole range from interpolation to the straight line, in
 * steps of a factor below 5, and minimised around its least sample to a relative accuracy of lambda of about 1e-5. Of
 * equal scores the larger lambda is taken, so that values on a line give that line. The noise must be independent from
 * value to value; values that repeat themselves give a spline that follows them.
 *
 * Values whose differences, or with DF_SMOOTH_GCV their squares, overflow give infinities or NaNs.
 *
 * Smoothed values are those of the exact spline within a few units in the last place of the largest |y|, for every
 * lambda; see docs/reproducibility.md on levels.
 *
 * Returns 0, or before anything is written: -1004 nx too small; -1005 no x; -1006 xhint; -1007 ny; -1008 no y; -1009
 * yhint; -1016 no coeff; -1100 method; -1101 lambda; -1040 breakpoints; -1102 weights; -1104 values;
 * -1001 out of memory, or a size that does not fit this machine. -1105 scale, which is found late: lambdaUsed and coeff
 * may then be partly written.
 */
RVN_API int32_t dfSmooth(int32_t nx, const double* x, int32_t xhint, int32_t ny, const double* y,
                         int32_t yhint, const double* w, int32_t method, double lambda, double* lambdaUsed,
                         double* coeff);

#ifdef __cplusplus
}
#endif

#endif
