#pragma once

// The generators as their authors define them: one raw output at a time, with the plainest arithmetic.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "streams/generators.h"

namespace support {

template <class Model>
RawOutputs startedModel(const Seeds& seeds) {
  return [model = std::make_shared<Model>(seeds)] { return model->next(); };
}

struct Mcg31Model {
  std::uint64_t x;

  explicit Mcg31Model(const Seeds& seeds) : x(seeds.empty() ? 1 : seeds[0] % 2147483647) {
    if (x == 0) x = 1;
  }
  std::uint64_t next() {
    const std::uint64_t output = x;
    x = x * 1132489760 % 2147483647;
    return output;
  }
};

struct Mcg59Model {
  std::uint64_t x = 1;

  explicit Mcg59Model(const Seeds& seeds) {
    if (!seeds.empty()) x = seeds[0];
    if (seeds.size() > 1) x += (std::uint64_t{seeds[1]} << 32) % (std::uint64_t{1} << 59);
    if (x == 0) x = 1;
  }
  std::uint64_t next() {
    const std::uint64_t output = x;
    x = x * 302875106592253 % (std::uint64_t{1} << 59);  // 13^13
    return output;
  }
};

struct Mrg32k3aModel {
  static constexpr std::int64_t m1 = 4294967087;
  static constexpr std::int64_t m2 = 4294944443;
  std::array<std::int64_t, 3> x = {1, 1, 1};
  std::array<std::int64_t, 3> y = {1, 1, 1};

  explicit Mrg32k3aModel(const Seeds& seeds) {
    for (std::size_t i = 0; i < 6 && i < seeds.size(); ++i)
      (i < 3 ? x[i] : y[i - 3]) = seeds[i] % (i < 3 ? m1 : m2);
    if (x == std::array<std::int64_t, 3>{}) x[0] = 1;
    if (y == std::array<std::int64_t, 3>{}) y[0] = 1;
  }
  std::uint64_t next() {
    const std::int64_t p = ((1403580 * x[1] - 810728 * x[0]) % m1 + m1) % m1;
    const std::int64_t q = ((527612 * y[2] - 1370589 * y[0]) % m2 + m2) % m2;
    x = {x[1], x[2], p};
    y = {y[1], y[2], q};
    return static_cast<std::uint64_t>(p > q ? p - q : p - q + m1);
  }
};

}  // namespace support
