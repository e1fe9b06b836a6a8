#ifndef RAVENFIT_DATA_FITTING_H
#define RAVENFIT_DATA_FITTING_H

/*
 * One-dimensional data fitting: piece-wise polynomial splines over a partition, cell search, evaluation of
 * values and derivatives.
 *
 * A task goes through create, edit, construct, interpolate (any number of times) and destroy. Edit and
 * construct may be repeated. The task keeps pointers to the caller's arrays and never copies them:
 * breakpoints, function values, conditions and coefficients stay the caller's, who keeps them alive while the
 * task uses them.
 *
 * Every operation returns 0 or a negative DF_ERROR code; arguments are validated in a fixed order and the first
 * failure returns at once. No operation prints, throws or ends the process (a processor without SSE2 is the
 * one exception: it ends the process at the first call with exit code 1).
 *
 * Threads: different tasks may be used by different threads at once. dfTaskInterpolate only reads its task, so that many
 * threads may call it on one, with results of their own; nobody may create, edit, construct or destroy that task meanwhile.
 *
 * Special values: nothing in the arrays makes an operation fault. A NaN or an infinity in breakpoints, values
 * or sites flows through the formulas; repeated or unsorted breakpoints are not detected and give unusable
 * numbers, or a failed factorisation, but never a write outside the caller's arrays.
 */

#include <stdint.h>

#include <ravenfit/export.h>
#include <ravenfit/version.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A data-fitting task; owned by the library from dfTaskCreate to dfTaskDestroy. */
typedef struct DfTask DfTask;

/* Statuses, with the operations that return them. */
enum {
  DF_STATUS_OK = 0,
  DF_ERROR_NULL_TASK = -1000,          /* edit, construct, interpolate, destroy; create: null address */
  DF_ERROR_MEMORY = -1001,             /* create, edit, construct, interpolate: out of memory, or a size that
                                          does not fit this machine */
  DF_ERROR_METHOD = -1002,             /* construct: format or method not 0; interpolate: method not 1 */
  DF_ERROR_NO_WORK = -1003,            /* interpolate: no DF_WANT bit */
  DF_ERROR_BREAKPOINT_COUNT = -1004,   /* create: nx below 2; construct: nx below the kind's minimum */
  DF_ERROR_NULL_BREAKPOINTS = -1005,   /* create */
  DF_ERROR_PARTITION_HINT = -1006,     /* create */
  DF_ERROR_FUNCTION_COUNT = -1007,     /* create, edit: ny and the array do not agree */
  DF_ERROR_FUNCTION_VALUES = -1008,    /* create, construct, interpolate: function values missing */
  DF_ERROR_VALUES_HINT = -1009,        /* create, construct */
  DF_ERROR_SPLINE_ORDER = -1010,       /* edit: negative; construct: not served */
  DF_ERROR_SPLINE_KIND = -1011,        /* edit: negative; construct, interpolate: not served */
  DF_ERROR_INTERNAL_CONDITION = -1012, /* edit, construct: type of internal conditions */
  DF_ERROR_NULL_INTERNAL = -1013,      /* edit, construct: array of internal conditions */
  DF_ERROR_BOUNDARY_CONDITION = -1014, /* construct: boundary type not served by the kind */
  DF_ERROR_NULL_BOUNDARY = -1015,      /* edit, construct: array of boundary conditions */
  DF_ERROR_NULL_COEFFICIENTS = -1016,  /* construct, interpolate */
  DF_ERROR_COEFFICIENT_HINT = -1017,   /* not returned */
  DF_ERROR_PERIODIC_VALUES = -1018,    /* construct: first and last value differ under DF_END_PERIODIC */
  DF_ERROR_SITE_COUNT = -1021,         /* interpolate: nsite below 1 */
  DF_ERROR_SITES = -1022,              /* interpolate: null sites; DF_KIND_LOOKUP: a site is no breakpoint */
  DF_ERROR_SITES_HINT = -1023,         /* interpolate */
  DF_ERROR_DERIVATIVE_COUNT = -1024,   /* interpolate: dorder without ndorder; DF_KIND_LOOKUP: more than the
                                          value requested */
  DF_ERROR_DERIVATIVES = -1025,        /* interpolate: ndorder without dorder; DF_KIND_LOOKUP: value not
                                          requested */
  DF_ERROR_DATA_HINT = -1026,          /* interpolate: a-priori information */
  DF_ERROR_NULL_RESULTS = -1027,       /* interpolate */
  DF_ERROR_RESULTS_HINT = -1028,       /* interpolate */
  DF_ERROR_NULL_CELLS = -1029,         /* interpolate */
  DF_ERROR_LOOKUP_SITE = -1035,        /* not returned; DF_KIND_LOOKUP answers DF_ERROR_SITES */
  DF_ERROR_BAD_POINTER = -1037,        /* not returned */
  DF_ERROR_SOLVER = -1500              /* construct: the tridiagonal step met a pivot that is zero or a NaN */
};

