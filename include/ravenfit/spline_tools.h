#ifndef RAVENFIT_SPLINE_TOOLS_H
#define RAVENFIT_SPLINE_TOOLS_H

/*
 * More operations on splines: a test of breakpoints, what a spline is outside its partition, integrals, coefficients of
 * antiderivative and derivative, roots, the inverse.
 *
 * Everything works on tasks of data_fitting.h whose coefficients are known, be they constructed or the caller's own,
 * over general and uniform partitions. What is said of polynomial pieces holds for every order from 2 on; for
 * DF_KIND_SUBBOTIN pieces join at the knots that dfTaskInterpolate would use. Of all this the kinds without coefficients
 * (DF_KIND_LOOKUP, the steps) have only dfTaskSetOutside.
 *
 * Every operation returns 0 or a negative DF_ERROR code; the first failure returns at once, and then nothing is
 * written (except the index of a bad breakpoint). NaN and infinities in arrays never fault.
 *
 * Threads: operations on a const task may be called by many threads at once, also beside dfTaskInterpolate, as long as
 * nobody edits, constructs, sets or destroys the task, or writes to its arrays.
 */

#include <ravenfit/data_fitting.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Statuses beside those of data_fitting.h. */
enum {
  DF_ERROR_LIMIT_COUNT = -1030,    /* integrate: n below 1 */
  DF_ERROR_LEFT_LIMITS = -1031,    /* integrate: null left limits */
  DF_ERROR_RIGHT_LIMITS = -1032,   /* integrate: null right limits */
  DF_ERROR_NULL_INTEGRALS = -1033, /* integrate: null results */
  DF_ERROR_INTEGRALS_HINT = -1034, /* integrate: unknown layout of results */
  DF_ERROR_BREAKPOINTS = -1040,    /* check: a breakpoint is not finite, or not above the one before it */
  DF_ERROR_OUTSIDE_MODE = -1041,   /* set outside: unknown mode */
  DF_ERROR_OUTSIDE = -1042, /* interpolate, integrate, solve: a site is outside, where DF_OUTSIDE_REFUSE
                                       forbids it */
  DF_ERROR_FUNCTION_INDEX = -1043, /* solve, inverse: no such function */
  DF_ERROR_INTERVAL = -1044,       /* solve: an end is a NaN, or a above b */
  DF_ERROR_ROOM = -1045,           /* solve: room below 0, null sites with room, null count */
  DF_ERROR_VALUE_COUNT = -1046,    /* inverse: n below 1 */
  DF_ERROR_VALUES = -1047,         /* inverse: null values; solve: value is a NaN */
  DF_ERROR_NOT_MONOTONE = -1048    /* inverse: the spline turns, or its coefficients are not finite */
};

/* Boundary types of dfTaskEditSpline with not-a-knot at one end alone, and a slope or second derivative at the other: the
 * left end is named first, and bc is read as for two given ends. For all kinds that take DF_END_NOT_A_KNOT, from 3
 * breakpoints on or what the kind needs. Like it they have a different condition under DF_XHINT_UNIFORM, which DOES NOT
 * REPRODUCE A STRAIGHT LINE: pass all breakpoints with DF_XHINT_QUASI_UNIFORM instead. A
 * second derivative of 0 is a free end. */
enum {
  DF_END_NOT_A_KNOT_SLOPE = 0x108,
  DF_END_NOT_A_KNOT_CURVATURE = 0x120,
  DF_END_SLOPE_NOT_A_KNOT = 0x204,
  DF_END_CURVATURE_NOT_A_KNOT = 0x210
};

/* What a spline is at sites below the first and above the last breakpoint. */
enum {
  DF_OUTSIDE_CONTINUE = 0, /* the end polynomial, continued */
  DF_OUTSIDE_CLAMP = 1,    /* the value at the end, derivatives 0 */
  DF_OUTSIDE_CONSTANT = 2, /* a given value, derivatives 0 */
  DF_OUTSIDE_NAN = 3,      /* NaN, derivatives too */
  DF_OUTSIDE_WRAP = 4,     /* the spline repeated, with the length of the partition as period */
  DF_OUTSIDE_REFUSE = 5    /* the call returns DF_ERROR_OUTSIDE and writes nothing */
};

