#ifndef RAVENFIT_VARIATES_H
#define RAVENFIT_VARIATES_H

/*
 * Normal, exponential and log-normal variates of random streams, and scrambled Sobol points.
 *
 * Variates come by the inverse of the distribution function: one output of the generator makes one value, in order, and
 * the value grows with the output. So quasi-random points stay as even as they are, a seed gives the same path however
 * the parameters change, and p then q values are the same as p + q at once. Calls may alternate with vdRngUniform.
 *
 * Operations return 0 or a negative RSG_ERROR code. A bad parameter is also reported, as ravenfit/random_streams.h says
 * for the other operations. Threads: one thread at a time uses one stream.
 */

#include <stdint.h>

#include <ravenfit/random_streams.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * The uniform number behind a variate is made of the generator's raw output w and never 0 or 1, so that every value is
 * finite:
 *
 *   32-bit words (R250, MT19937, MT2203, SFMT19937, quasi-random points)   (w + 1/2) / 2^32
 *   MCG31                  w / (2^31 - 1)
 *   MRG32k3a               w / (2^32 - 208)
 *   MCG59                  w / 2^59
 *   Wichmann-Hill, RDRAND  the double of vdRngUniform over [0, 1), but at least 2^-54 and at most 1 - 2^-54
 *
 * Both tails are taken from the nearer end, so that none is coarser than the other. Standard normal values of 32-bit
 * words lie between -6.34 and 6.34, which bounds their tails at a probability of 1.2e-10; those of MCG59 between -8.70
 * and 8.70.
 *
 * Values are the same bits on every level and platform.
 */

/*
 * Fills r with n normal variates: mean + sigma z, each operation rounded, where z is the standard normal quantile by
 * M. J. Wichura, Algorithm AS 241 (PPND16), Applied Statistics 37, 1988, within 3 ULP of its exact value.
 *
 * stream  of any generator.
 * n       number of values; with 0 nothing else is checked.
 * r       n doubles, at any address.
 * mean    finite.
 * sigma   the standard deviation, finite, 0 or more. Where sigma z or the sum overflows, values are infinite.
 *
 * Returns 0; -5, -1006 bad stream (reported as parameter 1); -3 bad n, r, mean or sigma (reported as parameter 2 to 5);
 * -1130, -1131 from the hardware generator. Nothing is written but for -1131.
 */
RVN_API int32_t rsgNormal(RsgStream* stream, int32_t n, double* r, double mean, double sigma);

/*
 * Fills r with n exponential variates: -mean ln(1 - u), within 2 ULP in both tails.
 *
 * mean    finite, 0 or more: the mean, which is also the standard deviation and the reciprocal of the rate.
 *
 * Otherwise as rsgNormal.
 */
RVN_API int32_t rsgExponential(RsgStream* stream, int32_t n, double* r, double mean);

/*
 * Fills r with n log-normal variates: e^(mean + sigma z), z as in rsgNormal and e^x within 1 ULP. mean and sigma are
 * those of the logarithm; the exponent is rounded to a double, so that large ones bring its error with them.
 * Values beyond the range of doubles are infinite or 0.
 *
 * Arguments and statuses as those of rsgNormal.
 */
RVN_API int32_t rsgLogNormal(RsgStream* stream, int32_t n, double* r, double mean, double sigma);

/*
 * Scrambled Sobol points: the randomised points of one seed are as even as Sobol's own, those of different seeds are
 * independent, and every single point is uniform in the unit cube. So an estimate by N points has no bias, and the spread
 * of estimates by some ten seeds tells its error.
 *
 * Streams of these points are drawn from by every operation that takes a stream. A seed scrambles a coordinate in the
 * same way whatever the dimension is.
 */
enum {
  RSG_SCRAMBLING_NONE = 0,  /* the points themselves, from point 1 on, as RSG_BRNG_SOBOL delivers them */
  RSG_SCRAMBLING_SHIFT = 1, /* digital shift: every coordinate is XORed with one random word */
  RSG_SCRAMBLING_LINEAR = 2 /* random linear scrambling, and a digital shift after it */
};

