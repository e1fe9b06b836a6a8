/* Income tax by brackets, a broken line: the tax, its rate, and the bracket, which is the cell of the site. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/data_fitting.h>

enum { LIMITS = 5, INCOMES = 6 };

int main(void) {
  const double limit[LIMITS] = {0.0, 9000.0, 20000.0, 60000.0, 100000.0};
  const double rate[LIMITS - 1] = {0.0, 0.125, 0.25, 0.5};
  const double income[INCOMES] = {61000.0, 4000.0, 20000.0, 15000.0, 59999.0, 130000.0};
  const int32_t taxAndRate[2] = {1, 1};
  double due[LIMITS] = {0.0};
  double coeff[2 * (LIMITS - 1)];
  double r[2 * INCOMES];
  int32_t bracket[INCOMES];
  DfTask* task = NULL;
  int32_t status;

  for (int i = 1; i < LIMITS; ++i)
    due[i] = due[i - 1] + rate[i - 1] * (limit[i] - limit[i - 1]);
  status = dfTaskCreate(&task, LIMITS, limit, DF_XHINT_NONE, 1, due, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskEditSpline(task, DF_ORDER_LINEAR, DF_KIND_DEFAULT, DF_END_NONE, NULL, DF_IC_NONE, NULL,
                              coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK)
    status =
        dfTaskInterpolate(task, DF_WANT_INTERPOLATE | DF_WANT_CELLS, DF_METHOD_POLYNOMIAL, INCOMES, income,
                          DF_SITES_GENERAL, 2, taxAndRate, NULL, r, DF_RESULTS_DERIVS_INNER, bracket);
  dfTaskDestroy(&task);
  if (status != DF_STATUS_OK) {
    fprintf(stderr, "status %d\n", (int)status);
    return 1;
  }

  for (int i = 0; i < INCOMES; ++i) {
    /* Every rate on the income between its limits; the last has no upper one, as the last line has no end. */
    double tax = 0.0;
    int at = 0;
    for (int k = 0; k < LIMITS - 1 && income[i] >= limit[k]; ++k, at = k)
      tax += rate[k] * ((k < LIMITS - 2 ? fmin(income[i], limit[k + 1]) : income[i]) - limit[k]);
    printf("%9.2f  bracket %d  tax %9.2f  rate %.3f\n", income[i], (int)bracket[i], r[2 * i], r[2 * i + 1]);
    if (fabs(r[2 * i] - tax) > 1e-9 || fabs(r[2 * i + 1] - rate[at - 1]) > 1e-12) return 1;
    if (bracket[i] != (income[i] < limit[LIMITS - 1] ? at : LIMITS)) return 1; /* beyond the end: cell nx */
  }
  return 0;
}
