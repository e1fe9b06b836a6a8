/* Two independent streams of one family: the mean of a dice game, estimated twice. The seeding does not know the
 * member, so every member gets a seed of its own. */
#include <math.h>
#include <stdio.h>

#include <ravenfit/random_streams.h>

enum { THROWS = 100000 };

int main(void) {
  static double r[THROWS];
  for (int member = 0; member < 2; ++member) {
    RsgStream* stream = NULL;
    double sum = 0.0;
    int32_t status = rsgNewStream(&stream, RSG_BRNG_MT2203 + member, 7777777u + (uint32_t)member);
    if (status == RSG_STATUS_OK) status = vdRngUniform(RNG_UNIFORM_PLAIN, stream, THROWS, r, 1.0, 7.0);
    rsgDeleteStream(&stream);
    if (status != RSG_STATUS_OK) {
      fprintf(stderr, "status %d\n", (int)status);
      return 1;
    }
    for (int i = 0; i < THROWS; ++i)
      sum += floor(r[i]);
    printf("member %d: mean %.4f\n", member, sum / THROWS);
    /* The standard error is 1.7078 / sqrt(100000) = 0.0054. */
    if (fabs(sum / THROWS - 3.5) > 0.03) return 1;
  }
  return 0;
}