/* Structure of the partition (xhint). */
enum {
  DF_XHINT_NONE = 0, /* nx ascending breakpoints; 1 means the same */
  DF_XHINT_QUASI_UNIFORM =
      2,               /* nx ascending breakpoints, nearly equidistant: searches start from an estimate */
  DF_XHINT_UNIFORM = 4 /* x[0] and x[1] are the two ends of nx equidistant breakpoints; not with
                          DF_END_NOT_A_KNOT, see there */
};

/* Layout of the function values (yhint): the value of function f at breakpoint i. */
enum {
  DF_VALUES_DEFAULT = 0,        /* y[f*nx + i] */
  DF_VALUES_BY_FUNCTION = 16,   /* y[f*nx + i] */
  DF_VALUES_BY_BREAKPOINT = 32, /* y[i*ny + f] */
  DF_VALUES_FIRST_ROW = 128     /* y[i] for function 0 alone; with ny above 1, construct answers -1008 */
};

/* Layout of the coefficients (coeffHint). */
enum {
  DF_COEFF_DEFAULT = 0,    /* one array, the functions' rows one after another */
  DF_COEFF_FIRST_ROW = 128 /* one row for function 0 alone; with ny above 1, construct answers -1016 */
};

/* Spline orders: coefficients per cell. 0 goes with the coefficient-free kinds. */
enum { DF_ORDER_NONE = 0, DF_ORDER_LINEAR = 2, DF_ORDER_QUADRATIC = 3, DF_ORDER_CUBIC = 4 };

/* Spline kinds. Coefficients may also be the caller's own: interpolation needs no construction. */
enum {
  DF_KIND_DEFAULT = 0,    /* order 3: from a midpoint value; order 4: from given second derivatives */
  DF_KIND_SUBBOTIN = 1,   /* order 3 */
  DF_KIND_NATURAL = 2,    /* order 4: continuous second derivative, by a tridiagonal system for the slopes */
  DF_KIND_HERMITE = 3,    /* order 4: from given slopes */
  DF_KIND_BESSEL = 4,     /* order 4: slopes from three-point parabolas */
  DF_KIND_AKIMA = 5,      /* order 4 */
  DF_KIND_LOOKUP = 6,     /* order 0: sites must be breakpoints; the value there */
  DF_KIND_STEP_RIGHT = 7, /* order 0: constant per cell, continuous from the right */
  DF_KIND_STEP_LEFT = 8,  /* order 0: constant per cell, continuous from the left */

  DF_KIND_MODIFIED_AKIMA = 0x101, /* order 4: Akima with weights that keep flat stretches flat */
  DF_KIND_PCHIP = 0x102,          /* order 4: monotone where the data are, by harmonic means */
  DF_KIND_STEFFEN = 0x103         /* order 4: monotone where the data are, by limited parabolas */
};

