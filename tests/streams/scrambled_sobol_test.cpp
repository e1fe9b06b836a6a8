// Scrambled Sobol points: evenness, independence of seeds, moves; and tables of direction numbers.

#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "streams/generators.h"
#include "streams/stream.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/printed.h"

#include <ravenfit/stream_tools.h>
#include <ravenfit/variates.h>

namespace {

using Words = std::vector<std::uint32_t>;
using Doubles = std::vector<double>;

const rvn::BrngOperations& operationsOf(const RsgStream* stream) {
  return *support::registeredGenerator(stream->brngId).operations;
}

// Owns a stream; draws raw outputs and moves it.
struct Net {
  RsgStream* stream = nullptr;
  std::int32_t status;

  Net(std::int32_t dimension, std::uint64_t seed, std::int32_t scrambling)
      : status(rsgNewScrambledSobol(&stream, dimension, seed, scrambling)) {}
  Net(std::int32_t dimension, const Words& table, std::uint64_t seed, std::int32_t scrambling)
      : status(rsgNewSobolFromTable(&stream, dimension, table.data(), static_cast<std::int32_t>(table.size()),
                                    seed, scrambling)) {}
  Net(const Net&) = delete;
  Net& operator=(const Net&) = delete;
  ~Net() {
    if (stream != nullptr) rsgDeleteStream(&stream);
  }

  Words raw(std::size_t n) const {
    Words words(n + 1, 77);
    EXPECT_EQ(operationsOf(stream).fillInt(stream, static_cast<std::int64_t>(n), words.data()), 0);
    EXPECT_EQ(words.back(), 77u);
    words.pop_back();
    return words;
  }
  std::int32_t move(std::int32_t method, std::int64_t count, std::uint32_t low, std::uint32_t high) const {
    const std::uint32_t args[2] = {low, high};
    return operationsOf(stream).stateOp(method, stream, count, args);
  }
  std::int32_t skip(std::uint64_t n) const {
    return move(rvn::stateSkipAhead, 2, static_cast<std::uint32_t>(n), static_cast<std::uint32_t>(n >> 32));
  }
};

// Lines "row NUMBERS" of the table, and "point INDEX COORDINATES", of 30 bits.
struct PublishedTable {
  Words table;
  std::vector<std::vector<std::uint64_t>> points;

