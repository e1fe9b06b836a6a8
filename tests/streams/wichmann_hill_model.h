#pragma once

// The Wichmann-Hill generator with integer remainders, one step at a time.

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "streams/wichmann_hill.h"

namespace support {

struct WichmannHillModel {
  std::array<std::uint64_t, 4> x = {1, 1, 1, 1};
  std::array<std::uint64_t, 4> mult = {};
  std::array<std::uint64_t, 4> m = {};
  std::array<double, 4> r = {};

  explicit WichmannHillModel(int member) {
    for (std::size_t j = 0; j < 4; ++j) {
      mult[j] = rvn::WichmannHillMultipliers[member][j];
      m[j] = rvn::WichmannHillModuli[member][j];
      r[j] = rvn::WichmannHillReciprocals[member][j];
    }
  }
  WichmannHillModel(int member, std::uint64_t seed) : WichmannHillModel(member) {
    x[0] = seed % m[0] == 0 ? 1 : seed % m[0];
  }

  void step() {
    for (std::size_t j = 0; j < 4; ++j)
      x[j] = x[j] * mult[j] % m[j];
  }

  double u() const {
    double s = static_cast<double>(x[0]) * r[0];
    for (std::size_t j = 1; j < 4; ++j)
      s += static_cast<double>(x[j]) * r[j];
    return s - std::floor(s);
  }
};

}  // namespace support
