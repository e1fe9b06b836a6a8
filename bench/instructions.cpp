// Instructions of calls that take few of them, and of the hot rows per element, counted by Callgrind: this program runs
// every row between two marks, and tools/instructions.sh reads what stood between them. Such counts repeat to the last
// digit, whatever else the machine does.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <valgrind/callgrind.h>
#include <vector>

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/tridiagonal.h>
#include <ravenfit/variates.h>

namespace {

// Runs `body` once to warm up, then `runs` times between two marks; a run counts for `elements`.
template <class Body>
void row(const std::string& name, int runs, std::size_t elements, Body body) {
  body(0);
  CALLGRIND_ZERO_STATS;
  for (int i = 0; i < runs; ++i)
    body(i);
  const std::string mark =
      std::to_string(static_cast<double>(runs) * static_cast<double>(elements)) + "|" + name;
  CALLGRIND_DUMP_STATS_AT(mark.c_str());
}

struct Kind {
  const char* name;
  std::int32_t order;
  std::int32_t kind;
  std::int32_t icType;
};

constexpr Kind natural = {"natural", DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_IC_NONE};
constexpr Kind akima = {"akima", DF_ORDER_CUBIC, DF_KIND_AKIMA, DF_IC_NONE};
constexpr Kind kinds[] = {
    natural,
    akima,
    {"linear", DF_ORDER_LINEAR, DF_KIND_DEFAULT, DF_IC_NONE},
    {"hermite", DF_ORDER_CUBIC, DF_KIND_HERMITE, DF_IC_SLOPES},
    {"bessel", DF_ORDER_CUBIC, DF_KIND_BESSEL, DF_IC_NONE},
    {"second derivatives", DF_ORDER_CUBIC, DF_KIND_DEFAULT, DF_IC_CURVATURES},
};

struct Curve {
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> ic;
  std::vector<double> coeff;
  DfTask* task = nullptr;

  explicit Curve(std::size_t nx) : x(nx), y(nx), ic(nx), coeff(4 * nx) {
    std::mt19937_64 random(nx);
    std::uniform_real_distribution<double> gap(0.5, 1.5);
    double at = 0.0;
    for (std::size_t i = 0; i < nx; ++i) {
      x[i] = at += gap(random);
      y[i] = std::sin(0.3 * at);
      ic[i] = std::cos(0.3 * at);
    }
  }
  Curve(const Curve&) = delete;
  Curve& operator=(const Curve&) = delete;
  ~Curve() { dfTaskDestroy(&task); }

  void create() {
    dfTaskCreate(&task, static_cast<std::int32_t>(x.size()), x.data(), DF_XHINT_NONE, 1, y.data(), 0);
  }
  void edit(const Kind& kind) {
    dfTaskEditSpline(task, kind.order, kind.kind, DF_END_FREE, nullptr, kind.icType,
                     kind.icType == DF_IC_NONE ? nullptr : ic.data(), coeff.data(), DF_COEFF_DEFAULT);
  }
  void interpolate(std::size_t nsite, const double* site, std::int32_t sitehint, double* r) const {
    dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, static_cast<std::int32_t>(nsite), site,
                      sitehint, 0, nullptr, nullptr, r, DF_RESULTS_DEFAULT, nullptr);
  }
};

void rowsOfLives() {
  for (const std::size_t nx : {std::size_t{16}, std::size_t{64}, std::size_t{1024}}) {
    const std::string size = ", nx " + std::to_string(nx);
    Curve curve(nx);
    row("create, edit, destroy" + size, 100, 1, [&](int) {
      curve.create();
      curve.edit(natural);
      dfTaskDestroy(&curve.task);
    });
    for (const Kind& kind : kinds) {
      curve.create();
      curve.edit(kind);
      row(std::string("construct ") + kind.name + size, 100, 1,
          [&](int) { dfTaskConstruct(curve.task, 0, 0); });
      dfTaskDestroy(&curve.task);
    }
    row("whole life, natural" + size, 100, 1, [&](int) {
      curve.create();
      curve.edit(natural);
      dfTaskConstruct(curve.task, 0, 0);
      dfTaskDestroy(&curve.task);
    });
  }
}

void rowsOfSites() {
  for (const std::size_t nx : {std::size_t{16}, std::size_t{1024}, std::size_t{65536}}) {
    const std::string size = ", nx " + std::to_string(nx);
    Curve curve(nx);
    curve.create();
    curve.edit(natural);
    dfTaskConstruct(curve.task, 0, 0);
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> where(curve.x.front(), curve.x.back());
    std::vector<double> site(10000);
    for (double& s : site)
      s = where(random);
    std::vector<double> r(site.size());
    row("value, one site a call" + size, 5000, 1,
        [&](int i) { curve.interpolate(1, site.data() + i, DF_SITES_GENERAL, r.data()); });
    row("value, 10000 random sites" + size, 1, site.size(),
        [&](int) { curve.interpolate(site.size(), site.data(), DF_SITES_GENERAL, r.data()); });
    std::vector<std::int32_t> cells(site.size());
    const std::vector<double> other(site.rbegin(), site.rend());
    row("cells, 10000 random sites" + size, 1, site.size(), [&](int) {
      dfTaskInterpolate(curve.task, DF_WANT_CELLS, DF_METHOD_POLYNOMIAL,
                        static_cast<std::int32_t>(site.size()), site.data(), DF_SITES_GENERAL, 0, nullptr,
                        nullptr, nullptr, 0, cells.data());
    });
    row("integral, 10000 random pairs" + size, 1, site.size(), [&](int) {
      dfTaskIntegrate(curve.task, static_cast<std::int32_t>(site.size()), site.data(), other.data(), r.data(),
                      0);
    });
    std::sort(site.begin(), site.end());
    row("value, 10000 sorted sites" + size, 1, site.size(),
        [&](int) { curve.interpolate(site.size(), site.data(), DF_SITES_SORTED, r.data()); });
  }
}

