#pragma once

// The generators as their authors define them: one raw output at a time, with the plainest arithmetic.

#include <algorithm>
#include <array>
#include <bit>
#include <bitset>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "streams/generators.h"
#include "streams/wichmann_hill.h"

namespace support {

template <class Model>
RawOutputs startedModel(const Seeds& seeds) {
  return [model = std::make_shared<Model>(seeds)] { return model->next(); };
}

// Four words are one output; the bits of their u stand for them.
inline std::uint64_t wichmannHillOutput(int member, const std::array<std::uint32_t, 4>& x) {
  double s = 0.0;
  for (std::size_t j = 0; j < 4; ++j)
    s += x[j] * rvn::WichmannHillReciprocals[member][j];
  return std::bit_cast<std::uint64_t>(s - std::floor(s));
}

template <int member>
struct WichmannHillModel {
  std::array<std::uint32_t, 4> x = {1, 1, 1, 1};

  explicit WichmannHillModel(const Seeds& seeds) {
    for (std::size_t j = 0; j < 4 && j < seeds.size(); ++j)
      x[j] = std::max(seeds[j] % rvn::WichmannHillModuli[member][j], 1U);
  }
  std::uint64_t next() {
    const std::uint64_t output = wichmannHillOutput(member, x);
    for (std::size_t j = 0; j < 4; ++j) {
      const std::uint64_t product = std::uint64_t{x[j]} * rvn::WichmannHillMultipliers[member][j];
      x[j] = static_cast<std::uint32_t>(product % rvn::WichmannHillModuli[member][j]);
    }
    return output;
  }
};

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

struct R250Model {
  std::vector<std::uint32_t> z;  // every word so far

  explicit R250Model(const Seeds& seeds) {
    if (seeds.size() >= 250) {
      z.assign(seeds.begin(), seeds.begin() + 250);
      return;
    }
    std::uint32_t word = seeds.empty() || seeds[0] == 0 ? 1 : seeds[0];
    while (z.size() < 250)
      z.push_back(word *= 69069);
    for (std::size_t j = 0; j < 32; ++j) {
      std::uint32_t& marked = z[3 + 7 * j];
      for (std::size_t bit = 0; bit < j; ++bit)
        marked &= ~(0x80000000 >> bit);
      marked |= 0x80000000 >> j;
    }
  }
  std::uint64_t next() {
    z.push_back(z[z.size() - 250] ^ z[z.size() - 147]);
    return z.back();
  }
};

// Both twisters of words, as a sequence without wrapping. The array seeding is that of its authors' program.
struct TwisterParameters {
  std::size_t size;
  std::size_t offset;
  std::uint32_t lowerMask;
  std::uint32_t matrixA;
  int firstShift;
  std::uint32_t temperB;
  std::uint32_t temperC;
};

struct TwisterModel {
  TwisterParameters p;
  std::vector<std::uint32_t> z;

