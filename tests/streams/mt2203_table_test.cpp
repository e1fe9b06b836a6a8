// Re-checks every row of the table of MT2203, with the arithmetic of the program that found them and with methods
// of its own: the characteristic polynomial from a stream's outputs, equidistribution from ranks.

#include <algorithm>
#include <bit>
#include <bitset>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <set>
#include <vector>

#include "mt2203/candidates.h"
#include "mt2203/polynomial.h"
#include "mt2203/rows.h"
#include "mt2203/tempering.h"
#include "streams/models.h"
#include "streams/mt2203.h"

#include <ravenfit/random_streams.h>

namespace {

using mt2203::degree;
using Bits = std::bitset<degree + 1>;

class Mt2203Table : public testing::Test {
 protected:
  void SetUp() override {
    if (!__builtin_cpu_supports("pclmul")) GTEST_SKIP() << "no carry-less multiplication";
  }
};

Bits bitsOf(const mt2203::Polynomial& p) {
  Bits bits;
  for (std::size_t k = 0; k <= degree; ++k)
    bits[k] = (p.word[k / 64] >> k % 64 & 1) != 0;
  return bits;
}

// Without the factors x and x + 1, which isIrreducible is told of.
bool isMaximal(std::uint32_t matrixA) {
  const mt2203::Polynomial f = mt2203::characteristicPolynomial(matrixA);
  const Bits bits = bitsOf(f);
  return bits[degree] && bits[0] && bits.count() % 2 == 1 && mt2203::isIrreducible(f, 1);
}

TEST_F(Mt2203Table, EveryRowHasAMaximalPeriodAndItsMasks) {
  std::set<std::uint32_t> lowBits;
  for (int member = 0; member < rvn::mt2203Members; ++member) {
    const std::uint32_t* const row = rvn::Mt2203Parameters[member];
    EXPECT_EQ(row[0] >> 31, 1U) << member;
    EXPECT_TRUE(lowBits.insert(row[0] & 0xFFFF).second) << member;
    EXPECT_EQ(row[1] & 0x7F, 0U) << member;
    EXPECT_EQ(row[2] & 0x7FFF, 0U) << member;
    ASSERT_TRUE(isMaximal(row[0])) << member;
  }
}

// One bit of the outputs obeys the characteristic polynomial, which for an irreducible one of that degree makes
// it the minimal one.
TEST_F(Mt2203Table, PolynomialsAreThoseOfTheStreams) {
  for (const std::int32_t member : {0, 1, 2, 1000, 3333, 6022, 6023}) {
    std::vector<double> values(3 * degree);
    RsgStream* stream = nullptr;
    ASSERT_EQ(rsgNewStream(&stream, RSG_BRNG_MT2203 + member, 77), 0);
    ASSERT_EQ(vdRngUniform(RNG_UNIFORM_PLAIN, stream, 3 * degree, values.data(), 0.0, 1.0), 0);
    rsgDeleteStream(&stream);
    const Bits f = bitsOf(mt2203::characteristicPolynomial(rvn::Mt2203Parameters[member][0]));
    int wrong = 0;
    for (std::size_t i = 0; i < 1000; ++i) {
      bool sum = false;
      for (std::size_t k = 0; k <= degree; ++k)
        sum ^= f[k] && values[i + k] >= 0.5;
      wrong += sum ? 1 : 0;
    }
    EXPECT_EQ(wrong, 0) << member;
  }
}

// Nearly all polynomials of this form are reducible: a random one of degree d is irreducible with probability
// 1/d.
TEST_F(Mt2203Table, ReduciblePolynomialsAreSeen) {
  int maximal = 0;
  for (std::uint32_t i = 0; i < 400; ++i)
    maximal += isMaximal(0x80000000 | i * 0x9E3779B9) ? 1 : 0;
  EXPECT_LT(maximal, 5);
}

// Whether the top v bits of k outputs take every value: the map from the 2203 bits of state has full rank.
bool isOnto(const std::uint32_t* row, int v, int k) {
  const support::TwisterParameters p = {69, 34, 0x1F, row[0], 12, row[1], row[2]};
  std::vector<std::bitset<degree>> images(static_cast<std::size_t>(v * k));
  for (std::size_t bit = 0; bit < degree; ++bit) {
    support::TwisterModel model(p, {1});
    std::fill(model.z.begin(), model.z.end(), 0);
    const std::size_t place = bit + 5;  // the low 5 bits of the oldest word do not count
    model.z[place / 32] = std::uint32_t{1} << place % 32;
    for (int i = 0; i < k; ++i) {
      const std::uint64_t output = model.next();
      for (int j = 0; j < v; ++j)
        images[static_cast<std::size_t>(i * v + j)][bit] = (output >> (31 - j) & 1) != 0;
    }
  }
  // Elimination: every image must keep a bit that those before it lack.
  for (std::size_t i = 0; i < images.size(); ++i) {
    if (images[i].none()) return false;
    const std::size_t pivot = images[i]._Find_first();
    for (std::size_t j = i + 1; j < images.size(); ++j)
      if (images[j][pivot]) images[j] ^= images[i];
  }
  return true;
}

TEST_F(Mt2203Table, EquidistributionIsThatOfRanks) {
  for (const int member : {0, 2222}) {
    const std::uint32_t* const row = rvn::Mt2203Parameters[member];
    for (const int v : {1, 3, 12, 32}) {
      const int k = mt2203::equidistribution(row[0], {row[1], row[2]}, v);
      EXPECT_TRUE(isOnto(row, v, k)) << member << " " << v;
      EXPECT_TRUE((k + 1) * v > degree || !isOnto(row, v, k + 1)) << member << " " << v;
    }
  }
}

TEST_F(Mt2203Table, DefectsAreSmall) {
  const auto defect = [](int member) {
    const std::uint32_t* const row = rvn::Mt2203Parameters[member];
    return mt2203::totalDefect(row[0], {row[1], row[2]});
  };
  for (int member = 0; member < rvn::mt2203Members; member += 11)
    EXPECT_LE(defect(member), mt2203::worstDefect) << member;
  EXPECT_LE(defect(rvn::mt2203Members - 1), mt2203::worstDefect);
}

TEST_F(Mt2203Table, FirstRowsAreFoundAgain) {
  const mt2203::Sieve sieve;
  for (int member = 0; member < 4; ++member) {
    const mt2203::Row found = mt2203::findRow(sieve, member);
    EXPECT_EQ(found.matrixA, rvn::Mt2203Parameters[member][0]) << member;
    EXPECT_EQ(found.temperB, rvn::Mt2203Parameters[member][1]) << member;
    EXPECT_EQ(found.temperC, rvn::Mt2203Parameters[member][2]) << member;
  }
  // The masks of the members that are given are what the choice of masks returns.
  for (const int member : {0, 1, rvn::mt2203Members - 1}) {
    const std::uint32_t* const row = rvn::Mt2203Parameters[member];
    const mt2203::Tempering tempering = mt2203::bestTempering(row[0], mt2203::worstDefect);
    EXPECT_EQ(tempering.masks.b, row[1]) << member;
    EXPECT_EQ(tempering.masks.c, row[2]) << member;
  }
}

}  // namespace
