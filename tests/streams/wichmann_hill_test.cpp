// What belongs to Wichmann-Hill alone: outputs by hand, the period of a component, and the tables.

#include "streams/wichmann_hill.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <iterator>
#include <numeric>
#include <set>
#include <vector>

#include "streams/generators.h"
#include "support/compare.h"

namespace {

std::vector<std::uint32_t> stateOf(const support::GeneratorStream& stream) {
  const auto& x = stream.state<rvn::WichmannHillStream>().x;
  return {std::begin(x), std::end(x)};
}

// From the definition of the generator, worked out with exact integers and one rounding per operation.
TEST(WichmannHill, KnownAnswers) {
  support::GeneratorStream stream(RSG_BRNG_WICHMANN_HILL, {7777777});
  EXPECT_EQ(stateOf(stream), (std::vector<std::uint32_t>{7777777, 1, 1, 1}));
  EXPECT_TRUE(support::same(stream.doubles(5), {0.46377340122915106, 0.9716748555040867, 0.459323784869269,
                                                0.4118132646730807, 0.0762110641186029}));
  EXPECT_EQ(stateOf(stream), (std::vector<std::uint32_t>{3280510, 5249956, 242097, 11191395}));
}

// Component j comes back after m_j - 1 steps (Fermat).
TEST(WichmannHill, LongSkipsHaveThePeriodOfAComponent) {
  support::GeneratorStream stream(RSG_BRNG_WICHMANN_HILL + 272, {9});
  const std::vector<std::uint32_t> before = stateOf(stream);
  const std::uint64_t m0 = rvn::WichmannHillModuli[272][0];
  const std::uint64_t m1 = rvn::WichmannHillModuli[272][1];
  stream.skip((m0 - 1) * ((m1 - 1) / 2));
  const std::vector<std::uint32_t> after = stateOf(stream);
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

  std::set<std::uint32_t> moduli;
  for (int member = 0; member < rvn::wichmannHillMembers; ++member) {
    std::set<int> multipliers;
    for (int j = 0; j < 4; ++j) {
      const std::uint32_t m = rvn::WichmannHillModuli[member][j];
      const int mult = rvn::WichmannHillMultipliers[member][j];
      ASSERT_TRUE(m >= 16718909 && m <= 16776971 && primeFactors(m)[0] == m) << member << " " << m;
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
