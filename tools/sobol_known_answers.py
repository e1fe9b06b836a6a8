"""Prints tests/data/sobol.kat: points of the 40-dimensional Sobol sequence by the GNU Scientific Library.

Points 2^k - 1 and 2^k differ by direction number k. A line has a point's index, from 1, and its coordinates as
integers of 30 bits.

usage: python3 tools/sobol_known_answers.py > tests/data/sobol.kat   (Debian: libgsl27)
"""

import ctypes

LAST_BIT = 20
DIMENSION = 40
LIBRARY = ctypes.CDLL("libgsl.so.27")


def main():
    gsl = LIBRARY
    gsl.gsl_qrng_alloc.restype = ctypes.c_void_p
    kind = ctypes.c_void_p.in_dll(gsl, "gsl_qrng_sobol")
    sequence = ctypes.c_void_p(gsl.gsl_qrng_alloc(kind, ctypes.c_uint(DIMENSION)))
    version = ctypes.c_char_p.in_dll(gsl, "gsl_version").value.decode()
    wanted = {100, 1000, 12345, 1000000}
    for k in range(LAST_BIT + 1):
        wanted |= {2**k - 1, 2**k}
    point = (ctypes.c_double * DIMENSION)()
    print("# GSL", version, "by tools/sobol_known_answers.py")
    for index in range(1, 2**LAST_BIT + 1):
        gsl.gsl_qrng_get(sequence, point)
        if index in wanted:
            print(index, *(f"{int(x * 2**30):08x}" for x in point))
    gsl.gsl_qrng_free(sequence)


if __name__ == "__main__":
    main()
