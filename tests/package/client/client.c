/* A strict C client: a straight line, splined and evaluated between its breakpoints. */
#include <stdio.h>

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/tridiagonal.h>

int main(void) {
  const double x[5] = {0.0, 1.0, 2.5, 3.0, 4.0};
  const double y[5] = {1.0, 3.0, 6.0, 7.0, 9.0};
  const double site[2] = {0.5, 3.25};
  double coeff[16];
  double r[2];
  double random[3];
  DfTask* task = NULL;
  RsgStream* stream = NULL;
  int32_t n = 0;
  int32_t info = -1;
  if (dfTaskCreate(&task, 5, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT) != DF_STATUS_OK) return 1;
  if (dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, NULL, DF_IC_NONE, NULL, coeff,
                       DF_COEFF_DEFAULT) != DF_STATUS_OK)
    return 2;
  if (dfTaskConstruct(task, 0, 0) != DF_STATUS_OK) return 3;
  if (dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 2, site, DF_SITES_GENERAL, 0, NULL,
                        NULL, r, DF_RESULTS_DEFAULT, NULL) != DF_STATUS_OK)
    return 4;
  if (dfTaskDestroy(&task) != DF_STATUS_OK || task != NULL) return 5;
  if (rsgNewStream(&stream, RSG_BRNG_WICHMANN_HILL, 1) != RSG_STATUS_OK) return 6;
  if (vdRngUniform(RNG_UNIFORM_PLAIN, stream, 3, random, 0.0, 1.0) != RSG_STATUS_OK) return 7;
  if (rsgDeleteStream(&stream) != RSG_STATUS_OK) return 8;
  DDTTRFB(&n, NULL, NULL, NULL, &info);
  if (info != 0) return 9;
  printf("%.3f %.3f\n", r[0], r[1]);
  return r[0] > 1.999 && r[0] < 2.001 && r[1] > 7.499 && r[1] < 7.501 ? 0 : 10;
}
