"""Prints r250.kat: outputs of the GNU Scientific Library's gsl_rng_r250, the first 250 of them as seeds."""

import ctypes

ctypes.CDLL("libgslcblas.so.0", mode=ctypes.RTLD_GLOBAL)
gsl = ctypes.CDLL("libgsl.so.27")
gsl.gsl_rng_alloc.restype = ctypes.c_void_p
gsl.gsl_rng_get.restype = ctypes.c_ulong
generator = ctypes.c_void_p(gsl.gsl_rng_alloc(ctypes.c_void_p.in_dll(gsl, "gsl_rng_r250")))
gsl.gsl_rng_set(generator, ctypes.c_ulong(1))
outputs = [gsl.gsl_rng_get(generator) for _ in range(250 + 1000)]

print("# gsl_rng_r250 of the GNU Scientific Library 2.7.1, seed 1; written by tools/r250_known_answers.py")
print("generator R250")
print("seeds", *outputs[:250])
for position in [0, 1, 2, 102, 103, 146, 147, 249, 250, 251, 500, 999]:
    print("value", position, outputs[250 + position])
