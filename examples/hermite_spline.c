/* Between the steps of a solver of differential equations: it knows the slope at every step, and a Hermite
 * spline gives the solution at any time. Here y' = y (1 - y), the growth to a limit. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/data_fitting.h>

enum { STEPS = 33, SITES = 200 };

static double growth(double y) {
  return y * (1.0 - y);
}

int main(void) {
  const double h = 0.25;
  double t[STEPS], y[STEPS] = {0.05}, slope[STEPS], coeff[4 * (STEPS - 1)], site[SITES], r[SITES];
  double worst = 0.0;
  DfTask* task = NULL;
  int32_t status;

  for (int i = 0; i < STEPS; ++i) { /* the classical method of Runge and Kutta */
    t[i] = h * i;
    slope[i] = growth(y[i]);
    const double second = growth(y[i] + 0.5 * h * slope[i]);
    const double third = growth(y[i] + 0.5 * h * second);
    const double fourth = growth(y[i] + h * third);
    if (i < STEPS - 1) y[i + 1] = y[i] + h / 6.0 * (slope[i] + 2.0 * (second + third) + fourth);
  }
  for (int i = 0; i < SITES; ++i)
    site[i] = 8.0 * (i + 0.5) / SITES;
  const double ends[2] = {slope[0], slope[STEPS - 1]};
  status = dfTaskCreate(&task, STEPS, t, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK) /* The end slopes go into bc; slope[1] is the first of the inner ones. */
    status = dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_HERMITE, DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE,
                              ends, DF_IC_SLOPES, slope + 1, coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, SITES, site, DF_SITES_SORTED,
                               0, NULL, NULL, r, DF_RESULTS_DEFAULT, NULL);
  dfTaskDestroy(&task);

  if (status != DF_STATUS_OK) fprintf(stderr, "status %d\n", (int)status);
  for (int i = 0; i < SITES && status == DF_STATUS_OK; ++i)
    worst = fmax(worst, fabs(r[i] - 1.0 / (1.0 + 19.0 * exp(-site[i]))));
  printf("largest error at %d times: %.1e\n", SITES, worst);
  return status == DF_STATUS_OK && worst < 1e-4 ? 0 : 1;
}