/* Statuses of these operations alone. */
enum {
  RSG_ERROR_DIMENSION = -1210,  /* dimension below 1, or above what the numbers serve */
  RSG_ERROR_SCRAMBLING = -1211, /* no RSG_SCRAMBLING_* */
  RSG_ERROR_TABLE = -1212       /* the table of direction numbers is missing, too short or faulty */
};

/*
 * The families of these streams, for operations that tell or want an identifier. rsgNewStream makes points without
 * scrambling of the first, in as many dimensions as the seed says; further seed words are the seed, low word first, and
 * the scrambling. Of the second it makes a single coordinate: tables come by rsgNewSobolFromTable alone.
 */
enum { RSG_BRNG_SCRAMBLED_SOBOL = 0xF00000, RSG_BRNG_SOBOL_TABLE = 0x1000000 };

/* The most coordinates of a table. */
enum { RSG_TABLE_DIMENSIONS = 21201 };

/*
 * Creates a stream of scrambled Sobol points with the library's direction numbers (those of RSG_BRNG_SOBOL).
 *
 * stream      address of the caller's pointer, which receives the stream; rsgDeleteStream ends it.
 * dimension   1 to 40.
 * seed        any number; without scrambling it has no effect.
 * scrambling  RSG_SCRAMBLING_*.
 *
 * Points are delivered coordinate by coordinate, scrambled ones from point 0 on: the first 2^m of them are then a whole
 * net, every elementary interval of it filled evenly (A. B. Owen, On dropping the first Sobol' point, 2022). There are
 * 2^32 points; after the last the stream continues at point 1. Skip-ahead moves to any of them in at most 32 steps,
 * and a selected coordinate is delivered alone, as for RSG_BRNG_SOBOL.
 *
 * RSG_SCRAMBLING_LINEAR multiplies the generator matrix of every coordinate from the left by a random lower triangular
 * matrix with a diagonal of ones (J. Matousek, Journal of Complexity 14, 1998), in place of the random permutations of
 * A. B. Owen (1995): the variance of an estimate is the same. RSG_SCRAMBLING_SHIFT keeps the points' relative places and
 * is enough for an unbiased estimate.
 *
 * Returns 0; -5 null address; -1210, -1211 (reported as parameter 1, 2, 4), *stream untouched; -4 out of memory,
 * *stream null.
 */
RVN_API int32_t rsgNewScrambledSobol(RsgStream** stream, int32_t dimension, uint64_t seed,
                                     int32_t scrambling);

/*
 * The same with direction numbers of the caller's, in the format of S. Joe and F. Y. Kuo (SIAM Journal on Scientific
 * Computing 30, 2008), whose files have a line for each coordinate from the second on: d s a m_1 ... m_s. With their
 * numbers (new-joe-kuo-6) and without scrambling, the points are those of SciPy's qmc.Sobol, without its point 0.
 *
 * dimension  1 to RSG_TABLE_DIMENSIONS. The first coordinate has no row: it is the one of Sobol.
 * table      the numbers of those lines one after the other, without the line of titles: rows for d = 2, 3, ... in this
 *            order. s is the degree of a primitive polynomial x^s + a_1 x^(s-1) + ... + a_(s-1) x + 1, 1 to 31; a
 *            its inner coefficients as a binary number a_1 ... a_(s-1); m_j odd and below 2^j. The stream keeps
 *            no pointer to it. May be null if length is 0.
 * length     numbers in the table. Rows after the one of `dimension` are ignored.
 *
 * Polynomials should differ from coordinate to coordinate; that is not tested, and neither is how good the numbers are.
 *
 * Returns as rsgNewScrambledSobol (parameters 1, 2, 6), and -1212 (reported as parameter 3): the table ends before the
 * row of `dimension`, a row has another d, a degree, an a or an m out of range, or its polynomial is not primitive.
 */
RVN_API int32_t rsgNewSobolFromTable(RsgStream** stream, int32_t dimension, const uint32_t* table,
                                     int32_t length, uint64_t seed, int32_t scrambling);

#ifdef __cplusplus
}
#endif

#endif
