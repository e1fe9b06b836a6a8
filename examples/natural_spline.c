/* A natural cubic spline through samples of a decaying oscillation: value and slope at sites in any order. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/data_fitting.h>

enum { BREAKPOINTS = 25, SITES = 5 };

int main(void) {
  double x[BREAKPOINTS];
  double y[BREAKPOINTS];
  double coeff[4 * (BREAKPOINTS - 1)];
  const double site[SITES] = {3.3, 0.1, 5.95, 1.0, 2.2};
  const int32_t valueAndSlope[2] = {1, 1};
  double r[2 * SITES];
  double worst = 0.0;
  DfTask* task = NULL;
  int32_t status;

  for (int i = 0; i < BREAKPOINTS; ++i) {
    x[i] = 0.25 * i;
    y[i] = exp(-0.3 * x[i]) * cos(2.0 * x[i]);
  }
  status = dfTaskCreate(&task, BREAKPOINTS, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_NOT_A_KNOT, NULL, DF_IC_NONE,
                              NULL, coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, SITES, site, DF_SITES_GENERAL,
                               2, valueAndSlope, NULL, r, DF_RESULTS_DERIVS_INNER, NULL);
  dfTaskDestroy(&task);
  if (status != DF_STATUS_OK) {
    fprintf(stderr, "status %d\n", (int)status);
    return 1;
  }

  printf("  site       value       slope\n");
  for (int i = 0; i < SITES; ++i) {
    const double error = fabs(r[2 * i] - exp(-0.3 * site[i]) * cos(2.0 * site[i]));
    if (error > worst) worst = error;
    printf("%6.2f  %10.6f  %10.6f\n", site[i], r[2 * i], r[2 * i + 1]);
  }
  return worst < 1e-3 ? 0 : 1;
}
