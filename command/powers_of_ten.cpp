#include "powers_of_ten.h"

namespace command {

#ifdef RAVENFIT_HAS_128_BITS

namespace {

// A natural number that is multiplied and divided by ten. Its words hold 10^324, and also 2^1311 / 10^342 with more than 128
// bits.
class natural {
 public:
  constexpr explicit natural(int bit) {
    words_[static_cast<std::size_t>(bit / 32)] = std::uint32_t{1} << bit % 32;
  }

  constexpr void multiply() {
    std::uint64_t carry = 0;
    for (std::uint32_t& word : words_) {
      carry += std::uint64_t{word} * 10;
      word = static_cast<std::uint32_t>(carry);
      carry >>= 32;
    }
  }
  // Down to a whole number; of a quotient of quotients that is the same as of the whole division.
  constexpr void divide() {
    std::uint64_t rest = 0;
    for (std::size_t i = count; i-- > 0;) {
      rest = rest << 32 | words_[i];
      words_[i] = static_cast<std::uint32_t>(rest / 10);
      rest %= 10;
    }
  }
  // The leading 128 bits, the first of which is 1.
  constexpr power_of_ten leading() const {
    std::size_t top = count - 1;
    while (words_[top] == 0)
      --top;
    int shift = 0;
    while ((words_[top] << shift & 0x80000000U) == 0)
      ++shift;
    std::uint64_t halves[2] = {};
    for (std::size_t i = 0; i < 4; ++i) {
      const std::uint64_t pair = std::uint64_t{word(top, i)} << 32 | word(top, i + 1);
      halves[i / 2] = halves[i / 2] << 32 | (pair << shift >> 32 & 0xffffffffU);
    }
    return {halves[0], halves[1]};
  }

 private:
  static constexpr std::size_t count = 41;

  constexpr std::uint32_t word(std::size_t top, std::size_t below) const {
    return below <= top ? words_[top - below] : 0;
  }

  std::uint32_t words_[count] = {};
};

constexpr std::array<power_of_ten, powers> make_powers() {
  constexpr std::size_t zero = -least_power;
  std::array<power_of_ten, powers> all = {};
  natural up(0);
  for (std::size_t k = 0; k <= largest_power; ++k, up.multiply())
    all[zero + k] = up.leading();
  natural down(1311);
  for (std::size_t k = 1; k <= zero; ++k) {
    down.divide();
    all[zero - k] = down.leading();
  }
  return all;
}

}  // namespace

constinit const std::array<power_of_ten, powers> powers_of_ten = make_powers();

#endif

}  // namespace command
