#include "glue.h"

#include <cstddef>
#include <cstdlib>

#include <ravenfit/random_streams.h>
#include <ravenfit/smoothing.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/tools.h>
#include <ravenfit/variates.h>

namespace {

struct Curve {
  std::int32_t order;
  std::int32_t kind;
  double* coeff;
  const double* knots;  // nx + 1 of DF_KIND_SUBBOTIN, else null
};

// Pieces are looked for from the second knot on.
std::int32_t sample(DfTask* task, const Curve& curve, std::int32_t outside, double outsideValue,
                    std::int32_t nsite, const double* site, double* r) {
  constexpr std::int32_t wanted[] = {1, 1, 1};
  std::int32_t status = dfTaskEditSpline(
      task, curve.order, curve.kind, DF_END_NONE, nullptr, curve.knots != nullptr ? DF_IC_KNOTS : DF_IC_NONE,
      curve.knots != nullptr ? curve.knots + 1 : nullptr, curve.coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskSetOutside(task, outside, outside, outsideValue);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, nsite, site, DF_SITES_GENERAL,
                               3, wanted, nullptr, r, DF_RESULTS_SITES_INNER, nullptr);
  return status;
}

}  // namespace

std::int32_t playCurve(std::int32_t nx, const double* x, const double* y, std::int32_t order,
                       std::int32_t kind, std::int32_t bcType, const double* bc, std::int32_t icType,
                       const double* ic, std::int32_t outside, double outsideValue, std::int32_t nsite,
                       const double* site, double* coeff, double* r) {
  std::int32_t status = dfCheckBreakpoints(nx, x, nullptr);
  if (status != DF_STATUS_OK) return status;
  double* knots = nullptr;
  if (kind == DF_KIND_SUBBOTIN && order == DF_ORDER_QUADRATIC) {
    knots = static_cast<double*>(std::malloc((static_cast<std::size_t>(nx) + 1) * sizeof(double)));
    if (knots == nullptr) return DF_ERROR_MEMORY;
    knots[0] = x[0];
    for (std::int32_t i = 1; i < nx; ++i)
      knots[i] = x[i - 1] + 0.5 * (x[i] - x[i - 1]);
    knots[nx] = x[nx - 1];
    icType = DF_IC_KNOTS;
    ic = knots;
  }
  DfTask* task = nullptr;
  status = dfTaskCreate(&task, nx, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskEditSpline(task, order, kind, bcType, bc, icType, ic, coeff, DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK)
    status = sample(task, {order, kind, coeff, knots}, outside, outsideValue, nsite, site, r);
  if (task != nullptr) dfTaskDestroy(&task);
  std::free(knots);
  return status;
}

std::int32_t playSmooth(std::int32_t nx, const double* x, const double* y, double* lambda,
                        std::int32_t outside, double outsideValue, std::int32_t nsite, const double* site,
                        double* coeff, double* r) {
  const std::int32_t method = *lambda < 0 ? DF_SMOOTH_GCV : DF_SMOOTH_LAMBDA;
  std::int32_t status =
      dfSmooth(nx, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT, nullptr, method, *lambda, lambda, coeff);
  DfTask* task = nullptr;
  if (status == DF_STATUS_OK) status = dfTaskCreate(&task, nx, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status = sample(task, {DF_ORDER_CUBIC, DF_KIND_NATURAL, coeff, nullptr}, outside, outsideValue, nsite,
                    site, r);
  if (task != nullptr) dfTaskDestroy(&task);
  return status;
}

std::int32_t playDraw(std::int32_t generator, std::uint32_t seed, std::int32_t dimension,
                      std::int32_t scrambling, std::int32_t n, double* r) {
  const bool quasi = generator == RSG_BRNG_SOBOL || generator == RSG_BRNG_NIEDERREITER;
  RsgStream* stream = nullptr;
  std::int32_t status = scrambling >= 0 ? rsgNewScrambledSobol(&stream, dimension, seed, scrambling)
                                        : rsgNewStream(&stream, generator,
                                                       quasi ? static_cast<std::uint32_t>(dimension) : seed);
  if (status == RSG_STATUS_OK) status = vdRngUniform(RNG_UNIFORM_PLAIN, stream, n, r, 0.0, 1.0);
  if (stream != nullptr) rsgDeleteStream(&stream);
  return status;
}

const char* playStatus(std::int32_t domain, std::int32_t status) {
  return rvnStatusText(domain, status);
}
