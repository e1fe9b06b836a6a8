#ifndef RAVENFIT_STREAM_TOOLS_H
#define RAVENFIT_STREAM_TOOLS_H

/*
 * More operations on the streams of ravenfit/random_streams.h: moves, parts for workers, copies, saved streams, facts about
 * generators, and values other than doubles.
 *
 * Operations return 0 or a negative RSG_ERROR code. A bad parameter is also reported, see rvnSetMessageHandler of
 * ravenfit/tools.h. All parameters are tested before anything is written, and a call that fails leaves the stream as it
 * was, unless its text says otherwise. RSG_ERROR_NULL_STREAM (-5) and RSG_ERROR_NOT_A_STREAM (-1006) stand for a bad
 * stream everywhere, RSG_ERROR_ARGUMENT (-3) for a null array, a negative count or a bad interval.
 *
 * Threads: one thread at a time changes a stream. Operations that take it as const only read it, and may do so in several
 * threads at once while nobody changes it.
 */

#include <stdint.h>

#include <ravenfit/random_streams.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Statuses beside those of ravenfit/random_streams.h. */
enum {
  RSG_ERROR_SPLIT = -1200,         /* rsgSplit: the generator cannot be split, or not into so many parts */
  RSG_ERROR_BUFFER_SIZE = -1201,   /* rsgSaveStream: the buffer is too small */
  RSG_ERROR_SAVED_STREAM = -1202,  /* rsgLoadStream: cut, damaged, or no saved stream */
  RSG_ERROR_SAVED_VERSION = -1203, /* rsgLoadStream: saved by a later version of the library */
  RSG_ERROR_NOT_SAVED = -1205,     /* rsgSaveSize, rsgSaveStream: points by a caller's table */
  RSG_ERROR_QUASI_RANDOM = -1204   /* the operation would tear the points of a quasi-random sequence apart */
};

/* ---- Facts ---- */

/* Moves that a generator supports (a bit set). */
enum {
  RSG_MOVE_SKIP_AHEAD = 1, /* rsgSkipAhead */
  RSG_MOVE_LEAPFROG = 2,   /* rsgLeapfrog, any number of streams */
  RSG_MOVE_COORDINATE = 4  /* rsgSelectCoordinate; rsgLeapfrog by the number of coordinates */
};

/* How rsgSplit makes parts of a stream. */
enum {
  RSG_SPLIT_NONE = 0,       /* it refuses */
  RSG_SPLIT_LEAPFROG = 1,   /* part i of k takes the outputs i, i + k, i + 2k, ... */
  RSG_SPLIT_SKIP = 2,       /* each part is a stretch of the sequence */
  RSG_SPLIT_MEMBERS = 3,    /* each part is another member of the family, with a seed of its own */
  RSG_SPLIT_INDEPENDENT = 4 /* nothing to split: the hardware's numbers go to whoever asks first */
};

/* Facts of a generator. */
typedef struct RsgInfo {
  const char* name;   /* of the family, a constant: "MT19937" */
  int32_t brngId;     /* as family + member, see RSG_BRNG_* */
  int32_t member;     /* number of the member, from 0 */
  int32_t members;    /* that the family has */
  int32_t wordBytes;  /* of a raw output: 4; MCG59 8; Wichmann-Hill 16, four components in a row */
  int32_t bits;       /* that count in a raw output; Wichmann-Hill: in a component */
  int32_t stateBytes; /* of a stream in memory */
  int32_t seedWords;  /* that rsgNewStreamFromSeeds makes use of; 0: any number of them */
  int32_t moves;      /* RSG_MOVE_* */
  int32_t split;      /* RSG_SPLIT_* */
  int32_t
      dimension; /* of a quasi-random stream: coordinates that it delivers; 0 for other generators, and where no
                          stream was asked */
  int32_t coordinate;  /* the one coordinate that a quasi-random stream delivers; -1 otherwise */
  int32_t reserved[4]; /* 0 */
} RsgInfo;

/*
 * Facts of the generator that an identifier names, without a stream.
 *
 * Returns 0; -1000 identifier not usable; -3 null info.
 */
RVN_API int32_t rsgGeneratorInfo(int32_t brngId, RsgInfo* info);

/* Facts of a stream and its generator. Returns 0; -5, -1006; -3 null info. */
RVN_API int32_t rsgStreamInfo(const RsgStream* stream, RsgInfo* info);

/* ---- Making and keeping streams ---- */

