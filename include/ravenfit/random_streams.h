#ifndef RAVENFIT_RANDOM_STREAMS_H
#define RAVENFIT_RANDOM_STREAMS_H

/*
 * Random streams: one object holds the state of one basic generator; fills draw from it.
 *
 * Operations return 0 or a negative RSG_ERROR code. A bad parameter is also reported on standard output, as
 * "Vetra RVN ERROR: Parameter %d was incorrect on entry to %s."; the report does not change the result, and
 * rvnSetMessageHandler of ravenfit/tools.h sends it elsewhere.
 *
 * Threads: one thread at a time uses one stream; different streams may be used by different threads at once.
 * Raw outputs do not depend on the processor, on the level, or on how a fill is cut: p then q values are the same
 * as p + q at once. Level 9 maps those of MRG32k3a, Sobol, MT19937 and SFMT19937 to an interval with one rounding
 * where other levels have two; such values differ by at most 2^-51 (|a| + |b|).
 */

#include <stdint.h>

#include <ravenfit/export.h>
#include <ravenfit/version.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A random stream; owned by the library from rsgNewStream to rsgDeleteStream. */
typedef struct RsgStream RsgStream;

/* Statuses. Some numbers equal those of data fitting and mean something else here. */
enum {
  RSG_STATUS_OK = 0,
  RSG_ERROR_STATE_METHOD = -2,     /* a state operation's unknown method; not returned by public operations */
  RSG_ERROR_ARGUMENT = -3,         /* vdRngUniform */
  RSG_ERROR_MEMORY = -4,           /* rsgNewStream */
  RSG_ERROR_NULL_STREAM = -5,      /* a null stream, or a null address of a stream pointer */
  RSG_ERROR_GENERATOR = -1000,     /* rsgNewStream: identifier not usable */
  RSG_ERROR_LEAPFROG = -1002,      /* stream_tools.h: the generator has no such leapfrog */
  RSG_ERROR_SKIP_AHEAD = -1003,    /* stream_tools.h: the generator has no such skip-ahead */
  RSG_ERROR_NOT_A_STREAM = -1006,  /* the object is not a stream */
  RSG_ERROR_BUFFER_KIND = -1122,   /* not returned by public operations */
  RSG_ERROR_NO_HARDWARE = -1130,   /* vdRngUniform: hardware generator not present */
  RSG_ERROR_HARDWARE_RETRY = -1131 /* vdRngUniform: hardware generator kept failing */
};

/*
 * Generator families: identifier = family + member. What the seed of rsgNewStream is to each:
 *
 * - MCG31: x <- 1132489760 x mod 2^31 - 1. Reduced by the modulus; 0 counts as 1. Period 2^31 - 2. (P. L'Ecuyer,
 *   1999)
 * - R250: z[n] = z[n - 250] ^ z[n - 147]. The start of a congruential sequence; 0 counts as 1. Period 2^250 - 1.
 *   (S. Kirkpatrick, E. P. Stoll, 1981)
 * - MRG32k3a: two recurrences of order 3, modulo 2^32 - 209 and 2^32 - 22853. The oldest value of the first; the
 *   others are 1. Period about 2^191. (P. L'Ecuyer, 1999)
 * - MCG59: x <- 13^13 x mod 2^59. The start; 0 counts as 1. Period 2^57, shorter if the seed is even. (N. M. Maclaren,
 *   1989)
 * - Wichmann-Hill: four multiplicative generators combined. Reduced by the first modulus; 0 counts as 1. Period about
 *   2^93. Members with equal or close seeds start out almost alike: drop the first 10 values. (B. A. Wichmann, I. D. Hill,
 *   1982; moduli just under 2^24 after N. M. Maclaren, 1989)
 * - Sobol: points, delivered coordinate by coordinate. The dimension, 1 to 40; anything else counts as 1. 2^32 - 1
 *   points. (I. M. Sobol, 1967; P. Bratley, B. L. Fox, 1988.) The first two coordinates are those of SciPy's points, the
 *   others are not: see rsgNewSobolFromTable of ravenfit/variates.h.
 * - Niederreiter: the same, in 1 to 318 dimensions. (H. Niederreiter, 1988)
 * - MT19937: the only word of the key. Period 2^19937 - 1. (M. Matsumoto, T. Nishimura, 1998)
 * - MT2203: the same; every member has a recurrence of its own. Period 2^2203 - 1. Give members different seeds, s +
 *   member: with one seed their first 500 values or so are correlated. (M. Matsumoto, T. Nishimura, 2000)
 * - SFMT19937: the only word of the key. Period a multiple of 2^19937 - 1. (M. Saito, M. Matsumoto, 2008)
 * - RDRAND: nothing; the values are the processor's own random numbers.
 *
 * More of each, and which ends of an interval it reaches: docs/streams.md.
 */
