#include "streams/scrambled_net.h"

#include <cstdint>

namespace rvn {
namespace {

constexpr std::uint32_t largestDegree = 31;

// x^e modulo a polynomial p of degree s; bit k is the coefficient of x^k.
std::uint64_t powerOfX(std::uint64_t e, std::uint64_t p, std::uint32_t s) {
  const auto times = [=](std::uint64_t a, std::uint64_t b) {
    std::uint64_t product = 0;
    for (std::uint64_t bit = std::uint64_t{1} << (s - 1); bit != 0; bit >>= 1) {
      product <<= 1;
      if ((product >> s & 1) != 0) product ^= p;
      if ((b & bit) != 0) product ^= a;
    }
    return product;
  };
  std::uint64_t result = 1;
  std::uint64_t square = s == 1 ? 1 : 2;  // x is 1 modulo x + 1
  for (; e != 0; e >>= 1) {
    if ((e & 1) != 0) result = times(result, square);
    square = times(square, square);
  }
  return result;
}

// The prime factors of 2^s - 1.
struct Factors {
  std::uint32_t s = 0;
  std::uint64_t prime[16] = {};
  int count = 0;

  void find(std::uint32_t degree) {
    if (s == degree) return;
    s = degree;
    count = 0;
    std::uint64_t rest = (std::uint64_t{1} << s) - 1;
    for (std::uint64_t f = 3; f * f <= rest; f += 2) {
      if (rest % f != 0) continue;
      prime[count++] = f;
      while (rest % f == 0)
        rest /= f;
    }
    if (rest > 1) prime[count++] = rest;
  }
};

// A polynomial of degree s is primitive if the powers of x run through all 2^s - 1 other remainders.
bool isPrimitive(std::uint64_t p, const Factors& factors) {
  const std::uint64_t order = (std::uint64_t{1} << factors.s) - 1;
  if (powerOfX(order, p, factors.s) != 1) return false;
  for (int i = 0; i < factors.count; ++i)
    if (powerOfX(order / factors.prime[i], p, factors.s) == 1) return false;
  return true;
}

std::uint32_t polynomialOf(const std::uint32_t* row) {
  return 1U << row[1] | row[2] << 1 | 1U;
}

// SplitMix64 (G. L. Steele, D. Lea, C. H. Flood, 2014) by number: every coordinate has 64 words of its own.
std::uint64_t mixed(std::uint64_t z) {
  z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
  z = (z ^ z >> 27) * 0x94D049BB133111EB;
  return z ^ z >> 31;
}

struct RandomWords {
  std::uint64_t start;

  RandomWords(std::uint64_t seed, std::int32_t coordinate)
      : start(mixed(seed + step) + step * 64 * static_cast<std::uint64_t>(coordinate)) {}

  std::uint32_t operator()(int k) const {
    return static_cast<std::uint32_t>(mixed(start + step * static_cast<std::uint64_t>(k + 1)) >> 32);
  }

 private:
  static constexpr std::uint64_t step = 0x9E3779B97F4A7C15;
};

// Multiplies every direction number, a column of digits, by a lower triangular matrix with ones on its diagonal; the
// first digit is bit 31.
void multiplyByRandomMatrix(const RandomWords& words, std::uint32_t (&number)[directionCount]) {
  std::uint32_t column[directionCount];
  for (int j = 0; j < directionCount; ++j) {
    const std::uint32_t diagonal = 1U << (31 - j);
    column[j] = diagonal | (words(1 + j) & (diagonal - 1));
  }
  for (std::uint32_t& one : number) {
    std::uint32_t product = 0;
    for (int j = 0; j < directionCount; ++j)
      if ((one >> (31 - j) & 1) != 0) product ^= column[j];
    one = product;
  }
}

// Takes the numbers of coordinate d from the next row of a table, if there is one.
const std::uint32_t* takeDirections(const std::uint32_t* row, std::int32_t d,
                                    std::uint32_t (&number)[directionCount]) {
  if (row == nullptr || d == 0) {
    sobolDirections(d, number);
    return row;
  }
  std::uint32_t m[directionCount] = {};
  for (std::uint32_t j = 0; j < row[1]; ++j)
    m[j] = row[3 + j];
  sobolDirections(polynomialOf(row), m, number);
  return row + (3 + row[1]);
}

template <class Stream>
void fillNet(Stream& stream, const NetPlan& plan) {
  stream.dimension = plan.dimension;
  stream.onlyCoordinate = -1;
  stream.nextCoordinate = 0;
  stream.seed[0] = static_cast<std::uint32_t>(plan.seed);
  stream.seed[1] = static_cast<std::uint32_t>(plan.seed >> 32);
  stream.scrambling = plan.scrambling;
  stream.zero = 0;
  const bool scrambled = plan.scrambling != RSG_SCRAMBLING_NONE;
  stream.pointIndex = scrambled ? 0 : 1;
  const std::uint32_t* row = plan.table;
  const std::int32_t padded = (plan.dimension + widestVector - 1) / widestVector * widestVector;
  for (std::int32_t d = 0; d < padded; ++d) {
    std::uint32_t number[directionCount] = {};
    if (d < plan.dimension) row = takeDirections(row, d, number);
    const RandomWords words(plan.seed, d);
    if (plan.scrambling == RSG_SCRAMBLING_LINEAR) multiplyByRandomMatrix(words, number);
    stream.point[d] = scrambled ? words(0) : number[0];
    for (int bit = 0; bit < directionCount; ++bit)
      stream.directionByBit[bit][d] = number[bit];
  }
}

}  // namespace

bool isSobolTable(std::int32_t dimension, const std::uint32_t* table, std::int64_t length) {
  Factors factors;
  std::int64_t at = 0;
  for (std::int32_t d = 2; d <= dimension; ++d) {
    if (length - at < 3) return false;
    const std::uint32_t* const row = table + at;
    const std::uint32_t s = row[1];
    if (row[0] != static_cast<std::uint32_t>(d) || s < 1 || s > largestDegree) return false;
    if (row[2] >> (s - 1) != 0 || length - at < 3 + std::int64_t{s}) return false;
    for (std::uint32_t j = 0; j < s; ++j)
      if ((row[3 + j] & 1) == 0 || row[3 + j] >> (j + 1) != 0) return false;
    factors.find(s);
    if (!isPrimitive(polynomialOf(row), factors)) return false;
    at += 3 + std::int64_t{s};
  }
  return true;
}

void makeNet(ScrambledSobolStream& stream, const NetPlan& plan) {
  fillNet(stream, plan);
}

void makeNet(SobolTableStream& stream, const NetPlan& plan) {
  fillNet(stream, plan);
}

}  // namespace rvn
