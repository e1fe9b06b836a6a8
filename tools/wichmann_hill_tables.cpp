// Prints src/streams/tables/wichmann_hill_tables.h: moduli, multipliers and reciprocals of the 273 members of
// the Wichmann-Hill family. Members 0 to 3 and 272 are given; the others are found here, one after another,
// by a greedy search that has one outcome:
//   - the first modulus of a member is the largest prime of the range that is not yet used, each further one
//   the
//     largest unused prime below it that keeps the numbers (m - 1) / 2 of the member pairwise coprime, so
//     that its period is the product of all m - 1, over 8;
//   - the multiplier of a modulus is the largest number from 112 to 127 that is a primitive root of it and
//   that
//     the member does not use yet; a prime without one is passed over.

#include <array>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <vector>

namespace {

constexpr std::uint32_t smallestModulus = 16718909;
constexpr std::uint32_t largestModulus = 16776971;
constexpr std::uint32_t smallestMultiplier = 112;
constexpr std::uint32_t largestMultiplier = 127;
constexpr std::size_t members = 273;

struct Member {
  std::array<std::uint32_t, 4> multiplier;
  std::array<std::uint32_t, 4> modulus;
};

constexpr Member given[] = {
    {{125, 117, 127, 126}, {16770647, 16770643, 16770623, 16770617}},
    {{127, 126, 125, 123}, {16770311, 16770283, 16770263, 16770209}},
    {{125, 119, 123, 126}, {16769807, 16769771, 16769749, 16769663}},
    {{123, 125, 122, 126}, {16769591, 16769537, 16769479, 16769387}},
};
constexpr Member givenLast = {{126, 127, 125, 124}, {16766363, 16766359, 16766327, 16766231}};

bool isPrime(std::uint32_t m) {
  for (std::uint32_t d = 2; d * d <= m; ++d)
    if (m % d == 0) return false;
  return m > 1;
}

std::uint64_t power(std::uint64_t base, std::uint32_t exponent, std::uint32_t modulus) {
  std::uint64_t result = 1;
  for (; exponent > 0; exponent >>= 1) {
    if ((exponent & 1) != 0) result = result * base % modulus;
    base = base * base % modulus;
  }
  return result;
}

// g is a primitive root of the prime m if g^((m-1)/p) is not 1 for every prime p that divides m - 1.
bool isPrimitiveRoot(std::uint32_t g, std::uint32_t m) {
  std::uint32_t left = m - 1;
  for (std::uint32_t p = 2; p * p <= left; ++p) {
    if (left % p != 0) continue;
    if (power(g, (m - 1) / p, m) == 1) return false;
    while (left % p == 0)
      left /= p;
  }
  return left == 1 || power(g, (m - 1) / left, m) != 1;
}

// The multiplier for modulus m beside the first `count` of the member; 0 if there is none.
std::uint32_t findMultiplier(std::uint32_t m, const Member& member, std::size_t count) {
  for (std::uint32_t g = largestMultiplier; g >= smallestMultiplier; --g) {
    bool used = false;
    for (std::size_t j = 0; j < count; ++j)
      used = used || member.multiplier[j] == g;
    if (!used && isPrimitiveRoot(g, m)) return g;
  }
  return 0;
}

struct Candidate {
  std::uint32_t prime;
  bool used;
};

// All primes of the range but those of the given members, from the largest down.
std::vector<Candidate> candidates() {
  std::vector<Candidate> found;
  const auto isGiven = [](std::uint32_t m) {
    bool result = false;
    for (const std::uint32_t modulus : givenLast.modulus)
      result = result || modulus == m;
    for (const Member& member : given)
      for (const std::uint32_t modulus : member.modulus)
        result = result || modulus == m;
    return result;
  };
  for (std::uint32_t m = largestModulus; m >= smallestModulus; --m)
    if (isPrime(m) && !isGiven(m)) found.push_back({m, false});
  return found;
}

// False when the range has no primes left for a whole member.
bool findMember(std::vector<Candidate>& primes, Member& member) {
  std::size_t count = 0;
  for (Candidate& candidate : primes) {
    if (candidate.used) continue;
    bool coprime = true;
    for (std::size_t j = 0; j < count; ++j)
      coprime = coprime && std::gcd((member.modulus[j] - 1) / 2, (candidate.prime - 1) / 2) == 1;
    if (!coprime) continue;
    const std::uint32_t multiplier = findMultiplier(candidate.prime, member, count);
    if (multiplier == 0) continue;
    candidate.used = true;
    member.modulus[count] = candidate.prime;
    member.multiplier[count] = multiplier;
    if (++count == 4) return true;
  }
  return false;
}

// 1/m rounded toward zero, as a hexadecimal literal: 2^23 < m < 2^24, so 1/m is 2^-24 times a number between
// 1 and 2, whose 53 bits are floor(2^76 / m).
void printReciprocal(std::uint32_t m) {
  // Long division of 2^76 in two digits of 38 bits.
  const std::uint64_t high = (std::uint64_t{1} << 38) / m;
  const std::uint64_t rest = (std::uint64_t{1} << 38) % m;
  const std::uint64_t mantissa = (high << 38) + (rest << 38) / m;
  const std::uint64_t fraction = mantissa - (std::uint64_t{1} << 52);
  std::printf("0x1.%013llxp-24", static_cast<unsigned long long>(fraction));
}

template <class Print>
void printTable(const char* type, const char* name, const std::vector<Member>& table, Print print) {
  std::printf("\nconst %s %s[wichmannHillMembers][4] = {\n", type, name);
  for (const Member& member : table) {
    std::printf("    {");
    for (std::size_t j = 0; j < 4; ++j) {
      if (j > 0) std::printf(", ");
      print(member, j);
    }
    std::printf("},\n");
  }
  std::printf("};\n");
}

}  // namespace

int main() {
  std::vector<Member> table(std::begin(given), std::end(given));
  std::vector<Candidate> primes = candidates();
  while (table.size() < members - 1) {
    Member member = {};
    if (!findMember(primes, member)) {
      std::fprintf(stderr, "no primes left for member %zu\n", table.size());
      return 1;
    }
    table.push_back(member);
  }
  table.push_back(givenLast);

  std::printf("#pragma once\n\n");
  std::printf("// Printed by tools/wichmann_hill_tables.cpp, which tells how the numbers are found.\n\n");
  std::printf("#include <cstdint>\n\n#include \"streams/wichmann_hill.h\"\n\nnamespace rvn {\n");
  printTable("std::uint8_t", "WichmannHillMultipliers", table,
             [](const Member& member, std::size_t j) { std::printf("%u", member.multiplier[j]); });
  printTable("std::uint32_t", "WichmannHillModuli", table,
             [](const Member& member, std::size_t j) { std::printf("%u", member.modulus[j]); });
  printTable("double", "WichmannHillReciprocals", table,
             [](const Member& member, std::size_t j) { printReciprocal(member.modulus[j]); });
  std::printf("\n}  // namespace rvn\n");
  return 0;
}
