// The operations of stream_tools.h against models that make one output at a time, against each other, and on damaged
// input.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <list>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "streams/generators.h"
#include "streams/stream.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/printed.h"

#include <ravenfit/stream_tools.h>
#include <ravenfit/tools.h>

namespace {

using support::Generator;
using support::printed;
using support::same;
using support::Seeds;
using Bytes = std::vector<unsigned char>;
using Words = std::vector<std::uint32_t>;

class Stream {
 public:
  explicit Stream(RsgStream* made) : stream_(made) {}
  Stream(std::int32_t brngId, const Seeds& seeds) {
    EXPECT_EQ(rsgNewStreamFromSeeds(&stream_, brngId, static_cast<std::int32_t>(seeds.size()), seeds.data()),
              0);
  }
  Stream(const Stream& other) { EXPECT_EQ(rsgCopyStream(&stream_, other), 0); }
  Stream& operator=(const Stream&) = delete;
  ~Stream() { rsgDeleteStream(&stream_); }
  operator RsgStream*() const { return stream_; }

  template <class Value, class Fill>
  std::vector<Value> filled(std::size_t n, Fill fill) const {
    std::vector<Value> r(n + 1);
    EXPECT_EQ(fill(stream_, static_cast<std::int32_t>(n), r.data()), 0);
    EXPECT_EQ(r.back(), Value{}) << "behind the end";
    r.pop_back();
    return r;
  }
  Words words(std::size_t n) const { return filled<std::uint32_t>(n, rsgWords32); }
  std::vector<double> doubles(std::size_t n) const {
    return filled<double>(n,
                          [](auto s, auto count, auto r) { return vdRngUniform(0, s, count, r, 0.0, 1.0); });
  }
  RsgInfo info() const {
    RsgInfo info;
    EXPECT_EQ(rsgStreamInfo(stream_, &info), 0);
    return info;
  }
  Bytes saved() const {
    Bytes bytes(static_cast<std::size_t>(rsgSaveSize(stream_)));
    EXPECT_EQ(rsgSaveStream(stream_, bytes.data(), static_cast<std::int32_t>(bytes.size())), 0);
    return bytes;
  }
  std::list<Stream> split(std::size_t count, std::uint64_t stretch = 0) const {
    std::vector<RsgStream*> made(count);
    EXPECT_EQ(rsgSplit(stream_, static_cast<std::int32_t>(count), stretch, made.data()), 0);
    return {made.begin(), made.end()};
  }

