/* A table that only rises, with a flat stretch and a jump, as charge curves and distributions have them: the natural
 * spline swings below and above it, those of PCHIP and Steffen never turn. Modified Akima keeps the flat stretch flat. */
#include <stdio.h>

#include <ravenfit/data_fitting.h>

enum { POINTS = 9, SITES = 801 };

static const double x[POINTS] = {0.0, 1.0, 2.0, 3.0, 4.0, 4.5, 5.0, 7.0, 8.0};
static const double y[POINTS] = {0.0, 0.0, 0.0, 0.0, 0.1, 0.9, 1.0, 1.0, 1.0};
static const double ends[2] = {0.0, 8.0}; /* of the sites */

/* How far a spline falls on its way: 0 if it never turns. Below 0: a status. */
static double fall(int32_t kind, int32_t end, double* r) {
  double coeff[4 * (POINTS - 1)];
  double highest = 0.0;
  double deepest = 0.0;
  DfTask* task = NULL;
  int32_t status = dfTaskCreate(&task, POINTS, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status =
        dfTaskEditSpline(task, DF_ORDER_CUBIC, kind, end, NULL, DF_IC_NONE, NULL, coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, SITES, ends, DF_SITES_UNIFORM,
                               0, NULL, NULL, r, DF_RESULTS_DEFAULT, NULL);
  dfTaskDestroy(&task);
  if (status != DF_STATUS_OK) return status;
  for (int i = 0; i < SITES; ++i) {
    if (r[i] > highest) highest = r[i];
    if (highest - r[i] > deepest) deepest = highest - r[i];
  }
  return deepest;
}

int main(void) {
  static double r[SITES];
  const double natural = fall(DF_KIND_NATURAL, DF_END_FREE, r);
  const double pchip = fall(DF_KIND_PCHIP, DF_END_NONE, r);
  const double steffen = fall(DF_KIND_STEFFEN, DF_END_NONE, r);
  const double akima = fall(DF_KIND_MODIFIED_AKIMA, DF_END_NONE, r);
  double flat = 0.0; /* what modified Akima makes of the stretch before x = 2 */
  for (int i = 0; i <= 200; ++i)
    if (r[i] > flat || -r[i] > flat) flat = r[i] < 0.0 ? -r[i] : r[i];
  printf("falls by: natural %.3f, PCHIP %g, Steffen %g\n", natural, pchip, steffen);
  printf("the flat stretch by modified Akima: %g\n", flat);
  return natural > 0.01 && pchip >= 0.0 && pchip < 1e-15 && steffen >= 0.0 && steffen < 1e-15 &&
                 akima >= 0.0 && flat == 0.0
             ? 0
             : 1;
}