/*
 * Creates a stream and seeds its generator by several words, as the generator's authors do it where they say how: the
 * Mersenne Twisters by their array seeding, others by taking words as the state, in order, reduced to what it can hold.
 * Missing words count as in random_streams.h, extra words are ignored. Quasi-random: the first word is the
 * dimension. RDRAND: the second one is the number of failures in a row that ends a fill, if it is not 0.
 *
 * stream  address of the caller's pointer, which receives the stream; rsgDeleteStream deletes it.
 * count   number of seed words; 0: the generator's own start.
 * seeds   `count` words, copied; null is fine with 0.
 *
 * Returns 0; -5 null address; -1000 identifier not usable; -3 bad count or seeds, with *stream untouched; -4 out of
 * memory, *stream null.
 */
RVN_API int32_t rsgNewStreamFromSeeds(RsgStream** stream, int32_t brngId, int32_t count,
                                      const uint32_t* seeds);

/*
 * Makes a stream that gives the same values as the source from here on, and is the caller's to delete.
 *
 * Returns 0; -5, -1006 bad source or null address, with *copy untouched; -4 out of memory, *copy null.
 */
RVN_API int32_t rsgCopyStream(RsgStream** copy, const RsgStream* source);

/* The bytes that rsgSaveStream writes, at most 2528; or -5, -1006, -1205. */
RVN_API int32_t rsgSaveSize(const RsgStream* stream);

/*
 * Writes the stream's state to a buffer, the same bytes on every platform, level and byte order. rsgLoadStream of this
 * version and later ones makes a stream from them that continues where this one stands. RDRAND has no sequence to
 * continue. Points from a caller's table (rsgNewSobolFromTable) are not saved: create them again from the table, and skip.
 *
 * buffer, size  `size` bytes, of which the first rsgSaveSize are written.
 *
 * Returns 0; -5, -1006; -3 null buffer or negative size; -1205 not to be saved; -1201 buffer too small.
 */
RVN_API int32_t rsgSaveStream(const RsgStream* stream, void* buffer, int32_t size);

/*
 * Creates a stream from what rsgSaveStream wrote. Bytes after that are ignored; rsgSaveSize of the new stream tells where
 * they start. The bytes are not trusted: a checksum catches all damage to a single byte and nearly all other, and a state
 * that the generator cannot be in is refused even if the sum is right.
 *
 * Returns 0; -5 null address; -3 null buffer or negative size; -1202 cut, damaged, or no saved stream; -1203 saved by a
 * later version; all with *stream untouched. -4 out of memory, *stream null.
 */
RVN_API int32_t rsgLoadStream(RsgStream** stream, const void* buffer, int32_t size);

/* ---- Moves. Outputs are counted as the values of vdRngUniform, whatever each is made of; quasi-random: coordinates.
 * RDRAND's doubles take two. ---- */

/*
 * Moves the stream ahead, as if so many outputs had been drawn, in a time that hardly depends on how many.
 *
 * Returns 0; -5, -1006; -1003 the generator cannot (R250, MT2203, RDRAND), or a quasi-random sequence ends before; -4 out of
 * memory (MT19937, SFMT19937).
 */
RVN_API int32_t rsgSkipAhead(RsgStream* stream, uint64_t outputs);

/*
 * Leaves the stream only outputs k, k + count, k + 2 count, ... of those that it would give: `count` copies of a stream,
 * each with another k, share its sequence.
 *
 * k, count  0 <= k < count. Quasi-random: count must be the number of coordinates that the stream delivers.
 *
 * Returns 0; -5, -1006; -3 k or count out of range; -1002 the generator cannot (all but MCG31, MCG59, Wichmann-Hill), or a
 * quasi-random stream delivers another number of coordinates.
 */
RVN_API int32_t rsgLeapfrog(RsgStream* stream, int32_t k, int32_t count);

/*
 * Makes a quasi-random stream deliver one coordinate alone, from the current point on, or from the next one if this
 * coordinate of the current point was delivered already. Streams of one dimension and place, each with a coordinate of its
 * own, together give the points. A later call can choose another coordinate, from the current point on.
 *
 * coordinate  0 to dimension - 1, see rsgStreamInfo.
 *
 * Returns 0; -5, -1006; -1002 the generator is not quasi-random; -3 there is no such coordinate.
 */
RVN_API int32_t rsgSelectCoordinate(RsgStream* stream, int32_t coordinate);

