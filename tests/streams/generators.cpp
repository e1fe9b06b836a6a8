#include "streams/generators.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <immintrin.h>

#include "dispatch/level_table.h"
#include "runtime/cpu_level.h"
#include "streams/models.h"
#include "streams/quasi_models.h"
#include "streams/stream.h"

namespace support {
namespace {

// By the instruction, since not every C library rounds its fma() right.
[[gnu::target("fma")]] double fused(double w, double scale, double a) {
  return _mm_cvtsd_f64(_mm_fmadd_sd(_mm_set_sd(w), _mm_set_sd(scale), _mm_set_sd(a)));
}

double scaled(double w, double scale, double a, bool fuses) {
  return fuses ? fused(w, scale, a) : w * scale + a;
}

// Lengths of a unit step on an interval of length 1.
constexpr double mcg31Step = 1.0 / 2147483647.0;
constexpr double mrg32k3aStep = 1.0 / 4294967087.0;
constexpr double word32Step = 0x1p-32;

template <const double& step, bool everFuses>
double unsignedValue(std::uint64_t raw, double a, double b, bool fuses) {
  return scaled(static_cast<double>(raw), (b - a) * step, a, everFuses && fuses);
}

double signedValue(std::uint64_t raw, double a, double b, bool fuses) {
  const double w = static_cast<double>(raw) - (raw >= 0x80000000 ? 0x1p32 : 0.0);
  return scaled(w, (b - a) * 0x1p-32, (a + b) * 0.5, fuses);
}

double mcg59Value(std::uint64_t raw, double a, double b, bool) {
  const double scale = (b - a) * 0x1p-59;
  const double high = static_cast<double>(raw >> 32) * 0x1p32 * scale;
  return static_cast<double>(raw & 0xFFFFFFFF) * scale + high + a;
}

template <bool everFuses>
double quasiValue(std::uint64_t raw, double a, double b, bool fuses) {
  return scaled(static_cast<double>(raw >> 1), (b - a) * 0x1p-31, a, everFuses && fuses);
}

double wichmannHillValue(std::uint64_t raw, double a, double b, bool) {
  return std::bit_cast<double>(raw) * (b - a) + a;
}

// Of four coordinates, near the end of the sequence.
constexpr std::uint64_t farQuasiSkip = (std::uint64_t{1} << 34) - 12345;

}  // namespace

// Seeds by the hundreds, with no pattern that matters.
Seeds manySeeds(std::size_t count) {
  Seeds seeds(count);
  for (std::size_t i = 0; i < count; ++i)
    seeds[i] = static_cast<std::uint32_t>(0x9E3779B97F4A7C15 * (i + 1) >> 32);
  return seeds;
}

const std::vector<Generator>& generators() {
  using List = std::vector<Seeds>;
  constexpr std::int32_t noLeapfrog = RSG_ERROR_LEAPFROG;
  constexpr std::int32_t noSkip = RSG_ERROR_SKIP_AHEAD;
  // The last words: beyond the modulus, a multiple of it, below it, zero, and one too many.
  const List wichmannHill = {
      {}, {0}, {7777777}, {16770647}, {0xFFFFFFFF}, {1, 2}, {16770652, 33541286, 77, 0, 99}};
  const List mcg31 = {{}, {0}, {1}, {7777777}, {0x7FFFFFFF}, {0xFFFFFFFF}};
  const List mrg32k3a = {
      {}, {0}, {12345}, {0xFFFFFFFF, 0, 0, 0xFFFFFFFF}, {0, 0, 0, 0, 0, 0}, {1, 2, 3, 4, 5, 6, 7}};
  const List mcg59 = {{}, {0}, {7777777}, {0, 0}, {6, 0xFFFFFFFF}, {0xFFFFFFFF, 0x7FFFFFF, 1}};
  const List r250 = {{}, {0}, {1}, {0xFFFFFFFF, 2}, manySeeds(249), manySeeds(250), manySeeds(252)};
  const List mt19937 = {{}, {0}, {5489}, {0x123, 0x234, 0x345, 0x456}, manySeeds(625), manySeeds(1300)};
  const List mt2203 = {{}, {0}, {1}, {7777777, 8}, manySeeds(68), manySeeds(69), manySeeds(200)};
  // Of the single seeds, 0, 2 and the last two need their period corrected.
  const List sfmt19937 = {
      {}, {0}, {1}, {2}, {7777777}, {0xFFFFFFFE}, {0xFFFFFFFF}, manySeeds(623), manySeeds(625)};
  const List sobol = {{}, {0}, {1}, {2}, {40}, {41}, {7, 1, 4}, {5}};
  const List niederreiter = {{}, {0}, {1}, {318}, {319}, {2, 1, 4}, {7}};
  static const std::vector<Generator> all = {
      {"WichmannHill0", RSG_BRNG_WICHMANN_HILL, wichmannHill, startedModel<WichmannHillModel<0>>,
       wichmannHillValue, 0, 0},
      {"WichmannHill272", RSG_BRNG_WICHMANN_HILL + 272, wichmannHill, startedModel<WichmannHillModel<272>>,
       wichmannHillValue, 0, 0},
      {"MCG31", RSG_BRNG_MCG31, mcg31, startedModel<Mcg31Model>, unsignedValue<mcg31Step, false>, 0, 0},
      {"MRG32k3a", RSG_BRNG_MRG32K3A, mrg32k3a, startedModel<Mrg32k3aModel>,
       unsignedValue<mrg32k3aStep, true>, noLeapfrog, 0},
      {"MCG59", RSG_BRNG_MCG59, mcg59, startedModel<Mcg59Model>, mcg59Value, 0, 0},
      {"R250", RSG_BRNG_R250, r250, startedModel<R250Model>, unsignedValue<word32Step, false>, noLeapfrog,
       noSkip},
      {"MT19937", RSG_BRNG_MT19937, mt19937, startedModel<Mt19937Model>, unsignedValue<word32Step, true>,
       noLeapfrog, 0},
      {"MT2203", RSG_BRNG_MT2203 + 1, mt2203, startedModel<Mt2203Model>, unsignedValue<word32Step, false>,
       noLeapfrog, noSkip},
      {"SFMT19937", RSG_BRNG_SFMT19937, sfmt19937, startedModel<Sfmt19937Model>, signedValue, noLeapfrog, 0},
      {"Sobol", RSG_BRNG_SOBOL, sobol, startedModel<SobolModel>, quasiValue<true>, noLeapfrog, 0,
       farQuasiSkip},
      {"Niederreiter", RSG_BRNG_NIEDERREITER, niederreiter, startedModel<NiederreiterModel>,
       quasiValue<false>, noLeapfrog, 0, farQuasiSkip},
  };
  return all;
}

const Generator& generator(const std::string& name) {
  return *std::find_if(generators().begin(), generators().end(),
                       [&](const Generator& one) { return one.name == name; });
}

std::vector<std::size_t> edges() {
  std::vector<std::size_t> all;
  for (const std::size_t edge : {1u, 4u, 8u, 16u, 32u, 69u, 103u, 138u, 147u, 250u, 256u, 624u, 1248u})
    for (std::size_t n = edge - 1; n <= edge + 1; ++n)
      all.push_back(n);
  all.push_back(10000);
  return all;
}

const rvn::BrngRecord& registeredGenerator(std::int32_t brngId) {
  return *rvn::levelTables[rvn::cpuLevel()]->streams->registry->family[(brngId >> 20) - 1];
}

GeneratorStream::GeneratorStream(std::int32_t brngId, const Seeds& seeds)
    : record_(registeredGenerator(brngId)) {
  EXPECT_EQ(rsgNewStream(&stream_, brngId, seeds.empty() ? 1 : seeds[0]), RSG_STATUS_OK);
  if (seeds.size() != 1) {
    EXPECT_EQ(stateOp(rvn::stateSeed, static_cast<std::int64_t>(seeds.size()), seeds), RSG_STATUS_OK);
  }
}

GeneratorStream::GeneratorStream(const GeneratorStream& other) : record_(other.record_) {
  EXPECT_EQ(rsgNewStream(&stream_, other.stream_->brngId, 1), RSG_STATUS_OK);
  std::memcpy(reinterpret_cast<unsigned char*>(stream_) + sizeof(RsgStream),
              reinterpret_cast<const unsigned char*>(other.stream_) + sizeof(RsgStream),
              record_.stateSize - sizeof(RsgStream));
}

namespace {

// Runs fill(r) on an array of n values at an address that n picks, with guards before and behind it.
template <class Value, class Fill>
std::vector<Value> guarded(std::size_t n, Fill fill) {
  const std::size_t shift = 1 + n % 32;
  const std::size_t end = shift + n * sizeof(Value);
  std::vector<unsigned char> bytes(end + 64, 0xA5);
  EXPECT_EQ(fill(reinterpret_cast<Value*>(bytes.data() + shift)), RSG_STATUS_OK);
  for (std::size_t i = 0; i < bytes.size(); i = i + 1 == shift ? end : i + 1)
    EXPECT_EQ(bytes[i], 0xA5) << "byte " << i << " around " << n << " values";
  std::vector<Value> values(n);
  if (n > 0) std::memcpy(values.data(), bytes.data() + shift, n * sizeof(Value));
  return values;
}

}  // namespace

std::vector<std::uint64_t> GeneratorStream::raw(std::size_t n) {
  const auto fill = [&](void* r) {
    return record_.operations->fillInt(stream_, static_cast<std::int64_t>(n), r);
  };
  if (record_.wordSize == 16) {
    std::vector<std::uint64_t> outputs;
    for (const auto& words : guarded<std::array<std::uint32_t, 4>>(n, fill))
      outputs.push_back(wichmannHillOutput(stream_->brngId - RSG_BRNG_WICHMANN_HILL, words));
    return outputs;
  }
  if (record_.wordSize == 8) return guarded<std::uint64_t>(n, fill);
  const std::vector<std::uint32_t> words = guarded<std::uint32_t>(n, fill);
  return {words.begin(), words.end()};
}

std::vector<double> GeneratorStream::doubles(std::size_t n, double a, double b) {
  return guarded<double>(n, [&](double* r) {
    return record_.operations->fillDouble(stream_, static_cast<std::int64_t>(n), r, a, b);
  });
}

std::vector<float> GeneratorStream::floats(std::size_t n, float a, float b) {
  return guarded<float>(n, [&](float* r) {
    return record_.operations->fillFloat(stream_, static_cast<std::int64_t>(n), r, a, b);
  });
}

std::int32_t GeneratorStream::stateOp(std::int32_t method, std::int64_t count, const Seeds& args) {
  return record_.operations->stateOp(method, stream_, count, args.data());
}

void GeneratorStream::skip(std::uint64_t outputs) {
  const Seeds args = {static_cast<std::uint32_t>(outputs), static_cast<std::uint32_t>(outputs >> 32)};
  EXPECT_EQ(stateOp(rvn::stateSkipAhead, 2, args), RSG_STATUS_OK) << outputs;
}

}  // namespace support