enum {
  RSG_BRNG_MCG31 = 0x100000,
  RSG_BRNG_R250 = 0x200000,
  RSG_BRNG_MRG32K3A = 0x300000,
  RSG_BRNG_MCG59 = 0x400000,
  RSG_BRNG_WICHMANN_HILL = 0x500000, /* members 0 to 272 */
  RSG_BRNG_SOBOL = 0x600000,
  RSG_BRNG_NIEDERREITER = 0x700000,
  RSG_BRNG_MT19937 = 0x800000,
  RSG_BRNG_MT2203 = 0x900000, /* members 0 to 6023 */
  RSG_BRNG_SFMT19937 = 0xD00000,
  RSG_BRNG_RDRAND = 0xE00000
};

/* Methods of vdRngUniform. */
enum {
  RNG_UNIFORM_PLAIN = 0,           /* values as the generator maps them */
  RNG_UNIFORM_CLAMPED = 0x40000000 /* the same values, forced into the closed interval from a to b */
};

/*
 * Creates a stream and seeds its generator.
 *
 * stream  address of the caller's pointer, which receives the stream.
 * brngId  RSG_BRNG_* plus a member number. Numbers below 0x100000 name rows of the member table: 0 to 3 are the first
 *         four families, 4 to 276 the Wichmann-Hill members, 277 and 278 Sobol and Niederreiter.
 * seed    any number; see the families.
 *
 * Returns 0; -1000 identifier not usable (reported as parameter 2), *stream untouched; -4 out of memory,
 * *stream null; -5 null address.
 */
RVN_API int32_t rsgNewStream(RsgStream** stream, int32_t brngId, uint32_t seed);

/*
 * Deletes a stream and sets *stream to null.
 *
 * Returns 0; -5 if stream or *stream is null, -1006 if it is no stream, both reported as parameter 1, and the
 * pointer stays as it was.
 */
RVN_API int32_t rsgDeleteStream(RsgStream** stream);

/*
 * Fills r with n uniformly distributed values over the interval from a to b.
 *
 * method  RNG_UNIFORM_PLAIN or RNG_UNIFORM_CLAMPED. Plain values lie in a <= r < b up to rounding, which can yield b
 *         itself or a value just outside of either end; MRG32k3a can also yield b without it.
 * n       number of values; with 0 nothing else is checked.
 * r       n doubles, at any address.
 * a, b    a below b. A NaN passes the test and every value is then a NaN; an infinite bound, or finite ones whose
 *         width or sum overflows, give infinities or NaNs, which clamping makes b or keeps.
 *
 * Returns 0; -3 bad method, n, r or interval (reported as parameter 1, 3, 4, 5); -5, -1006 bad stream
 * (reported as parameter 2); -1130, -1131 from the hardware generator. Nothing is written but for -1131.
 */
RVN_API int32_t vdRngUniform(int32_t method, RsgStream* stream, int32_t n, double* r, double a, double b);

#ifdef __cplusplus
}
#endif

#endif
