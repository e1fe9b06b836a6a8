#pragma once

// Comparison of arrays that says where they part: index, both values, and their distance in ULP.

#include <cmath>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <iomanip>
#include <vector>

namespace support {

// Representable numbers between a and b; 0 for two NaN, the largest number for one.
inline std::uint64_t ulpDistance(double a, double b) {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) && std::isnan(b) ? 0 : UINT64_MAX;
  const auto ordered = [](double v) {
    std::int64_t bits = 0;
    std::memcpy(&bits, &v, sizeof bits);
    return bits < 0 ? INT64_MIN - bits : bits;
  };
  const std::int64_t p = ordered(a);
  const std::int64_t q = ordered(b);
  return p > q ? static_cast<std::uint64_t>(p) - static_cast<std::uint64_t>(q)
               : static_cast<std::uint64_t>(q) - static_cast<std::uint64_t>(p);
}

// Whether got[i] is as good as want[i] by `same(i)`, for all i.
template <class T, class Same>
testing::AssertionResult agree(const std::vector<T>& got, const std::vector<T>& want, Same same) {
  if (got.size() != want.size())
    return testing::AssertionFailure() << got.size() << " elements instead of " << want.size();
  std::size_t wrong = 0;
  testing::AssertionResult result = testing::AssertionFailure();
  for (std::size_t i = 0; i < got.size(); ++i) {
    if (same(i)) continue;
    if (++wrong > 5) continue;
    result << std::setprecision(17) << "\n  [" << i << "] " << got[i] << " instead of " << want[i];
    if constexpr (std::is_same_v<T, double>) result << ", " << ulpDistance(got[i], want[i]) << " ULP away";
  }
  if (wrong == 0) return testing::AssertionSuccess();
  return result << "\n  " << wrong << " of " << got.size() << " differ";
}

// Equal elements; for doubles equal bits, but any NaN equals any NaN.
template <class T>
testing::AssertionResult same(const std::vector<T>& got, const std::vector<T>& want) {
  return agree(got, want, [&](std::size_t i) {
    if constexpr (std::is_same_v<T, double>) {
      return ulpDistance(got[i], want[i]) == 0 && std::signbit(got[i]) == std::signbit(want[i]);
    } else {
      return got[i] == want[i];
    }
  });
}

// |got[i] - want[i]| <= tolerance[i].
inline testing::AssertionResult close(const std::vector<double>& got, const std::vector<double>& want,
                                      const std::vector<double>& tolerance) {
  return agree(got, want, [&](std::size_t i) { return std::fabs(got[i] - want[i]) <= tolerance[i]; });
}

}  // namespace support