/*
 * Makes `count` streams of one, for as many workers. The stream itself stays where it is; do not draw from it beside its
 * parts.
 *
 * stretch  0: parts in the way that suits the generator (`split` of RsgInfo).
 *            leapfrog (MCG31, MCG59): part i takes every count-th output, from output i on.
 *            skip (MRG32k3a, MT19937, SFMT19937): part i begins i 2^63 outputs ahead.
 *            skip (Sobol, Niederreiter): part i begins i/count of the way to the end of the sequence, rounded down to whole
 *            points. It is better to say how many values each part will deliver, so that together they are the first ones.
 *            members (MT2203, Wichmann-Hill): part i is the member that is i places behind the stream's, the first one
 *            behind the last. Its seeds come from the stream's next output: MT2203 gets one plus the number of the member,
 *            Wichmann-Hill different ones for each part, of which the first 20 values are dropped. With one seed for
 *            several members these would begin alike. count: at most the members of the family.
 *            R250 is refused; RDRAND's parts are streams like it.
 *          Above 0: part i begins i * stretch outputs ahead, so that parts that each give `stretch` outputs give together
 *          what the stream would, in order. Generators that can skip ahead; beyond the period, the parts overlap.
 * count    1 or more.
 * parts    `count` pointers, which receive the streams, each the caller's to delete.
 *
 * Returns 0; -5, -1006; -3 bad count or parts; -1200 not to be split, or into fewer parts only; -1003 stretch above 0 and
 * no skip-ahead, or parts that begin behind the end of a quasi-random sequence; -4 out of memory. On -1003 and -4 all of
 * `parts` is null; otherwise it is untouched.
 */
RVN_API int32_t rsgSplit(const RsgStream* stream, int32_t count, uint64_t stretch, RsgStream** parts);

/* ---- Values. As with vdRngUniform, p and then q values are the same as p + q at once; n 0 is fine and does nothing.
 * None of them depends on the level, but for floats as doubles do. From RDRAND: -1130, -1131, and r may then be written in
 * part. ---- */

/*
 * Fills r with n words of 32 uniformly distributed bits.
 *
 *   R250, MT19937, MT2203, SFMT19937, RDRAND, Sobol, Niederreiter  the output
 *   MRG32k3a       the output, 1 to 2^32 - 209
 *   MCG59          the upper 32 of its 59 bits
 *   Wichmann-Hill  the first 32 bits of the fraction that is its value
 *   MCG31          two outputs: the upper 16 of 31 bits of each, the first output in the low half
 *
 * Returns 0; -5, -1006; -3 bad n or r; -1130, -1131.
 */
RVN_API int32_t rsgWords32(RsgStream* stream, int32_t n, uint32_t* r);

/*
 * Fills r with n words of 64 bits, each of two that rsgWords32 would give, the first one in the low half.
 *
 * Returns 0; -5, -1006; -1204 quasi-random stream; -3 bad n or r; -1130, -1131.
 */
RVN_API int32_t rsgWords64(RsgStream* stream, int32_t n, uint64_t* r);

/*
 * Fills r with n integers, low <= r <= high, all equally probable where all words of the generator are: of a word w and
 * the number s of integers, floor(w s / 2^32), and w is dropped if w s mod 2^32 < 2^32 mod s (D. Lemire, ACM Transactions
 * on Modeling and Computer Simulation 29, 2019). So value i is made from the i-th word of rsgWords32 that is not dropped,
 * and a fill draws no word beyond that of its last value. Of MRG32k3a 209 words never occur, and some of MCG31's pairs are
 * rarer than others, each by less than one part in 10^4.
 *
 * low, high  low <= high; the whole range of int32_t is fine.
 *
 * Returns 0; -5, -1006; -1204 quasi-random stream; -3 bad n, r or interval; -1130, -1131.
 */
RVN_API int32_t rsgIntegers(RsgStream* stream, int32_t n, int32_t* r, int32_t low, int32_t high);

/*
 * Fills r with n floats, a <= r < b, one output each, as the generator maps them to doubles and then rounded; what
 * rounding takes out of the interval becomes a, or the largest float below b. RDRAND's take one output.
 *
 * a, b  finite, a < b, and b - a a finite float.
 *
 * Returns 0; -5, -1006; -3 bad n, r or interval; -1130, -1131.
 */
RVN_API int32_t rsgUniformFloat(RsgStream* stream, int32_t n, float* r, float a, float b);

/*
 * Fills r with n doubles of 53 bits, 0 <= r < 1, multiples of 2^-53: (2^26 (u >> 5) + (v >> 6)) / 2^53 of two words u, v
 * that rsgWords32 would give (M. Matsumoto, T. Nishimura, 2002). vdRngUniform has 31 to 59 bits of one output.
 *
 * Returns 0; -5, -1006; -1204 quasi-random stream; -3 bad n or r; -1130, -1131.
 */
RVN_API int32_t rsgUniform53(RsgStream* stream, int32_t n, double* r);

#ifdef __cplusplus
}
#endif

#endif
