// Counts at the end of 32-bit integers and arrays beyond it, in sparse memory: splines, sites, results, fills, systems.
// What is expected comes from closed forms at windows that have memory of their own: around the first and the last element
// and wherever a count of elements or bytes outgrows 2^31 or 2^32.
//
// Needs 64-bit Linux and some hundred megabytes. Prints a line a case; ends with 1 if one is wrong.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "proof/sparse_array.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/tools.h>
#include <ravenfit/tridiagonal.h>
#include <ravenfit/variates.h>

namespace {

using proof::SparseArray;
using Places = std::vector<std::int64_t>;

constexpr std::int32_t largest = INT32_MAX;

int wrongCases = 0;

struct Case {
  const char* name;
  std::int64_t wrong = 0;
  std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();

  explicit Case(const char* n) : name(n) {}
  Case(const Case&) = delete;
  Case& operator=(const Case&) = delete;
  ~Case() {
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
    std::printf("| %s | %.0f s | %s |\n", name, taken.count(), wrong == 0 ? "right" : "WRONG");
    std::fflush(stdout);
    wrongCases += wrong == 0 ? 0 : 1;
  }
  void expect(bool right, std::int64_t at = -1) {
    if (right || ++wrong > 3) return;
    std::printf("  %s: element %lld\n", name, static_cast<long long>(at));
  }
};

// The ends of an array, and where its elements or bytes outgrow 31 and 32 bits.
template <class T>
Places edges(std::int64_t n, std::int64_t elementsOfAPlace = 1) {
  Places all = {0, n - 1};
  for (const int bits : {31, 32, 33, 34, 35}) {
    const std::int64_t bytes = (std::int64_t{1} << bits) / elementsOfAPlace;
    for (const std::int64_t at : {bytes, bytes / static_cast<std::int64_t>(sizeof(T))})
      if (at < n) all.push_back(at);
  }
  std::sort(all.begin(), all.end());
  return all;
}

// Calls body(i) for the elements beside each place.
template <class Body>
void around(const Places& places, std::int64_t n, Body body) {
  for (const std::int64_t place : places)
    for (std::int64_t i = std::max<std::int64_t>(0, place - 500); i < std::min(n, place + 500); ++i)
      body(i);
}

// Function values that no neighbour has, and exact in every sum below.
double valueAt(std::int64_t f, std::int64_t i) {
  return static_cast<double>((i * 7 + f * 1001) % 4096) / 8.0 + static_cast<double>(i % 3);
}

struct DeleteTask {
  void operator()(DfTask* task) const { dfTaskDestroy(&task); }
};
using TaskPointer = std::unique_ptr<DfTask, DeleteTask>;

// A broken line over the breakpoints 0, 1, .. nx - 1: its coefficients are y_i and y_(i+1) - y_i.
void brokenLines(const char* name, std::int32_t nx, std::int32_t ny, std::int32_t yhint) {
  Case result(name);
  const std::int64_t n = nx;
  const auto placeOf = [=](std::int64_t f, std::int64_t i) {
    return yhint == DF_VALUES_BY_BREAKPOINT ? i * ny + f : f * n + i;
  };
  SparseArray<double> y(n * ny);
  SparseArray<double> coeff(2 * (n - 1) * ny);
  const Places cells = edges<double>(n - 1, 2 * ny);
  for (const std::int64_t cell : cells)
    for (std::int64_t f = 0; f < ny; ++f) {
      y.addWindow(placeOf(f, cell));
      coeff.addWindow(2 * (f * (n - 1) + cell));
    }
  around(cells, n - 1, [&](std::int64_t i) {
    for (std::int64_t f = 0; f < ny; ++f) {
      y[placeOf(f, i)] = valueAt(f, i);
      y[placeOf(f, i + 1)] = valueAt(f, i + 1);
    }
  });
  const double ends[2] = {0.0, static_cast<double>(nx - 1)};
  DfTask* made = nullptr;
  result.expect(dfTaskCreate(&made, nx, ends, DF_XHINT_UNIFORM, ny, y.data(), yhint) == 0);
  const TaskPointer task(made);
  result.expect(dfTaskEditSpline(made, DF_ORDER_LINEAR, DF_KIND_DEFAULT, DF_END_NONE, nullptr, DF_IC_NONE,
                                 nullptr, coeff.data(), DF_COEFF_DEFAULT) == 0);
  result.expect(dfTaskConstruct(made, 0, 0) == 0);
  around(cells, n - 1, [&](std::int64_t i) {
    for (std::int64_t f = 0; f < ny; ++f) {
      const double* const c = &coeff[2 * (f * (n - 1) + i)];
      result.expect(c[0] == valueAt(f, i) && c[1] == valueAt(f, i + 1) - valueAt(f, i), i);
    }
  });
  around(cells, n - 1, [&](std::int64_t i) {
    const double site = static_cast<double>(i) + 0.5;
    std::vector<double> r(static_cast<std::size_t>(ny));
    std::int32_t cell = -9;
    result.expect(
        dfTaskInterpolate(made, DF_WANT_INTERPOLATE | DF_WANT_CELLS, DF_METHOD_POLYNOMIAL, 1, &site,
                          DF_SITES_GENERAL, 0, nullptr, nullptr, r.data(), DF_RESULTS_DEFAULT, &cell) == 0,
        i);
    result.expect(cell == i + 1, i);
    for (std::int64_t f = 0; f < ny; ++f)
      result.expect(r[static_cast<std::size_t>(f)] == 0.5 * (valueAt(f, i) + valueAt(f, i + 1)), i);
  });
}

// The parabola t^2 by three cells, at sites 0, 1 .. nsite - 1 over nsite - 1, times 3.
void uniformSites(const char* name, std::int32_t nsite, bool derivative, std::int32_t rhint) {
  Case result(name);
  const double x[] = {0.0, 1.0, 2.0, 3.0};
  const double y[] = {0.0, 1.0, 4.0, 9.0};
  double coeff[] = {0, 0, 1, 1, 2, 1, 4, 4, 1};
  DfTask* made = nullptr;
  result.expect(dfTaskCreate(&made, 4, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT) == 0);
  const TaskPointer task(made);
  result.expect(dfTaskEditSpline(made, DF_ORDER_QUADRATIC, DF_KIND_DEFAULT, DF_END_NONE, nullptr, DF_IC_NONE,
                                 nullptr, coeff, DF_COEFF_DEFAULT) == 0);
  const std::int64_t n = nsite;
  const std::int64_t nres = derivative ? 2 : 1;
  SparseArray<double> r(n * nres);
  SparseArray<std::int32_t> cells(n);
  const bool sitesInner = rhint == DF_RESULTS_SITES_INNER;
  const auto placeOf = [=](std::int64_t k, std::int64_t i) { return sitesInner ? k * n + i : i * nres + k; };
  const Places places = edges<double>(n, nres);
  for (const std::int64_t i : places) {
    cells.addWindow(i);
    for (std::int64_t k = 0; k < nres; ++k)
      r.addWindow(placeOf(k, i));
  }
  const double ends[2] = {0.0, 3.0};
  const std::int32_t wanted[2] = {1, 1};
  result.expect(dfTaskInterpolate(made, DF_WANT_INTERPOLATE | DF_WANT_CELLS, DF_METHOD_POLYNOMIAL, nsite,
                                  ends, DF_SITES_UNIFORM, derivative ? 2 : 1, wanted, nullptr, r.data(),
                                  rhint, cells.data()) == 0);
  around(places, n, [&](std::int64_t i) {
    const double site = 3.0 * (static_cast<double>(i) / static_cast<double>(n - 1));
    // Of the order of the roundings of a site; a neighbour is 1.4e-9 away.
    result.expect(std::fabs(r[placeOf(0, i)] - site * site) < 1e-14, i);
    if (derivative) result.expect(std::fabs(r[placeOf(1, i)] - 2.0 * site) < 1e-14, i);
    const auto cell = static_cast<std::int32_t>(site) + 1;
    result.expect(cells[i] == cell || std::fabs(site - std::round(site)) < 1e-14, i);
  });
}

// ---- fills ----

struct DeleteStream {
  void operator()(RsgStream* stream) const { rsgDeleteStream(&stream); }
};
using StreamPointer = std::unique_ptr<RsgStream, DeleteStream>;

StreamPointer streamOf(std::int32_t id) {
  RsgStream* stream = nullptr;
  rsgNewStream(&stream, id, 7);
  return StreamPointer(stream);
}

template <class T, class Fill>
void fills(const char* name, std::int32_t id, Fill fill) {
  Case result(name);
  const StreamPointer whole = streamOf(id);
  const StreamPointer cut = streamOf(id);
  const StreamPointer skipped = streamOf(id);
  const std::int64_t n = largest;
  SparseArray<T> a(n);
  SparseArray<T> b(n);
  const Places places = edges<T>(n);
  for (const std::int64_t i : places) {
    a.addWindow(i);
    b.addWindow(i);
  }
  result.expect(fill(whole.get(), largest, a.data()) == 0);
  for (std::int64_t from = 0, step = 77777777; from < n; from += step) {
    step = std::min(step, n - from);
    result.expect(fill(cut.get(), static_cast<std::int32_t>(step), b.data() + from) == 0);
  }
  around(places, n, [&](std::int64_t i) { result.expect(a[i] == b[i], i); });
  result.expect(a[n - 1] != a[n - 2] || a[n - 1] != a[n - 3]);
  T next[3][20] = {};
  result.expect(fill(whole.get(), 20, next[0]) == 0 && fill(cut.get(), 20, next[1]) == 0);
  const bool skips = sizeof(T) == 8 && rsgSkipAhead(skipped.get(), largest) == 0;
  if (skips) result.expect(fill(skipped.get(), 20, next[2]) == 0);
  for (int i = 0; i < 20; ++i)
    result.expect(next[0][i] == next[1][i] && (!skips || next[0][i] == next[2][i]), n + i);
}

// ---- systems ----

// The unit matrix is its own factor, so that aliases do no harm. Within windows rows are joined, d_i = 4 and 1 beside it, and
// right-hand sides are sums of rows: the solution is all ones.
void longSystem() {
  Case result("system of 2^31 - 1 equations");
  const std::int64_t n = largest;
  SparseArray<double> dl(n - 1);
  SparseArray<double> d(n);
  SparseArray<double> du(n - 1);
  SparseArray<double> b(n);
  for (std::size_t i = 0; i < SparseArray<double>::period; ++i)
    d[static_cast<std::int64_t>(i)] = 1.0;
  const Places places = edges<double>(n);
  for (const std::int64_t i : places) {
    dl.addWindow(std::min(i, n - 2));
    d.addWindow(i, 1.0);
    du.addWindow(std::min(i, n - 2));
    b.addWindow(i);
  }
  around(places, n, [&](std::int64_t i) { d[i] = 4.0; });
  around(places, n - 1, [&](std::int64_t i) { dl[i] = du[i] = d[i + 1] == 4.0 ? 1.0 : 0.0; });
  around(places, n,
         [&](std::int64_t i) { b[i] = 4.0 + (i > 0 ? dl[i - 1] : 0.0) + (i + 1 < n ? du[i] : 0.0); });
  const std::int32_t rows = largest;
  const std::int32_t one = 1;
  std::int32_t info = -9;
  DDTSVB(&rows, &one, dl.data(), d.data(), du.data(), b.data(), &rows, &info);
  result.expect(info == 0, info);
  around(places, n, [&](std::int64_t i) { result.expect(std::fabs(b[i] - 1.0) < 1e-14, i); });
}

void farColumns() {
  Case result("4 columns, 2^30 + 5 apart");
  const std::int32_t n = 1000;
  const std::int32_t columns = 4;
  const std::int32_t ldb = (1 << 30) + 5;
  std::vector<double> dl(999, 1.0);
  std::vector<double> d(1000, 4.0);
  const std::vector<double> du = dl;
  SparseArray<double> b(std::int64_t{ldb} * 3 + n);
  for (std::int64_t c = 0; c < columns; ++c) {
    b.addWindow(c * ldb);
    for (std::int64_t i = 0; i < n; ++i)
      b[c * ldb + i] = static_cast<double>(c + 1) * (4.0 + (i > 0) + (i + 1 < n));
  }
  std::int32_t info = -9;
  DDTSVB(&n, &columns, dl.data(), d.data(), du.data(), b.data(), &ldb, &info);
  result.expect(info == 0, info);
  for (std::int64_t c = 0; c < columns; ++c)
    for (std::int64_t i = 0; i < n; ++i)
      result.expect(std::fabs(b[c * ldb + i] - static_cast<double>(c + 1)) < 1e-14, c * ldb + i);
}

void manyColumns() {
  Case result("2^31 - 1 columns of one equation");
  const std::int32_t n = 1;
  const std::int32_t columns = largest;
  SparseArray<double> b(columns);
  const Places places = edges<double>(columns);
  for (const std::int64_t i : places)
    b.addWindow(i);
  around(places, columns, [&](std::int64_t i) { b[i] = static_cast<double>(i); });
  double d = 0.5;
  std::int32_t info = -9;
  DDTSVB(&n, &columns, nullptr, &d, nullptr, b.data(), &n, &info);
  result.expect(info == 0, info);
  around(places, columns, [&](std::int64_t i) { result.expect(b[i] == 2.0 * static_cast<double>(i), i); });
}

}  // namespace

