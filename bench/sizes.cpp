// Prints nanoseconds an element against sizes from 10 to 10^7, for docs/plot_sizes.py: columns size, then one of each row.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <vector>

#include "stopwatch.h"

#include <ravenfit/data_fitting.h>

namespace {

using Numbers = std::vector<double>;

struct Curve {
  Numbers x;
  Numbers y;
  Numbers coeff;
  DfTask* task = nullptr;

  explicit Curve(std::size_t nx) : x(nx), y(nx), coeff(4 * nx) {
    std::mt19937_64 random(nx);
    std::uniform_real_distribution<double> gap(0.5, 1.5);
    double at = 0.0;
    for (std::size_t i = 0; i < nx; ++i) {
      x[i] = at += gap(random);
      y[i] = std::sin(0.1 * at);
    }
    dfTaskCreate(&task, static_cast<std::int32_t>(nx), x.data(), DF_XHINT_NONE, 1, y.data(),
                 DF_VALUES_DEFAULT);
    edit(DF_ORDER_CUBIC, DF_KIND_AKIMA);
    dfTaskConstruct(task, 0, 0);
  }
  Curve(const Curve&) = delete;
  Curve& operator=(const Curve&) = delete;
  ~Curve() { dfTaskDestroy(&task); }

  void edit(std::int32_t order, std::int32_t kind) {
    dfTaskEditSpline(task, order, kind, kind == DF_KIND_NATURAL ? DF_END_FREE : DF_END_NONE, nullptr,
                     DF_IC_NONE, nullptr, coeff.data(), DF_COEFF_DEFAULT);
  }
  double construct(std::int32_t order, std::int32_t kind) {
    edit(order, kind);
    return bench::timeOf([&] { dfTaskConstruct(task, 0, 0); }) / static_cast<double>(x.size());
  }
  double values(const Numbers& sites, std::int32_t sitehint, Numbers& r) const {
    return bench::timeOf([&] {
             dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL,
                               static_cast<std::int32_t>(sites.size()), sites.data(), sitehint, 0, nullptr,
                               nullptr, r.data(), 0, nullptr);
           }) /
           static_cast<double>(sites.size());
  }
  Numbers sites(std::size_t count, bool sorted) const {
    std::mt19937_64 random(count);
    std::uniform_real_distribution<double> where(x.front(), x.back());
    Numbers s(count);
    for (double& one : s)
      one = where(random);
    if (sorted) std::sort(s.begin(), s.end());
    return s;
  }
};

}  // namespace

int main() {
  std::printf(
      "size,construct linear,construct akima,construct natural,random sites (1e6),sorted sites (1e6),"
      "random sites a call (nx 1000),sorted sites a call (nx 1000)\n");
  Curve fixed(1000);
  for (double power = 1.0; power <= 7.0; power += 0.25) {
    const auto n = static_cast<std::size_t>(std::lround(std::pow(10.0, power)));
    Curve curve(n);
    std::printf("%zu", n);
    std::printf(",%.4f", curve.construct(DF_ORDER_LINEAR, DF_KIND_DEFAULT));
    std::printf(",%.4f", curve.construct(DF_ORDER_CUBIC, DF_KIND_AKIMA));
    std::printf(",%.4f", curve.construct(DF_ORDER_CUBIC, DF_KIND_NATURAL));
    Numbers r(std::max<std::size_t>(n, 1000000));
    std::printf(",%.4f", curve.values(curve.sites(1000000, false), DF_SITES_GENERAL, r));
    std::printf(",%.4f", curve.values(curve.sites(1000000, true), DF_SITES_SORTED, r));
    std::printf(",%.4f", fixed.values(fixed.sites(n, false), DF_SITES_GENERAL, r));
    std::printf(",%.4f\n", fixed.values(fixed.sites(n, true), DF_SITES_SORTED, r));
    std::fflush(stdout);
  }
  return 0;
}
