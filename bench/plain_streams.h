#pragma once

// The textbook Wichmann-Hill generator that the stream rows are compared with; compiled at -O2 without level
// flags.

#include <cstddef>
#include <cstdint>

namespace bench {

struct PlainWichmannHill {
  std::uint32_t x[4];
  std::uint32_t mult[4];
  std::uint32_t m[4];
  double r[4];  // 1/m
};

void plainUniform(PlainWichmannHill& state, std::size_t n, double* values, double a, double b);

}  // namespace bench
