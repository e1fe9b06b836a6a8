#include "streams/wichmann_hill.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <numeric>
#include <set>
#include <vector>

#include "runtime/cpu_level.h"
#include "runtime/level_table.h"
#include "streams/registry.h"
#include "streams/wichmann_hill_model.h"
#include "support/compare.h"

#include <raven/random_streams.h>

namespace {

using support::WichmannHillModel;

constexpr int someMembers[] = {0, 1, 3, 4, 100, 271, 272};

const rvn::BrngOperations& operations() {
  return *rvn::levelTables[rvn::cpuLevel()]->streams->registry->family[rvn::wichmannHillFamily].operations;
}

class Stream {
 public:
  Stream(int member, std::uint32_t seed) {
    EXPECT_EQ(rsgNewStream(&stream_, RSG_BRNG_WICHMANN_HILL + member, seed), RSG_STATUS_OK);
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() { rsgDeleteStream(&stream_); }

  RsgStream* get() const { return stream_; }
  rvn::WichmannHillStream& state() const { return *reinterpret_cast<rvn::WichmannHillStream*>(stream_); }
  std::vector<std::uint64_t> x() const { return {std::begin(state().x), std::end(state().x)}; }

  std::vector<double> draw(std::size_t n, double a = 0.0, double b = 1.0) const {
    std::vector<double> r(n);
    EXPECT_EQ(vdRngUniform(RNG_UNIFORM_PLAIN, stream_, static_cast<std::int32_t>(n), r.data(), a, b), 0);
    return r;
  }

 private:
  RsgStream* stream_ = nullptr;
};

std::vector<std::uint64_t> stateOf(const WichmannHillModel& model) {
  return {model.x.begin(), model.x.end()};
}

// From the definition of the generator, worked out with exact integers and one rounding per operation.
TEST(WichmannHill, KnownAnswers) {
  const Stream stream(0, 7777777);
  EXPECT_EQ(stream.x(), (std::vector<std::uint64_t>{7777777, 1, 1, 1}));
  EXPECT_TRUE(support::same(stream.draw(5), {0.46377340122915106, 0.9716748555040867, 0.459323784869269,
                                             0.4118132646730807, 0.0762110641186029}));
  EXPECT_EQ(stream.x(), (std::vector<std::uint64_t>{3280510, 5249956, 242097, 11191395}));
}

TEST(WichmannHill, FillsEqualTheIntegerModel) {
  for (const int member : someMembers) {
    for (const std::uint32_t seed : {0u, 1u, 7777777u, 16770647u, 0xFFFFFFFFu}) {
      WichmannHillModel model(member, seed);
      const Stream doubles(member, seed);
      const Stream floats(member, seed);
      const Stream words(member, seed);
      for (const std::size_t n : {1u, 2u, 3u, 4u, 5u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 500u, 3u}) {
        std::vector<double> expected;
        std::vector<float> expectedFloats;
        std::vector<std::uint32_t> expectedWords;
        for (std::size_t i = 0; i < n; ++i) {
          expected.push_back(model.u() * (2.5 - -0.1) + -0.1);
          const double wide = static_cast<double>(2.5f) - static_cast<double>(-0.1f);
          expectedFloats.push_back(static_cast<float>(model.u() * wide + static_cast<double>(-0.1f)));
          for (const std::uint64_t x : model.x)
            expectedWords.push_back(static_cast<std::uint32_t>(x));
          model.step();
        }
        ASSERT_TRUE(support::same(doubles.draw(n, -0.1, 2.5), expected)) << member << " " << seed << " " << n;
        const auto count = static_cast<std::int64_t>(n);
        std::vector<float> gotFloats(n);
        EXPECT_EQ(operations().fillFloat(floats.get(), count, gotFloats.data(), -0.1f, 2.5f), 0);
        ASSERT_EQ(gotFloats, expectedFloats) << member << " " << seed << " " << n;
        std::vector<std::uint32_t> gotWords(4 * n);
        EXPECT_EQ(operations().fillInt(words.get(), count, gotWords.data()), 0);
        ASSERT_EQ(gotWords, expectedWords) << member << " " << seed << " " << n;
        for (const Stream* stream : {&doubles, &floats, &words})
          ASSERT_EQ(stream->x(), stateOf(model)) << member << " " << seed << " " << n;
      }
    }
  }
}

TEST(WichmannHill, ASplitDrawsTheSame) {
  const std::vector<double> whole = Stream(5, 42).draw(80);
  for (std::size_t p = 0; p <= 40; ++p)
    for (std::size_t q = 0; q <= 40; ++q) {
      const Stream stream(5, 42);
      std::vector<double> parts = stream.draw(p);
      const std::vector<double> rest = stream.draw(q);
      parts.insert(parts.end(), rest.begin(), rest.end());
      ASSERT_TRUE(support::same(parts, {whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(p + q)}));
    }
}

TEST(WichmannHill, FillsWriteTheirElementsOnlyAtAnyAddress) {
  for (const std::size_t n : {1u, 7u, 8u, 15u, 16u, 33u}) {
    const std::vector<double> expected = Stream(9, 3).draw(n);
    for (std::size_t shift = 0; shift < 33; shift += 3) {
      const Stream stream(9, 3);
      std::vector<unsigned char> bytes(n * 8 + 64, 0xA5);
      auto* const r = reinterpret_cast<double*>(bytes.data() + shift);
      const auto count = static_cast<std::int32_t>(n);
      ASSERT_EQ(vdRngUniform(RNG_UNIFORM_CLAMPED, stream.get(), count, r, 0.0, 1.0), 0);
      std::vector<unsigned char> want(bytes.size(), 0xA5);
      std::memcpy(want.data() + shift, expected.data(), n * 8);
      ASSERT_EQ(bytes, want) << n << " at " << shift;
    }
    std::vector<unsigned char> bytes(n * 16 + 32, 0xA5);
    const Stream stream(9, 3);
    ASSERT_EQ(operations().fillInt(stream.get(), static_cast<std::int64_t>(n), bytes.data() + 1), 0);
    EXPECT_EQ(bytes[0], 0xA5);
    EXPECT_EQ(
        std::vector<unsigned char>(bytes.begin() + static_cast<std::ptrdiff_t>(n * 16 + 1), bytes.end()),
        std::vector<unsigned char>(31, 0xA5));
  }
}

TEST(WichmannHill, Seeding) {
  constexpr std::uint32_t m0 = 16770647;
  constexpr std::uint32_t m1 = 16770643;
  const std::uint32_t seeds[] = {m0 + 5, 2 * m1, 77, 0, 99};
  const struct {
    std::int64_t count;
    std::vector<std::uint64_t> x;
  } cases[] = {{-1, {1, 1, 1, 1}}, {0, {1, 1, 1, 1}},  {1, {5, 1, 1, 1}}, {2, {5, 1, 1, 1}},
               {3, {5, 1, 77, 1}}, {4, {5, 1, 77, 1}}, {5, {5, 1, 77, 1}}};
  const Stream stream(0, 1);
  for (const auto& c : cases) {
    EXPECT_EQ(operations().stateOp(rvn::stateSeed, stream.get(), c.count, seeds), 0);
    EXPECT_EQ(stream.x(), c.x) << c.count;
  }
  EXPECT_EQ(operations().stateOp(rvn::stateSeed, stream.get(), 0, nullptr), 0);
  for (const std::int32_t method : {-1, 3, 100})
    EXPECT_EQ(operations().stateOp(method, stream.get(), 1, seeds), RSG_ERROR_STATE_METHOD);
}

TEST(WichmannHill, LeapfrogTakesEveryCountthOutput) {
  for (const int member : {0, 100}) {
    const std::vector<double> whole = Stream(member, 123).draw(1000);
    for (const std::uint32_t count : {1u, 2u, 3u, 7u, 50u}) {
      for (const std::uint32_t k : {0u, 1u, count - 1, count + 4}) {
        const Stream stream(member, 123);
        EXPECT_EQ(operations().stateOp(rvn::stateLeapfrog, stream.get(), count, &k), 0);
        std::vector<double> expected;
        for (std::size_t i = k; i < 900; i += count)
          expected.push_back(whole[i]);
        ASSERT_TRUE(support::same(stream.draw(expected.size()), expected)) << count << " " << k;
      }
    }
  }
}

TEST(WichmannHill, SkipAhead) {
  const std::vector<double> whole = Stream(272, 9).draw(300);
  for (std::uint32_t skip = 0; skip < 260; skip += skip < 10 ? 1 : 50) {
    const std::uint32_t args[2] = {skip, 0};
    const Stream stream(272, 9);
    EXPECT_EQ(operations().stateOp(rvn::stateSkipAhead, stream.get(), 2, args), 0);
    const auto first = whole.begin() + static_cast<std::ptrdiff_t>(skip);
    ASSERT_TRUE(support::same(stream.draw(40), {first, first + 40})) << skip;
  }
  // Component j comes back after m_j - 1 steps (Fermat).
  const Stream stream(272, 9);
  const std::vector<std::uint64_t> before = stream.x();
  const std::uint64_t m0 = rvn::WichmannHillModuli[272][0];
  const std::uint64_t m1 = rvn::WichmannHillModuli[272][1];
  const std::uint64_t both = (m0 - 1) * ((m1 - 1) / 2);
  const std::uint32_t args[2] = {static_cast<std::uint32_t>(both), static_cast<std::uint32_t>(both >> 32)};
  EXPECT_EQ(operations().stateOp(rvn::stateSkipAhead, stream.get(), 2, args), 0);
  const std::vector<std::uint64_t> after = stream.x();
  EXPECT_EQ(after[0], before[0]);
  EXPECT_EQ(after[1], before[1]) << "m0 - 1 is even, so that m1 - 1 divides the product too";
  EXPECT_NE(after[2], before[2]);
  EXPECT_NE(after[3], before[3]);
}

std::vector<std::uint64_t> primeFactors(std::uint64_t n) {
  std::vector<std::uint64_t> factors;
  for (std::uint64_t p = 2; p * p <= n; ++p) {
    if (n % p != 0) continue;
    factors.push_back(p);
    while (n % p == 0)
      n /= p;
  }
  if (n > 1) factors.push_back(n);
  return factors;
}

// g has order m - 1 if no g^((m-1)/p) is 1; powers by repeated multiplication along the bits of the exponent.
bool isPrimitiveRoot(std::uint64_t g, std::uint64_t m, const std::vector<std::uint64_t>& factors) {
  for (const std::uint64_t p : factors) {
    std::uint64_t value = 1;
    for (int bit = 23; bit >= 0; --bit) {
      value = value * value % m;
      if (((m - 1) / p >> bit & 1) != 0) value = value * g % m;
    }
    if (value == 1) return false;
  }
  return true;
}

TEST(WichmannHill, Tables) {
  constexpr std::uint32_t listedModuli[][4] = {{16770647, 16770643, 16770623, 16770617},
                                               {16770311, 16770283, 16770263, 16770209},
                                               {16769807, 16769771, 16769749, 16769663},
                                               {16769591, 16769537, 16769479, 16769387},
                                               {16766363, 16766359, 16766327, 16766231}};
  constexpr int listedMultipliers[][4] = {{125, 117, 127, 126},
                                          {127, 126, 125, 123},
                                          {125, 119, 123, 126},
                                          {123, 125, 122, 126},
                                          {126, 127, 125, 124}};
  const auto listedRow = [](int member) { return member < 4 ? member : member == 272 ? 4 : -1; };

  // Sieve of Eratosthenes over the numbers below 2^24.
  std::vector<bool> composite(std::size_t{1} << 24);
  for (std::size_t p = 2; p < 4096; ++p)
    if (!composite[p])
      for (std::size_t q = p * p; q < composite.size(); q += p)
        composite[q] = true;

  std::set<std::uint32_t> moduli;
  for (int member = 0; member < rvn::wichmannHillMembers; ++member) {
    std::set<int> multipliers;
    for (int j = 0; j < 4; ++j) {
      const std::uint32_t m = rvn::WichmannHillModuli[member][j];
      const int mult = rvn::WichmannHillMultipliers[member][j];
      ASSERT_TRUE(m >= 16718909 && m <= 16776971 && !composite[m]) << member << " " << m;
      moduli.insert(m);
      EXPECT_TRUE(j == 0 || m < rvn::WichmannHillModuli[member][j - 1]) << member;
      if (listedRow(member) >= 0) {
        EXPECT_EQ(m, listedModuli[listedRow(member)][j]);
        EXPECT_EQ(mult, listedMultipliers[listedRow(member)][j]);
      } else {
        for (int i = 0; i < j; ++i)
          EXPECT_EQ(std::gcd((m - 1) / 2, (rvn::WichmannHillModuli[member][i] - 1) / 2), 1u) << member;
      }
      // The multiplier is the largest primitive root up to 127 that the row has not used.
      const std::vector<std::uint64_t> factors = primeFactors(m - 1);
      int best = 127;
      while (multipliers.contains(best) || !isPrimitiveRoot(static_cast<std::uint64_t>(best), m, factors))
        --best;
      EXPECT_EQ(mult, best) << member << " " << m;
      EXPECT_GE(mult, 112);
      multipliers.insert(mult);

      // 1/m rounded toward zero is k 2^-76 with k = floor(2^76 / m), a number of 53 bits: k m is 2^76 less the
      // remainder. The last bits of both are compared, and the first.
      const double reciprocal = rvn::WichmannHillReciprocals[member][j];
      const std::uint64_t half = (std::uint64_t{1} << 38) % m;
      EXPECT_EQ(static_cast<std::uint64_t>(reciprocal * 0x1p76) * m, 0 - half * half % m)
          << member << " " << m;
      EXPECT_NEAR(reciprocal * m, 1.0, 0x1p-50);
    }
  }
  EXPECT_EQ(moduli.size(), 1092u);
}

}  // namespace