void rowsOfUniformSites() {
  constexpr std::int32_t nx = 1024;
  const double ends[] = {0.0, 1.0};
  std::vector<double> y(nx);
  std::vector<double> coeff(4 * std::size_t{nx});
  std::mt19937_64 random(1);
  std::uniform_real_distribution<double> where(0.0, 1.0);
  std::generate(y.begin(), y.end(), [&] { return where(random); });
  std::vector<double> site(10000);
  std::generate(site.begin(), site.end(), [&] { return where(random); });
  std::vector<double> r(site.size());
  std::vector<std::int32_t> cells(site.size());
  DfTask* task = nullptr;
  dfTaskCreate(&task, nx, ends, DF_XHINT_UNIFORM, 1, y.data(), 0);
  dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_AKIMA, DF_END_NONE, nullptr, DF_IC_NONE, nullptr,
                   coeff.data(), 0);
  row("construct akima, uniform, nx 1024, a breakpoint", 10, nx, [&](int) { dfTaskConstruct(task, 0, 0); });
  const auto count = static_cast<std::int32_t>(site.size());
  row("value, uniform, 10000 random sites, nx 1024", 1, site.size(), [&](int) {
    dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, count, site.data(), DF_SITES_GENERAL,
                      0, nullptr, nullptr, r.data(), 0, nullptr);
  });
  row("cells, uniform, 10000 random sites, nx 1024", 1, site.size(), [&](int) {
    dfTaskInterpolate(task, DF_WANT_CELLS, DF_METHOD_POLYNOMIAL, count, site.data(), DF_SITES_GENERAL, 0,
                      nullptr, nullptr, nullptr, 0, cells.data());
  });
  dfTaskDestroy(&task);
}

void rowsOfStreams() {
  constexpr struct {
    const char* name;
    std::int32_t brng;
    std::uint32_t seed;
  } generators[] = {
      {"mcg31", RSG_BRNG_MCG31, 1},
      {"r250", RSG_BRNG_R250, 1},
      {"mrg32k3a", RSG_BRNG_MRG32K3A, 1},
      {"mcg59", RSG_BRNG_MCG59, 1},
      {"wichmann-hill", RSG_BRNG_WICHMANN_HILL, 1},
      {"sobol, 5 dimensions", RSG_BRNG_SOBOL, 5},
      {"niederreiter, 5 dimensions", RSG_BRNG_NIEDERREITER, 5},
      {"mt19937", RSG_BRNG_MT19937, 1},
      {"mt2203", RSG_BRNG_MT2203, 1},
      {"sfmt19937", RSG_BRNG_SFMT19937, 1},
  };
  std::vector<double> r(100000);
  for (const auto& generator : generators) {
    RsgStream* stream = nullptr;
    rsgNewStream(&stream, generator.brng, generator.seed);
    for (const std::size_t n : {std::size_t{1}, std::size_t{100000}})
      row(std::string("fill of ") + std::to_string(n) + ", " + generator.name, n == 1 ? 10000 : 1, n,
          [&](int) {
            vdRngUniform(RNG_UNIFORM_PLAIN, stream, static_cast<std::int32_t>(n), r.data(), 0.0, 1.0);
          });
    rsgDeleteStream(&stream);
  }
  RsgStream* stream = nullptr;
  rsgNewStream(&stream, RSG_BRNG_MT19937, 1);
  row("normals, 100000, mt19937", 1, r.size(),
      [&](int) { rsgNormal(stream, static_cast<std::int32_t>(r.size()), r.data(), 0.0, 1.0); });
  rsgDeleteStream(&stream);
}

void rowsOfSystems() {
  const std::int32_t n = 1024;
  for (const std::int32_t nrhs : {1, 8}) {
    std::vector<double> dl(1023);
    std::vector<double> d(1024);
    const std::vector<double> du(1023, 1.0);
    std::vector<double> b(std::size_t{1024} * 8);
    std::int32_t info = 0;
    std::fill(dl.begin(), dl.end(), 1.0);
    std::fill(d.begin(), d.end(), 4.0);
    std::fill(b.begin(), b.end(), 1.0);
    DDTTRFB(&n, dl.data(), d.data(), du.data(), &info);
    row("solve by factors, n 1024, nrhs " + std::to_string(nrhs), 10,
        std::size_t{1024} * static_cast<std::size_t>(nrhs),
        [&](int) { DDTTRSB("N", &n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &n, &info); });
  }
}

}  // namespace

int main() {
  rowsOfSites();
  rowsOfUniformSites();
  rowsOfLives();
  rowsOfStreams();
  rowsOfSystems();
  return 0;
}