/* One more layout of the results of dfTaskInterpolate, with the channels of a site side by side: for function f of nf,
 * packed order k of nres, site i the result is r[(i*nres + k)*nf + f]. */
enum { DF_RESULTS_BY_SITE = 64 };

/*
 * Tests whether breakpoints are finite and strictly ascending, at the speed of reading them.
 *
 * nx        number of breakpoints, at least 2.
 * x         nx breakpoints.
 * firstBad  null, or receives the index of the first one that is not finite or not greater than its predecessor; -1 if
 *           there is none. Untouched by the first two failures.
 *
 * Returns 0; -1004 nx below 2; -1005 null x; -1040 such a breakpoint.
 */
RVN_API int32_t dfCheckBreakpoints(int32_t nx, const double* x, int32_t* firstBad);

/*
 * Chooses what the splines of a task are outside the partition. A new task has DF_OUTSIDE_CONTINUE at both ends;
 * dfTaskEditSpline does not change the choice.
 *
 * below  DF_OUTSIDE_*, for sites s < x[0].
 * above  DF_OUTSIDE_*, for sites s > x[nx-1].
 * value  what DF_OUTSIDE_CONSTANT gives, for every function.
 *
 * In dfTaskInterpolate wrapped sites are then treated as the sites that they fall on, including cells that are stored or
 * given; in the other modes cells stay what they were, 0 and nx. A search for cells alone is not affected, nor is
 * DF_KIND_LOOKUP. Under DF_OUTSIDE_REFUSE all sites are tested before anything is written, and a NaN counts as
 * outside; in the other modes a NaN goes through the formulas. Wrapping an infinite site gives NaN, and one that is
 * further away than 2^52 periods an unspecified site of the partition. Only its boundary conditions make the two ends of
 * a wrapped spline meet: sites fall on x[0] <= s < x[nx-1], and the last breakpoint itself stays the end of
 * the last piece. Results may not replace the sites of the call.
 *
 * Returns 0; -1000 null task; -1041 unknown mode.
 */
RVN_API int32_t dfTaskSetOutside(DfTask* task, int32_t below, int32_t above, double value);

/*
 * Integrals of every function between pairs of limits, by sums over whole pieces and the antiderivatives of the two
 * pieces in which the limits lie. Their error is a few roundings of the integral of |c_0| + |c_1 t| + .. over that
 * interval, wherever it lies: sums are kept in two doubles each.
 *
 * n      number of pairs, at least 1.
 * left   n limits, in any order.
 * right  n limits; below its left one changes the sign. Equal limits give 0 (DF_OUTSIDE_NAN excepted).
 * r      ny * n integrals (ny 0 counts as 1).
 * rhint  DF_RESULTS_DEFAULT, _DERIVS_INNER (also 128), _SITES_INNER: r[f*n + i]; DF_RESULTS_BY_SITE: r[i*ny + f].
 *
 * Outside the partition the integrand is what dfTaskSetOutside says: the end polynomial, the end value, the constant,
 * periods, one by one; under DF_OUTSIDE_NAN a limit there gives NaN, under DF_OUTSIDE_REFUSE a status. A NaN among the
 * limits gives NaN, an infinite one an infinity or a NaN.
 *
 * The first call builds 16 bytes a breakpoint and function and keeps them in the task until dfTaskConstruct,
 * dfTaskEditSpline or dfTaskDestroy: after changing breakpoints or coefficients in place, call dfTaskEditSpline again.
 * Several threads may make the first call at once. After a piece whose integral is not finite, integrals across pieces
 * are NaN.
 *
 * Returns 0; -1000 null task; -1030, -1031, -1032, -1033, -1034; -1011 a kind without pieces; -1016 a row of
 * coefficients missing; -1001 out of memory; -1042.
 */
