// Statistical tests of the generators by the public operations: single streams, streams of neighbouring seeds, members of
// equal and of different seeds, and parts of split streams, the latter interleaved value by value, so that what they have
// in common shows as a pattern.
//
// usage: ravenfit_statistics [LEAST [MOST [NAME]]]: each test gets 2^LEAST values, then twice as many, up to 2^MOST (22, 22). A
// source that fails is not tested further; with a name, sources of that name alone are tested. Prints the table of docs/streams.md.

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include <ravenfit/random_streams.h>
#include <ravenfit/stream_tools.h>

namespace {

// ---- distributions ----

// P(a, x), the regularised lower incomplete gamma function: its series below a + 1 and the continued fraction of Q above
// (NIST Digital Library of Mathematical Functions, 8.7.1 and 8.9.2, evaluated by W. J. Lentz's method).
double gammaBelow(double a, double x) {
  if (x <= 0.0) return 0.0;
  const double front = std::exp(a * std::log(x) - x - std::lgamma(a));
  if (x < a + 1.0) {
    double term = 1.0 / a;
    double sum = term;
    for (double n = a + 1.0; term > sum * 1e-17; n += 1.0)
      sum += term *= x / n;
    return front * sum;
  }
  double b = x + 1.0 - a;
  double c = 1e300;
  double d = 1.0 / b;
  double h = d;
  for (int i = 1; i < 100000; ++i) {
    const double an = -i * (i - a);
    b += 2.0;
    d = 1.0 / (an * d + b);
    c = b + an / c;
    h *= d * c;
    if (std::fabs(d * c - 1.0) < 1e-15) break;
  }
  return 1.0 - front * h;
}

// What is tested with and what came out: the probability of as much or more, and of as much or less.
struct Outcome {
  double more;
  double less;
  bool fails() const { return std::min(more, less) < 1e-8; }
};

Outcome poisson(double count, double mean) {
  return {gammaBelow(count, mean), 1.0 - gammaBelow(count + 1.0, mean)};
}

// Of cells of given probabilities, neighbours joined until ten are expected.
Outcome chiSquare(const std::vector<double>& counts, const std::vector<double>& probabilities) {
  double total = 0.0;
  for (const double one : counts)
    total += one;
  double sum = 0.0;
  int cells = 0;
  double count = 0.0;
  double expected = 0.0;
  double left = total;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    count += counts[i];
    expected += total * probabilities[i];
    left -= total * probabilities[i];
    if ((expected < 10.0 || left < 10.0) && i + 1 < counts.size()) continue;
    sum += (count - expected) * (count - expected) / expected;
    ++cells;
    count = expected = 0.0;
  }
  if (cells < 2) return {1.0, 1.0};
  const double below = gammaBelow(0.5 * (cells - 1), 0.5 * sum);
  return {1.0 - below, below};
}

// ---- sources ----

struct DeleteStream {
  void operator()(RsgStream* stream) const { rsgDeleteStream(&stream); }
};
using StreamPointer = std::unique_ptr<RsgStream, DeleteStream>;

StreamPointer streamOf(std::int32_t id, std::uint32_t seed) {
  RsgStream* stream = nullptr;
  if (rsgNewStream(&stream, id, seed) != 0) std::exit(2);
  return StreamPointer(stream);
}

// The upper 32 bits of doubles over [0, 1), of several streams in turn.
class Source {
 public:
  Source(std::string name, std::vector<StreamPointer> streams)
      : name_(std::move(name)),
        streams_(std::move(streams)),
        values_(block),
        words_(block * streams_.size()) {}

  const std::string& name() const { return name_; }
  std::uint32_t next() {
    if (at_ == words_.size()) refill();
    return words_[at_++];
  }

 private:
  static constexpr std::size_t block = 4096;

  void refill() {
    for (std::size_t s = 0; s < streams_.size(); ++s) {
      if (vdRngUniform(0, streams_[s].get(), block, values_.data(), 0.0, 1.0) != 0) std::exit(2);
      for (std::size_t i = 0; i < block; ++i)
        words_[i * streams_.size() + s] =
            static_cast<std::uint32_t>(std::min(values_[i] * 0x1p32, 0x1p32 - 1.0));
    }
    at_ = 0;
  }

