#ifndef RAVENFIT_TRIDIAGONAL_H
#define RAVENFIT_TRIDIAGONAL_H

/*
 * Tridiagonal systems without pivoting, eliminated from both ends at once (the "twisted" or burn-at-both-ends
 * factorisation; I. Babuska, 1972). For matrices that need no pivoting, such as diagonally dominant ones.
 *
 * The matrix of order n is given by three arrays: dl[i] = A[i+1][i] and du[i] = A[i][i+1] with n - 1
 * elements, d[i] = A[i][i] with n elements. Right-hand sides stand in b, column-major: column j starts at
 * b[j*ldb]. Arguments go by address, integers are 32 bits wide; n, ldb and nrhs may be one and the same
 * integer.
 *
 * info receives 0; -k if argument k was bad (also reported on standard output; nothing was computed); k above
 * 0 if the pivot of row k - 1, counted from 0, is zero or a NaN: the factorisation stops there.
 *
 * No routine allocates. Threads: the routines share nothing; arrays belong to the caller.
 */

#include <stdint.h>

#include <ravenfit/export.h>
#include <ravenfit/version.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Factors A and solves A X = B. dl and d are overwritten by the factors, b by the solution. With n or nrhs 0
 * nothing is done. On a positive info b is untouched or partly worked.
 * info: -1 n negative, -2 nrhs negative, -7 ldb less than n.
 */
RVN_API void DDTSVB(const int32_t* n, const int32_t* nrhs, double* dl, double* d, const double* du, double* b,
                    const int32_t* ldb, int32_t* info);

/*
 * Factors A: d receives the reciprocals of the pivots, dl the multipliers: in the rows above n / 2 the
 * subdiagonal divided by the pivot of its column, below it by the pivot of its row. du stays.
 * info: -1 n negative.
 */
RVN_API void DDTTRFB(const int32_t* n, double* dl, double* d, const double* du, int32_t* info);

/*
 * Solves with factors of DDTTRFB or DDTSVB; b is overwritten by the solution.
 * trans: "N" or "n" solves A X = B. "T", "t", "C" and "c" apply the mirrored sequence of steps, which is not
 * the solution of the transposed system.
 * info: -1 trans unknown, -2 n negative, -3 nrhs negative, -8 ldb less than n.
 */
RVN_API void DDTTRSB(const char* trans, const int32_t* n, const int32_t* nrhs, const double* dl,
                     const double* d, const double* du, double* b, const int32_t* ldb, int32_t* info);

#ifdef __cplusplus
}
#endif

#endif