/* Boundary types (bcType). Types 12, 24, 36 and 48 read bc[0] for the left and bc[1] for the right end. */
enum {
  DF_END_NONE = 0,        /* the kind's own ends. Akima: the slope of the chords, continued by half a cell.
                                 Modified Akima: its formula, by chords continued by 2 d_0 - d_1 and 3 d_0 - 2 d_1.
                                 PCHIP: the parabola through three points, limited. Steffen: the end chord. The
                                 other kinds refuse it */
  DF_END_NOT_A_KNOT = 1,  /* third derivative continuous at the second and the last but one breakpoint; kinds
                                 3 to 5 and from 0x101 on: the end cubic, continued, passes through the third
                                 point. With DF_XHINT_UNIFORM these and the natural kind have a different
                                 condition, which DOES NOT REPRODUCE A STRAIGHT LINE: the slope of the chord over
                                 the two end cells is m_0 + 2 m_1, or 2 m_0 + m_1 (natural). For a not-a-knot end
                                 over equidistant points pass all breakpoints with DF_XHINT_QUASI_UNIFORM */
  DF_END_FREE = 2,        /* second derivative 0 */
  DF_END_LEFT_SLOPE = 4,  /* with 8 or 32 */
  DF_END_RIGHT_SLOPE = 8, /* with 4 or 16 */
  DF_END_LEFT_CURVATURE = 16, /* second derivative; with 8 or 32 */
  DF_END_RIGHT_CURVATURE = 32,
  DF_END_PERIODIC = 64, /* values agree at both ends; also slopes and curvatures (natural), slopes (3 to 5),
                           curvatures (default of order 4) */
  DF_END_QUADRATIC_VALUE = 128 /* default of order 3: the value at the midpoint of the first cell */
};

/* Internal conditions (icType). */
enum { DF_IC_NONE = 0, DF_IC_SLOPES = 1, DF_IC_CURVATURES = 2, DF_IC_KNOT_ENDS = 4, DF_IC_KNOTS = 8 };

/* What dfTaskInterpolate is to do (type, a bit set). */
enum {
  DF_WANT_INTERPOLATE = 1, /* evaluate into r */
  DF_WANT_CELLS = 2,       /* store the cell of every site in cell */
  DF_WANT_GIVEN_CELLS = 4  /* evaluate with the cells given in cell; cell is not written */
};

enum { DF_METHOD_POLYNOMIAL = 1 };

/* Structure of the sites (sitehint). */
enum {
  DF_SITES_NONE = 0,
  DF_SITES_GENERAL = 1,
  DF_SITES_UNIFORM = 4, /* site[0] and site[1] are the two ends of nsite equidistant sites */
  DF_SITES_SORTED = 64  /* ascending; not tested: sites in another order get unspecified cells of 0 .. nx */
};

/* Layout of the results (rhint), for function f, packed order k of nres, site i. */
enum {
  DF_RESULTS_DEFAULT = 0,       /* as DF_RESULTS_SITES_INNER */
  DF_RESULTS_DERIVS_INNER = 16, /* r[(f*nsite + i)*nres + k]; 128 means the same */
  DF_RESULTS_SITES_INNER = 32   /* r[(f*nres + k)*nsite + i] */
};

/*
 * Creates a task over a partition and, unless ny is 0, functions sampled on it.
 *
 * task   address of the caller's pointer, which receives the task.
 * nx     number of breakpoints, at least 2.
 * x      the breakpoints, ascending (nx doubles), or the two ends under DF_XHINT_UNIFORM (2 doubles).
 * xhint  DF_XHINT_*.
 * ny     number of functions. A negative number with y set passes, and counts as no function.
 * y      the function values, |nx * ny| doubles as yhint says; null exactly when ny is 0.
 * yhint  DF_VALUES_*.
 *
 * Returns 0; -1000 null address; -1004, -1005, -1006, -1007, -1008, -1009 with nothing done; -1001 out of
 * memory: then *task is null, or a partly built task that dfTaskDestroy frees. Order of the breakpoints is
 * not tested.
 *
 * Unless the partition is uniform, create builds a table of up to 1024 coarse cells over it, in one pass.
 */
RVN_API int32_t dfTaskCreate(DfTask** task, int32_t nx, const double* x, int32_t xhint, int32_t ny,
                             const double* y, int32_t yhint);

