/* Integrates a function of five variables over the unit cube by points of the Sobol sequence, and, for comparison,
   by pseudo-random points of MT19937. */

#include <math.h>
#include <stdio.h>

#include <ravenfit/random_streams.h>

enum { dimension = 5, points = 1 << 14 };

/* The product of (1 + x_j) * 2/3, whose integral is 1. */
static double f(const double* x) {
  double product = 1.0;
  for (int j = 0; j < dimension; ++j)
    product *= (1.0 + x[j]) * (2.0 / 3.0);
  return product;
}

/* The mean of f at all points of a stream; negative if there is none. */
static double mean(int32_t brngId, uint32_t seed) {
  double x[dimension];
  double sum = 0.0;
  RsgStream* stream = NULL;
  if (rsgNewStream(&stream, brngId, seed) != RSG_STATUS_OK) return -1.0;
  for (int i = 0; i < points; ++i) {
    vdRngUniform(RNG_UNIFORM_PLAIN, stream, dimension, x, 0.0, 1.0);
    sum += f(x);
  }
  rsgDeleteStream(&stream);
  return sum / points;
}

int main(void) {
  const double even = mean(RSG_BRNG_SOBOL, dimension); /* the seed is the dimension */
  const double random = mean(RSG_BRNG_MT19937, 1);
  printf("Sobol   %.6f\nMT19937 %.6f\nexact   1.000000\n", even, random);
  return fabs(even - 1.0) < 1e-3 && fabs(random - 1.0) < 2e-2 ? 0 : 1;
}