  PublishedTable() {
    std::ifstream file(KNOWN_ANSWERS "/sobol_table.kat");
    for (std::string line; std::getline(file, line);) {
      std::istringstream words(line);
      std::string what;
      words >> what;
      std::vector<std::uint64_t> numbers;
      for (std::uint64_t number = 0; words >> number;)
        numbers.push_back(number);
      if (what == "row") table.insert(table.end(), numbers.begin(), numbers.end());
      if (what == "point") points.push_back(numbers);
    }
  }
};

TEST(SobolTable, PointsAreThoseOfSciPy) {
  const PublishedTable published;
  ASSERT_EQ(published.points.size(), 6u);
  for (const std::vector<std::uint64_t>& point : published.points) {
    const std::size_t dimension = point.size() - 1;
    const Net net(static_cast<std::int32_t>(dimension), published.table, 0, RSG_SCRAMBLING_NONE);
    ASSERT_EQ(net.status, 0);
    ASSERT_EQ(net.skip((point[0] - 1) * dimension), 0);
    const Words raw = net.raw(dimension);
    for (std::size_t d = 0; d < dimension; ++d)
      EXPECT_EQ(raw[d] >> 2, point[d + 1]) << "point " << point[0] << ", coordinate " << d;
  }
}

TEST(ScrambledSobol, WithoutScramblingItIsSobol) {
  for (const std::int32_t dimension : {1, 2, 7, 17, 40}) {
    const Net net(dimension, 5, RSG_SCRAMBLING_NONE);
    support::GeneratorStream sobol(RSG_BRNG_SOBOL, {static_cast<std::uint32_t>(dimension)});
    for (const std::int32_t n : {1, 5, 126, 4000}) {
      Doubles values(static_cast<std::size_t>(n));
      EXPECT_EQ(vdRngUniform(RNG_UNIFORM_PLAIN, net.stream, n, values.data(), -0.3, 2.5), 0);
      EXPECT_TRUE(support::same(values, sobol.doubles(values.size(), -0.3, 2.5))) << dimension << ", " << n;
    }
  }
}

// A lower triangular matrix with ones on its diagonal, and a shift, leave the first digit in which two points differ
// where it is, and that makes every net one again. A shift alone leaves all differences.
TEST(ScrambledSobol, ScramblingKeepsTheFirstDifferenceOfPoints) {
  constexpr std::size_t points = 500;
  constexpr std::size_t dimension = 40;
  const Net plain(dimension, 0, RSG_SCRAMBLING_NONE);
  Words sobol(dimension, 0);  // point 0
  const Words drawn = plain.raw((points - 1) * dimension);
  sobol.insert(sobol.end(), drawn.begin(), drawn.end());
  for (const std::int32_t scrambling : {RSG_SCRAMBLING_SHIFT, RSG_SCRAMBLING_LINEAR}) {
    const Words raw = Net(dimension, 99, scrambling).raw(points * dimension);
    EXPECT_EQ(raw[dimension], Net(1, 99, scrambling).raw(2)[1]) << "whatever the dimension is";
    std::size_t changed = 0;
    for (std::size_t d = 0; d < dimension; ++d)
      for (std::size_t i = 1; i < points; ++i)
        for (const std::size_t j : {i - 1, i / 2, std::size_t{0}}) {
          const std::size_t at = i * dimension + d;
          const std::size_t to = j * dimension + d;
          const std::uint32_t difference = raw[at] ^ raw[to];
          ASSERT_EQ(std::countl_zero(difference), std::countl_zero(sobol[at] ^ sobol[to]))
              << d << ": " << i << ", " << j;
          changed += difference != (sobol[at] ^ sobol[to]);
        }
    EXPECT_EQ(changed > 0, scrambling == RSG_SCRAMBLING_LINEAR);
  }
}

// The first 2^m points and the next: boxes of every shape have their share, as the degrees of the polynomials say.
TEST(ScrambledSobol, ElementaryIntervalsHaveTheirShare) {
  constexpr int m = 10;
  const PublishedTable published;
  const Net nets[] = {{3, 7, RSG_SCRAMBLING_LINEAR},
                      {3, 7, RSG_SCRAMBLING_SHIFT},
                      {3, published.table, 8, RSG_SCRAMBLING_LINEAR}};
  for (const Net& net : nets)
    for (int block = 0; block < 2; ++block) {
      const Words raw = net.raw(3 << m);
      for (int t = 0; t < 2; ++t)  // 0 for the first two coordinates, 1 for three
        for (int a = 0; a <= m - t; ++a)
          for (int b = 0; a + b <= m - t; ++b) {
            const int c = m - t - a - b;
            if (t == 0 && c != 0) continue;
            Words count(std::size_t{1} << (m - t));
            for (std::size_t i = 0; i < raw.size(); i += 3) {
              const auto part = [&](std::size_t d, int bits) {
                return std::uint64_t{raw[i + d]} >> (32 - bits);
              };
              ++count[static_cast<std::size_t>((part(0, a) << b | part(1, b)) << c | part(2, c))];
            }
            EXPECT_EQ(count, Words(count.size(), 1U << t)) << a << ", " << b << ", " << c;
          }
    }
}

// Estimates of the integral 1 of a product: without bias, and much closer to each other than of independent points.
TEST(ScrambledSobol, SeedsTellTheErrorOfAnEstimate) {
  constexpr std::size_t dimension = 6;
  constexpr std::size_t points = 1024;
  constexpr int seeds = 40;
  const double ownVariance = std::pow(1.0 + 1.0 / 12.0, dimension) - 1.0;
  for (const std::int32_t scrambling : {RSG_SCRAMBLING_SHIFT, RSG_SCRAMBLING_LINEAR}) {
    double sum = 0.0;
    double squares = 0.0;
    double firstSum = 0.0;
    for (std::uint64_t seed = 0; seed < seeds; ++seed) {
      const Words raw = Net(dimension, seed << 40 | seed, scrambling).raw(points * dimension);
      firstSum += raw[0] * 0x1p-32;
      double estimate = 0.0;
      for (std::size_t i = 0; i < raw.size(); i += dimension) {
        double product = 1.0;
        for (std::size_t d = 0; d < dimension; ++d)
          product *= 0.5 + (raw[i + d] + 0.5) * 0x1p-32;
        estimate += product / points;
      }
      sum += estimate - 1.0;
      squares += (estimate - 1.0) * (estimate - 1.0);
    }
    const double variance = squares / seeds;
    EXPECT_LT(variance, 1e-2 * ownVariance / points);
    EXPECT_LT(std::fabs(sum / seeds), 4.0 * std::sqrt(variance / seeds));
    EXPECT_NEAR(firstSum / seeds, 0.5, 4.0 * std::sqrt(1.0 / 12.0 / seeds)) << "a single point is uniform";
  }
}

// One way through all fills and moves: values drawn one by one.
TEST(ScrambledSobol, FillsAndMovesAgree) {
  const PublishedTable published;
  for (const std::int32_t dimension : {1, 2, 5, 15, 19}) {
    const auto make = [&](bool fromTable) {
      return fromTable ? Net(dimension, published.table, 3, RSG_SCRAMBLING_LINEAR)
                       : Net(dimension, 3, RSG_SCRAMBLING_LINEAR);
    };
    for (const bool fromTable : {false, true}) {
      SCOPED_TRACE(dimension);
      const auto width = static_cast<std::size_t>(dimension);
      Words single;
      const Net slow = make(fromTable);
      for (int i = 0; i < 6000; ++i)
        single.push_back(slow.raw(1)[0]);
      const Net fast = make(fromTable);
      std::size_t done = 0;
      for (const std::size_t n : {3u, 120u, 1u, 4000u, 500u}) {
        const Words raw = fast.raw(n);
        for (std::size_t i = 0; i < n; ++i)
          ASSERT_EQ(raw[i], single[done + i]) << n;
        done += n;
      }
      const Net skipped = make(fromTable);
      EXPECT_EQ(skipped.skip(3001), 0);
      EXPECT_EQ(skipped.raw(1)[0], single[3001]);
      const Net selected = make(fromTable);
      ASSERT_EQ(selected.move(rvn::stateLeapfrog, 0x7FFFFFFF, static_cast<std::uint32_t>(dimension - 1), 0),
                0);
      const Words one = selected.raw(200);
      for (std::size_t i = 0; i < one.size(); ++i)
        ASSERT_EQ(one[i], single[i * width + width - 1]);
      // The last point; behind it point 1 follows, and no skip leads there.
      const Net last = make(fromTable);
      const std::uint64_t end = (std::uint64_t{1} << 32) * width;
      EXPECT_EQ(last.skip(end), RSG_ERROR_SKIP_AHEAD);
      EXPECT_EQ(last.skip(end - 1), 0);
      const Words behind = last.raw(width + 1);
      for (std::size_t d = 0; d < width; ++d)
        EXPECT_EQ(behind[1 + d], single[width + d]);
      EXPECT_EQ(selected.skip((std::uint64_t{1} << 32) - 201), 0);
      EXPECT_EQ(selected.raw(2)[1], single[2 * width - 1]);
    }
  }
}

TEST(ScrambledSobol, CopiesAndSavedStreamsGoOn) {
  const Net net(7, 77, RSG_SCRAMBLING_LINEAR);
  const Net table(7, PublishedTable().table, 77, RSG_SCRAMBLING_LINEAR);
  for (const std::size_t drawn : {0u, 3u, 1000u})
    for (const Net* const one : {&net, &table}) {
      one->raw(drawn);
      RsgStream* made = nullptr;
      unsigned char bytes[200];
      const auto goesOn = [&](RsgStream* other) {
        Words words(50);
        EXPECT_EQ(rsgWords32(other, 50, words.data()), 0);
        rsgDeleteStream(&other);
        return words;
      };
      ASSERT_EQ(rsgCopyStream(&made, one->stream), 0);
      const Words copied = goesOn(made);
      support::printed([&] {
        EXPECT_EQ(rsgSaveStream(one->stream, bytes, sizeof bytes), one == &net ? 0 : RSG_ERROR_NOT_SAVED);
      });
      if (one == &net) {
        ASSERT_EQ(rsgLoadStream(&made, bytes, sizeof bytes), 0);
        EXPECT_EQ(goesOn(made), copied) << drawn;
      }
      EXPECT_EQ(one->raw(50), copied) << drawn;
    }
}

TEST(SobolTable, TakesEveryDimensionAndRefusesWhatIsNoTable) {
  Words table;
  for (std::uint32_t d = 2; d <= RSG_TABLE_DIMENSIONS; ++d)
    table.insert(table.end(), {d, 1, 0, 1});
  {
    const Net widest(RSG_TABLE_DIMENSIONS, table, 0, RSG_SCRAMBLING_NONE);
    ASSERT_EQ(widest.status, 0);
    const Words raw = widest.raw(3 * RSG_TABLE_DIMENSIONS);
    for (std::size_t d = 1; d < RSG_TABLE_DIMENSIONS; ++d)  // of the second coordinate: 1/2, 1/4, 3/4
      ASSERT_TRUE(raw[d] == 1U << 31 && raw[RSG_TABLE_DIMENSIONS + d] == 1U << 30 &&
                  raw[2 * RSG_TABLE_DIMENSIONS + d] == 3U << 30);
    const support::FailingHeap heap(1);
    RsgStream* stream = widest.stream;
    EXPECT_EQ(rsgNewSobolFromTable(&stream, 2, table.data(), 4, 0, 0), RSG_ERROR_MEMORY);
    EXPECT_EQ(stream, nullptr);
  }
  // Parameters that are refused; 0: none. Among polynomials x^2 + 1, x^4 + x^3 + x^2 + x + 1, of which x^5 is 1, and
  // x^6 + x^3 + 1, of which x^9 is.
  const struct {
    int parameter;
    std::int32_t dimension;
    Words numbers;
    std::int32_t scrambling = RSG_SCRAMBLING_LINEAR;
  } cases[] = {
      {0, 1, {}},
      {0, 2, {2, 1, 0, 1, 7, 7}},
      {0, 3, {2, 1, 0, 1, 3, 2, 1, 1, 3}},
      {2, 0, {}},
      {2, RSG_TABLE_DIMENSIONS + 1, {}},
      {6, 2, {2, 1, 0, 1}, 3},
      {6, 2, {2, 1, 0, 1}, -1},
      {3, 2, {}},
      {3, 2, {2, 1, 0}},
      {3, 3, {2, 1, 0, 1, 3, 2, 1, 1}},
      {3, 3, {2, 1, 0, 1, 4, 2, 1, 1, 3}},
      {3, 2, {2, 0, 0, 1}},
      {3, 2, {2, 32, 0, 1}},
      {3, 2, {2, UINT32_MAX, 0, 1}},
      {3, 2, {2, 1, 1, 1}},
      {3, 2, {2, 1, 0, 2}},
      {3, 2, {2, 2, 1, 1, 5}},
      {3, 2, {2, 2, 0, 1, 3}},
      {3, 2, {2, 4, 7, 1, 1, 1, 1}},
      {3, 2, {2, 6, 4, 1, 1, 1, 1, 1, 1}},
  };
  constexpr std::int32_t statuses[] = {0, 0, RSG_ERROR_DIMENSION, RSG_ERROR_TABLE,
                                       0, 0, RSG_ERROR_SCRAMBLING};
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    EXPECT_EQ(support::printed([&] {
                EXPECT_EQ(Net(c.dimension, c.numbers, 1, c.scrambling).status, statuses[c.parameter]);
              }),
              c.parameter == 0 ? "" : support::parameterReport(c.parameter, "rsgNewSobolFromTable"));
  }
  RsgStream* stream = nullptr;
  const std::string reports = support::printed([&] {
    EXPECT_EQ(rsgNewScrambledSobol(nullptr, 2, 1, 1), RSG_ERROR_NULL_STREAM);
    EXPECT_EQ(rsgNewScrambledSobol(&stream, 41, 1, 1), RSG_ERROR_DIMENSION);
    EXPECT_EQ(rsgNewScrambledSobol(&stream, 40, 1, 3), RSG_ERROR_SCRAMBLING);
  });
  EXPECT_EQ(reports, support::parameterReport(1, "rsgNewScrambledSobol") +
                         support::parameterReport(2, "rsgNewScrambledSobol") +
                         support::parameterReport(4, "rsgNewScrambledSobol"));
}

}  // namespace
