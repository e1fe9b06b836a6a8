// Words, integers, floats and doubles of 53 bits from MT19937, each checked against std::mt19937 in the same state.

#include <algorithm>
#include <benchmark/benchmark.h>
#include <boost/random/mersenne_twister.hpp>
#include <boost/random/uniform_int_distribution.hpp>
#include <cstdint>
#include <cstring>
#include <gsl/gsl_rng.h>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "rows.h"

#include <ravenfit/stream_tools.h>

namespace bench {
namespace {

constexpr std::int32_t faces = 10;

// The state of a fresh stream, read from its saved form.
std::mt19937 sameState(const RsgStream* stream) {
  constexpr std::size_t firstWord = 20;
  std::vector<unsigned char> saved(static_cast<std::size_t>(rsgSaveSize(stream)));
  rsgSaveStream(stream, saved.data(), static_cast<std::int32_t>(saved.size()));
  std::ostringstream text;
  for (std::size_t i = 0; i < 625; ++i) {
    std::uint32_t word = 0;
    std::memcpy(&word, &saved[firstWord + 4 * i], sizeof word);
    text << word << ' ';
  }
  std::mt19937 generator;
  std::istringstream(text.str()) >> generator;
  return generator;
}

std::int64_t elements(const benchmark::State& state, std::size_t n) {
  return state.iterations() * static_cast<std::int64_t>(n);
}

// Times fill(stream, n, r), which gives the values that next(generator) makes one by one.
template <class Value, class Fill, class Next>
void runRavenfit(benchmark::State& state, std::size_t n, Fill fill, Next next) {
  RsgStream* stream = nullptr;
  rsgNewStream(&stream, RSG_BRNG_MT19937, 7777777);
  std::mt19937 generator = sameState(stream);
  std::vector<Value> values(n);
  std::vector<Value> expected(n);
  const auto count = static_cast<std::int32_t>(n);
  for (int call = 0; call < 3; ++call) {
    fill(stream, count, values.data());
    std::generate(expected.begin(), expected.end(), [&] { return next(generator); });
    if (values != expected) state.SkipWithError("values");
  }
  for (auto _ : state) {
    fill(stream, count, values.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(elements(state, n));
  rsgDeleteStream(&stream);
}

template <class Value, class Next>
void runPeer(benchmark::State& state, std::size_t n, Next next) {
  std::vector<Value> values(n);
  for (auto _ : state) {
    std::generate(values.begin(), values.end(), next);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(elements(state, n));
}

std::int32_t nextInteger(std::mt19937& generator) {
  for (;;) {
    const std::uint64_t product = std::uint64_t{generator()} * faces;
    if (static_cast<std::uint32_t>(product) >= (std::uint64_t{1} << 32) % faces)
      return static_cast<std::int32_t>(product >> 32);
  }
}

double next53(std::mt19937& generator) {
  const auto high = static_cast<double>(generator() >> 5);
  return (high * 67108864.0 + static_cast<double>(generator() >> 6)) / 9007199254740992.0;
}

float nextFloat(std::mt19937& generator) {
  return std::min(static_cast<float>(static_cast<double>(generator()) * 0x1p-32), 1 - 0x1p-24F);
}

}  // namespace

void registerStreamToolRows() {
  for (const std::size_t n : {std::size_t{8}, std::size_t{1000}, std::size_t{1000000}}) {
    const auto add = [n](const char* what, const char* who, auto run) {
      benchmark::RegisterBenchmark(
          (std::string(what) + ", MT19937, n " + std::to_string(n) + "|" + who).c_str(), run);
    };
    const auto addGsl = [=]<class Value>(const char* what, Value, auto next) {
      add(what, "gsl", [=](benchmark::State& state) {
        gsl_rng* const generator = gsl_rng_alloc(gsl_rng_mt19937);
        runPeer<Value>(state, n, [&] { return static_cast<Value>(next(generator)); });
        gsl_rng_free(generator);
      });
    };
    const auto addEngine = [=]<class Value, class Engine>(const char* what, const char* who, Value,
                                                          Engine engine, auto next) {
      add(what, who, [=](benchmark::State& state) {
        Engine generator = engine;
        auto distribution = next;
        runPeer<Value>(state, n, [&] { return distribution(generator); });
      });
    };
    const auto addOurs = [=]<class Value>(const char* what, Value, auto fill, auto next) {
      add(what, "ravenfit", [=](benchmark::State& state) { runRavenfit<Value>(state, n, fill, next); });
    };
    const std::mt19937 standard;
    const boost::random::mt19937 boosted;
    const auto word = [](auto& generator) { return static_cast<std::uint32_t>(generator()); };

    addOurs("words", std::uint32_t{}, rsgWords32, word);
    addGsl("words", std::uint32_t{}, gsl_rng_get);
    addEngine("words", "std", std::uint32_t{}, standard, word);
    addEngine("words", "boost", std::uint32_t{}, boosted, word);

    addOurs(
        "integers", std::int32_t{},
        [](RsgStream* s, std::int32_t count, std::int32_t* r) { rsgIntegers(s, count, r, 0, faces - 1); },
        nextInteger);
    addGsl("integers", std::int32_t{}, [](const gsl_rng* g) { return gsl_rng_uniform_int(g, faces); });
    addEngine("integers", "std", std::int32_t{}, standard, std::uniform_int_distribution<int>(0, faces - 1));
    addEngine("integers", "boost", std::int32_t{}, boosted,
              boost::random::uniform_int_distribution<int>(0, faces - 1));

    addOurs("doubles of 53 bits", double{}, rsgUniform53, next53);
    addEngine("doubles of 53 bits", "std", double{}, standard,
              [](auto& generator) { return std::generate_canonical<double, 53>(generator); });

    addOurs(
        "floats", float{},
        [](RsgStream* s, std::int32_t count, float* r) { rsgUniformFloat(s, count, r, 0.0F, 1.0F); },
        nextFloat);
    addEngine("floats", "std", float{}, standard, std::uniform_real_distribution<float>(0.0F, 1.0F));
  }
}

}  // namespace bench
