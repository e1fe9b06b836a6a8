// Prints every spline kind over the same three data sets, for docs/plot_kinds.py. One point a line:
//
//   kind set data|curve x y
//
// Kinds that need more than function values (slopes, second derivatives, a value between) get those of the
// undisturbed function: of the step none, of the outlier what the function would be without it.

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include <ravenfit/data_fitting.h>

namespace {

constexpr std::size_t points = 13;
constexpr std::size_t sites = 301;
constexpr std::array<double, points> x = {0.0, 0.8, 1.8, 3.0, 3.7, 4.8, 6.0, 6.9, 7.7, 8.9, 10.0, 11.2, 12.0};
constexpr std::array<double, 2> ends = {x.front(), x.back()};

// A derivative of an undisturbed function, 0 being the function itself.
using Function = double (*)(double t, int derivative);

double smooth(double t, int derivative) {
  const double decay = std::exp(-0.15 * t);
  const double s = std::sin(t);
  const double c = std::cos(t);
  if (derivative == 0) return decay * s;
  if (derivative == 1) return decay * (c - 0.15 * s);
  return decay * ((0.0225 - 1.0) * s - 0.3 * c);
}

double step(double t, int derivative) {
  return derivative == 0 && t > 5.4 ? 1.0 : 0.0;
}

double slowWave(double t, int derivative) {
  constexpr double w = 0.4;
  if (derivative == 0) return 0.5 * std::sin(w * t);
  if (derivative == 1) return 0.5 * w * std::cos(w * t);
  return -0.5 * w * w * std::sin(w * t);
}

struct DataSet {
  const char* name;
  Function function;
  double outlier;  // what is added at the middle breakpoint
};

constexpr DataSet sets[] = {{"smooth", smooth, 0.0}, {"step", step, 0.0}, {"outlier", slowWave, 1.0}};

struct Kind {
  const char* name;
  std::int32_t order;
  std::int32_t kind;
  std::int32_t bcType;
  std::int32_t icType;
};

constexpr std::int32_t slopes = DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE;
constexpr std::int32_t curvatures = DF_END_LEFT_CURVATURE + DF_END_RIGHT_CURVATURE;

constexpr Kind kinds[] = {
    {"linear", DF_ORDER_LINEAR, DF_KIND_DEFAULT, DF_END_NONE, DF_IC_NONE},
    {"quadratic", DF_ORDER_QUADRATIC, DF_KIND_DEFAULT, DF_END_QUADRATIC_VALUE, DF_IC_NONE},
    {"subbotin", DF_ORDER_QUADRATIC, DF_KIND_SUBBOTIN, slopes, DF_IC_KNOTS},
    {"second_derivatives", DF_ORDER_CUBIC, DF_KIND_DEFAULT, curvatures, DF_IC_CURVATURES},
    {"natural", DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_NOT_A_KNOT, DF_IC_NONE},
    {"hermite", DF_ORDER_CUBIC, DF_KIND_HERMITE, slopes, DF_IC_SLOPES},
    {"bessel", DF_ORDER_CUBIC, DF_KIND_BESSEL, DF_END_NOT_A_KNOT, DF_IC_NONE},
    {"akima", DF_ORDER_CUBIC, DF_KIND_AKIMA, DF_END_NONE, DF_IC_NONE},
    {"modified_akima", DF_ORDER_CUBIC, DF_KIND_MODIFIED_AKIMA, DF_END_NONE, DF_IC_NONE},
    {"pchip", DF_ORDER_CUBIC, DF_KIND_PCHIP, DF_END_NONE, DF_IC_NONE},
    {"steffen", DF_ORDER_CUBIC, DF_KIND_STEFFEN, DF_END_NONE, DF_IC_NONE},
};

// The internal conditions of a kind; null for none.
const double* internalConditions(std::int32_t icType, Function f, std::array<double, points + 1>& ic) {
  if (icType == DF_IC_NONE) return nullptr;
  if (icType == DF_IC_KNOTS) {
    ic.front() = x.front();
    ic.back() = x.back();
    for (std::size_t i = 1; i < points; ++i)
      ic[i] = 0.5 * (x[i - 1] + x[i]);
  } else {
    for (std::size_t i = 1; i < points - 1; ++i)
      ic[i - 1] = f(x[i], icType == DF_IC_SLOPES ? 1 : 2);
  }
  return ic.data();
}

std::array<double, 2> boundaryConditions(std::int32_t bcType, Function f) {
  if (bcType == DF_END_QUADRATIC_VALUE) return {f(0.5 * (x[0] + x[1]), 0), 0.0};
  const int derivative = bcType == slopes ? 1 : 2;
  return {f(x.front(), derivative), f(x.back(), derivative)};
}

std::int32_t sample(const Kind& k, const DataSet& set) {
  std::array<double, points> y;
  for (std::size_t i = 0; i < points; ++i)
    y[i] = set.function(x[i], 0) + (i == points / 2 ? set.outlier : 0.0);
  const std::array<double, 2> bc = boundaryConditions(k.bcType, set.function);
  std::array<double, points + 1> room;
  const double* ic = internalConditions(k.icType, set.function, room);
  std::array<double, 4 * points> coeff;
  std::array<double, sites> r;

  DfTask* task = nullptr;
  std::int32_t status = dfTaskCreate(&task, points, x.data(), DF_XHINT_NONE, 1, y.data(), DF_VALUES_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskEditSpline(task, k.order, k.kind, k.bcType, bc.data(), k.icType, ic, coeff.data(),
                              DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK) status = dfTaskConstruct(task, 0, 0);
  if (status == DF_STATUS_OK && k.icType == DF_IC_KNOTS)
    status = dfTaskEditSpline(task, k.order, k.kind, k.bcType, bc.data(), k.icType, ic + 1, nullptr,
                              DF_COEFF_DEFAULT);
  if (status == DF_STATUS_OK)
    status = dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, sites, ends.data(),
                               DF_SITES_UNIFORM, 0, nullptr, nullptr, r.data(), DF_RESULTS_DEFAULT, nullptr);
  dfTaskDestroy(&task);
  if (status != DF_STATUS_OK) return status;

  for (std::size_t i = 0; i < points; ++i)
    std::printf("%s %s data %.4f %.4f\n", k.name, set.name, x[i], y[i]);
  for (std::size_t i = 0; i < sites; ++i) {
    const double site = ends[0] + static_cast<double>(i) * (ends[1] - ends[0]) / (sites - 1);
    std::printf("%s %s curve %.4f %.4f\n", k.name, set.name, site, r[i]);
  }
  return DF_STATUS_OK;
}

}  // namespace

int main() {
  for (const Kind& kind : kinds) {
    for (const DataSet& set : sets) {
      if (const std::int32_t status = sample(kind, set); status != DF_STATUS_OK) {
        std::fprintf(stderr, "%s, %s: status %d\n", kind.name, set.name, static_cast<int>(status));
        return 1;
      }
    }
  }
  return 0;
}