  TwisterModel(const TwisterParameters& parameters, const Seeds& seeds) : p(parameters), z(parameters.size) {
    const Seeds key = seeds.empty() ? Seeds{1} : seeds;
    z[0] = 19650218;
    for (std::uint32_t i = 1; i < p.size; ++i)
      z[i] = 1812433253 * (z[i - 1] ^ z[i - 1] >> 30) + i;
    std::uint32_t i = 1;
    std::uint32_t j = 0;
    for (std::size_t k = std::max(p.size, key.size()); k > 0; --k) {
      z[i] = (z[i] ^ (z[i - 1] ^ z[i - 1] >> 30) * 1664525) + key[j] + j;
      if (++i == p.size) z[0] = z[p.size - 1], i = 1;
      if (++j == key.size()) j = 0;
    }
    for (std::size_t k = p.size - 1; k > 0; --k) {
      z[i] = (z[i] ^ (z[i - 1] ^ z[i - 1] >> 30) * 1566083941) - i;
      if (++i == p.size) z[0] = z[p.size - 1], i = 1;
    }
    z[0] = 0x80000000;
  }
  std::uint64_t next() {
    const std::size_t k = z.size() - p.size;
    const std::uint32_t y = (z[k] & ~p.lowerMask) | (z[k + 1] & p.lowerMask);
    z.push_back(z[k + p.offset] ^ y / 2 ^ (y % 2 == 1 ? p.matrixA : 0));
    std::uint32_t w = z.back();
    w ^= w >> p.firstShift;
    w ^= w << 7 & p.temperB;
    w ^= w << 15 & p.temperC;
    return w ^ w >> 18;
  }
};

struct Mt19937Model : TwisterModel {
  explicit Mt19937Model(const Seeds& seeds)
      : TwisterModel({624, 397, 0x7FFFFFFF, 0x9908B0DF, 11, 0x9D2C5680, 0xEFC60000}, seeds) {}
};

// Member 1.
struct Mt2203Model : TwisterModel {
  explicit Mt2203Model(const Seeds& seeds)
      : TwisterModel({69, 34, 0x1F, 0x832604E1, 12, 0x66AD7F80, 0xEBD58000}, seeds) {}
};

// On 128-bit numbers, as a sequence without wrapping.
struct Sfmt19937Model {
  using Block = std::bitset<128>;
  std::vector<Block> z;
  std::size_t used = 4;  // words of the last block that are delivered

  static std::uint32_t wordOf(const Block& block, std::size_t i) {
    return static_cast<std::uint32_t>((block >> 32 * i & Block{UINT32_MAX}).to_ulong());
  }
  static Block ofWords(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2, std::uint32_t w3) {
    return Block{w3} << 96 | Block{w2} << 64 | Block{w1} << 32 | Block{w0};
  }
  template <class Change>
  static Block inWords(const Block& b, Change change) {
    return ofWords(change(wordOf(b, 0)), change(wordOf(b, 1)), change(wordOf(b, 2)), change(wordOf(b, 3)));
  }
  explicit Sfmt19937Model(const Seeds& seeds) {
    const Seeds key = seeds.empty() ? Seeds{1} : seeds;
    std::vector<std::uint32_t> s(624, 0x8B8B8B8B);
    const auto mix = [&](std::uint32_t i, std::uint32_t added) {
      std::uint32_t r = s[i] ^ s[(i + 306) % 624] ^ s[(i + 623) % 624];
      r = (r ^ r >> 27) * 1664525;
      s[(i + 306) % 624] += r;
      r += added;
      s[(i + 317) % 624] += r;
      s[i] = r;
    };
    const auto length = static_cast<std::uint32_t>(key.size());
    mix(0, length);
    std::uint32_t i = 1;
    for (std::uint32_t j = 0; j < std::max(length, 623U); ++j, i = (i + 1) % 624)
      mix(i, j < length ? key[j] + i : i);
    for (int j = 0; j < 624; ++j, i = (i + 1) % 624) {
      std::uint32_t r = s[i] + s[(i + 306) % 624] + s[(i + 623) % 624];
      r = (r ^ r >> 27) * 1566083941;
      s[(i + 306) % 624] ^= r;
      r -= i;
      s[(i + 317) % 624] ^= r;
      s[i] = r;
    }
    if ((std::popcount(s[0] & 1) + std::popcount(s[3] & 0x13C9E684)) % 2 == 0) s[0] ^= 1;
    for (std::size_t k = 0; k < 624; k += 4)
      z.push_back(ofWords(s[k], s[k + 1], s[k + 2], s[k + 3]));
  }
  std::uint64_t next() {
    if (used == 4) {
      const Block mask = ofWords(0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6);
      const std::size_t n = z.size();
      z.push_back(z[n - 156] ^ z[n - 156] << 8 ^
                  (inWords(z[n - 34], [](std::uint32_t w) { return w >> 11; }) & mask) ^ z[n - 2] >> 8 ^
                  inWords(z[n - 1], [](std::uint32_t w) { return w << 18; }));
      used = 0;
    }
    return wordOf(z.back(), used++);
  }
};

}  // namespace support
