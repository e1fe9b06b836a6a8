// Prints, for docs/performance.md, nanoseconds a site of values by every hint that is legal, over kinds of partitions and
// orders of sites. What a hint gives is compared with what no hint gives before it is timed.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "stopwatch.h"

#include <ravenfit/data_fitting.h>

namespace {

using Numbers = std::vector<double>;

struct Partition {
  const char* name;
  double jitter;  // of a breakpoint, in steps: 0 for equal steps
  bool crowded;   // ten breakpoints in eleven crowd in the first tenth
};

constexpr Partition partitions[] = {{"uniform", 0.0, false},
                                    {"steps within 5 %", 0.025, false},
                                    {"irregular", 0.4, false},
                                    {"crowded", 0.4, true}};

struct Order {
  const char* name;
  bool sorted;
  bool about;  // all within two cells of the middle one
};

constexpr Order orders[] = {
    {"random", false, false}, {"sorted", true, false}, {"about one cell", false, true}};

struct Hint {
  const char* name;
  std::int32_t xhint;
  std::int32_t sitehint;
  bool likely;
};

constexpr Hint hints[] = {{"none", DF_XHINT_NONE, DF_SITES_GENERAL, false},
                          {"sorted", DF_XHINT_NONE, DF_SITES_SORTED, false},
                          {"likely cell", DF_XHINT_NONE, DF_SITES_GENERAL, true},
                          {"quasi-uniform", DF_XHINT_QUASI_UNIFORM, DF_SITES_GENERAL, false},
                          {"uniform", DF_XHINT_UNIFORM, DF_SITES_GENERAL, false}};

bool isLegal(const Hint& hint, const Partition& partition, const Order& order) {
  if (hint.xhint == DF_XHINT_UNIFORM) return partition.jitter == 0.0;
  return hint.sitehint != DF_SITES_SORTED || order.sorted;
}

Numbers breakpointsOf(const Partition& partition, std::size_t nx) {
  std::mt19937_64 random(nx);
  std::uniform_real_distribution<double> shift(-partition.jitter, partition.jitter);
  Numbers x(nx);
  for (std::size_t i = 0; i < nx; ++i) {
    const bool end = i == 0 || i + 1 == nx;
    x[i] = static_cast<double>(i) + (end || partition.jitter == 0.0 ? 0.0 : shift(random));
  }
  if (partition.crowded)
    for (std::size_t i = nx / 11 * 10; i < nx; ++i)
      x[i] = x[i - 1] + 90.0 + shift(random);
  return x;
}

struct Case {
  Numbers x;
  Numbers y;
  Numbers coeff;
  Numbers ends;
  std::vector<DfTask*> tasks;  // by hint

  Case(const Partition& partition, std::size_t nx)
      : x(breakpointsOf(partition, nx)), coeff(4 * nx), ends{x.front(), x.back()} {
    for (const double at : x)
      y.push_back(std::sin(0.1 * at));
    for (const Hint& hint : hints) {
      DfTask* task = nullptr;
      if (hint.xhint != DF_XHINT_UNIFORM || partition.jitter == 0.0) {
        dfTaskCreate(&task, static_cast<std::int32_t>(nx),
                     hint.xhint == DF_XHINT_UNIFORM ? ends.data() : x.data(), hint.xhint, 1, y.data(),
                     DF_VALUES_DEFAULT);
        dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_AKIMA, DF_END_NONE, nullptr, DF_IC_NONE, nullptr,
                         coeff.data(), DF_COEFF_DEFAULT);
        if (tasks.empty()) dfTaskConstruct(task, 0, 0);
      }
      tasks.push_back(task);
    }
  }
  Case(const Case&) = delete;
  Case& operator=(const Case&) = delete;
  ~Case() {
    for (DfTask* task : tasks)
      dfTaskDestroy(&task);
  }
};

// Sixty-four calls' worth, so that no predictor learns them, or a million sites.
Numbers sitesOf(const Order& order, const Numbers& x, std::size_t nsite) {
  const std::size_t nx = x.size();
  std::mt19937_64 random(nsite);
  std::uniform_int_distribution<std::size_t> cell(0, nx - 2);
  std::uniform_real_distribution<double> part(0.0, 1.0);
  Numbers sites(std::min<std::size_t>(64 * nsite, 1000000));
  for (double& s : sites) {
    const std::size_t q = order.about ? std::min(nx / 2 + cell(random) % 4, nx - 2) : cell(random);
    s = x[q] + part(random) * (x[q + 1] - x[q]);
  }
  if (order.sorted)
    for (auto first = sites.begin(); first != sites.end(); first += static_cast<std::ptrdiff_t>(nsite))
      std::sort(first, first + static_cast<std::ptrdiff_t>(nsite));
  return sites;
}

void interpolate(const Case& data, std::size_t which, std::size_t nsite, const double* site, double* r) {
  const Hint& hint = hints[which];
  const double likely[5] = {0.0, 1.0, 0.0, 0.0, static_cast<double>(data.x.size() / 2 + 2)};
  dfTaskInterpolate(data.tasks[which], DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL,
                    static_cast<std::int32_t>(nsite), site, hint.sitehint, 0, nullptr,
                    hint.likely ? likely : nullptr, r, DF_RESULTS_SITES_INNER, nullptr);
}

bool agrees(const Case& data, std::size_t which, std::size_t nsite, const Numbers& sites) {
  Numbers got(nsite);
  Numbers want(nsite);
  interpolate(data, which, nsite, sites.data(), got.data());
  interpolate(data, 0, nsite, sites.data(), want.data());
  for (std::size_t i = 0; i < nsite; ++i)
    if (!(std::fabs(got[i] - want[i]) <= 1e-9)) return false;
  return true;
}

void printRow(const Case& data, const Partition& partition, const Order& order, std::size_t nsite) {
  const Numbers sites = sitesOf(order, data.x, nsite);
  Numbers r(nsite);
  std::printf("| %s | %s | %zu ", partition.name, order.name, nsite);
  for (std::size_t which = 0; which < std::size(hints); ++which) {
    if (!isLegal(hints[which], partition, order)) {
      std::printf("| ");
    } else if (!agrees(data, which, nsite, sites)) {
      std::printf("| wrong ");
    } else {
      std::size_t at = 0;
      const double time = bench::timeOf([&] {
        interpolate(data, which, nsite, &sites[at], r.data());
        at = at + 2 * nsite > sites.size() ? 0 : at + nsite;
      });
      std::printf("| %.*f ", time / static_cast<double>(nsite) < 10.0 ? 2 : 1,
                  time / static_cast<double>(nsite));
    }
  }
  std::printf("|\n");
}

}  // namespace

int main() {
  for (const std::size_t nx :
       {std::size_t{64}, std::size_t{1000}, std::size_t{65536}, std::size_t{1000000}}) {
    std::printf("\n%zu breakpoints:\n\n| partition | sites | a call ", nx);
    for (const Hint& hint : hints)
      std::printf("| %s ", hint.name);
    std::printf("|\n|---|---|---|---|---|---|---|---|\n");
    for (const Partition& partition : partitions) {
      const Case data(partition, nx);
      for (const Order& order : orders)
        for (const std::size_t nsite :
             {std::size_t{1}, std::size_t{10}, std::size_t{1000}, std::size_t{1000000}})
          printRow(data, partition, order, nsite);
    }
  }
  return 0;
}