 private:
  RsgStream* stream_ = nullptr;
};

// A stream that gives these words first, at most 103: R250 whose lagged words are zero.
Stream streamOf(Words words) {
  words.resize(250);
  return {RSG_BRNG_R250, words};
}

Words modelledWords(const Generator& which, const Seeds& seeds, std::size_t n) {
  const support::RawOutputs next = which.model(seeds);
  Words words(n);
  for (std::uint32_t& word : words) {
    const std::uint64_t x = next();
    word = static_cast<std::uint32_t>(x);
    if (which.name == "MCG31") word = static_cast<std::uint32_t>(next() >> 15 << 16 | x >> 15);
    if (which.name == "MCG59") word = static_cast<std::uint32_t>(x >> 27);
    if (which.name.starts_with("Wichmann"))
      word = static_cast<std::uint32_t>(std::floor(std::bit_cast<double>(x) * 0x1p32));
  }
  return words;
}

bool bears(const RsgInfo& info, int move) {
  return (info.moves & move) != 0;
}

class StreamTools : public testing::TestWithParam<Generator> {
 protected:
  const Generator& which = GetParam();
  Stream make(const Seeds& seeds) const { return {which.brngId, seeds}; }
};

TEST_P(StreamTools, ValuesAreMadeOfWords) {
  for (const Seeds& seeds : which.seeds) {
    const Words all = modelledWords(which, seeds, 6000);
    const Stream stream = make(seeds);
    Words words;
    for (const std::size_t n : {0u, 1u, 2u, 511u, 512u, 513u, 1500u, 2961u}) {
      const Words more = stream.words(n);
      words.insert(words.end(), more.begin(), more.end());
    }
    ASSERT_TRUE(same(words, Words(all.begin(), all.begin() + 6000)));
    if (stream.info().dimension != 0) continue;
    std::vector<std::uint64_t> pairs;
    std::vector<double> doubles;
    for (std::size_t i = 0; i < 6000; i += 2) {
      pairs.push_back(all[i] | std::uint64_t{all[i + 1]} << 32);
      doubles.push_back(std::ldexp((all[i] >> 5) * 67108864.0 + (all[i + 1] >> 6), -53));
    }
    ASSERT_TRUE(same(make(seeds).filled<std::uint64_t>(3000, rsgWords64), pairs));
    ASSERT_TRUE(same(make(seeds).filled<double>(3000, rsgUniform53), doubles));
  }
}

TEST_P(StreamTools, MovesAndPartsEqualDrawing) {
  const Stream first = make(which.seeds.back());
  const std::vector<double> all = Stream(first).doubles(9000);
  const RsgInfo info = first.info();
  const bool skips = bears(info, RSG_MOVE_SKIP_AHEAD);
  const bool leaps = bears(info, RSG_MOVE_LEAPFROG | RSG_MOVE_COORDINATE);
  const auto count = static_cast<std::size_t>(bears(info, RSG_MOVE_COORDINATE) ? info.dimension : 9);
  const auto expectMoved = [&](const Stream& stream, std::size_t from, std::size_t step) {
    const std::vector<double> values = stream.doubles(100);
    for (std::size_t i = 0; i < 100; ++i)
      ASSERT_EQ(values[i], all[from + i * step]) << i << " from " << from << " by " << step;
  };
  const auto expectReport = [](std::int32_t status, auto move) {
    EXPECT_EQ(printed([&] { EXPECT_EQ(move(), status); }).empty(), status == 0);
  };
  for (const std::size_t drawn : {0u, 1u, 7u, 700u}) {
    const Stream stream = first;
    stream.doubles(drawn);
    for (const std::size_t n : {0u, 3u, 5000u}) {
      const Stream moved = stream;
      expectReport(skips ? 0 : RSG_ERROR_SKIP_AHEAD, [&] { return rsgSkipAhead(moved, n); });
      expectMoved(moved, drawn + (skips ? n : 0), 1);
    }
    for (std::size_t k = 0; k < count; ++k) {
      const Stream moved = stream;
      expectReport(leaps ? 0 : RSG_ERROR_LEAPFROG, [&] {
        return rsgLeapfrog(moved, static_cast<std::int32_t>(k), static_cast<std::int32_t>(count));
      });
      expectMoved(moved, drawn + (leaps ? k : 0), leaps ? count : 1);
    }
    std::size_t from = drawn;
    if (skips)
      for (const Stream& part : stream.split(9, 100))
        expectMoved(part, std::exchange(from, from + 100), 1);
  }
  std::size_t k = 0;
  if (info.split == RSG_SPLIT_LEAPFROG)
    for (const Stream& part : first.split(9))
      expectMoved(part, k++, 9);
  if (info.split == RSG_SPLIT_SKIP) {
    const std::uint64_t third = UINT32_MAX / 3 * static_cast<std::uint64_t>(info.dimension);
    const Stream moved = first;
    EXPECT_EQ(rsgSkipAhead(moved, info.dimension == 0 ? std::uint64_t{1} << 63 : third), 0);
    EXPECT_TRUE(same((++first.split(3).begin())->words(50), moved.words(50)));
  }
  EXPECT_TRUE(same(first.doubles(9000), all)) << "the stream itself stays";
}

TEST_P(StreamTools, CopiesAndSavedStreamsGoOn) {
  const Stream stream = make(which.seeds.back());
  for (const std::size_t drawn : {0u, 1u, 2u, 250u, 623u}) {
    stream.doubles(drawn);
    const Stream copy = stream;
    Bytes bytes = stream.saved();
    bytes.push_back(99);
    RsgStream* loaded = nullptr;
    ASSERT_EQ(rsgLoadStream(&loaded, bytes.data(), static_cast<std::int32_t>(bytes.size())), 0);
    const Stream again(loaded);
    EXPECT_EQ(Stream(again).saved(), Stream(copy).saved());
    const Words words = copy.words(2000);
    EXPECT_TRUE(same(again.words(2000), words));
    EXPECT_TRUE(same(Stream(stream).words(2000), words)) << "drawing from the copy moved the source";
  }
}

std::uint64_t fnv(const Bytes& bytes, std::size_t size) {
  std::uint64_t sum = 14695981039346656037u;
  for (std::size_t i = 0; i < size; ++i)
    sum = (sum ^ bytes[i]) * 1099511628211u;
  return sum;
}

std::int32_t loadStatus(const Bytes& bytes, std::size_t size) {
  RsgStream marker = {};
  RsgStream* stream = &marker;
  Bytes exact(size == 0 ? 1 : size);
  std::copy_n(bytes.begin(), size, exact.begin());
  int reports = 0;
  rvnSetMessageHandler([](void* count, const char*) { ++*static_cast<int*>(count); }, &reports);
  const std::int32_t status = rsgLoadStream(&stream, exact.data(), static_cast<std::int32_t>(size));
  rvnSetMessageHandler(nullptr, nullptr);
  EXPECT_EQ(reports, status == 0 ? 0 : 1);
  EXPECT_EQ(stream == &marker, status != 0);
  if (status != 0) return status;
  const Stream loaded(stream);
  loaded.words(700);
  return status;
}

// Cut at every byte, with every bit turned over, and with other words under a right check sum.
TEST_P(StreamTools, DamagedStreamsAreRefused) {
  const Stream stream = make({5});
  stream.doubles(5);
  const Bytes good = stream.saved();
  const std::size_t size = good.size();
  for (std::size_t cut = 0; cut < size; ++cut)
    ASSERT_EQ(loadStatus(good, cut), RSG_ERROR_SAVED_STREAM) << cut << " bytes";
  for (std::size_t bit = 0; bit < 8 * size; bit += bit < 400 || size < 200 ? 1 : 7) {
    Bytes bytes = good;
    bytes[bit / 8] = static_cast<unsigned char>(bytes[bit / 8] ^ 1u << bit % 8);
    const std::int32_t status = loadStatus(bytes, size);
    ASSERT_TRUE(status == RSG_ERROR_SAVED_STREAM || (bit / 32 == 2 && status == RSG_ERROR_SAVED_VERSION))
        << bit;
  }
  std::mt19937 random(1);
  int refused = 0;
  for (int round = 0; round < 400; ++round) {
    Bytes bytes = good;
    for (std::size_t changes = 1 + random() % 3; changes > 0; --changes) {
      const std::size_t at = 8 + 4 * (random() % ((size - 16) / 4));
      const std::uint32_t picked[] = {0, 1, 0xFFFFFFFF, 0x7FFFFFFF, static_cast<std::uint32_t>(random())};
      std::memcpy(&bytes[at], &picked[random() % 5], 4);
    }
    const std::uint64_t sum = fnv(bytes, size - 8);
    for (std::size_t i = 0; i < 8; ++i)
      bytes[size - 8 + i] = static_cast<unsigned char>(sum >> 8 * i);
    refused += loadStatus(bytes, size) != 0;
  }
  EXPECT_GT(refused, 0);
}

INSTANTIATE_TEST_SUITE_P(Streams, StreamTools, testing::ValuesIn(support::generators()),
                         [](const auto& tested) { return tested.param.name; });

// Bytes written by hand: MCG31 with seed 0x01020304, multiplier 1132489760.
TEST(StreamToolsFormat, BytesAreTheSameEverywhere) {
  Bytes expected = {0xD7, 'r', 's', 'g', '\r', '\n', 0x1A, '\n', 1, 0, 0,    0,    0,    0,
                    0x10, 0,   2,   0,   0,    0,    4,    3,    2, 1, 0x20, 0x6C, 0x80, 0x43};
  const std::uint64_t sum = fnv(expected, expected.size());
  for (int i = 0; i < 8; ++i)
    expected.push_back(static_cast<unsigned char>(sum >> 8 * i));
  EXPECT_EQ(Stream(RSG_BRNG_MCG31, {0x01020304}).saved(), expected);
}

// Python's random.seed(42): the same seeding and the same doubles (its getrandbits(32) and random()).
TEST(StreamToolsValues, MersenneTwisterIsThatOfPython) {
  EXPECT_TRUE(same(Stream(RSG_BRNG_MT19937, {42}).filled<double>(3, rsgUniform53),
                   std::vector<double>{0.6394267984578837, 0.025010755222666936, 0.27502931836911926}));
  EXPECT_TRUE(same(Stream(RSG_BRNG_MT19937, {42}).words(2), Words{2746317213, 478163327}));
}

std::vector<std::int32_t> integers(const Stream& stream, std::size_t n, std::int64_t low, std::int64_t high) {
  return stream.filled<std::int32_t>(n, [=](RsgStream* s, std::int32_t count, std::int32_t* r) {
    return rsgIntegers(s, count, r, static_cast<std::int32_t>(low), static_cast<std::int32_t>(high));
  });
}

// Exact: the words of a value are a run, all runs have floor(2^32 / s) words or one more, and in a longer run the first
// word is dropped.
TEST(StreamToolsValues, IntegersHaveEquallyManyWords) {
  for (const std::uint64_t s :
       {1u, 2u, 3u, 10u, 65537u, 2147483647u, 2147483648u, 3000000000u, 4294967295u}) {
    const std::int64_t low = s > 2147483648 ? INT32_MIN : -1;
    const auto first = [=](std::uint64_t v) { return ((v << 32) + s - 1) / s; };
    Words words;
    std::vector<std::int32_t> expected;
    for (const std::uint64_t v : {std::uint64_t{0}, s / 3, s / 2, s - 1})
      for (std::uint64_t w = first(v); w < std::min(first(v) + 3, first(v + 1)); ++w) {
        words.push_back(static_cast<std::uint32_t>(w));
        if (w == first(v) && first(v + 1) - w > (std::uint64_t{1} << 32) / s) continue;
        expected.push_back(static_cast<std::int32_t>(low + static_cast<std::int64_t>(v)));
      }
    const auto last = low + static_cast<std::int64_t>(s) - 1;
    EXPECT_TRUE(same(integers(streamOf(words), expected.size(), low, last), expected)) << s;
  }
  EXPECT_EQ(integers(streamOf({0, 5, 0xFFFFFFFF}), 3, INT32_MIN, INT32_MAX),
            (std::vector<std::int32_t>{INT32_MIN, INT32_MIN + 5, INT32_MAX}));
  // Nothing behind the last value is drawn, however a fill is cut.
  const Stream whole(RSG_BRNG_MT19937, {7});
  const Stream parts = whole;
  std::vector<std::int32_t> joined;
  for (const std::size_t n : {1u, 511u, 2000u, 488u})
    for (const std::int32_t one : integers(parts, n, INT32_MIN, 0))
      joined.push_back(one);
  EXPECT_TRUE(same(joined, integers(whole, 3000, INT32_MIN, 0)));
  EXPECT_EQ(parts.words(1), whole.words(1));
}

TEST(StreamToolsValues, FloatsStayBelowTheUpperEnd) {
  const Words ends = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFF00, 0xFFFFFFFF};
  const std::pair<float, float> intervals[] = {
      {0.0F, 1.0F}, {-0.1F, 2.5F}, {1.0F, std::nextafter(1.0F, 2.0F)}, {-3e38F, 1e37F}};
  for (const auto& interval : intervals) {
    const float a = interval.first;
    const float b = interval.second;
    const auto values = streamOf(ends).filled<float>(
        6, [=](auto s, auto n, auto r) { return rsgUniformFloat(s, n, r, a, b); });
    for (std::size_t i = 0; i < ends.size(); ++i) {
      const auto rounded = static_cast<float>(ends[i] * ((double{b} - double{a}) * 0x1p-32) + double{a});
      EXPECT_EQ(values[i], rounded < b ? std::max(rounded, a) : std::nextafter(b, a)) << a << " " << b;
    }
  }
}