/*
 * Sets the spline of a task. May be called again. Tests and stores interleave in the order of the arguments,
 * so a failed call leaves the settings before the failing one changed.
 *
 * order, kind  DF_ORDER_*, DF_KIND_*; unknown values are stored and refused by construct and interpolate.
 * bcType, bc   DF_END_*; bc holds one value or two, which serve every function.
 * icType, ic   DF_IC_*; null exactly when icType is 0.
 *              DF_IC_SLOPES: first derivatives at the nx - 2 interior breakpoints, ic[0] belonging to x[1].
 *              DF_IC_CURVATURES: second derivatives at the same breakpoints.
 * DF_IC_KNOTS (kind Subbotin): nx + 1 knots t_0 .. t_nx with t_0 = x_0, t_nx the last breakpoint
 *              and x_k < t_(k+1) < x_(k+1); with DF_IC_KNOT_ENDS added, the two knots t_1 and t_(nx-1) of an
 *              equidistant run.
 * coeff        room for the coefficients: ny rows of order * (nx - 1) doubles (order * nx for
 *              DF_KIND_SUBBOTIN), each cell's `order` coefficients side by side in ascending powers of
 *              (t - x[i]). Null keeps the rows that an earlier edit set.
 * coeffHint    DF_COEFF_*.
 *
 * Returns 0; -1000 null task; -1010, -1011 negative order or kind; -1015 bc missing; -1013 ic missing; -1012
 * ic without icType; -1007 coeff for a task without functions; -1001 out of memory.
 */
RVN_API int32_t dfTaskEditSpline(DfTask* task, int32_t order, int32_t kind, int32_t bcType, const double* bc,
                                 int32_t icType, const double* ic, double* coeff, int32_t coeffHint);

/*
 * Computes the coefficients of every function into the array given to dfTaskEditSpline.
 *
 * format, method  must be 0.
 *
 * With h_i = x[i+1] - x[i], d_i = (y_(i+1) - y_i) / h_i and slopes m_i at the breakpoints:
 *   order 2               the broken line; kind and conditions are ignored. At CPU levels 3 to 9
 *                         DF_END_PERIODIC is refused with -1018 if the ends differ.
 *   order 3, default      bcType DF_END_QUADRATIC_VALUE: bc[0] is the value at the midpoint of the first
 *                         cell, for every function; a continuous slope gives all others. Errors of that value
 *                         alternate and do not fade, and grow with the ratios of steps.
 *   order 3, Subbotin     icType DF_IC_KNOTS, bcType 12, 24, 36 or 48: pieces join at the knots with a
 *                         continuous slope (S. B. Stechkin, Y. N. Subbotin, 1976). At least 3 breakpoints.
 *   order 4, default      ic: second derivatives, DF_IC_CURVATURES. Value and curvature are continuous, the
 *                         slope is not. At least 3. A free spline ends at the right with half of the last
 *                         given second derivative.
 *   natural               continuous curvature: a tridiagonal system for m_i (C. de Boor, A Practical Guide
 *                         to Splines, 1978, ch. IV) that is factored once for all functions. At least 3;
 *                         DF_END_NOT_A_KNOT on a general partition needs 4: with 3 the system is singular,
 *                         and rounding decides between -1500 and numbers without meaning.
 *   Hermite               ic: the slopes m_1 .. m_(nx-2), DF_IC_SLOPES. At least 3.
 *   Bessel                m_i of the parabola through three neighbours (de Boor, ch. IV). At least 4.
 *   Akima                 m_i a mean of d_(i-1) and d_i with weights |d_(i+1) - d_i| and |d_(i-1) - d_(i-2)|,
 *                         the plain mean if their sum is below 1e-10 (H. Akima, 1970). At least 5.
 *   modified Akima        the same with weights |d_(i+1) - d_i| + |d_(i+1) + d_i| / 2 and its mirror image.
 *                         At least 5.
 *   PCHIP                 m_i the weighted harmonic mean of d_(i-1) and d_i, 0 where they differ in sign
 *                         (F. N. Fritsch, J. Butland, 1984). Monotone data give a monotone spline under
 *                         DF_END_NONE; another end may break that in the end cell. At least 3.
 *   Steffen               m_i of the parabola through three neighbours, at most twice the smaller of d_(i-1)
 *                         and d_i, 0 where they differ in sign (M. Steffen, 1990); monotone like PCHIP.
 *                         At least 3.
 * DF_END_PERIODIC needs bc[0] with two kinds: the common slope (Hermite) or second derivative (default).
 *
 * Returns 0; -1000 null task; -1002 format or method; -1016, -1008, -1009 missing or unknown arrays; -1010,
 * -1011 order or kind not served; -1013, -1012 internal conditions missing or of another type; -1004 too few
 * breakpoints; -1014, -1015 boundary conditions; -1013 misplaced knots; -1001 out of
 * memory: in all these cases the coefficients are untouched. -1018 periodic ends that differ, or are no
 * numbers: natural completes all coefficients from the data as given, default of order 4 those of earlier
 * functions and leaves those of the failing one unspecified, and all others touch nothing. -1500 singular
 * system of the natural kind, coefficients untouched.
 */