RVN_API int32_t dfTaskIntegrate(const DfTask* task, int32_t n, const double* left, const double* right,
                                double* r, int32_t rhint);

/*
 * Coefficients of the antiderivative that is 0 at x[0], as a spline of order + 1 over the same partition: pass them with
 * that order and DF_KIND_DEFAULT to dfTaskEditSpline for a task over that partition, and dfTaskInterpolate gives its values
 * and derivatives (that of a cubic has order 5, of which it does not give derivative 4: take derivative 3 of the cubic).
 *
 * coeff  room for ny rows (ny 0 counts as 1) of (order + 1) * (nx - 1) doubles, apart from the task's own.
 *
 * Returns 0; -1000 null task; -1016 null coeff; -1011 a kind without pieces, or DF_KIND_SUBBOTIN, whose pieces do not
 * join at breakpoints; -1016 a row of coefficients missing; -1001 a size that does not fit this machine.
 */
RVN_API int32_t dfTaskAntiderivative(const DfTask* task, double* coeff);

/*
 * Coefficients of the derivative, likewise: order - 1, ny rows of (order - 1) * (nx - 1) doubles. For order 3 and above:
 * the derivative of a broken line has steps, which are no spline of dfTaskInterpolate. Where a derivative jumps, at a
 * breakpoint, it has the value from the right.
 *
 * Returns what dfTaskAntiderivative returns; -1010 order 2.
 */
RVN_API int32_t dfTaskDerivative(const DfTask* task, double* coeff);

/*
 * All sites of an interval at which a function has a value, in ascending order. Extrema by the quadratic formula cut every
 * piece into monotone stretches; one whose ends lie on both sides of the value has one such site: by the formulas of lines
 * and parabolas, or for cubics by Newton's steps inside a bracket, halved where they are slow, which cannot fail.
 *
 * function  0 .. ny - 1.
 * value     the value; any number.
 * a, b      ends of the closed interval, a not above b; infinities reach as far as doubles do. Outside the partition the
 *           end polynomials count under DF_OUTSIDE_CONTINUE; under the other modes the interval ends with the
 *           partition, and DF_OUTSIDE_REFUSE answers -1042 if it does not by itself.
 * room      length of sites, at least 0.
 * sites     receives the first `room` sites; may be null if room is 0.
 * count     receives how many there are, which may be more than `room`.
 *
 * An extremum, a or b at which the function equals the value within the rounding of its terms counts as one site, and so
 * does a breakpoint at which it equals it exactly. A stretch that equals the value from one of these to the next is one
 * site, its first. So is a jump across the value, as coefficients of the caller may have, at its breakpoint. Pieces with a
 * coefficient that is not finite have none.
 *
 * Returns 0; -1000 null task; -1045, -1044, -1047; -1043 function; -1011 a kind without pieces; -1010 order above 4;
 * -1016 a row of coefficients missing; -1042.
 */
RVN_API int32_t dfTaskSolve(const DfTask* task, int32_t function, double value, double a, double b,
                            int64_t room, double* sites, int64_t* count);

/*
 * The inverse of a monotone function at many values: for each the smallest site of the partition where the function has
 * it. The whole spline is tested first, and a table of nx values built, so give all values in one call.
 *
 * function  0 .. ny - 1. Must not turn inside the partition beyond rounding; flat stretches are allowed, and jumps in the
 *           direction of the rest (a value inside a jump gives the breakpoint).
 * n         number of values, at least 1.
 * values    n values, in any order.
 * sites     n sites, may be the array of values; NaN for a NaN and for values that the function does not reach inside the
 *           partition.
 *
 * Returns 0; -1000 null task; -1046; -1047 null values; -1022 null sites; -1043 function; -1011 a kind without pieces;
 * -1010 order above 4; -1016 a row of coefficients missing; -1001 out of memory; -1048 not monotone.
 */
RVN_API int32_t dfTaskInverse(const DfTask* task, int32_t function, int32_t n, const double* values,
                              double* sites);

#ifdef __cplusplus
}
#endif

#endif