// Greatest unevenness of a position among the first 1000, over the parts: chi-squared of 16 classes, 15 degrees of
// freedom. Above 75 lies one of 10^9 fair ones.
double unevenness(const std::list<Stream>& parts) {
  std::vector<double> counts(16000);
  for (const Stream& part : parts) {
    const std::vector<double> values = part.doubles(1000);
    for (std::size_t i = 0; i < 1000; ++i)
      ++counts[16 * i + static_cast<std::size_t>(values[i] * 16)];
  }
  const double expected = static_cast<double>(parts.size()) / 16;
  double greatest = 0;
  for (std::size_t i = 0; i < 16000; i += 16) {
    double sum = 0;
    for (std::size_t k = i; k < i + 16; ++k)
      sum += std::pow(counts[k] - expected, 2);
    greatest = std::max(greatest, sum / expected);
  }
  return greatest;
}

TEST(StreamToolsSplit, MembersDoNotBeginAlike) {
  for (const auto& [brngId, members] :
       {std::pair{RSG_BRNG_MT2203 + 3, 6024u}, {RSG_BRNG_WICHMANN_HILL + 200, 273u}}) {
    const Stream stream(brngId, {1});
    const std::list<Stream> parts = stream.split(members);
    std::set<std::int32_t> ids;
    std::list<Stream> alike;
    for (const Stream& part : parts) {
      ids.insert(part.info().brngId);
      alike.emplace_back(part.info().brngId, Seeds{1});
    }
    EXPECT_EQ(ids.size(), parts.size());
    EXPECT_EQ(parts.front().info().brngId, brngId);
    EXPECT_LT(unevenness(parts), 75);
    EXPECT_GT(unevenness(alike), 75) << "members with one seed";
  }
}

