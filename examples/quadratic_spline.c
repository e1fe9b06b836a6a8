/* A car that brakes and accelerates evenly between the seconds: its speed from positions taken once a second.
 * Such a motion is a quadratic spline, so one position half way through the first second gives all of it. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/data_fitting.h>

enum { SECONDS = 8, POINTS = SECONDS + 1 };

int main(void) {
  const double acceleration[SECONDS] = {2.0, 2.0, 0.0, -1.0, -3.0, -3.0, 0.5, 1.5};
  const double ends[2] = {0.0, SECONDS}; /* of equidistant breakpoints, and of the sites */
  const int32_t speedAlone[2] = {0, 1};
  double speed[POINTS] = {10.0};
  double position[POINTS] = {0.0};
  double half[1];
  double coeff[3 * SECONDS];
  double r[POINTS];
  double worst = 0.0;
  DfTask* task = NULL;
  int32_t status;

  for (int i = 0; i < SECONDS; ++i) {
    speed[i + 1] = speed[i] + acceleration[i];
    position[i + 1] = position[i] + speed[i] + 0.5 * acceleration[i];
  }
  half[0] = 0.5 * speed[0] + 0.125 * acceleration[0];
  status = dfTaskCreate(&task, POINTS, ends, DF_XHINT_UNIFORM, 1, position, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskEditSpline(task, DF_ORDER_QUADRATIC, DF_KIND_DEFAULT, DF_END_QUADRATIC_VALUE, half,
                              DF_IC_NONE, NULL, coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, POINTS, ends,
                               DF_SITES_UNIFORM, 2, speedAlone, NULL, r, DF_RESULTS_DEFAULT, NULL);
  dfTaskDestroy(&task);
  if (status != DF_STATUS_OK) {
    fprintf(stderr, "status %d\n", (int)status);
    return 1;
  }

  for (int i = 0; i < POINTS; ++i) {
    printf("%d s  %7.3f m  %6.3f m/s\n", i, position[i], r[i]);
    worst = fmax(worst, fabs(r[i] - speed[i]));
  }
  return worst < 1e-12 ? 0 : 1;
}