int main() {
  std::printf("level %d\n| case | time | |\n|---|---|---|\n", rvnUseBestLevel());
  brokenLines("broken line, 2^31 - 1 breakpoints", largest, 1, DF_VALUES_DEFAULT);
  brokenLines("3 functions of 2^30 + 1 values, by function", (1 << 30) + 1, 3, DF_VALUES_BY_FUNCTION);
  brokenLines("3 functions of 2^30 + 1 values, by breakpoint", (1 << 30) + 1, 3, DF_VALUES_BY_BREAKPOINT);
  uniformSites("2^31 - 1 uniform sites", largest, false, DF_RESULTS_SITES_INNER);
  uniformSites("2.2e9 results, sites inner", 1100000000, true, DF_RESULTS_SITES_INNER);
  uniformSites("2.2e9 results, derivatives inner", 1100000000, true, DF_RESULTS_DERIVS_INNER);
  uniformSites("2.2e9 results, by site", 1100000000, true, DF_RESULTS_BY_SITE);
  const auto doubles = [](RsgStream* s, std::int32_t n, double* r) {
    return vdRngUniform(0, s, n, r, 0.0, 1.0);
  };
  static constexpr struct {
    const char* name;
    std::int32_t id;
  } generators[] = {{"fill, MCG31", RSG_BRNG_MCG31},
                    {"fill, R250", RSG_BRNG_R250},
                    {"fill, MRG32k3a", RSG_BRNG_MRG32K3A},
                    {"fill, MCG59", RSG_BRNG_MCG59},
                    {"fill, Wichmann-Hill", RSG_BRNG_WICHMANN_HILL},
                    {"fill, Sobol, 7 dimensions", RSG_BRNG_SOBOL},
                    {"fill, Niederreiter, 7 dimensions", RSG_BRNG_NIEDERREITER},
                    {"fill, MT19937", RSG_BRNG_MT19937},
                    {"fill, MT2203", RSG_BRNG_MT2203},
                    {"fill, SFMT19937", RSG_BRNG_SFMT19937}};
  for (const auto& g : generators)
    fills<double>(g.name, g.id, doubles);
  fills<std::uint32_t>("words of MT19937", RSG_BRNG_MT19937, rsgWords32);
  fills<std::int32_t>("integers of MCG31", RSG_BRNG_MCG31, [](RsgStream* s, std::int32_t n, std::int32_t* r) {
    return rsgIntegers(s, n, r, -9, 1000000);
  });
  fills<float>("floats of SFMT19937", RSG_BRNG_SFMT19937,
               [](RsgStream* s, std::int32_t n, float* r) { return rsgUniformFloat(s, n, r, 0.0F, 1.0F); });
  fills<double>("normal variates of MCG59", RSG_BRNG_MCG59,
                [](RsgStream* s, std::int32_t n, double* r) { return rsgNormal(s, n, r, 0.0, 1.0); });
  longSystem();
  farColumns();
  manyColumns();
  std::printf("%d wrong\n", wrongCases);
  return wrongCases == 0 ? 0 : 1;
}
