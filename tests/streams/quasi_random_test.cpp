// What belongs to the quasi-random sequences alone: direction numbers, the evenness of points, the selection of a
// coordinate, and the end of the sequence.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <numeric>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "streams/generators.h"
#include "streams/quasi_models.h"
#include "support/compare.h"

namespace {

using support::DirectionNumbers;
using support::GeneratorStream;
using support::LaurentExpansions;
using support::NiederreiterModel;
using support::Seeds;
using support::SobolModel;

TEST(QuasiDirections, NiederreiterNumbersAreLaurentExpansions) {
  EXPECT_EQ(LaurentExpansions::irreducible().back(), 3047u);
  std::uint32_t numbers[rvn::directionCount];
  for (int d = 0; d < rvn::niederreiterDimensions; ++d) {
    rvn::niederreiterDirections(d, numbers);
    EXPECT_EQ(DirectionNumbers(numbers, numbers + rvn::directionCount), LaurentExpansions::numbers(d)) << d;
  }
}

// All points of the file, which settle the numbers of bits 0 to 20 but for their last two digits.
TEST(QuasiDirections, SobolPointsAreThoseOfGsl) {
  std::ifstream file(KNOWN_ANSWERS "/sobol.kat");
  std::string line;
  std::getline(file, line);
  int points = 0;
  for (; std::getline(file, line); ++points) {
    std::istringstream words(line);
    std::uint64_t index = 0;
    words >> index >> std::hex;
    GeneratorStream stream(RSG_BRNG_SOBOL, {40});
    stream.skip((index - 1) * 40);
    for (const std::uint64_t raw : stream.raw(40)) {
      std::uint64_t known = 0;
      words >> known;
      EXPECT_EQ(raw >> 2, known) << "point " << index;
    }
  }
  EXPECT_EQ(points, 44);
}

// v[j] = a[1] v[j-1] ^ ... ^ a[s-1] v[j-s+1] ^ v[j-s] ^ v[j-s] 2^-s, of direction numbers as fractions: the
// polynomials that serve the numbers up to bit 20, one and multiples of it, serve the others. The numbers of the
// first coordinate are the powers of 2.
TEST(QuasiDirections, SobolRecurrencesGoOnToTheLastBit) {
  for (std::size_t j = 0; j < 32; ++j)
    EXPECT_EQ(support::sobolNumbers(0)[j], 0x80000000U >> j);
  for (int d = 1; d < rvn::sobolDimensions; ++d) {
    const DirectionNumbers v = support::sobolNumbers(d);
    int held = 0;
    for (std::uint32_t p = 3; p < 512; p += 2) {
      const auto s = static_cast<std::size_t>(LaurentExpansions::degree(p));
      std::size_t j = s;
      for (; j < 32; ++j) {
        std::uint32_t sum = v[j - s] ^ v[j - s] >> s;
        for (std::size_t k = 1; k < s; ++k)
          if ((p >> (s - k)) % 2 == 1) sum ^= v[j - k];
        if (sum != v[j]) break;
      }
      if (j <= 20) continue;
      ++held;
      EXPECT_EQ(j, 32u) << "coordinate " << d << ", polynomial " << p;
    }
    EXPECT_GT(held, 0) << d;
  }
}

// Cuts the unit cube into 2^(m-t) boxes, along each axis into a power of two, and counts the points of a block of
// 2^m in every box: the sequence is even if all have 2^t. By theory t is the sum of e - 1 over the degrees e of
// the polynomials; the first coordinate of Sobol counts as degree 1.
TEST(QuasiRandom, EveryBoxHasItsShareOfPoints) {
  const struct {
    std::int32_t brngId;
    std::vector<std::size_t> coordinates;
    int t;
  } cases[] = {
      {RSG_BRNG_SOBOL, {0}, 0},
      {RSG_BRNG_SOBOL, {39}, 0},
      {RSG_BRNG_SOBOL, {0, 1}, 0},
      {RSG_BRNG_SOBOL, {0, 1, 2}, 1},
      {RSG_BRNG_SOBOL, {3, 4}, 4},
      {RSG_BRNG_SOBOL, {7, 10}, 8},
      {RSG_BRNG_NIEDERREITER, {0}, 0},
      {RSG_BRNG_NIEDERREITER, {0, 1}, 0},
      {RSG_BRNG_NIEDERREITER, {0, 1, 2}, 1},
      {RSG_BRNG_NIEDERREITER, {2, 3}, 3},
      {RSG_BRNG_NIEDERREITER, {3, 4}, 4},
      {RSG_BRNG_NIEDERREITER, {0, 39}, 6},
  };
  constexpr int m = 11;
  constexpr std::size_t points = std::size_t{1} << m;
  for (const auto& c : cases) {
    GeneratorStream stream(c.brngId, {40});
    std::vector<std::uint64_t> raw(40);  // point 0 is zero
    const std::vector<std::uint64_t> drawn = stream.raw((2 * points - 1) * 40);
    raw.insert(raw.end(), drawn.begin(), drawn.end());
    const auto axes = static_cast<std::ptrdiff_t>(c.coordinates.size());
    std::array<int, 3> cuts = {};
    const auto countBoxes = [&] {
      for (std::size_t block = 0; block < 2; ++block) {
        std::vector<int> count(points >> c.t);
        for (std::size_t i = block * points; i < (block + 1) * points; ++i) {
          std::size_t box = 0;
          for (std::size_t axis = 0; axis < c.coordinates.size(); ++axis)
            box = box << cuts[axis] |
                  static_cast<std::size_t>(raw[i * 40 + c.coordinates[axis]] >> (32 - cuts[axis]));
          ++count[box];
        }
        EXPECT_EQ(count, std::vector<int>(count.size(), 1 << c.t))
            << c.brngId << ": " << testing::PrintToString(c.coordinates) << " cut "
            << testing::PrintToString(cuts) << ", block " << block;
      }
    };
    for (cuts[0] = 0; cuts[0] <= m - c.t; ++cuts[0])
      for (cuts[1] = 0; cuts[0] + cuts[1] <= m - c.t; ++cuts[1]) {
        cuts[2] = m - c.t - cuts[0] - cuts[1];
        if (std::all_of(cuts.begin() + axes, cuts.end(), [](int cut) { return cut == 0; })) countBoxes();
      }
  }
}

// Runs `test` with the generator, its dimension and a model.
template <class Test>
void forBoth(const std::vector<std::uint32_t>& dimensions, Test test) {
  for (const std::uint32_t dimension : dimensions) {
    SCOPED_TRACE(dimension);
    if (dimension <= 40) test(RSG_BRNG_SOBOL, SobolModel({dimension}));
    test(RSG_BRNG_NIEDERREITER, NiederreiterModel({dimension}));
  }
}

Seeds seedOf(const auto& model) {
  return {static_cast<std::uint32_t>(model.direction.size())};
}

testing::AssertionResult follows(auto& model, const std::vector<std::uint64_t>& raw) {
  std::vector<std::uint64_t> want(raw.size());
  for (std::uint64_t& one : want)
    one = model.next();
  return support::same(raw, want);
}

TEST(QuasiRandom, EveryDimension) {
  std::vector<std::uint32_t> all(42);
  std::iota(all.begin(), all.end(), 1);
  all.insert(all.end(), {63, 64, 65, 100, 317});
  forBoth(all, [](std::int32_t brngId, auto model) {
    GeneratorStream stream(brngId, seedOf(model));
    for (const std::size_t n : {1u, 700u, 33u, 2500u, 130u})
      ASSERT_TRUE(follows(model, stream.raw(n))) << brngId << ", " << n;
  });
}

TEST(QuasiRandom, SelectedCoordinate) {
  constexpr std::int64_t selection = 0x7FFFFFFF;
  forBoth({1, 3, 5, 20, 40, 318}, [&](std::int32_t brngId, auto model) {
    const Seeds seeds = seedOf(model);
    for (const std::size_t drawn : {0u, 1u, 3u, 20u, 41u, 635u}) {
      for (const std::uint32_t k : {0u, 2u, seeds[0] - 1}) {
        if (k >= seeds[0]) continue;
        auto expected = model;
        GeneratorStream stream(brngId, seeds);
        ASSERT_TRUE(follows(expected, stream.raw(drawn)));
        // Refused selections change nothing.
        for (const auto& [count, refused] : {std::pair{selection, seeds[0]},
                                             {selection, 0xFFFFFFFFU},
                                             {selection - 1, 0U},
                                             {selection + 1, 0U},
                                             {1, 0U},
                                             {-1, 0U}})
          EXPECT_EQ(stream.stateOp(rvn::stateLeapfrog, count, {refused}), RSG_ERROR_LEAPFROG) << count;
        // A coordinate that is delivered already waits for the next point.
        if (expected.coordinate > k) ++expected.index;
        expected.only = static_cast<int>(k);
        EXPECT_EQ(stream.stateOp(rvn::stateLeapfrog, selection, {k}), 0);
        for (const std::size_t n : {1u, 9u, 1000u, 70u}) {
          ASSERT_TRUE(follows(expected, stream.raw(n))) << brngId << ", " << k << " after " << drawn;
          EXPECT_EQ(stream.stateOp(rvn::stateLeapfrog, selection, {k}), 0);
          stream.skip(3);
          expected.index += 3;
        }
        // Another coordinate goes on with the same point.
        expected.only = 0;
        EXPECT_EQ(stream.stateOp(rvn::stateLeapfrog, selection, {0}), 0);
        ASSERT_TRUE(follows(expected, stream.raw(300))) << brngId << ", 0 after " << k;
      }
    }
  });
}

// Points have 32-bit numbers; behind the last one comes the first again, and no skip leads there.
TEST(QuasiRandom, EndOfTheSequence) {
  constexpr std::uint64_t last = UINT32_MAX;
  forBoth({1, 2, 5, 12, 40, 318}, [&](std::int32_t brngId, auto model) {
    const std::uint32_t dimension = seedOf(model)[0];
    for (const bool one : {false, true}) {
      const std::uint64_t width = one ? 1 : dimension;
      for (const std::uint64_t before : {1u, 3u, 500u, 1000u}) {
        auto expected = model;
        GeneratorStream stream(brngId, seedOf(model));
        if (one) {
          ASSERT_EQ(stream.stateOp(rvn::stateLeapfrog, 0x7FFFFFFF, {dimension - 1}), 0);
          expected.only = static_cast<int>(dimension - 1);
        }
        ASSERT_TRUE(follows(expected, stream.raw(dimension + dimension / 2)));
        const std::uint64_t left = (last - expected.index + 1) * width - expected.coordinate;
        for (const std::uint64_t n : {left, left + 1, last * width, UINT64_MAX - 1, UINT64_MAX}) {
          const Seeds words = {static_cast<std::uint32_t>(n), static_cast<std::uint32_t>(n >> 32)};
          EXPECT_EQ(stream.stateOp(rvn::stateSkipAhead, 2, words), RSG_ERROR_SKIP_AHEAD) << n;
        }
        ASSERT_TRUE(follows(expected, stream.raw(1)));
        const std::uint64_t skipped = left - 1 - before;
        stream.skip(skipped);
        const std::uint64_t values = expected.coordinate + skipped;
        expected.index += static_cast<std::uint32_t>(values / width);
        expected.coordinate = static_cast<std::size_t>(values % width);
        for (const std::uint64_t n : {before / 2, std::uint64_t{100}, std::uint64_t{2000}})
          ASSERT_TRUE(follows(expected, stream.raw(static_cast<std::size_t>(n))))
              << brngId << ", " << before << " before the end";
        EXPECT_LT(expected.index, 2101u);
      }
    }
  });
}

}  // namespace
