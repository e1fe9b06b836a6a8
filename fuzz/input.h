#pragma once

// The bytes of an input as choices and numbers, and the end of a run that breaks a promise.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

namespace fuzz {

class Input {
 public:
  Input(const std::uint8_t* bytes, std::size_t size) : at_(bytes), end_(bytes + size) {}

  bool empty() const { return at_ == end_; }
  std::uint8_t byte() { return empty() ? std::uint8_t{0} : *at_++; }
  std::uint64_t word() {
    std::uint64_t w = 0;
    for (int i = 0; i < 8; ++i)
      w = w << 8 | byte();
    return w;
  }

  // One of 0 .. n - 1.
  int below(int n) { return byte() % n; }
  bool oneIn(int n) { return below(n) == n - 1; }
  template <class T, std::size_t n>
  T oneOf(const T (&values)[n]) {
    return values[byte() % n];
  }

  // Small dyadic numbers most often, then those at the edges of the format, then any bits.
  double number() {
    constexpr double inf = std::numeric_limits<double>::infinity();
    static constexpr double special[] = {
        0.0,      -0.0,   1.0,     -1.0,    5e-324, -5e-324,
        2.3e-308, 1e-300, -1e-300, 0x1p-53, 1e300,  -1e300,
        1e-10,    0x1p52, 1.7e308, inf,     -inf,   std::numeric_limits<double>::quiet_NaN()};
    const int kind = below(16);
    if (kind < 11) return (byte() - 100) / 8.0;
    if (kind < 15) return oneOf(special);
    const std::uint64_t bits = word();
    double any = 0.0;
    std::memcpy(&any, &bits, sizeof any);
    return any;
  }

  std::vector<double> numbers(std::size_t n) {
    std::vector<double> all(n);
    for (double& one : all)
      one = number();
    return all;
  }

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
};

// Ends the run with the promise that was broken.
#define FUZZ_EXPECT(condition)                                                             \
  do {                                                                                     \
    if (!(condition)) {                                                                    \
      std::fprintf(stderr, "%s:%d: broken promise: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                        \
    }                                                                                      \
  } while (false)

// The same bits, or both no numbers.
inline bool same(double a, double b) {
  return std::memcmp(&a, &b, sizeof a) == 0 || (a != a && b != b);
}

// Each lives through one input; a file each, named after what it lives with.
void runTask(Input input);
void runStream(Input input);
void runSolver(Input input);
void runSaved(Input input);
void runLayer(Input input);
void runMessage(Input input);
void runEnvironment(Input input);

}  // namespace fuzz