TEST(StreamToolsSplit, WithoutMemoryNothingIsLeft) {
  for (const std::int32_t brngId : {RSG_BRNG_MCG59, RSG_BRNG_MT2203, RSG_BRNG_MT19937, RSG_BRNG_RDRAND}) {
    const Stream stream(brngId, {1});
    bool failed = true;
    for (int n = 1; failed; ++n) {
      const support::FailingHeap heap(n);
      RsgStream* parts[3] = {};
      const std::int32_t status = rsgSplit(stream, 3, 0, parts);
      failed = heap.failed();
      EXPECT_EQ(status, failed ? RSG_ERROR_MEMORY : 0);
      for (RsgStream*& part : parts) {
        EXPECT_EQ(part == nullptr, failed);
        if (!failed) rsgDeleteStream(&part);
      }
      EXPECT_EQ(heap.live(), 0);
    }
  }
}

TEST(StreamToolsMoves, QuasiRandomSequencesEnd) {
  const std::uint64_t points = UINT32_MAX;
  const Stream stream(RSG_BRNG_SOBOL, {3});
  const Words first = Stream(stream).words(9);
  for (const std::uint64_t n : {3 * points, std::uint64_t{UINT64_MAX}})
    EXPECT_NE(printed([&] { EXPECT_EQ(rsgSkipAhead(stream, n), RSG_ERROR_SKIP_AHEAD); }), "");
  EXPECT_EQ(stream.words(3), Words(first.begin(), first.begin() + 3));
  EXPECT_EQ(rsgSelectCoordinate(stream, 1), 0);
  EXPECT_EQ(stream.words(2), (Words{first[4], first[7]}));
  EXPECT_EQ(stream.info().coordinate, 1);
  EXPECT_EQ(rsgSkipAhead(stream, points - 4), 0);
  RsgStream* parts[3] = {};
  EXPECT_NE(printed([&] { EXPECT_EQ(rsgSplit(stream, 3, 1, parts), RSG_ERROR_SKIP_AHEAD); }), "");
  EXPECT_EQ(parts[0], nullptr);
}

