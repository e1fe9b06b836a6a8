#pragma once

// The quasi-random sequences, each point computed from its index alone.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "streams/generators.h"
#include "streams/quasi_directions.h"

namespace support {

using DirectionNumbers = std::vector<std::uint32_t>;

// The library's numbers; other tests check them against an independent library.
inline DirectionNumbers sobolNumbers(int coordinate) {
  std::uint32_t number[rvn::directionCount];
  rvn::sobolDirections(coordinate, number);
  return {number, number + rvn::directionCount};
}

// By long division of x^k by p^(q+1), one digit after the other.
class LaurentExpansions {
 public:
  static int degree(std::uint64_t p) { return static_cast<int>(std::bit_width(p)) - 1; }

  static const std::vector<std::uint64_t>& irreducible() {
    static const std::vector<std::uint64_t> found = [] {
      std::vector<std::uint64_t> all;
      for (std::uint64_t p = 2; all.size() < 318; ++p) {
        bool divisible = false;
        for (const std::uint64_t q : all)
          divisible = divisible || remainder(p, q) == 0;
        if (!divisible) all.push_back(p);
      }
      return all;
    }();
    return found;
  }

  static DirectionNumbers numbers(int coordinate) {
    const std::uint64_t p = irreducible()[static_cast<std::size_t>(coordinate)];
    const int e = degree(p);
    DirectionNumbers number(32);
    for (int j = 0; j < 32; ++j) {
      std::uint64_t divisor = 1;
      for (int q = 0; q <= j / e; ++q)
        divisor = product(divisor, p);
      std::uint64_t rest = std::uint64_t{1} << (e - 1 - j % e);
      for (std::uint32_t& column : number) {
        rest *= 2;
        const bool digit = degree(rest) == degree(divisor);
        if (digit) rest ^= divisor;
        column = column * 2 + digit;
      }
    }
    return number;
  }

 private:
  static std::uint64_t remainder(std::uint64_t p, std::uint64_t q) {
    while (degree(p) >= degree(q))
      p ^= q << (degree(p) - degree(q));
    return p;
  }
  static std::uint64_t product(std::uint64_t p, std::uint64_t q) {
    std::uint64_t sum = 0;
    for (int i = 0; i <= degree(q); ++i)
      if ((q >> i) % 2 == 1) sum ^= p << i;
    return sum;
  }
};

// Raw outputs of all coordinates, or of `only`, of the points from `index` on.
template <DirectionNumbers (*numbers)(int coordinate), std::uint32_t dimensions>
struct QuasiModel {
  std::vector<DirectionNumbers> direction;
  std::uint32_t index = 1;
  std::size_t coordinate = 0;
  int only = -1;

  explicit QuasiModel(const Seeds& seeds) {
    const std::uint32_t dimension = seeds.empty() || seeds[0] > dimensions ? 1 : seeds[0];
    for (std::uint32_t d = 0; d == 0 || d < dimension; ++d)
      direction.push_back(numbers(static_cast<int>(d)));
  }

  std::uint32_t at(std::uint32_t point, std::size_t d) const {
    std::uint32_t sum = 0;
    for (std::size_t bit = 0; bit < 32; ++bit)
      if (((point >> bit) + (std::uint64_t{point} >> (bit + 1))) % 2 == 1) sum ^= direction[d][bit];
    return sum;
  }
  std::uint64_t next() {
    const std::uint32_t output = at(index, only < 0 ? coordinate : static_cast<std::size_t>(only));
    if (only >= 0 || ++coordinate == direction.size()) {
      coordinate = 0;
      if (++index == 0) index = 1;
    }
    return output;
  }
};

using SobolModel = QuasiModel<sobolNumbers, 40>;
using NiederreiterModel = QuasiModel<LaurentExpansions::numbers, 318>;

}  // namespace support
