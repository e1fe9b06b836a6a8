/* A closed curve: two coordinates over one parameter, stored point by point, and a Bessel spline that meets
 * itself with the same direction. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/data_fitting.h>

enum { POINTS = 25, SITES = 400 };

int main(void) {
  const double pi = acos(-1.0), ends[2] = {0.0, 2.0 * pi}; /* ends of breakpoints and of sites */
  const int32_t placeAndDirection[2] = {1, 1};
  double xy[2 * POINTS];
  double coeff[2 * 4 * (POINTS - 1)];
  static double r[2 * 2 * SITES];
  double off = 0.0, length = 0.0;
  DfTask* task = NULL;
  int32_t status;

  for (int i = 0; i < POINTS - 1; ++i) {
    xy[2 * i] = cos(2.0 * pi * i / (POINTS - 1));
    xy[2 * i + 1] = sin(2.0 * pi * i / (POINTS - 1));
  }
  xy[2 * POINTS - 2] = xy[0]; /* periodic ends must agree to the bit */
  xy[2 * POINTS - 1] = xy[1];
  status = dfTaskCreate(&task, POINTS, ends, DF_XHINT_UNIFORM, 2, xy, DF_VALUES_BY_BREAKPOINT);
  if (status == DF_STATUS_OK)
    status = dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_BESSEL, DF_END_PERIODIC, NULL, DF_IC_NONE, NULL,
                              coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, SITES, ends, DF_SITES_UNIFORM,
                               2, placeAndDirection, NULL, r, DF_RESULTS_SITES_INNER, NULL);
  dfTaskDestroy(&task);
  if (status != DF_STATUS_OK) {
    fprintf(stderr, "status %d\n", (int)status);
    return 1;
  }

  const double *px = r, *dx = r + SITES, *py = r + 2 * SITES, *dy = r + 3 * SITES;
  for (int i = 0; i < SITES; ++i) {
    off = fmax(off, fabs(hypot(px[i], py[i]) - 1.0));
    if (i > 0) length += 2.0 * pi / (SITES - 1) * hypot(dx[i], dy[i]);
  }
  printf("distance from the circle %.1e, length %.4f\n", off, length);
  /* The direction at the joint is that of the chord across it: straight up. A polygon with 24 corners is 0.018
   * shorter than the circle. */
  if (fabs(dx[0]) > 1e-14 || fabs(dx[SITES - 1]) > 1e-13 || fabs(dy[0] - dy[SITES - 1]) > 1e-13) return 1;
  return off < 1e-3 && fabs(length - 2.0 * pi) < 0.018 ? 0 : 1;
}