  std::string name_;
  std::vector<StreamPointer> streams_;
  std::vector<double> values_;
  std::vector<std::uint32_t> words_;
  std::size_t at_ = words_.size();
};

// ---- tests; each draws about 2^m words ----

// Sorts numbers below 2^bits that are spread evenly: by their upper 22 bits in two passes, then what these leave together.
void sortSpread(std::vector<std::uint64_t>& numbers, std::vector<std::uint64_t>& scratch, int bits) {
  constexpr int digitBits = 11;
  const int lowest = std::max(bits - 2 * digitBits, 0);
  scratch.resize(numbers.size());
  for (const int shift : {lowest, lowest + digitBits}) {
    std::array<std::size_t, (1U << digitBits) + 1> begin{};
    const auto digit = [=](std::uint64_t number) { return number >> shift & ((1U << digitBits) - 1); };
    for (const std::uint64_t number : numbers)
      ++begin[digit(number) + 1];
    std::partial_sum(begin.begin(), begin.end(), begin.begin());
    for (const std::uint64_t number : numbers)
      scratch[begin[digit(number)]++] = number;
    numbers.swap(scratch);
  }
  for (auto first = numbers.begin(); first != numbers.end();) {
    auto last = first + 1;
    while (last != numbers.end() && *last >> lowest == *first >> lowest)
      ++last;
    std::sort(first, last);
    first = last;
  }
}

// Points of two words in 2^60 cells or fewer; how many of the sorted distances are equal is a Poisson number of mean
// n^3 / 4k (G. Marsaglia, 1985; P. L'Ecuyer, R. Simard, 2001).
Outcome birthdaySpacings(Source& source, int m) {
  const int bits = std::min(m - 1, 21);
  const int repeats = 1 << (m - 1 - bits);
  const int cellBits = (3 * bits - 6) / 2;  // of a word: 16 equal distances on average
  const double mean = std::ldexp(1.0, 3 * bits - 2 - 2 * cellBits);
  std::vector<std::uint64_t> points;
  std::vector<std::uint64_t> scratch;
  double equal = 0.0;
  for (int repeat = 0; repeat < repeats; ++repeat) {
    points.resize(std::size_t{1} << bits);
    for (std::uint64_t& p : points) {
      const std::uint64_t high = source.next() >> (32 - cellBits);
      p = high << cellBits | source.next() >> (32 - cellBits);
    }
    sortSpread(points, scratch, 2 * cellBits);
    // Of distances the lower half is spread evenly: it goes to the top.
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
      const std::uint64_t distance = points[i + 1] - points[i];
      points[i] = (distance << cellBits | distance >> cellBits) & ((std::uint64_t{1} << 2 * cellBits) - 1);
    }
    points.pop_back();
    sortSpread(points, scratch, 2 * cellBits);
    for (std::size_t i = 1; i < points.size(); ++i)
      equal += points[i] == points[i - 1] ? 1.0 : 0.0;
  }
  return poisson(equal, mean * repeats);
}

// n points of two words in 2^30 cells; how many fall on a taken one is n - k + k (1 - 1/k)^n on average, and nearly a
// Poisson number where n is much smaller than k (D. E. Knuth, The Art of Computer Programming 2, 3.3.2 I).
Outcome collisions(Source& source, int m) {
  constexpr double cells = 0x1p30;
  const int bits = std::min(m - 1, 20);
  const int repeats = 1 << (m - 1 - bits);
  const double n = std::ldexp(1.0, bits);
  std::vector<std::uint64_t> taken(std::size_t{1} << 24);
  double found = 0.0;
  for (int repeat = 0; repeat < repeats; ++repeat) {
    std::fill(taken.begin(), taken.end(), 0);
    for (std::int64_t i = 0; i < std::int64_t{1} << bits; ++i) {
      const std::uint32_t high = source.next() >> 17;
      const std::uint32_t cell = high << 15 | source.next() >> 17;
      std::uint64_t& group = taken[cell >> 6];
      const std::uint64_t bit = std::uint64_t{1} << (cell & 63);
      found += (group & bit) != 0 ? 1.0 : 0.0;
      group |= bit;
    }
  }
  const double mean = n + cells * std::expm1(n * std::log1p(-1.0 / cells));
  return poisson(found, mean * repeats);
}