TEST(StreamToolsArguments, AreRefused) {
  const Stream sobol(RSG_BRNG_SOBOL, {2});
  const Stream twister(RSG_BRNG_MT2203 + 6023, {2});
  RsgStream noStream = {};
  RsgStream* made = nullptr;
  RsgInfo info;
  std::uint64_t r = 0;
  auto* const k = reinterpret_cast<std::int32_t*>(&r);
  auto* const f = reinterpret_cast<float*>(&r);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const struct {
    std::int32_t status;
    int position;
    const char* routine;
    std::function<std::int32_t()> call;
  } cases[] = {
      {-1000, 1, "rsgGeneratorInfo", [&] { return rsgGeneratorInfo(0x600001, &info); }},
      {-3, 2, "rsgStreamInfo", [&] { return rsgStreamInfo(sobol, nullptr); }},
      {-3, 4, "rsgNewStreamFromSeed",
       [&] { return rsgNewStreamFromSeeds(&made, RSG_BRNG_R250, 1, nullptr); }},
      {-1006, 2, "rsgCopyStream", [&] { return rsgCopyStream(&made, &noStream); }},
      {-5, 1, "rsgSaveSize", [&] { return rsgSaveSize(nullptr); }},
      {-1201, 3, "rsgSaveStream", [&] { return rsgSaveStream(sobol, &r, 43); }},
      {-3, 3, "rsgLoadStream", [&] { return rsgLoadStream(&made, &r, INT32_MIN); }},
      {-3, 3, "rsgLeapfrog", [&] { return rsgLeapfrog(sobol, 0, 0); }},
      {-3, 2, "rsgLeapfrog", [&] { return rsgLeapfrog(sobol, 2, 2); }},
      {-1002, 3, "rsgLeapfrog", [&] { return rsgLeapfrog(sobol, 0, 3); }},
      {-1002, 1, "rsgSelectCoordinate", [&] { return rsgSelectCoordinate(twister, 0); }},
      {-3, 2, "rsgSelectCoordinate", [&] { return rsgSelectCoordinate(sobol, 2); }},
      {-3, 2, "rsgSplit", [&] { return rsgSplit(sobol, 0, 0, &made); }},
      {-1200, 2, "rsgSplit", [&] { return rsgSplit(twister, 6025, 0, &made); }},
      {-1003, 3, "rsgSplit", [&] { return rsgSplit(twister, 1, 5, &made); }},
      {-3, 2, "rsgWords32", [&] { return rsgWords32(sobol, -1, nullptr); }},
      {-1204, 1, "rsgWords64", [&] { return rsgWords64(sobol, 1, &r); }},
      {-1204, 1, "rsgIntegers", [&] { return rsgIntegers(sobol, 1, k, 0, 1); }},
      {-3, 4, "rsgIntegers", [&] { return rsgIntegers(twister, 1, k, 1, 0); }},
      {-3, 4, "rsgUniformFloat", [&] { return rsgUniformFloat(sobol, 1, f, nan, 1.0F); }},
      {-3, 4, "rsgUniformFloat", [&] { return rsgUniformFloat(sobol, 1, f, -3e38F, 3e38F); }},
  };
  for (const auto& c : cases)
    EXPECT_EQ(printed([&] { EXPECT_EQ(c.call(), c.status) << c.routine; }),
              support::parameterReport(c.position, c.routine));
  EXPECT_TRUE(made == nullptr && r == 0);
}

}  // namespace
