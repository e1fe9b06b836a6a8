// Prints src/streams/tables/twister_polynomials.h: the characteristic polynomials of a step of MT19937 and of
// SFMT19937 on their 19968 bits of state. A test compares the output with the checked-in header.
//
// One bit of every step of a stream has the minimal polynomial of the step but for factors that its seed
// misses; it is found by the algorithm of J. Massey (IEEE Transactions on Information Theory 15, 1969).
// MT19937 loses 31 of its bits in the first step: its polynomial is x^31 times one of degree 19937.

#include <algorithm>
#include <bitset>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include <ravenfit/random_streams.h>

namespace {

constexpr std::size_t degree = 19968;
constexpr std::size_t bits = 2 * degree + 2;
using Bits = std::bitset<bits>;

struct Recurrence {
  std::size_t length;
  Bits connection;  // bit k: whether the bit k steps back counts; bit 0 is set
};

Recurrence shortestRecurrence(const std::vector<bool>& sequence) {
  Recurrence now = {0, 1};
  Bits before = 1;
  std::size_t since = 1;  // steps since `before` was replaced
  Bits reversed;          // the sequence so far, newest bit first
  for (std::size_t i = 0; i < sequence.size(); ++i, ++since) {
    reversed <<= 1;
    reversed[0] = sequence[i];
    if ((now.connection & reversed).count() % 2 == 0) continue;
    const Bits last = now.connection;
    now.connection ^= before << since;
    if (2 * now.length > i) continue;
    now.length = i + 1 - now.length;
    before = last;
    since = 0;
  }
  return now;
}

// The top bit of every `stride`-th raw output, which are the integers of the interval from -2^31 or 0 on.
std::vector<bool> topBits(std::int32_t brngId, std::uint32_t seed, std::size_t stride, double from) {
  std::vector<double> raw(bits * stride);
  RsgStream* stream = nullptr;
  if (rsgNewStream(&stream, brngId, seed) != RSG_STATUS_OK) return {};
  vdRngUniform(RNG_UNIFORM_PLAIN, stream, static_cast<std::int32_t>(raw.size()), raw.data(), from,
               from + 0x1p32);
  rsgDeleteStream(&stream);
  std::vector<bool> top(bits);
  for (std::size_t i = 0; i < bits; ++i)
    top[i] = raw[i * stride] < 0.0 || raw[i * stride] >= 0x1p31;
  return top;
}

bool print(const char* name, std::int32_t brngId, std::size_t stride, double from, std::size_t lost) {
  for (std::uint32_t seed = 1; seed < 10; ++seed) {
    const Recurrence found = shortestRecurrence(topBits(brngId, seed, stride, from));
    if (found.length + lost != degree) continue;
    std::printf("\nconst std::uint64_t %s[312] = {\n", name);
    for (std::size_t word = 0; word < degree / 64; ++word) {
      std::uint64_t value = 0;
      for (std::size_t bit = 0; bit < 64; ++bit)
        value |= std::uint64_t{found.connection[degree - (64 * word + bit)]} << bit;
      std::printf("%s0x%016jX,%s", word % 4 == 0 ? "    " : " ", static_cast<std::uintmax_t>(value),
                  word % 4 == 3 ? "\n" : "");
    }
    std::puts("};");
    return true;
  }
  std::fprintf(stderr, "%s: no seed shows the whole polynomial\n", name);
  return false;
}

}  // namespace

int main() {
  std::puts(
      "#pragma once\n\n"
      "// Printed by tools/twister_polynomials.cpp. Bit k of the whole is the coefficient of x^k; that of\n"
      "// x^19968 is 1.\n\n"
      "#include <cstdint>\n\n"
      "namespace rvn {");
  const bool whole = print("Mt19937Polynomial", RSG_BRNG_MT19937, 1, 0.0, 31) &&
                     print("Sfmt19937Polynomial", RSG_BRNG_SFMT19937, 4, -0x1p31, 0);
  std::puts("\n}  // namespace rvn");
  return whole ? 0 : 1;
}
