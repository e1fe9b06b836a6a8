// What statuses mean and what to do about them, a table for every domain.

#include <cstddef>
#include <cstdint>

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/smoothing.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/tools.h>
#include <ravenfit/tridiagonal.h>
#include <ravenfit/variates.h>

namespace {

struct StatusText {
  std::int32_t status;
  const char* text;
};

constexpr StatusText fitTexts[] = {
    {DF_STATUS_OK, "No error."},
    {DF_ERROR_NULL_TASK,
     "The task is null. Pass the one that dfTaskCreate made and dfTaskDestroy has not deleted."},
    {DF_ERROR_MEMORY,
     "Out of memory, or more elements than this machine can address. Use fewer breakpoints or functions."},
    {DF_ERROR_METHOD,
     "Unknown method. Pass 0 for format and method to construct, DF_METHOD_POLYNOMIAL to interpolate."},
    {DF_ERROR_NO_WORK, "type asks for nothing. Set one of the DF_WANT bits."},
    {DF_ERROR_BREAKPOINT_COUNT,
     "Too few breakpoints. nx must be 2 or more, and what the spline kind needs: 3, 4 or 5 for most."},
    {DF_ERROR_NULL_BREAKPOINTS, "x is null. Pass nx breakpoints, or the two ends with DF_XHINT_UNIFORM."},
    {DF_ERROR_PARTITION_HINT, "Unknown xhint. Pass one of DF_XHINT_*."},
    {DF_ERROR_FUNCTION_COUNT,
     "The number of functions and the arrays do not agree. Pass ny 0 and y null, or both; coefficients only "
     "with functions."},
    {DF_ERROR_FUNCTION_VALUES,
     "Function values are missing. Create the task with ny and y, and a yhint that has all of them."},
    {DF_ERROR_VALUES_HINT, "Unknown yhint. Pass one of DF_VALUES_*."},
    {DF_ERROR_SPLINE_ORDER, "No spline of this order. Pass DF_ORDER_LINEAR, _QUADRATIC or _CUBIC for order."},
    {DF_ERROR_SPLINE_KIND,
     "No spline kind of this number and order. Pass one of DF_KIND_* with the order that it has."},
    {DF_ERROR_INTERNAL_CONDITION,
     "icType is not what the spline kind needs. Pass the DF_IC_* that its description names."},
    {DF_ERROR_NULL_INTERNAL,
     "Internal conditions are missing, or knots are not between their breakpoints. Pass the array ic that "
     "the kind needs."},
    {DF_ERROR_BOUNDARY_CONDITION,
     "The spline kind does not have this end. Pass a bcType that its description names."},
    {DF_ERROR_NULL_BOUNDARY, "bc is null, but bcType needs values. Pass one or two numbers."},
    {DF_ERROR_NULL_COEFFICIENTS,
     "There are no coefficients. Give dfTaskEditSpline an array coeff with room for all functions."},
    {DF_ERROR_COEFFICIENT_HINT, "Unknown coeffHint. Pass one of DF_COEFF_*."},
    {DF_ERROR_PERIODIC_VALUES,
     "First and last function value differ, but the ends are periodic. Make them equal, or choose another "
     "bcType."},
    {DF_ERROR_SITE_COUNT, "nsite is below 1. Pass at least one site."},
    {DF_ERROR_SITES,
     "site is null; or, to DF_KIND_LOOKUP, a site is no breakpoint. Pass nsite sites, for look-up "
     "breakpoints."},
    {DF_ERROR_SITES_HINT, "Unknown sitehint. Pass one of DF_SITES_*."},
    {DF_ERROR_DERIVATIVE_COUNT,
     "dorder without ndorder, or derivatives of values that are only looked up. Pass the number of flags in "
     "dorder."},
    {DF_ERROR_DERIVATIVES,
     "ndorder without dorder, or the value not wanted of DF_KIND_LOOKUP. Pass ndorder flags in dorder."},
    {DF_ERROR_DATA_HINT,
     "datahint is of an unknown kind. Pass null, or the array that its description shows."},
    {DF_ERROR_NULL_RESULTS, "r is null. Pass room for all results."},
    {DF_ERROR_RESULTS_HINT, "Unknown rhint. Pass one of DF_RESULTS_*."},
    {DF_ERROR_NULL_CELLS, "cell is null, but cells are wanted or given. Pass nsite integers."},
    {DF_ERROR_LOOKUP_SITE,
     "A site is no breakpoint. Look up breakpoints only, or choose another spline kind."},
    {DF_ERROR_BAD_POINTER,
     "A pointer is not usable. Pass arrays that are as long as their description says."},
    {DF_ERROR_LIMIT_COUNT, "n is below 1. Pass the number of pairs of limits."},
    {DF_ERROR_LEFT_LIMITS, "left is null. Pass n limits."},
    {DF_ERROR_RIGHT_LIMITS, "right is null. Pass n limits."},
    {DF_ERROR_NULL_INTEGRALS, "r is null. Pass room for an integral of every pair and function."},
    {DF_ERROR_INTEGRALS_HINT, "Unknown rhint of integrals. Pass one of DF_RESULTS_*."},
    {DF_ERROR_BREAKPOINTS,
     "Breakpoints must be finite and strictly ascending. dfCheckBreakpoints tells which one is not."},
    {DF_ERROR_OUTSIDE_MODE, "Unknown choice for the outside. Pass DF_OUTSIDE_* twice."},
    {DF_ERROR_OUTSIDE,
     "A site is outside the partition, or a NaN, and the task refuses those. Pass sites from x[0] to "
     "x[nx-1], or "
     "choose another DF_OUTSIDE_*."},
    {DF_ERROR_FUNCTION_INDEX, "There is no such function. Pass 0 to ny - 1."},
    {DF_ERROR_INTERVAL, "a is above b, or one of them is a NaN. Pass the lower end first."},
    {DF_ERROR_ROOM,
     "room is negative, count is null, or sites is null where there is room. Pass the length of sites."},
    {DF_ERROR_VALUE_COUNT, "n is below 1. Pass the number of values."},
    {DF_ERROR_VALUES, "values is null, or the value to be found is a NaN."},
    {DF_ERROR_NOT_MONOTONE,
     "The function turns inside the partition, or has coefficients that are not finite, and so no inverse. "
     "dfTaskSolve finds all sites of a value."},
    {DF_ERROR_SMOOTH_METHOD, "Unknown method. Pass DF_SMOOTH_LAMBDA or DF_SMOOTH_GCV."},
    {DF_ERROR_LAMBDA, "lambda is negative, infinite or a NaN. Pass 0 or more."},
    {DF_ERROR_WEIGHTS,
     "A weight is not positive and finite. Leave points out instead of giving them weight 0."},
    {DF_ERROR_NOT_FINITE, "A function value is infinite or a NaN. Leave such points out."},
    {DF_ERROR_SMOOTH_SCALE,
     "Steps or weights differ by too many orders of magnitude. Merge points that are nearly the same, or "
     "scale "
     "the weights."},
    {DF_ERROR_SOLVER,
     "The spline's equations cannot be solved. Look for equal or unsorted breakpoints, NaNs, and too few "
     "points."},
};

constexpr StatusText streamTexts[] = {
    {RSG_STATUS_OK, "No error."},
    {RSG_ERROR_STATE_METHOD, "The generator does not know this operation on its state."},
    {RSG_ERROR_ARGUMENT,
     "A bad argument: a null array, a negative count, an empty or reversed interval, or a number out of its "
     "range."},
    {RSG_ERROR_MEMORY, "Out of memory. Delete streams that are not in use."},
    {RSG_ERROR_NULL_STREAM,
     "The stream, or the address of its pointer, is null. Make one with rsgNewStream."},
    {RSG_ERROR_GENERATOR,
     "No generator has this identifier. Pass one of RSG_BRNG_*, plus a member that the family has."},
    {RSG_ERROR_LEAPFROG,
     "The generator has no leapfrog, or not by this number of streams. rsgGeneratorInfo tells the moves; "
     "rsgSplit has others."},
    {RSG_ERROR_SKIP_AHEAD,
     "The generator cannot skip ahead, or a quasi-random sequence ends before. rsgGeneratorInfo tells the "
     "moves."},
    {RSG_ERROR_NOT_A_STREAM, "This is no stream, or a deleted one. Pass what rsgNewStream made."},
    {RSG_ERROR_BUFFER_KIND, "The buffer holds values of another kind than those wanted."},
    {RSG_ERROR_NO_HARDWARE,
     "This processor has no random numbers of its own. Choose another generator than RDRAND."},
    {RSG_ERROR_HARDWARE_RETRY, "The processor's random numbers ran out for too long. Try again."},
    {RSG_ERROR_SPLIT,
     "The generator cannot be split into so many parts. Ask for at most as many as it has members, or take "
     "another one."},
    {RSG_ERROR_BUFFER_SIZE,
     "The buffer is too small for the stream. Pass as many bytes as rsgSaveSize tells."},
    {RSG_ERROR_SAVED_STREAM,
     "These bytes are no saved stream, or are cut or damaged. Pass all that rsgSaveStream wrote."},
    {RSG_ERROR_SAVED_VERSION,
     "The stream was saved by a later version of the library. Load it with that version."},
    {RSG_ERROR_DIMENSION, "No points of so many dimensions. Pass 1 to the most that the operation serves."},
    {RSG_ERROR_SCRAMBLING, "Unknown scrambling. Pass one of RSG_SCRAMBLING_*."},
    {RSG_ERROR_TABLE,
     "The table of direction numbers is missing, too short, or has a faulty row. Pass the numbers of whole "
     "lines "
     "d s a m_1 ... m_s, from d = 2 on."},
    {RSG_ERROR_NOT_SAVED,
     "Points by a table of the caller's cannot be saved. Make the stream again from the table, and skip "
     "ahead."},
    {RSG_ERROR_QUASI_RANDOM,
     "One value of several outputs would tear quasi-random points apart. Take rsgWords32, floats or "
     "doubles."},
};

// Arguments are counted from 1; which is which depends on the routine.
constexpr StatusText solverTexts[] = {
    {0, "No error."},
    {-1, "Argument 1 is bad: n (DDTSVB, DDTTRFB) is negative, or trans (DDTTRSB) is none of N, T and C."},
    {-2, "Argument 2 is bad: nrhs (DDTSVB) or n (DDTTRSB) is negative, or dl (DDTTRFB) is null."},
    {-3, "Argument 3 is bad: nrhs (DDTTRSB) is negative, or dl (DDTSVB) or d (DDTTRFB) is null."},
    {-4, "Argument 4 is bad: d (DDTSVB), du (DDTTRFB) or dl (DDTTRSB) is null."},
    {-5, "Argument 5 is bad: du (DDTSVB) or d (DDTTRSB) is null."},
    {-6, "Argument 6 is bad: b (DDTSVB) or du (DDTTRSB) is null."},
    {-7, "Argument 7 is bad: ldb (DDTSVB) is less than n, or b (DDTTRSB) is null."},
    {-8, "Argument 8 is bad: ldb (DDTTRSB) is less than n."},
};
constexpr char badPivot[] =
    "A pivot is zero or a NaN: that of row info - 1, counted from 0. The matrix needs pivoting, or has NaNs; "
    "use another "
    "solver.";

constexpr char unknownStatus[] = "Unknown status: no operation of this domain returns it.";
constexpr char unknownDomain[] =
    "Unknown domain: pass RVN_DOMAIN_FIT, RVN_DOMAIN_STREAMS or RVN_DOMAIN_SOLVER.";

template <std::size_t rows>
const char* find(const StatusText (&texts)[rows], std::int32_t status) {
  for (const StatusText& row : texts)
    if (row.status == status) return row.text;
  return unknownStatus;
}

}  // namespace

extern "C" const char* rvnStatusText(std::int32_t domain, std::int32_t status) {
  switch (domain) {
    case RVN_DOMAIN_FIT:
      return find(fitTexts, status);
    case RVN_DOMAIN_STREAMS:
      return find(streamTexts, status);
    case RVN_DOMAIN_SOLVER:
      return status > 0 ? badPivot : find(solverTexts, status);
    default:
      return unknownDomain;
  }
}
