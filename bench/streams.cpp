#include <benchmark/benchmark.h>
#include <cstdint>
#include <string>
#include <vector>

#include "plain_streams.h"
#include "rows.h"

#include <raven/random_streams.h>

namespace bench {
namespace {

constexpr std::uint32_t seed = 7777777;

// Member 0, with the reciprocals rounded toward zero: 1/m to nearest would differ in the last bit of some.
PlainWichmannHill plainMember0() {
  PlainWichmannHill s = {{seed, 1, 1, 1}, {125, 117, 127, 126}, {16770647, 16770643, 16770623, 16770617}, {}};
  for (int j = 0; j < 4; ++j) {
    s.r[j] = 1.0 / s.m[j];
    if (static_cast<long double>(s.r[j]) * s.m[j] > 1.0L) s.r[j] -= 0x1p-76;
  }
  return s;
}

void runRaven(benchmark::State& state, std::size_t n) {
  std::vector<double> values(n);
  std::vector<double> expected(n);
  PlainWichmannHill plain = plainMember0();
  RsgStream* stream = nullptr;
  if (rsgNewStream(&stream, RSG_BRNG_WICHMANN_HILL, seed) != 0) {
    state.SkipWithError("stream");
    return;
  }
  const auto count = static_cast<std::int32_t>(n);
  for (int call = 0; call < 3; ++call) {
    vdRngUniform(RNG_UNIFORM_PLAIN, stream, count, values.data(), -1.0, 3.0);
    plainUniform(plain, n, expected.data(), -1.0, 3.0);
    if (values != expected) state.SkipWithError("values");
  }
  for (auto _ : state) {
    vdRngUniform(RNG_UNIFORM_PLAIN, stream, count, values.data(), -1.0, 3.0);
    benchmark::ClobberMemory();
  }
  rsgDeleteStream(&stream);
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n));
}

void runPlain(benchmark::State& state, std::size_t n) {
  std::vector<double> values(n);
  PlainWichmannHill plain = plainMember0();
  for (auto _ : state) {
    plainUniform(plain, n, values.data(), -1.0, 3.0);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(n));
}

}  // namespace

void registerStreamRows() {
  for (const std::size_t n : {std::size_t{8}, std::size_t{1000}, std::size_t{1000000}}) {
    const std::string row = "vdRngUniform, Wichmann-Hill, n " + std::to_string(n);
    benchmark::RegisterBenchmark((row + "|raven").c_str(), runRaven, n);
    benchmark::RegisterBenchmark((row + "|plain").c_str(), runPlain, n);
  }
}

}  // namespace bench
