/* A beam on two supports with a load at two thirds: deflections by a ruler, curvatures by strain gauges. Between
 * loads a beam bends as a cubic, so that the spline is the beam, its slope included. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/data_fitting.h>

enum { STATIONS = 7, SITES = 4 };

/* Length 3, bending stiffness 6, load 1 at 2: deflection, slope and curvature by Euler and Bernoulli. */
static void beam(double x, double* u) {
  const double beyond = fmax(x - 2.0, 0.0);
  u[0] = (8.0 * x - x * x * x + 3.0 * beyond * beyond * beyond) / 108.0;
  u[1] = (8.0 - 3.0 * x * x + 9.0 * beyond * beyond) / 108.0;
  u[2] = (-6.0 * x + 18.0 * beyond) / 108.0;
}

int main(void) {
  const double station[STATIONS] = {0.0, 0.4, 1.0, 1.5, 2.0, 2.6, 3.0}, site[SITES] = {2.8, 0.1, 1.2, 1.9};
  const double supports[2] = {0.0, 0.0}; /* nothing bends there */
  const int32_t all[3] = {1, 1, 1};
  double y[STATIONS], curvature[STATIONS - 2], coeff[4 * (STATIONS - 1)], r[3 * SITES], u[3];
  DfTask* task = NULL;
  int32_t status;

  for (int i = 0; i < STATIONS; ++i) {
    beam(station[i], u);
    y[i] = u[0];
    if (i > 0 && i < STATIONS - 1) curvature[i - 1] = u[2]; /* those of the inner stations */
  }
  status = dfTaskCreate(&task, STATIONS, station, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_DEFAULT,
                              DF_END_LEFT_CURVATURE + DF_END_RIGHT_CURVATURE, supports, DF_IC_CURVATURES,
                              curvature, coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, SITES, site, DF_SITES_GENERAL,
                               3, all, NULL, r, DF_RESULTS_DERIVS_INNER, NULL);
  dfTaskDestroy(&task);

  if (status != DF_STATUS_OK) fprintf(stderr, "status %d\n", (int)status);
  for (int i = 0; i < SITES && status == DF_STATUS_OK; ++i) {
    printf("%.1f  %9.6f  %9.6f  %9.6f\n", site[i], r[3 * i], r[3 * i + 1], r[3 * i + 2]);
    beam(site[i], u);
    for (int k = 0; k < 3; ++k)
      if (fabs(r[3 * i + k] - u[k]) > 1e-13) return 1;
  }
  return status == DF_STATUS_OK ? 0 : 1;
}
