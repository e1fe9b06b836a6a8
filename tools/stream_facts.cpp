// Measures what docs/streams.md says about the generators beyond their definitions, and prints it: how members with
// one seed begin, linear relations of R250, ends of intervals, birthday spacings and collisions, pairs of coordinates
// of the quasi-random sequences. Takes half a minute.

#include <algorithm>
#include <array>
#include <bit>
#include <cfloat>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <vector>

#include "streams/quasi_directions.h"

#include <ravenfit/random_streams.h>

namespace {

using Values = std::vector<double>;

// Values first .. first + n - 1 over [a, b).
Values drawn(std::int32_t brngId, std::uint32_t seed, std::int32_t n, double a = 0.0, double b = 1.0,
             std::int32_t first = 0, std::int32_t method = RNG_UNIFORM_PLAIN) {
  Values r(static_cast<std::size_t>(first + n));
  RsgStream* stream = nullptr;
  rsgNewStream(&stream, brngId, seed);
  vdRngUniform(method, stream, first + n, r.data(), a, b);
  rsgDeleteStream(&stream);
  r.erase(r.begin(), r.begin() + first);
  return r;
}

// ---- members ----

// Chi-square of `count` values in 16 cells, and the largest cell; 15 degrees of freedom, above 60 by chance once in 4
// million times.
struct Cells {
  double chiSquare;
  int largest;
};
constexpr double improbable = 60.0;

Cells cellsOf(const Values& x) {
  std::array<int, 16> count = {};
  for (const double one : x)
    ++count[static_cast<std::size_t>(one * 16.0)];
  const double expected = static_cast<double>(x.size()) / 16.0;
  Cells cells = {0.0, 0};
  for (const int one : count) {
    cells.chiSquare += (one - expected) * (one - expected) / expected;
    cells.largest = std::max(cells.largest, one);
  }
  return cells;
}

void showMembers(const char* name, std::int32_t brngId, int members, std::uint32_t seed, std::uint32_t step,
                 std::int32_t dropped = 0) {
  constexpr std::int32_t n = 1000;
  std::vector<Values> at(n, Values(static_cast<std::size_t>(members)));
  double sum = 0.0;
  double products = 0.0;  // of neighbouring members, at the first 400 places
  double worst = 0.0;
  Values last;
  for (int member = 0; member < members; ++member) {
    const Values r =
        drawn(brngId + member, seed + step * static_cast<std::uint32_t>(member), n, 0.0, 1.0, dropped);
    double together = 0.0;
    for (std::size_t i = 0; i < n; ++i) {
      at[i][static_cast<std::size_t>(member)] = r[i];
      sum += r[i];
      if (member > 0 && i < 400) together += (r[i] - 0.5) * (last[i] - 0.5) * 12.0;
    }
    products += together;
    worst = std::max(worst, std::fabs(together) / 20.0);
    last = r;
  }
  const double values = static_cast<double>(members) * n;
  std::printf("%s, seed %u + %u member, %d dropped: pooled mean off by %.1f standard errors\n", name, seed,
              step, dropped, (sum / values - 0.5) * std::sqrt(12.0 * values));
  std::printf(
      "  neighbours, first 400 values: correlation %.4f +- %.4f, largest of a pair %.1f standard errors\n",
      products / (400.0 * (members - 1)), 1.0 / std::sqrt(400.0 * (members - 1)), worst);
  int failing = 0;
  int lastFailing = -1;
  std::size_t fullest = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (cellsOf(at[i]).largest > cellsOf(at[fullest]).largest) fullest = i;
    if (cellsOf(at[i]).chiSquare < improbable) continue;
    ++failing;
    lastFailing = static_cast<int>(i);
  }
  const auto [least, most] = std::minmax_element(at[0].begin(), at[0].end());
  std::printf(
      "  value 0 from %.4f to %.4f; %d of %d places are uneven, the last is %d; value %zu has %.0f %% in a "
      "sixteenth\n",
      *least, *most, failing, n, lastFailing, fullest, 100.0 * cellsOf(at[fullest]).largest / members);
}

// ---- linear relations of R250 ----

// Adds a row to a basis in echelon form; false if it depends on the others.
template <class Basis, class Row>
bool extend(Basis& basis, Row row) {
  while (row != 0) {
    Row& other = basis[static_cast<std::size_t>(std::countr_zero(row))];
    if (other == 0) {
      other = row;
      return true;
    }
    row ^= other;
  }
  return false;
}

