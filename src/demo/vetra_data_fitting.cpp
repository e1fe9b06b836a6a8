#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "demo/debug_output.h"
#include "demo/example_data.h"
#include "demo/print_status.h"
#include "demo/reference_check.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/vetra_data_fitting.h>

namespace {

using namespace rvn;

constexpr double frequency = 1.7;
constexpr double left = 0.0;
constexpr double right = 2.0;
constexpr std::int32_t siteCount = 40;
constexpr std::int32_t batches = 4;
constexpr std::int32_t sitesPerBatch = siteCount / batches;
constexpr std::int32_t dorderCount = 3;
constexpr std::int32_t dorder[dorderCount] = {1, 0, 1};  // value and second derivative
constexpr std::int32_t resultsPerSite = 2;

std::int32_t editNaturalSpline(DfTask* task, double* coeff) {
  return dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr,
                          coeff, DF_COEFF_DEFAULT);
}

std::int32_t interpolateBatch(const DfTask* task, std::int32_t batch, const double* sites, double* r) {
  return dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, sitesPerBatch,
                           sites + std::ptrdiff_t{sitesPerBatch} * batch, DF_SITES_GENERAL, dorderCount,
                           dorder, nullptr, r + std::ptrdiff_t{sitesPerBatch} * resultsPerSite * batch,
                           DF_RESULTS_DERIVS_INNER, nullptr);
}

void printData(std::int32_t nx, const double* x, const double* y) {
  std::printf("\n i  x(i)        y(i)\n");
  for (std::int32_t i = 0; i < nx; ++i)
    std::printf(" %1d %+lf   %+lf\n", i, x[i], y[i]);
}

void printCoefficients(std::int32_t cells, const double* coeff) {
  std::printf("\nCoefficients are calculated for a polynomial of the form:\n\n");
  std::printf("Pi(x) = Ai + Bi*(x - x(i)) + Ci*(x - x(i))^2 + Di*(x - x(i))^3\n");
  std::printf("    where x(i) <= x < x(i+1)\n");
  std::printf("\nSpline coefficients for Y:\n");
  std::printf(" i    Ai            Bi            Ci            Di\n");
  for (std::int32_t i = 0; i < cells; ++i) {
    const double* c = coeff + std::ptrdiff_t{4} * i;
    std::printf(" %1d %+11.6f   %+11.6f   %+11.6f   %+11.6f\n", i, c[0], c[1], c[2], c[3]);
  }
}

void printResults(const double* sites, const double* r, const double* ref) {
  std::printf("\nResults of interpolation:\n");
  std::printf("                    Function value");
  std::printf("             Second derivative\n");
  std::printf("    Sites         Obtained     Expected");
  std::printf("      Obtained    Expected\n");
  for (std::int32_t i = 0; i < siteCount; ++i) {
    std::printf(" %+11.6lf", sites[i]);
    for (std::int32_t k = 0; k < resultsPerSite; ++k) {
      const std::ptrdiff_t slot = std::ptrdiff_t{resultsPerSite} * i + k;
      std::printf("   %+11.6lf  %+11.6lf", r[slot], ref[slot]);
    }
    std::printf("\n");
  }
}

}  // namespace

VetraDataFitting::VetraDataFitting() {}  // NOLINT: not defaulted, since the library exports it

VetraDataFitting& VetraDataFitting::operator=(const VetraDataFitting&) {  // NOLINT
  return *this;
}

int VetraDataFitting::main_example() {
  constexpr std::int32_t nx = 9;
  const double ends[2] = {left, right};
  double x[nx];
  double y[nx];
  double sites[siteCount];
  double coeff[(nx - 1) * DF_ORDER_CUBIC];
  double r[siteCount * resultsPerSite];
  double ref[siteCount * resultsPerSite];
  DfTask* task = nullptr;
  int errcode = 0;

  printStatus(makeSineData(y, frequency, left, right, nx));
  printStatus(makeRandomSites(sites, left, right, siteCount));
  printStatus(dfTaskCreate(&task, nx, ends, DF_XHINT_UNIFORM, 1, y, DF_VALUES_DEFAULT));
  printStatus(editNaturalSpline(task, coeff));
  printStatus(dfTaskConstruct(task, 0, 0));
  for (std::int32_t batch = 0; batch < batches; ++batch)
    printStatus(interpolateBatch(task, batch, sites, r));

  const double h = (right - left) * 0.125;
  x[0] = h * left + left;
  x[1] = h + left;
  for (std::int32_t i = 2; i < nx; ++i)
    x[i] = i * h + left;
  if (checkResults(nx, x, 1, DF_ORDER_CUBIC, coeff, siteCount, sites, dorderCount, dorder, r, ref) < 0)
    errcode = 1;

  writeBreakpointCount(nx);
  printData(nx, x, y);
  printCoefficients(nx - 1, coeff);
  printResults(sites, r, ref);
  printStatus(dfTaskDestroy(&task));

  if (errcode != 0) {
    std::printf("\n\nError: Computed interpolation results");
    std::printf(" are incorrect\n");
    return 1;
  }
  std::printf("\n\nComputed interpolation results");
  std::printf(" are correct\n");
  return 0;
}

int VetraDataFitting::test() {
  constexpr std::int32_t nx = 6;
  constexpr std::size_t room = 9;
  const double ends[2] = {left, right};
  std::vector<double> x(room);
  std::vector<double> y(room);
  std::vector<double> sites(siteCount);
  std::vector<double> coeff(std::size_t{nx - 1} * DF_ORDER_CUBIC);
  std::vector<double> r(std::size_t{siteCount} * resultsPerSite);
  std::vector<double> ref(r.size());
  DfTask* task = nullptr;

  // A run that shows its data whatever happens: statuses and the check's verdict are not looked at.
  makeSineData(y.data(), frequency, left, right, nx);
  makeRandomSites(sites.data(), left, right, siteCount);
  sites[1] = 0.25;
  dfTaskCreate(&task, nx, ends, DF_XHINT_UNIFORM, 1, y.data(), DF_VALUES_DEFAULT);
  editNaturalSpline(task, coeff.data());
  dfTaskConstruct(task, 0, 0);
  for (std::int32_t batch = 0; batch < batches; ++batch)
    interpolateBatch(task, batch, sites.data(), r.data());

  const double h = (right - left) / 5.0;
  x[0] = h * left + left;
  x[1] = h + left;
  for (std::int32_t i = 2; i < nx; ++i)
    x[static_cast<std::size_t>(i)] = i * h + left;
  printStatus(0);
  checkResults(nx, x.data(), 1, DF_ORDER_CUBIC, coeff.data(), siteCount, sites.data(), dorderCount, dorder,
               r.data(), ref.data());
  printData(nx, x.data(), y.data());
  for (std::size_t i = 0; i < sites.size(); ++i)
    formatSiteAndValue(sites[i], r[resultsPerSite * i]);
  dfTaskDestroy(&task);
  return 0;
}
