// Re-checks every row of the table of MT2203, with the arithmetic of the program that found them, and the
// characteristic polynomials from outputs of streams. A fault of that arithmetic would find other first rows.

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
#include "streams/mt2203.h"

#include <raven/random_streams.h>

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
