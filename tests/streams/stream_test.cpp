#include "streams/stream.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "dispatch/level_table.h"
#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"
#include "streams/registry.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/printed.h"

#include <ravenfit/random_streams.h>

namespace {

using support::parameterReport;
using support::printed;

// The first 3000 values of a stream.
std::vector<double> drawn(std::int32_t brngId) {
  std::vector<double> r(3000);
  RsgStream* stream = nullptr;
  if (rsgNewStream(&stream, brngId, 99) == 0) vdRngUniform(0, stream, 3000, r.data(), 0.0, 1.0);
  rsgDeleteStream(&stream);
  return r;
}

TEST(StreamCreation, IdentifiersAndReports) {
  RsgStream marker = {};
  RsgStream* stream = nullptr;
  const auto created = [&](std::int32_t brngId, std::int32_t status) {
    stream = &marker;
    return printed([&] { EXPECT_EQ(rsgNewStream(&stream, brngId, 1), status) << brngId; });
  };
  for (const std::int32_t brngId : {0x500000, 0x500000 + 272, 4, 276, 3, 277, 278, 0, 0x100000, 0x600000,
                                    0x700000, 0x900000 + 6023, 0xD00000, 0xE00000}) {
    EXPECT_EQ(created(brngId, 0), "") << brngId;
    ASSERT_NE(stream, &marker);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(stream) % 128, 0u);
    EXPECT_EQ(stream->brngId, brngId);
    EXPECT_EQ(stream->resources, nullptr);
    EXPECT_EQ(rsgDeleteStream(&stream), 0);
    EXPECT_EQ(stream, nullptr);
  }
  for (const std::int32_t brngId :
       {0x500000 + 273, 0x5FFFFF, 279, 0xFFFFF, -1, -273, INT32_MIN, INT32_MAX, 0x600001, 0x900000 + 6024,
        0xA00000, 0xB00000, 0xC00000, 0xA00001, 0xF00001, 0x1100000, 0x7FF00000}) {
    EXPECT_EQ(created(brngId, -1000), parameterReport(2, "rsgNewStream")) << brngId;
    EXPECT_EQ(stream, &marker) << brngId;
  }
}

TEST(StreamCreation, BothFormsOfAnIdentifierNameOneMember) {
  for (const std::int32_t member : {0, 1, 271, 272})
    EXPECT_EQ(drawn(RSG_BRNG_WICHMANN_HILL + member), drawn(4 + member)) << member;
}

// The member table repeats the families 0 to 3, Wichmann-Hill 273 times, and the families 5 and 6.
TEST(StreamCreation, RegistryRows) {
  const rvn::BrngRegistry& registry = *rvn::levelTables[rvn::cpuLevel()]->streams->registry;
  EXPECT_EQ(registry.memberRow[3], 3);
  EXPECT_EQ(registry.memberRow[4], 4);
  EXPECT_EQ(registry.memberRow[276], 4);
  EXPECT_EQ(registry.memberRow[277], 5);
  EXPECT_EQ(registry.memberRow[278], 6);
  std::uint64_t bytes = 0;
  std::uint64_t members = 0;
  ASSERT_EQ(registry.familyCount, 16);
  for (int i = 0; i < 16; ++i) {
    EXPECT_EQ(registry.family[i]->family, i);
    bytes += registry.family[i]->stateSize;
    members += static_cast<std::uint64_t>(registry.family[i]->members);
  }
  // Check sums of the columns, added by hand.
  EXPECT_EQ(bytes, 61632u + 6384u + 48u + 33u * 4u * 21216u);
  EXPECT_EQ(members, 14u + 273u + 6024u);
}

TEST(StreamCreation, FailedAllocation) {
  const support::FailingHeap heap(1);
  RsgStream marker = {};
  RsgStream* stream = &marker;
  EXPECT_EQ(rsgNewStream(&stream, 0x500000, 1), RSG_ERROR_MEMORY);
  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(rsgNewStream(&stream, 0x500000, 1), 0);
  EXPECT_EQ(heap.calls(), 2) << "one block a stream";
  double r[100];
  EXPECT_EQ(vdRngUniform(RNG_UNIFORM_CLAMPED, stream, 100, r, 0.0, 1.0), 0);
  EXPECT_EQ(heap.calls(), 2) << "fills allocate nothing";
  EXPECT_EQ(rsgDeleteStream(&stream), 0);
  EXPECT_EQ(heap.live(), 0);
}

// The instruction itself, where the processor has it.
TEST(StreamCreation, HardwareGenerator) {
  RsgStream* stream = nullptr;
  ASSERT_EQ(rsgNewStream(&stream, RSG_BRNG_RDRAND, 1), 0);
  std::vector<double> r(1000, -1.0);
  const std::int32_t status = vdRngUniform(RNG_UNIFORM_PLAIN, stream, 1000, r.data(), 0.0, 1.0);
  rsgDeleteStream(&stream);
  if (!rvn::hasFeature(rvn::featureRdrand)) {
    EXPECT_EQ(status, RSG_ERROR_NO_HARDWARE);
    return;
  }
  ASSERT_EQ(status, 0);
  std::sort(r.begin(), r.end());
  EXPECT_TRUE(r.front() >= 0.0 && r.front() < 0.1 && r.back() > 0.9 && r.back() <= 1.0);
  EXPECT_EQ(std::unique(r.begin(), r.end()), r.end());
}

