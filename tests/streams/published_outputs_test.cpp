// Outputs that others published or compute: tests/data/*.kat, each with its source on line one.

#include <cstdint>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "streams/generators.h"

namespace {

using support::GeneratorStream;
using support::Seeds;

// Lines "generator NAME", "seeds WORD ...", "value POSITION RAW".
class PublishedOutputs : public testing::TestWithParam<const char*> {};

TEST_P(PublishedOutputs, RawOutputs) {
  std::ifstream file(std::string(KNOWN_ANSWERS) + "/" + GetParam() + ".kat");
  ASSERT_TRUE(file.good());
  std::string line;
  std::string generator;
  Seeds seeds;
  int values = 0;
  while (std::getline(file, line)) {
    std::istringstream words(line);
    std::string what;
    words >> what;
    if (what == "generator") words >> generator;
    if (what == "seeds") {
      seeds.clear();
      for (std::uint32_t seed = 0; words >> seed;)
        seeds.push_back(seed);
    }
    if (what != "value") continue;
    std::size_t position = 0;
    std::uint64_t raw = 0;
    words >> position >> raw;
    ASSERT_FALSE(words.fail()) << line;
    EXPECT_EQ(GeneratorStream(support::generator(generator), seeds).raw(position + 1)[position], raw) << line;
    ++values;
  }
  EXPECT_GT(values, 4);
}

INSTANTIATE_TEST_SUITE_P(Streams, PublishedOutputs,
                         testing::Values("mt19937", "mrg32k3a", "r250", "sfmt19937"),
                         [](const auto& tested) { return std::string(tested.param); });

// Equal components make the output m1 and not 0, which the mapping takes to the end of the interval. The first
// x and y are 1403580 s - 810728 s and 527612 - 1370589 s with a seed s for which they agree.
TEST(PublishedOutputs, LargestOutputOfMrg32k3a) {
  GeneratorStream stream(RSG_BRNG_MRG32K3A, {1093613324});
  GeneratorStream words(stream);
  EXPECT_EQ(stream.doubles(1)[0], 1.0);
  EXPECT_EQ(words.raw(1)[0], 4294967087U);
}

}  // namespace
