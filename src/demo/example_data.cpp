#include "demo/example_data.h"

#include <cmath>

#include <ravenfit/random_streams.h>

namespace rvn {

std::int32_t makeSineData(double* y, double frequency, double left, double right, std::int32_t n) {
  const double step = (right - left) / (n - 1.0);
  const double w = frequency * 6.283185307179586;
  double t = left;
  for (std::int32_t i = 0; i < n; ++i) {
    y[i] = std::sin(t * w);
    t += step;
  }
  return 0;
}

std::int32_t makeRandomSites(double* sites, double left, double right, std::int32_t n) {
  constexpr std::uint32_t seed = 7777777;
  RsgStream* stream = nullptr;
  std::int32_t status = rsgNewStream(&stream, RSG_BRNG_WICHMANN_HILL, seed);
  if (status < 0) return status;
  status = vdRngUniform(RNG_UNIFORM_PLAIN, stream, n, sites, left, right);
  if (status < 0) return status;
  return rsgDeleteStream(&stream);
}

}  // namespace rvn
