/* A quadratic spline of Subbotin with knots of the caller's choice: construction reads all nx + 1 of them,
 * interpolation looks for the knot inside a cell one place earlier. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/data_fitting.h>

enum { POINTS = 15, SITES = 2 * POINTS - 1, SLOPES = DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE };

int main(void) {
  double x[POINTS];
  double y[POINTS];
  double knot[POINTS + 1] = {0.0};
  double coeff[3 * POINTS]; /* one piece more than there are cells */
  double site[SITES];       /* breakpoints, and midpoints between them */
  double r[SITES];
  DfTask* task = NULL;
  int32_t status;

  for (int i = 0; i < POINTS; ++i) {
    x[i] = 0.1 * i + 0.01 * i * i;
    y[i] = sin(x[i]);
    site[2 * i] = x[i];
    if (i > 0) site[2 * i - 1] = 0.5 * (x[i - 1] + x[i]);
    if (i > 0) knot[i] = 0.45 * x[i - 1] + 0.55 * x[i];
  }
  knot[POINTS] = x[POINTS - 1];
  const double slopes[2] = {cos(x[0]), cos(x[POINTS - 1])};
  status = dfTaskCreate(&task, POINTS, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskEditSpline(task, DF_ORDER_QUADRATIC, DF_KIND_SUBBOTIN, SLOPES, slopes, DF_IC_KNOTS, knot,
                              coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK) /* From here on knot + 1. Null for the coefficients keeps them. */
    status = dfTaskEditSpline(task, DF_ORDER_QUADRATIC, DF_KIND_SUBBOTIN, SLOPES, slopes, DF_IC_KNOTS,
                              knot + 1, NULL, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, SITES, site, DF_SITES_SORTED,
                               0, NULL, NULL, r, DF_RESULTS_DEFAULT, NULL);
  dfTaskDestroy(&task);

  if (status != DF_STATUS_OK) fprintf(stderr, "status %d\n", (int)status);
  for (int i = 0; i < SITES && status == DF_STATUS_OK; ++i) {
    printf("%.4f  %.6f%s\n", site[i], r[i], i % 2 == 0 ? "" : "  between breakpoints");
    if (fabs(r[i] - sin(site[i])) > (i % 2 == 0 ? 1e-14 : 2e-3)) return 1;
  }
  return status == DF_STATUS_OK ? 0 : 1;
}
