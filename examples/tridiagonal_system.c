/* The temperature of a rod held at 0 and 100 degrees: -u'' = 0 on nine inner points, in one call. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/tridiagonal.h>

int main(void) {
  const int32_t n = 9;
  const int32_t nrhs = 1;
  double dl[8];
  double d[9];
  double du[8];
  double u[9] = {0.0};
  int32_t info;

  for (int i = 0; i < 9; ++i)
    d[i] = 2.0;
  for (int i = 0; i < 8; ++i)
    dl[i] = du[i] = -1.0;
  u[8] = 100.0;
  DDTSVB(&n, &nrhs, dl, d, du, u, &n, &info);
  if (info != 0) {
    fprintf(stderr, "info %d\n", (int)info);
    return 1;
  }
  for (int i = 0; i < 9; ++i) {
    printf("%d %.3f\n", i + 1, u[i]);
    if (fabs(u[i] - 10.0 * (i + 1)) > 1e-10) return 1;
  }
  return 0;
}