// Linear relations among the low `bits` bits of six successive words. They hold for ever where they hold at 250 places,
// since every bit follows the same recurrence of order 250.
int relations(std::uint32_t seed, int bits) {
  const Values r = drawn(RSG_BRNG_R250, seed, 255);
  std::array<std::uint64_t, 48> basis = {};
  int rank = 0;
  for (std::size_t n = 0; n < 250; ++n) {
    std::uint64_t row = 0;
    for (std::size_t d = 0; d < 6; ++d)
      row = row << bits | (static_cast<std::uint64_t>(r[n + d] * 0x1p32) & ((1U << bits) - 1));
    rank += extend(basis, row) ? 1 : 0;
  }
  return 6 * bits - rank;
}

void showRelations() {
  constexpr std::uint32_t seeds = 20000;
  for (const int bits : {3, 8}) {
    int affected = 0;
    for (std::uint32_t seed = 1; seed <= seeds; ++seed)
      affected += relations(seed * 0x9E3779B1, bits) > 0 ? 1 : 0;
    std::printf(
        "R250, low %d bits of 6 successive words: %d relations with seed 20261123, %d with seed 1; %.1f %% "
        "of "
        "%u seeds have some\n",
        bits, relations(20261123, bits), relations(1, bits), 100.0 * affected / seeds, seeds);
  }
}

// ---- ends of intervals ----

void showEnds() {
  // Seed 1093613324 gives the largest output at once, seed 8 of SFMT19937 the smallest at place 84489657.
  std::printf("MRG32k3a over (-3, 7), largest output: %.17g\n",
              drawn(RSG_BRNG_MRG32K3A, 1093613324, 1, -3.0, 7.0)[0]);
  std::printf("SFMT19937 over (0.1, 0.4), smallest output: 0.1 - %.2g\n",
              0.1 - drawn(RSG_BRNG_SFMT19937, 8, 1, 0.1, 0.4, 84489657)[0]);
  const double tiny = 0x1.8p-1043;
  const Values r = drawn(RSG_BRNG_MT19937, 1, 1000, 0.0, tiny);
  const Values s = drawn(RSG_BRNG_MT19937, 1, 1000, 0.0, 0x1p-1044);
  std::printf("MT19937 over (0, b): largest of 1000 values %.2f b with b = %.2g, %g with b = %.2g\n",
              *std::max_element(r.begin(), r.end()) / tiny, tiny, *std::max_element(s.begin(), s.end()),
              0x1p-1044);
  const auto show = [](const char* name, std::int32_t brngId, double a, std::int32_t method) {
    const Values x = drawn(brngId, 1, 1000, a, DBL_MAX, 0, method);
    const auto nans = std::count_if(x.begin(), x.end(), [](double one) { return std::isnan(one); });
    const auto finite = std::count_if(x.begin(), x.end(), [](double one) { return std::isfinite(one); });
    std::printf("%s over (%.2g, DBL_MAX)%s: %d NaNs, %d finite values of 1000\n", name, a,
                method == RNG_UNIFORM_CLAMPED ? ", clamped" : "", static_cast<int>(nans),
                static_cast<int>(finite));
  };
  for (const std::int32_t method : {RNG_UNIFORM_PLAIN, RNG_UNIFORM_CLAMPED}) {
    show("MCG59", RSG_BRNG_MCG59, -DBL_MAX, method);         // the width overflows
    show("SFMT19937", RSG_BRNG_SFMT19937, 1.5e308, method);  // the sum does
  }
}

// ---- birthday spacings and collisions ----

// Points of two values, each cut to `bits` bits, as cells in increasing order.
std::vector<std::uint64_t> cellsOfPoints(std::int32_t brngId, std::size_t points, int bits) {
  const Values r = drawn(brngId, 20261123, static_cast<std::int32_t>(2 * points));
  std::vector<std::uint64_t> cells(points);
  for (std::size_t i = 0; i < points; ++i)
    cells[i] = static_cast<std::uint64_t>(std::ldexp(r[2 * i], bits)) << bits |
               static_cast<std::uint64_t>(std::ldexp(r[2 * i + 1], bits));
  std::sort(cells.begin(), cells.end());
  return cells;
}

long long equalNeighbours(const std::vector<std::uint64_t>& sorted) {
  long long equal = 0;
  for (std::size_t i = 1; i < sorted.size(); ++i)
    equal += sorted[i] == sorted[i - 1] ? 1 : 0;
  return equal;
}

