#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "limits.h"
#include "plain_construct.h"
#include "rows.h"

#include <ravenfit/tridiagonal.h>

extern "C" void dpttrf_(const int* n, double* d, double* e, int* info);
extern "C" void dpttrs_(const int* n, const int* nrhs, const double* d, const double* e, double* b,
                        const int* ldb, int* info);

namespace bench {
namespace {

// A symmetric, diagonally dominant system, so that every party can solve it.
struct System {
  std::size_t n;
  std::size_t nrhs;
  std::vector<double> off;
  std::vector<double> diagonal;
  std::vector<double> rhs;
  std::vector<double> dl;
  std::vector<double> d;
  std::vector<double> b;

  System(std::size_t order, std::size_t columns)
      : n(order), nrhs(columns), off(n), diagonal(n), rhs(n * nrhs), dl(n), d(n), b(n * nrhs) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> value(0.5, 1.5);
    for (double& a : off)
      a = value(random);
    for (std::size_t i = 0; i < n; ++i)
      diagonal[i] = 2.0 * (off[i] + (i > 0 ? off[i - 1] : 0.0));
    for (double& a : rhs)
      a = value(random);
  }

  void refresh() {
    dl = off;
    d = diagonal;
    b = rhs;
  }
};

void solveRavenfit(System& s) {
  const auto n = static_cast<std::int32_t>(s.n);
  const auto nrhs = static_cast<std::int32_t>(s.nrhs);
  std::int32_t info = 0;
  DDTSVB(&n, &nrhs, s.dl.data(), s.d.data(), s.off.data(), s.b.data(), &n, &info);
}

void solvePlain(System& s) {
  plainThomas(s.n, s.nrhs, s.dl.data(), s.d.data(), s.off.data(), s.b.data());
}

void solveLapack(System& s) {
  const auto n = static_cast<int>(s.n);
  const auto nrhs = static_cast<int>(s.nrhs);
  int info = 0;
  dpttrf_(&n, s.d.data(), s.dl.data(), &info);
  dpttrs_(&n, &nrhs, s.d.data(), s.dl.data(), s.b.data(), &n, &info);
}

void run(benchmark::State& state, std::size_t n, std::size_t nrhs, void (*solve)(System&)) {
  System system(n, nrhs);
  system.refresh();
  solvePlain(system);
  const std::vector<double> expected = system.b;
  system.refresh();
  solve(system);
  for (std::size_t i = 0; i < expected.size(); ++i)
    if (!(std::fabs(expected[i] - system.b[i]) < 1e-9)) {
      state.SkipWithError("solution");
      break;
    }
  // Solving overwrites the system: a batch of copies is refreshed outside the time that counts.
  const std::size_t batch = std::max<std::size_t>(1, 20000 / (n * nrhs));
  std::vector<System> systems(batch, system);
  for (auto _ : state) {
    for (System& each : systems)
      each.refresh();
    const auto start = std::chrono::steady_clock::now();
    for (System& each : systems)
      solve(each);
    benchmark::ClobberMemory();
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(batch * n * nrhs));
}

// Right-hand sides in, solutions out.
void runLimit(benchmark::State& state, std::size_t n, std::size_t nrhs) {
  System system(n, nrhs);
  for (auto _ : state) {
    limitStream(n * nrhs, 1, system.rhs.data(), 1, system.b.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n * nrhs));
}

}  // namespace

void registerSolveRows() {
  for (const std::size_t nrhs : {std::size_t{1}, std::size_t{8}, std::size_t{64}}) {
    for (const std::size_t n : {std::size_t{64}, std::size_t{10000}, std::size_t{1000000}}) {
      const std::string row = "solve, n " + std::to_string(n) + ", nrhs " + std::to_string(nrhs);
      benchmark::RegisterBenchmark((row + "|ravenfit").c_str(), run, n, nrhs, solveRavenfit)->UseManualTime();
      benchmark::RegisterBenchmark((row + "|plain").c_str(), run, n, nrhs, solvePlain)->UseManualTime();
      benchmark::RegisterBenchmark((row + "|lapack").c_str(), run, n, nrhs, solveLapack)->UseManualTime();
      benchmark::RegisterBenchmark((row + "|limit").c_str(), runLimit, n, nrhs);
    }
  }
}

}  // namespace bench
