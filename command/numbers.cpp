#include "numbers.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fast_float/fast_float.h>
#include <fmt/compile.h>
#include <fmt/format.h>

#include "powers_of_ten.h"

namespace command {

namespace {

static_assert(std::endian::native == std::endian::little, "eight digits are taken as one integer");

char* write_any(char* to, double value) {
  return fmt::format_to(to, FMT_COMPILE("{}"), value);
}

const char* read_any(const char* p, const char* end, double& value) {
  const auto [rest, failed] = fast_float::from_chars(p, end, value);
  return failed == std::errc() && std::isfinite(value) ? rest : nullptr;
}

#ifdef RAVENFIT_HAS_128_BITS

constexpr std::uint64_t hidden_bit = std::uint64_t{1} << 52;
constexpr int exponent_bias = 1075;  // of a whole significand

std::uint64_t high_part(uint128 product) {
  return static_cast<std::uint64_t>(product >> 64);
}

// digits * 10^exponent
struct decimal {
  std::uint64_t digits;
  int exponent;
};

// floor(g c / 2^128), with 1 in the last bit if that cuts anything off.
std::uint64_t rounded_to_odd(const power_of_ten& g, std::uint64_t c) {
  const uint128 product = uint128{g.high} * c + high_part(uint128{g.low} * c);
  return high_part(product) | (static_cast<std::uint64_t>(product) > 1 ? 1 : 0);
}

// The shortest decimal between the neighbours' halves, by R. Giulietti (The Schubfach way to render doubles, 2021): for the
// value c 2^q and k = floor(log10 2^q), the candidates are the multiples of 10^(k+1) and of 10^k next to it. All is in
// quarters of 10^k.
decimal shortest(std::uint64_t bits) {
  const std::uint64_t fraction = bits & (hidden_bit - 1);
  const int biased = static_cast<int>(bits >> 52 & 0x7ff);
  const std::uint64_t c = biased != 0 ? fraction | hidden_bit : fraction;
  const int q = (biased != 0 ? biased : 1) - exponent_bias;
  if (-52 <= q && q <= 0 && (c & ((std::uint64_t{1} << -q) - 1)) == 0) return {c >> -q, 0};

  // The neighbour below a power of two is half as far away as the one above.
  const bool near_below = fraction == 0 && biased > 1;
  const int k = (q * 1262611 - (near_below ? 524031 : 0)) >> 22;
  const int shift = q + log2_of_power(-k) + 1;
  power_of_ten g = power_of(-k);
  // Upwards; up to 10^55 powers are exact.
  if (-k < 0 || -k > 55) g.high += ++g.low == 0 ? 1 : 0;
  const std::uint64_t least = rounded_to_odd(g, (4 * c - (near_below ? 1 : 2)) << shift) + (c & 1);
  const std::uint64_t value = rounded_to_odd(g, (4 * c) << shift);
  const std::uint64_t most = rounded_to_odd(g, (4 * c + 2) << shift) - (c & 1);

  // All of them are computed, and one is taken by masks: which one is as random as the digits, and a branch would be
  // mispredicted half of the time.
  const std::uint64_t s = value / 4;
  const std::uint64_t tens = s / 10;
  const std::uint64_t tens_below = least <= 40 * tens ? 1 : 0;
  const std::uint64_t tens_above = 40 * tens + 40 <= most ? 1 : 0;
  const std::uint64_t below = least <= 4 * s ? 1 : 0;
  const std::uint64_t above = 4 * s + 4 <= most ? 1 : 0;
  const std::uint64_t nearer = value > 4 * s + 2 - (s & 1) ? 1 : 0;  // the one above, or the even one of both
  const std::uint64_t one = below ^ above;
  const std::uint64_t up = (one & above) | (~one & nearer);
  const std::uint64_t by_tens = 0 - ((tens_below ^ tens_above) & (s >= 10 ? 1 : 0));
  return {(10 * (tens + tens_above) & by_tens) | ((s + up) & ~by_tens), k};
}

// Eight digits as text in one integer, the first one in its lowest byte: halves, pairs and digits come apart side by side, by
// reciprocals that are exact for four and two digits (P. Khuong, How to print integers really fast, 2017).
std::uint64_t eight_digits(std::uint32_t value) {
  const std::uint64_t halves = value / 10000 | std::uint64_t{value % 10000} << 32;
  const std::uint64_t hundreds = (halves * 10486 >> 20) & 0x0000007f0000007f;
  const std::uint64_t pairs = hundreds + ((halves - 100 * hundreds) << 16);
  const std::uint64_t tens = (pairs * 103 >> 10) & 0x000f000f000f000f;
  return (tens + ((pairs - 10 * tens) << 8)) | 0x3030303030303030;
}

char* write_exponent(char* to, int exponent) {
  *to++ = 'e';
  *to++ = exponent < 0 ? '-' : '+';
  const int size = exponent < 0 ? -exponent : exponent;
  if (size >= 100) *to++ = static_cast<char>('0' + size / 100);
  *to++ = static_cast<char>('0' + size / 10 % 10);
  *to++ = static_cast<char>('0' + size % 10);
  return to;
}

// Times up to nineteen digits these powers give neither subnormal nor infinite numbers.
constexpr int least_exponent = -280;
constexpr int largest_exponent = 280;

// The double next to w 10^q, by M. Eisel and D. Lemire (Number parsing at a gigabyte per second, 2021). False in rare cases, in
// which 128 bits of the power do not decide.
bool nearest(std::uint64_t w, int q, std::uint64_t& bits) {
  const int zeros = std::countl_zero(w);
  w <<= zeros;
  const power_of_ten& g = power_of(q);
  uint128 product = uint128{w} * g.high;
  // Where the 9 bits behind those that are kept are ones, what is missing may carry into them.
  constexpr std::uint64_t behind = 0x1ff;
  if ((high_part(product) & behind) == behind) {
    // Quotients by up to 10^27 can come out even, which a power that is rounded up shows.
    product += high_part(uint128{w} * (g.low + (q < 0 && q >= -27 ? 1 : 0)));
    if (static_cast<std::uint64_t>(product) == UINT64_MAX) return false;
  }
  const std::uint64_t high = high_part(product);
  const int top = static_cast<int>(high >> 63);
  std::uint64_t significand = high >> (top + 9);
  // Halfway between two doubles if nothing at all is behind: to the even one.
  const bool half = static_cast<std::uint64_t>(product) <= 1 && q >= -4 && q <= 23 &&
                    (significand & 3) == 1 && significand << (top + 9) == high;
  if (half) significand &= ~std::uint64_t{1};
  significand = (significand + (significand & 1)) >> 1;
  // A carry into the next binary place is one into the exponent.
  const int exponent = log2_of_power(q) + 63 + top - zeros + 1023;
  bits = (static_cast<std::uint64_t>(exponent - 1) << 52) + significand;
  return true;
}

bool is_digit(char c) {
  return static_cast<unsigned char>(c - '0') < 10;
}

// Whether eight characters are digits, and their value.
bool take_eight(const char* p, std::uint64_t& digits) {
  std::uint64_t text = 0;
  std::memcpy(&text, p, 8);
  constexpr std::uint64_t each = 0x0101010101010101;
  if ((((text + 0x46 * each) | (text - 0x30 * each)) & 0x80 * each) != 0) return false;
  text -= 0x30 * each;
  text = text * 10 + (text >> 8);  // pairs, in every other byte
  constexpr std::uint64_t mask = 0x000000ff000000ff;
  text = ((text & mask) * (100 + (std::uint64_t{1000000} << 32)) +
          (text >> 16 & mask) * (1 + (std::uint64_t{10000} << 32))) >>
         32;
  digits = digits * 100000000 + text;
  return true;
}

#endif

}  // namespace

#ifdef RAVENFIT_HAS_128_BITS

char* write_number(char* to, double value) {
  const auto bits = std::bit_cast<std::uint64_t>(value);
  if (!std::isfinite(value)) return write_any(to, value);
  if (bits >> 63 != 0) *to++ = '-';
  if (bits << 1 == 0) return *to = '0', to + 1;
  decimal d = shortest(bits & (UINT64_MAX >> 1));

  // Seventeen digits, and zeros at the end if fewer count.
  const bool sixteen = d.digits < 10000000000000000;
  d.digits *= sixteen ? 10 : 1;
  d.exponent -= sixteen ? 1 : 0;
  while (d.digits < 10000000000000000) {
    const bool few = d.digits < 1000000000;
    d.digits *= few ? 10000000 : 10;
    d.exponent -= few ? 7 : 1;
  }
  const int exponent = d.exponent + 16;  // of the first digit
  const std::uint64_t high = d.digits / 100000000;
  const char first = static_cast<char>('0' + high / 100000000);
  const std::uint64_t middle = eight_digits(static_cast<std::uint32_t>(high % 100000000));
  const std::uint64_t last = eight_digits(static_cast<std::uint32_t>(d.digits % 100000000));
  constexpr std::uint64_t zeros = 0x3030303030303030;
  const int behind = last != zeros     ? 16 - std::countl_zero(last ^ zeros) / 8
                     : middle != zeros ? 8 - std::countl_zero(middle ^ zeros) / 8
                                       : 0;
  const uint128 rest = uint128{last} << 64 | middle;

  if (exponent < -4 || exponent >= 16) {
    *to++ = first;
    if (behind > 0) {
      *to = '.';
      std::memcpy(to + 1, &rest, 16);
      to += behind + 1;
    }
    return write_exponent(to, exponent);
  }
  if (exponent < 0) {
    std::memcpy(to, "0.0000", 6);
    to += 1 - exponent;
    *to++ = first;
    std::memcpy(to, &rest, 16);
    return to + behind;
  }
  *to++ = first;
  std::memcpy(to, &rest, 16);
  to += exponent;
  if (behind <= exponent) return to;
  *to = '.';
  const uint128 fraction = rest >> 8 * exponent;
  std::memcpy(to + 1, &fraction, 16);
  return to + 1 + behind - exponent;
}

const char* read_number(const char* const p, const char* end, double& value) {
  const char* s = p;
  const bool negative = *s == '-';
  if (negative) ++s;
  const char* const first = s;
  std::uint64_t digits = 0;
  for (; is_digit(*s); ++s)
    digits = 10 * digits + static_cast<std::uint64_t>(*s - '0');
  std::ptrdiff_t count = s - first;
  std::ptrdiff_t exponent = 0;
  if (*s == '.') {
    const char* const point = s++;
    while (take_eight(s, digits))
      s += 8;
    for (; is_digit(*s); ++s)
      digits = 10 * digits + static_cast<std::uint64_t>(*s - '0');
    exponent = point + 1 - s;
    count -= exponent;
  }
  if (count == 0) return read_any(p, end, value);
  if ((*s | 0x20) == 'e') {
    const char* e = s + 1;
    const bool below = *e == '-';
    if (*e == '-' || *e == '+') ++e;
    if (!is_digit(*e)) return read_any(p, end, value);
    int size = 0;
    for (; is_digit(*e) && size < 1000; ++e)
      size = 10 * size + (*e - '0');
    exponent += below ? -size : size;
    s = e;
  }
  // What nineteen digits do not hold is rare, and so is what is very large or small.
  constexpr int most_digits = 19;
  if (count > most_digits) {
    const char* zero = first;
    for (; *zero == '0' || *zero == '.'; ++zero)
      count -= *zero == '0' ? 1 : 0;
    if (count > most_digits) return read_any(p, end, value);
  }
  if (is_digit(*s) || exponent < least_exponent || exponent > largest_exponent)
    return read_any(p, end, value);
  std::uint64_t bits = 0;
  if (digits != 0 && !nearest(digits, static_cast<int>(exponent), bits)) return read_any(p, end, value);
  value = std::bit_cast<double>(bits | (negative ? std::uint64_t{1} << 63 : 0));
  return s;
}

#else

char* write_number(char* to, double value) {
  return write_any(to, value);
}

const char* read_number(const char* p, const char* end, double& value) {
  return read_any(p, end, value);
}

#endif

}  // namespace command
