// The hardware generator on a processor of the test's own making, at the level that the program starts with.

#include <cstdint>
#include <deque>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

#include "dispatch/level_table.h"
#include "runtime/cpu_level.h"
#include "runtime/fake_machine.h"
#include "streams/registry.h"

#include <ravenfit/random_streams.h>

namespace {

constexpr std::uint32_t rdrandBit = 1U << 30;
constexpr std::uint32_t sse2AndBefore = 0x07808001;  // FPU, CMOV, MMX, FXSR, SSE, SSE2
using Draws = std::deque<std::optional<std::uint32_t>>;

class HardwareRandom : public testing::Test {
 protected:
  void start(bool present, const Draws& draws) {
    support::FakeProcessor processor;
    processor.vendor = "SomeOtherOne";
    processor.leaf1Edx = sse2AndBefore;
    processor.leaf1Ecx = present ? rdrandBit : 0;
    support::boot(processor);
    support::machine.random = draws;
    ASSERT_EQ(rsgNewStream(&stream_, RSG_BRNG_RDRAND, 5), 0);
  }
  void TearDown() override { rsgDeleteStream(&stream_); }
  const rvn::BrngOperations& operations() const {
    return *rvn::levelTables[rvn::cpuLevel()]->streams->registry->family[13]->operations;
  }

  RsgStream* stream_ = nullptr;
};

TEST_F(HardwareRandom, AbsentHardwareFailsAtTheFirstFill) {
  start(false, {1, 2, 3, 4});
  double r[2] = {7.0, 7.0};
  float f[2] = {7.0F, 7.0F};
  std::uint32_t w[2] = {7, 7};
  EXPECT_EQ(vdRngUniform(RNG_UNIFORM_PLAIN, stream_, 2, r, 0.0, 1.0), RSG_ERROR_NO_HARDWARE);
  EXPECT_EQ(operations().fillFloat(stream_, 2, f, 0.0F, 1.0F), RSG_ERROR_NO_HARDWARE);
  EXPECT_EQ(operations().fillInt(stream_, 2, w), RSG_ERROR_NO_HARDWARE);
  EXPECT_EQ(r[0], 7.0);
  EXPECT_EQ(f[0], 7.0F);
  EXPECT_EQ(w[0], 7U);
}

TEST_F(HardwareRandom, DrawsBecomeValues) {
  start(true, {0, 0x80000000, 0xFFFFFFFF, 0xFFFFFFFF, 1, 0, 0, 0x40000000});
  double r[4];
  EXPECT_EQ(vdRngUniform(RNG_UNIFORM_PLAIN, stream_, 4, r, 2.0, 10.0), 0);
  EXPECT_EQ(r[0], 6.0) << "2^63";
  EXPECT_EQ(r[1], 10.0) << "2^64 - 1 rounds to the end of the interval";
  EXPECT_EQ(r[2], 2.0) << "2^-61 is lost beside 2";
  EXPECT_EQ(r[3], 4.0) << "2^62";
  support::machine.random = {0, 0x80000000, 0xC0000000};
  float f[3];
  EXPECT_EQ(operations().fillFloat(stream_, 3, f, -1.0F, 1.0F), 0);
  EXPECT_EQ(f[0], -1.0F);
  EXPECT_EQ(f[1], 0.0F);
  EXPECT_EQ(f[2], 0.5F);
  support::machine.random = {11, 12, 13};
  std::uint32_t w[3];
  EXPECT_EQ(operations().fillInt(stream_, 3, w), 0);
  EXPECT_EQ((std::vector<std::uint32_t>{w[0], w[1], w[2]}), (std::vector<std::uint32_t>{11, 12, 13}));
}

// A value of two draws is drawn whole again; the count of failures begins anew with every value.
TEST_F(HardwareRandom, FailuresAreRetried) {
  const auto none = std::nullopt;
  start(true, {1, none, 0, 0x80000000, none, none, none, none, none, none, none, none, none, 0, 0x40000000});
  double r[3] = {7.0, 7.0, 7.0};
  EXPECT_EQ(vdRngUniform(RNG_UNIFORM_PLAIN, stream_, 2, r, 0.0, 1.0), 0);
  EXPECT_EQ(r[0], 0.5);
  EXPECT_EQ(r[1], 0.25) << "after nine failures";
  support::machine.random = {0, 0x80000000, 9};
  EXPECT_EQ(vdRngUniform(RNG_UNIFORM_CLAMPED, stream_, 3, r, 5.0, 7.0), RSG_ERROR_HARDWARE_RETRY);
  EXPECT_EQ(r[0], 6.0) << "what was written stays";
  EXPECT_EQ(r[1], 0.25) << "and is not clamped";

  // A limit of the caller's own, in the second seed word.
  const std::uint32_t seeds[2] = {0, 2};
  EXPECT_EQ(operations().stateOp(rvn::stateSeed, stream_, 2, seeds), 0);
  support::machine.random = {none, 3, none, 4, 5};
  std::uint32_t w[2] = {7, 7};
  EXPECT_EQ(operations().fillInt(stream_, 1, w), 0);
  EXPECT_EQ(operations().fillInt(stream_, 2, w), 0) << "one failure";
  EXPECT_EQ(w[1], 5U);
  support::machine.random = {none, none, 3};
  EXPECT_EQ(operations().fillInt(stream_, 1, w), RSG_ERROR_HARDWARE_RETRY);
  EXPECT_EQ(operations().stateOp(rvn::stateLeapfrog, stream_, 3, seeds), RSG_ERROR_LEAPFROG);
  EXPECT_EQ(operations().stateOp(rvn::stateSkipAhead, stream_, 2, seeds), RSG_ERROR_SKIP_AHEAD);
  EXPECT_EQ(operations().stateOp(3, stream_, 2, seeds), RSG_ERROR_STATE_METHOD);
}

}  // namespace