// Lengths of gaps between values below 1/16, a geometric number (Knuth, 3.3.2 D).
Outcome gaps(Source& source, int m) {
  constexpr std::size_t longest = 200;
  std::vector<double> counts(longest + 1);
  std::vector<double> probabilities(longest + 1);
  double left = 1.0;
  for (std::size_t i = 0; i < longest; ++i) {
    probabilities[i] = left / 16.0;
    left -= probabilities[i];
  }
  probabilities[longest] = left;
  std::size_t gap = 0;
  bool begun = false;
  for (std::int64_t i = 0; i < std::int64_t{1} << m; ++i) {
    if (source.next() >> 28 != 0) {
      ++gap;
      continue;
    }
    if (begun) counts[std::min(gap, longest)] += 1.0;
    begun = true;
    gap = 0;
  }
  return chiSquare(counts, probabilities);
}

// Ranks of square matrices of bits, a row of them made of successive words. n - d has the probability
// 2^(-d^2) prod_(i=0)^(n-d-1) (1 - 2^(i-n))^2 / (1 - 2^(i-n+d))   (G. Marsaglia, L.-H. Tsay, 1985).
template <std::size_t words>
Outcome ranks(Source& source, int m) {
  constexpr int n = static_cast<int>(32 * words);
  const std::int64_t matrices =
      std::min<std::int64_t>((std::int64_t{1} << m) / (n * static_cast<int>(words)), 1 << 15);
  std::vector<double> counts(8);
  std::vector<double> probabilities(8);
  double left = 1.0;
  for (int d = 0; d < 7; ++d) {
    double p = std::ldexp(1.0, -d * d);
    for (int i = 0; i < n - d; ++i) {
      const double q = 1.0 - std::ldexp(1.0, i - n);
      p *= q * q / (1.0 - std::ldexp(1.0, i - n + d));
    }
    probabilities[static_cast<std::size_t>(d)] = p;
    left -= p;
  }
  probabilities[7] = std::max(left, 0.0);
  std::vector<std::array<std::uint32_t, words>> rows(n);
  for (std::int64_t matrix = 0; matrix < matrices; ++matrix) {
    for (auto& row : rows)
      for (std::uint32_t& word : row)
        word = source.next();
    int rank = 0;
    for (int column = 0; column < n; ++column) {
      const auto word = static_cast<std::size_t>(column / 32);
      const std::uint32_t bit = 1U << (column % 32);
      auto pivot = rows.begin() + rank;
      while (pivot != rows.end() && ((*pivot)[word] & bit) == 0)
        ++pivot;
      if (pivot == rows.end()) continue;
      std::swap(*pivot, rows[static_cast<std::size_t>(rank)]);
      const auto& by = rows[static_cast<std::size_t>(rank++)];
      for (auto row = rows.begin() + rank; row != rows.end(); ++row)
        if (((*row)[word] & bit) != 0)
          for (std::size_t w = word; w < words; ++w)
            (*row)[w] ^= by[w];
    }
    counts[static_cast<std::size_t>(std::min(n - rank, 7))] += 1.0;
  }
  return chiSquare(counts, probabilities);
}

// Where walks of 1024 steps end, each bit of 32 words a step: a binomial number.
Outcome walks(Source& source, int m) {
  constexpr int steps = 1024;
  std::vector<double> counts(steps + 1);
  std::vector<double> probabilities(steps + 1);
  for (int k = 0; k <= steps; ++k)
    probabilities[static_cast<std::size_t>(k)] =
        std::exp(std::lgamma(steps + 1.0) - std::lgamma(k + 1.0) - std::lgamma(steps - k + 1.0) -
                 steps * std::log(2.0));
  for (std::int64_t walk = 0; walk < (std::int64_t{1} << m) / 32; ++walk) {
    int right = 0;
    for (int i = 0; i < 32; ++i)
      right += std::popcount(source.next());
    counts[static_cast<std::size_t>(right)] += 1.0;
  }
  return chiSquare(counts, probabilities);
}

struct Test {
  const char* name;
  Outcome (*run)(Source& source, int m);
};
constexpr Test tests[] = {{"birthday spacings", birthdaySpacings},
                          {"collisions", collisions},
                          {"gaps", gaps},
                          {"ranks, 32", ranks<1>},
                          {"ranks, 256", ranks<8>},
                          {"walks", walks}};

// ---- the table ----

using Make = std::function<Source()>;