RVN_API int32_t dfTaskConstruct(const DfTask* task, int32_t format, int32_t method);

/*
 * Finds cells and evaluates values and derivatives. Coefficients are read from the array given to
 * dfTaskEditSpline as they stand there: before dfTaskConstruct that is whatever the caller left in it.
 *
 * type      DF_WANT_* bits. With DF_WANT_GIVEN_CELLS the other bits have no effect; DF_WANT_CELLS alone finds
 *           cells and computes nothing else. That search alone gives cell 0 to a single uniform site: one site
 *           has no step.
 * method    must be DF_METHOD_POLYNOMIAL.
 * nsite     number of sites, at least 1.
 * site      nsite sites in any order, or two ends under DF_SITES_UNIFORM. Outside the partition the
 *           polynomial of the first or last cell continues; dfTaskSetOutside of ravenfit/spline_tools.h changes
 *           that.
 * sitehint  DF_SITES_*.
 * ndorder   length of dorder, 0 with a null dorder.
 * dorder    a non-zero entry k requests derivative k. nres, the results per site and function, is the sum of
 *           the entries (at or below 0: the value alone). Requested orders are packed in ascending order; a
 *           request beyond the polynomial's degree reads 0.0, and so does the constant derivative order - 1 of orders
 *           above 4; positions at or above nres are never written.
 * datahint  null, or 5 doubles: datahint[1] 0.0 for no information, 1.0 for a likely cell datahint[4], 0 to
 *           nx.
 * r         results, ny * nres * nsite doubles (ny 0 counts as 1, a negative ny as none) as rhint says.
 * rhint     DF_RESULTS_*.
 * cell      nsite cells, written under DF_WANT_CELLS, read under DF_WANT_GIVEN_CELLS (values outside 0 .. nx
 *           are taken as the nearest of them), else null. The cell of a site is the number of breakpoints not
 *           greater than it, 0 to nx; a NaN site gets 0. With DF_XHINT_QUASI_UNIFORM a site equal to a
 *           breakpoint may keep the cell on its left.
 *
 * Quadratic splines of DF_KIND_SUBBOTIN have nx pieces, expanded about the breakpoints and joined at knots. A
 * site with q = max(cell - 1, 0), at most nx - 2, is served by piece q + 1 if it is not less than a knot,
 * else by q:
 *   - ic set by DF_IC_KNOTS alone: the knot is ic[q]. A caller who constructed with all nx + 1 knots gets the
 *     spline that passes through the data by handing ic + 1 to dfTaskEditSpline before interpolating;
 *   - DF_IC_KNOT_ENDS added: the knot is ic[0] + q * step, step = (ic[1] - ic[0]) / (nx - 2);
 *   - no ic: the knot is the midpoint of x_q and x_(q+1).
 *
 * Returns 0; before anything is written: -1000 null task, -1003, -1002, -1022, -1021, -1023, -1016, -1008
 * (row of function values missing for DF_KIND_LOOKUP and the step kinds), -1027, -1024, -1025, -1029, -1011,
 * -1026, -1028, -1001. DF_KIND_LOOKUP also returns -1022, -1024 or -1025 at the first block of sites that
 * fails; results of earlier blocks then stand.
 */
RVN_API int32_t dfTaskInterpolate(const DfTask* task, int32_t type, int32_t method, int32_t nsite,
                                  const double* site, int32_t sitehint, int32_t ndorder,
                                  const int32_t* dorder, const double* datahint, double* r, int32_t rhint,
                                  int32_t* cell);

/*
 * Frees a task and sets *task to null. The caller's arrays are untouched.
 *
 * Returns 0; -1000 if task or *task is null.
 */
RVN_API int32_t dfTaskDestroy(DfTask** task);

#ifdef __cplusplus
}
#endif

#endif
