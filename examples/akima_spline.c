/* One false reading, and how far it reaches: two functions in one task, a straight line and the same line with
 * an outlier. An Akima spline keeps it to the two cells that it belongs to. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/data_fitting.h>

enum { POINTS = 21, OUTLIER = 9, SITES = 401 };

int main(void) {
  const double ends[2] = {0.0, 20.0}; /* of the breakpoints 0, 1, .. 20, and of the sites */
  double y[2 * POINTS];               /* one function behind the other */
  double coeff[2 * 4 * (POINTS - 1)];
  static double r[2 * SITES];
  double first = ends[1];
  double last = ends[0];
  DfTask* task = NULL;
  int32_t status;

  for (int i = 0; i < POINTS; ++i)
    y[i] = y[POINTS + i] = 2.0 + 0.5 * i;
  y[POINTS + OUTLIER] += 10.0;
  status = dfTaskCreate(&task, POINTS, ends, DF_XHINT_UNIFORM, 2, y, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_AKIMA, DF_END_NONE, NULL, DF_IC_NONE, NULL, coeff,
                              DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, SITES, ends, DF_SITES_UNIFORM,
                               0, NULL, NULL, r, DF_RESULTS_DEFAULT, NULL);
  dfTaskDestroy(&task);
  if (status != DF_STATUS_OK) {
    fprintf(stderr, "status %d\n", (int)status);
    return 1;
  }

  for (int i = 0; i < SITES; ++i) {
    const double site = 0.05 * i;
    if (fabs(r[i] - (2.0 + 0.5 * site)) > 1e-12) return 1;
    if (fabs(r[SITES + i] - r[i]) > 1e-9) {
      first = fmin(first, site);
      last = fmax(last, site);
    }
  }
  printf("an outlier at %d shows from %.2f to %.2f\n", OUTLIER, first, last);
  return first > OUTLIER - 1 && first < last && last < OUTLIER + 1 ? 0 : 1;
}
