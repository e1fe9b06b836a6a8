// What holds for every generator: the sequence of its model whatever the level, the kind of fill and the sizes
// of calls, and moves of the state.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "runtime/cpu_level.h"
#include "streams/generators.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/levels.h"

namespace {

using support::Generator;
using support::GeneratorStream;
using support::Seeds;

std::string nameOf(const testing::TestParamInfo<Generator>& tested) {
  return tested.param.name;
}

class EveryGenerator : public testing::TestWithParam<Generator> {
 protected:
  std::vector<std::uint64_t> modelled(const Seeds& seeds, std::size_t n) const {
    const support::RawOutputs next = GetParam().model(seeds);
    std::vector<std::uint64_t> raw(n);
    for (std::uint64_t& one : raw)
      one = next();
    return raw;
  }
};

// Fills of growing sizes, one behind the other, and all three kinds against the model.
TEST_P(EveryGenerator, FillsEqualTheModelAtEveryBlockEdge) {
  const Generator& which = GetParam();
  const bool fuses = support::levelRow(rvn::cpuLevel()).fuses;
  for (const Seeds& seeds : which.seeds) {
    const std::vector<std::uint64_t> all = modelled(seeds, 40000);
    GeneratorStream words(which, seeds);
    GeneratorStream doubles(which, seeds);
    GeneratorStream floats(which, seeds);
    std::size_t done = 0;
    for (const std::size_t n : support::edges()) {
      std::vector<std::uint64_t> raw;
      std::vector<double> values;
      std::vector<float> rounded;
      for (std::size_t i = done; i < done + n; ++i) {
        raw.push_back(all[i]);
        values.push_back(which.value(all[i], -0.3, 2.5, fuses));
        rounded.push_back(static_cast<float>(which.value(all[i], double{-0.1F}, double{2.5F}, fuses)));
      }
      ASSERT_TRUE(support::same(words.raw(n), raw)) << seeds.size() << " seeds, after " << done;
      ASSERT_TRUE(support::same(doubles.doubles(n, -0.3, 2.5), values)) << seeds.size() << ", after " << done;
      ASSERT_TRUE(support::same(floats.floats(n, -0.1F, 2.5F), rounded))
          << seeds.size() << ", after " << done;
      done += n;
    }
  }
}

// p then q is p + q, over every pair of edges and for a mixture of fills.
TEST_P(EveryGenerator, SequencesDoNotDependOnTheSizesOfCalls) {
  const Seeds seeds = GetParam().seeds.back();
  const std::vector<std::uint64_t> all = modelled(seeds, 4000);
  for (const std::size_t p : support::edges()) {
    if (p > 1300) continue;
    for (const std::size_t q : support::edges()) {
      if (q > 1300) continue;
      GeneratorStream stream(GetParam(), seeds);
      stream.doubles(p);
      const std::vector<std::uint64_t> second = stream.raw(q);
      stream.floats(5);
      const std::vector<std::uint64_t> third = stream.raw(3);
      for (std::size_t i = 0; i < q; ++i)
        ASSERT_EQ(second[i], all[p + i]) << p << " then " << q << ", value " << i;
      for (std::size_t i = 0; i < 3; ++i)
        ASSERT_EQ(third[i], all[p + q + 5 + i]) << p << " then " << q;
    }
  }
}

TEST_P(EveryGenerator, StateOperationsHaveTheirStatuses) {
  const Generator& which = GetParam();
  GeneratorStream stream(which, {5});
  const Seeds args = {1, 0};
  EXPECT_EQ(stream.stateOp(rvn::stateLeapfrog, 3, args), which.leapfrogStatus);
  EXPECT_EQ(stream.stateOp(rvn::stateSkipAhead, 2, args), which.skipStatus);
  EXPECT_EQ(stream.stateOp(rvn::stateSkipAhead, 0, args), RSG_ERROR_SKIP_AHEAD);
  EXPECT_EQ(stream.stateOp(rvn::stateSkipAhead, -1, args), RSG_ERROR_SKIP_AHEAD);
  for (const std::int32_t method : {3, -1, INT32_MAX, INT32_MIN})
    EXPECT_EQ(stream.stateOp(method, 1, args), RSG_ERROR_STATE_METHOD);
  EXPECT_EQ(stream.stateOp(rvn::stateSeed, -1, args), 0);
  EXPECT_TRUE(support::same(stream.raw(20), GeneratorStream(which, {}).raw(20)));
}

TEST_P(EveryGenerator, SkippingEqualsDrawing) {
  if (GetParam().skipStatus != 0) return;
  const Seeds seeds = GetParam().seeds.back();
  const std::size_t tail = 700;
  const std::vector<std::uint64_t> all = modelled(seeds, 1100000);
  for (const std::size_t drawn : {0u, 1u, 6u, 300u, 625u}) {
    for (const std::size_t n : {0u, 1u, 2u, 3u, 4u, 7u, 624u, 5001u, 79872u, 90001u, 1000003u}) {
      if (drawn % 2 == 0 && n > 100000) continue;
      GeneratorStream stream(GetParam(), seeds);
      stream.doubles(drawn);
      stream.skip(n);
      const std::vector<std::uint64_t> raw = stream.raw(tail);
      for (std::size_t i = 0; i < tail; ++i)
        ASSERT_EQ(raw[i], all[drawn + n + i]) << n << " from " << drawn;
    }
  }
  // One word of a number is its low word.
  GeneratorStream stream(GetParam(), seeds);
  EXPECT_EQ(stream.stateOp(rvn::stateSkipAhead, 1, {9, 1}), 0);
  EXPECT_EQ(stream.raw(1)[0], all[9]);
}

TEST_P(EveryGenerator, LongSkipsAddUp) {
  if (GetParam().skipStatus != 0) return;
  const std::uint64_t far = GetParam().farSkip;
  GeneratorStream whole(GetParam(), {4});
  GeneratorStream parts(GetParam(), {4});
  whole.skip(far);
  parts.skip(far / 3);
  parts.raw(7);
  parts.skip(far / 3 + 1);
  parts.skip(far - far / 3 * 2 - 8);
  EXPECT_TRUE(support::same(parts.raw(2000), whole.raw(2000)));
}

TEST(LongSkips, WithoutMemoryTheStreamStaysWhereItIs) {
  for (const char* const name : {"MT19937", "SFMT19937"}) {
    GeneratorStream stream(support::generator(name), {3});
    stream.raw(5);
    GeneratorStream same(stream);
    {
      const support::FailingHeap heap(1);
      EXPECT_EQ(stream.stateOp(rvn::stateSkipAhead, 1, {1000000}), RSG_ERROR_MEMORY) << name;
      EXPECT_EQ(heap.live(), 0);
    }
    EXPECT_TRUE(support::same(stream.raw(2000), same.raw(2000))) << name;
  }
}

TEST_P(EveryGenerator, LeapfrogStreamsInterleave) {
  if (GetParam().leapfrogStatus != 0) return;
  const Seeds seeds = GetParam().seeds.back();
  const std::vector<std::uint64_t> all = modelled(seeds, 2000);
  for (const std::uint32_t count : {1u, 2u, 7u, 19u}) {
    for (std::uint32_t k = 0; k < count + 3; ++k) {
      GeneratorStream stream(GetParam(), seeds);
      ASSERT_EQ(stream.stateOp(rvn::stateLeapfrog, count, {k}), 0);
      const std::vector<std::uint64_t> raw = stream.raw(100);
      for (std::size_t i = 0; i < raw.size(); ++i)
        ASSERT_EQ(raw[i], all[k + i * count]) << k << " of " << count << ", value " << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Streams, EveryGenerator, testing::ValuesIn(support::generators()), nameOf);

}  // namespace