TEST(StreamDeletion, RefusesWhatIsNoStream) {
  RsgStream noStream = {};
  noStream.validMark = 2;
  RsgStream* pointers[] = {nullptr, &noStream};
  const std::int32_t statuses[] = {RSG_ERROR_NULL_STREAM, RSG_ERROR_NOT_A_STREAM};
  testing::internal::CaptureStdout();
  for (int i = 0; i < 2; ++i) {
    RsgStream* stream = pointers[i];
    EXPECT_EQ(rsgDeleteStream(&stream), statuses[i]);
    EXPECT_EQ(stream, pointers[i]);
  }
  EXPECT_EQ(rsgDeleteStream(nullptr), RSG_ERROR_NULL_STREAM);
  EXPECT_EQ(rsgNewStream(nullptr, 0x500000, 1), RSG_ERROR_NULL_STREAM);
  RsgStream* twice = nullptr;
  EXPECT_EQ(rsgNewStream(&twice, 0x500000, 1), 0);
  EXPECT_EQ(rsgDeleteStream(&twice), 0);
  EXPECT_EQ(rsgDeleteStream(&twice), RSG_ERROR_NULL_STREAM);
  const std::string one = parameterReport(1, "rsgDeleteStream");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            one + one + one + parameterReport(1, "rsgNewStream") + one);
}

class Uniform : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(rsgNewStream(&stream_, 0x500000, 7777777), 0); }
  void TearDown() override { rsgDeleteStream(&stream_); }
  RsgStream* stream_ = nullptr;
};

TEST_F(Uniform, ChecksArgumentsInOrder) {
  RsgStream noStream = {};
  const double nan = std::numeric_limits<double>::quiet_NaN();
  double r[4];
  const struct {
    const char* name;
    std::int32_t method;
    RsgStream* stream;
    std::int32_t n;
    double* r;
    double a;
    double b;
    std::int32_t status;
    int position;
  } cases[] = {
      {"method", -1, nullptr, -1, nullptr, 1, 1, -3, 1},
      {"least method", INT32_MIN, nullptr, -1, nullptr, 1, 1, -3, 1},
      {"no stream", 1, nullptr, -1, nullptr, 1, 1, -5, 2},
      {"not a stream", 1, &noStream, -1, nullptr, 1, 1, -1006, 2},
      {"n", 1, stream_, -1, nullptr, 1, 1, -3, 3},
      {"nothing wanted", 1, stream_, 0, nullptr, 1, 1, 0, 0},
      {"r", 1, stream_, 1, nullptr, 1, 1, -3, 4},
      {"unknown method", 1, stream_, 1, r, 1, 1, -3, 1},
      {"two methods", 0x40000001, stream_, 1, r, 1, 1, -3, 1},
      {"empty interval", 0, stream_, 1, r, 1, 1, -3, 5},
      {"reversed interval", RNG_UNIFORM_CLAMPED, stream_, 1, r, 2, 1, -3, 5},
      {"NaN a", 0, stream_, 1, r, nan, 1, 0, 0},
      {"NaN b", RNG_UNIFORM_CLAMPED, stream_, 1, r, 0, nan, 0, 0},
      {"good", RNG_UNIFORM_CLAMPED, stream_, 4, r, 0, 1, 0, 0},
  };
  for (const auto& c : cases) {
    std::fill_n(r, 4, -77.0);
    const std::string text =
        printed([&] { EXPECT_EQ(vdRngUniform(c.method, c.stream, c.n, c.r, c.a, c.b), c.status) << c.name; });
    EXPECT_EQ(text, c.status == 0 ? "" : parameterReport(c.position, "vdRngUniform")) << c.name;
    EXPECT_TRUE(c.status == 0 || std::count(r, r + 4, -77.0) == 4) << c.name;
    EXPECT_EQ(std::isnan(r[0]), std::isnan(c.a) || std::isnan(c.b)) << c.name;
  }
}

// The width of the interval overflows, so every plain value is infinite; the bound takes its place when
// clamped.
TEST_F(Uniform, ClampReachesEveryElement) {
  for (const std::size_t n : {1u, 7u, 8u, 9u, 15u, 16u, 17u, 40u}) {
    const auto count = static_cast<std::int32_t>(n);
    for (std::size_t shift = 0; shift < 32; ++shift) {
      std::vector<unsigned char> bytes(n * 8 + 40);
      auto* const r = reinterpret_cast<double*>(bytes.data() + shift);
      const auto draw = [&](std::int32_t method, double a, double b) {
        EXPECT_EQ(vdRngUniform(method, stream_, count, r, a, b), 0);
        std::vector<double> values(n);
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(shift), n * 8,
                    reinterpret_cast<unsigned char*>(values.data()));
        return values;
      };
      const double infinity = std::numeric_limits<double>::infinity();
      EXPECT_EQ(draw(RNG_UNIFORM_PLAIN, -DBL_MAX, DBL_MAX), std::vector<double>(n, infinity));
      ASSERT_EQ(draw(RNG_UNIFORM_CLAMPED, -DBL_MAX, DBL_MAX), std::vector<double>(n, DBL_MAX))
          << n << " " << shift;
      EXPECT_EQ(draw(RNG_UNIFORM_CLAMPED, 0.0, infinity), std::vector<double>(n, infinity));
      for (const double value : draw(RNG_UNIFORM_CLAMPED, -infinity, 0.0))
        ASSERT_TRUE(std::isnan(value)) << "infinite width from an infinite bound";
    }
  }
}

TEST(StreamThreads, StreamsOfDifferentThreadsDrawAsAlone) {
  constexpr int threads = 4;
  std::vector<double> got[threads];
  std::vector<std::thread> running;
  for (int i = 0; i < threads; ++i)
    running.emplace_back([&, i] { got[i] = drawn(RSG_BRNG_WICHMANN_HILL + i); });
  for (std::thread& thread : running)
    thread.join();
  for (int i = 0; i < threads; ++i)
    EXPECT_TRUE(support::same(got[i], drawn(RSG_BRNG_WICHMANN_HILL + i))) << i;
}

}  // namespace