void showSpacings() {
  constexpr struct {
    const char* name;
    std::int32_t brngId;
  } generators[] = {{"MCG31", RSG_BRNG_MCG31},
                    {"R250", RSG_BRNG_R250},
                    {"MRG32k3a", RSG_BRNG_MRG32K3A},
                    {"MCG59", RSG_BRNG_MCG59},
                    {"Wichmann-Hill", RSG_BRNG_WICHMANN_HILL},
                    {"MT19937", RSG_BRNG_MT19937},
                    {"MT2203", RSG_BRNG_MT2203},
                    {"SFMT19937", RSG_BRNG_SFMT19937}};
  std::puts(
      "equal spacings of 2^22 points in 2^60 cells, 16 expected; collisions of 2^20 in 2^30, 512 expected:");
  for (const auto& one : generators) {
    std::vector<std::uint64_t> spacings = cellsOfPoints(one.brngId, std::size_t{1} << 22, 30);
    std::adjacent_difference(spacings.begin(), spacings.end(), spacings.begin());
    std::sort(spacings.begin() + 1, spacings.end());
    std::printf("  %s: %lld, %lld\n", one.name, equalNeighbours(spacings),
                equalNeighbours(cellsOfPoints(one.brngId, std::size_t{1} << 20, 15)));
  }
}

// ---- pairs of coordinates ----

using Digits = std::array<std::uint32_t, rvn::directionCount>;  // row r: bit c is digit r of number[c]

using Directions = void (*)(int coordinate, std::uint32_t (&number)[rvn::directionCount]);

Digits digitsOf(Directions directions, int coordinate) {
  std::uint32_t number[rvn::directionCount];
  directions(coordinate, number);
  Digits digits = {};
  for (std::size_t r = 0; r < digits.size(); ++r)
    for (std::size_t c = 0; c < digits.size(); ++c)
      digits[r] |= (number[c] >> (31 - r) & 1) << c;
  return digits;
}

// The largest t over blocks of 2^m points, m up to `largest`: m less the most digits that are independent however they are shared.
int worstOfPair(const Digits& p, const Digits& q, int largest) {
  int worst = 0;
  for (int m = 1; m <= largest; ++m) {
    const std::uint32_t columns = UINT32_MAX >> (32 - m);
    int independent = m;
    Digits first = {};
    for (int a = 0; a <= m && a < independent; ++a) {
      Digits both = first;
      int b = 0;
      while (a + b < independent && extend(both, q[static_cast<std::size_t>(b)] & columns))
        ++b;
      independent = std::min(independent, a + b);
      if (a < m) extend(first, p[static_cast<std::size_t>(a)] & columns);
    }
    worst = std::max(worst, m - independent);
  }
  return worst;
}

void showPairs(const char* name, Directions directions, int dimensions, int largest) {
  std::vector<Digits> digits;
  for (int d = 0; d < dimensions; ++d)
    digits.push_back(digitsOf(directions, d));
  int worst = 0;
  std::size_t pair[2] = {};
  for (std::size_t i = 0; i < digits.size(); ++i)
    for (std::size_t j = 0; j < i; ++j) {
      const int t = worstOfPair(digits[j], digits[i], largest);
      if (t <= worst) continue;
      worst = t;
      pair[0] = j;
      pair[1] = i;
    }
  std::printf("%s, blocks of up to 2^%d points: t = %d at worst in pairs, first coordinates %zu and %zu\n",
              name, largest, worst, pair[0], pair[1]);
}

}  // namespace

int main() {
  for (const std::uint32_t seed : {1U, 42U, 7777777U, 20261123U})
    for (const std::uint32_t step : {0U, 1U})
      showMembers("MT2203", RSG_BRNG_MT2203, 6024, seed, step);
  for (const std::uint32_t seed : {1U, 7777777U}) {
    for (const std::uint32_t step : {0U, 1U})
      showMembers("Wichmann-Hill", RSG_BRNG_WICHMANN_HILL, 273, seed, step);
    showMembers("Wichmann-Hill", RSG_BRNG_WICHMANN_HILL, 273, seed, 0, 10);
  }
  showRelations();
  showEnds();
  showSpacings();
  for (const int largest : {20, 32}) {
    showPairs("Sobol", rvn::sobolDirections, rvn::sobolDimensions, largest);
    showPairs("Niederreiter", rvn::niederreiterDirections, rvn::niederreiterDimensions, largest);
  }
}