Source oneStream(const char* name, std::int32_t id) {
  std::vector<StreamPointer> streams;
  streams.push_back(streamOf(id, 20261124));
  return {name, std::move(streams)};
}

// Streams of seeds s, s + step, s + 2 step, .. of members 0, every, 2 every ..
Source several(std::string name, std::int32_t id, int count, int every, std::uint32_t step,
               std::int32_t dropped = 0) {
  std::vector<StreamPointer> streams;
  for (int i = 0; i < count; ++i) {
    streams.push_back(streamOf(id + i * every, 20261124 + step * static_cast<std::uint32_t>(i)));
    std::vector<double> first(static_cast<std::size_t>(dropped));
    if (vdRngUniform(0, streams.back().get(), dropped, first.data(), 0.0, 1.0) != 0) std::exit(2);
  }
  return {std::move(name), std::move(streams)};
}

Source split(std::string name, std::int32_t id, std::int32_t count) {
  const StreamPointer whole = streamOf(id, 20261124);
  std::vector<RsgStream*> parts(static_cast<std::size_t>(count));
  if (rsgSplit(whole.get(), count, 0, parts.data()) != 0) std::exit(2);
  return {std::move(name), {parts.begin(), parts.end()}};
}

std::string shown(const Outcome& outcome) {
  char text[32];
  if (outcome.fails())
    std::snprintf(text, sizeof text, "**fails**");
  else
    std::snprintf(text, sizeof text, "%.2g", outcome.more);
  return text;
}

std::string wanted;  // every source if empty

void testSource(Source source, int least, int most) {
  if (!wanted.empty() && wanted != source.name()) return;
  for (int m = least; m <= most; ++m) {
    std::string row;
    bool failed = false;
    for (const Test& test : tests) {
      const Outcome outcome = test.run(source, m);
      failed = failed || outcome.fails();
      row += " | " + shown(outcome);
    }
    if (!failed && m < most) continue;
    std::printf("| %s | 2^%d%s |\n", source.name().c_str(), m, row.c_str());
    std::fflush(stdout);
    return;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int least = argc > 1 ? std::atoi(argv[1]) : 22;
  const int most = argc > 2 ? std::atoi(argv[2]) : least;
  wanted = argc > 3 ? argv[3] : "";
  if (least < 16 || most < least || most > 36) return 2;
  std::printf("| source | values a test");
  for (const Test& test : tests)
    std::printf(" | %s", test.name);
  std::printf(" |\n|---|---|---|---|---|---|---|---|\n");
  static constexpr struct {
    const char* name;
    std::int32_t id;
  } generators[] = {{"MRG32k3a", RSG_BRNG_MRG32K3A},
                    {"MT19937", RSG_BRNG_MT19937},
                    {"SFMT19937", RSG_BRNG_SFMT19937},
                    {"MT2203, member 0", RSG_BRNG_MT2203},
                    {"Wichmann-Hill, member 0", RSG_BRNG_WICHMANN_HILL},
                    {"MCG59", RSG_BRNG_MCG59},
                    {"R250", RSG_BRNG_R250},
                    {"MCG31", RSG_BRNG_MCG31}};
  for (const auto& g : generators)
    testSource(oneStream(g.name, g.id), least, most);
  for (const auto& g : generators)
    testSource(several(std::string(g.name) + ", 16 seeds s, s + 1, ..", g.id, 16, 0, 1, 1000), least, most);
  testSource(several("MT2203, 64 members, seeds s + member", RSG_BRNG_MT2203, 64, 1, 1), least, most);
  testSource(several("MT2203, 64 members, one seed", RSG_BRNG_MT2203, 64, 1, 0), least, most);
  testSource(several("MT2203, 64 members, one seed, 1000 dropped", RSG_BRNG_MT2203, 64, 1, 0, 1000), least,
             most);
  testSource(several("Wichmann-Hill, 64 members, seeds s + member", RSG_BRNG_WICHMANN_HILL, 64, 1, 1), least,
             most);
  testSource(several("Wichmann-Hill, 64 members, one seed, 10 dropped", RSG_BRNG_WICHMANN_HILL, 64, 1, 0, 10),
             least, most);
  for (const auto& g : generators)
    if (g.id != RSG_BRNG_R250)
      testSource(split(std::string(g.name) + ", split into 16", g.id, 16), least, most);
  return 0;
}
