// Jumps of the 19937-bit twisters. A step is a linear map F of the 19968 bits of the array; with c(x) its
// characteristic polynomial, F^n is r(F) for r = x^n mod c. r is found by squaring, and r(F) applied to the array
// by Horner's rule (H. Haramoto, M. Matsumoto, T. Nishimura, F. Panneton, P. L'Ecuyer, Efficient jump ahead for
// F2-linear random number generators, 2008).

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "runtime/memory.h"
#include "streams/tables/twister_polynomials.h"
#include "streams/twister_states.h"

namespace rvn {
namespace {

constexpr std::size_t size = 624;          // 32-bit words of an array
constexpr std::size_t degree = size * 32;  // of c
constexpr std::size_t words = degree / 64;
constexpr std::size_t bytes = degree / 8;

// A polynomial over GF(2) below x^19968: bit k of the whole is the coefficient of x^k.
using Polynomial = std::array<std::uint64_t, words>;

// Squares of polynomials below x^8: every bit at twice its place.
constexpr std::array<std::uint16_t, 256> spreadBytes = [] {
  std::array<std::uint16_t, 256> spread = {};
  for (unsigned byte = 0; byte < 256; ++byte)
    for (unsigned bit = 0; bit < 8; ++bit)
      spread[byte] = static_cast<std::uint16_t>(spread[byte] | (byte >> bit & 1) << 2 * bit);
  return spread;
}();

// Everything that a jump needs besides the stream.
struct Workspace {
  // Multiples of c whose coefficients from x^19968 on are a given byte, for the values of its lower and of its
  // upper half; without these coefficients.
  Polynomial multiples[2][16];
  Polynomial residue;
  std::uint64_t product[2 * words];
  std::uint32_t moved[size];
};

void prepareMultiples(Workspace& w, const std::uint64_t* c) {
  // One for every bit of the byte: x times the one before, less what spills into lower bits of the byte.
  std::array<Polynomial, 8> one;
  std::memcpy(one[0].data(), c, bytes);
  for (std::size_t bit = 1; bit < 8; ++bit) {
    const Polynomial& last = one[bit - 1];
    Polynomial& next = one[bit];
    for (std::size_t i = words; i-- > 0;)
      next[i] = last[i] << 1 | (i > 0 ? last[i - 1] >> 63 : 0);
    if (last[words - 1] >> 63 != 0)
      for (std::size_t i = 0; i < words; ++i)
        next[i] ^= c[i];
  }
  for (std::size_t half = 0; half < 2; ++half) {
    w.multiples[half][0] = {};
    for (std::size_t value = 1; value < 16; ++value) {
      std::size_t top = 3;
      while ((value >> top & 1) == 0)
        --top;
      const Polynomial& rest = w.multiples[half][value ^ std::size_t{1} << top];
      for (std::size_t i = 0; i < words; ++i)
        w.multiples[half][value][i] = rest[i] ^ one[4 * half + top][i];
    }
  }
}

// residue <- product mod c, from the top byte down.
void reduce(Workspace& w) {
  auto* const product = reinterpret_cast<unsigned char*>(w.product);
  for (std::size_t top = 2 * bytes; top-- > bytes;) {
    const unsigned byte = product[top];
    if (byte == 0) continue;
    const Polynomial& low = w.multiples[0][byte & 15];
    const Polynomial& high = w.multiples[1][byte >> 4];
    unsigned char* const to = product + top - bytes;
    for (std::size_t i = 0; i < words; ++i) {
      std::uint64_t part = 0;
      std::memcpy(&part, to + 8 * i, 8);
      part ^= low[i] ^ high[i];
      std::memcpy(to + 8 * i, &part, 8);
    }
  }
  std::memcpy(w.residue.data(), w.product, bytes);
}

// residue <- x^n mod c.
void findResidue(Workspace& w, std::uint64_t n) {
  int bit = 0;
  while (n >> bit >= degree)
    ++bit;
  w.residue = {};
  w.residue[static_cast<std::size_t>(n >> bit) / 64] = std::uint64_t{1} << (n >> bit) % 64;
  while (bit-- > 0) {
    // The square, times x where n has the bit.
    const auto* const factor = reinterpret_cast<const unsigned char*>(w.residue.data());
    auto* const product = reinterpret_cast<unsigned char*>(w.product);
    for (std::size_t i = 0; i < bytes; ++i) {
      const auto spread = static_cast<std::uint16_t>(spreadBytes[factor[i]] << (n >> bit & 1));
      std::memcpy(product + 2 * i, &spread, 2);
    }
    reduce(w);
  }
}

// state <- r(F) state. `step` makes the next words at place `head` of a ring and returns the head behind them.
template <class Step>
void apply(Workspace& w, std::uint32_t* state, Step step) {
  std::uint32_t* const moved = w.moved;
  std::memset(moved, 0, sizeof w.moved);
  std::size_t head = 0;
  for (std::size_t k = degree; k-- > 0;) {
    head = step(moved, head);
    if ((w.residue[k / 64] >> k % 64 & 1) == 0) continue;
    for (std::size_t i = 0; i < size - head; ++i)
      moved[head + i] ^= state[i];
    for (std::size_t i = 0; i < head; ++i)
      moved[i] ^= state[size - head + i];
  }
  std::memcpy(state, moved + head, (size - head) * sizeof *state);
  std::memcpy(state + (size - head), moved, head * sizeof *state);
}

template <class Step>
std::int32_t jump(std::uint32_t* state, std::uint64_t steps, const std::uint64_t* c, Step step) {
  auto* const w = static_cast<Workspace*>(rvnMalloc(sizeof(Workspace), blockAlignment));
  if (w == nullptr) return RSG_ERROR_MEMORY;
  prepareMultiples(*w, c);
  findResidue(*w, steps);
  apply(*w, state, step);
  rvnFree(w);
  return RSG_STATUS_OK;
}

std::size_t wrapped(std::size_t i) {
  return i < size ? i : i - size;
}

std::size_t stepMt19937(std::uint32_t* mt, std::size_t head) {
  const std::size_t next = wrapped(head + 1);
  const std::uint32_t y = (mt[head] & 0x80000000) | (mt[next] & 0x7FFFFFFF);
  mt[head] = mt[wrapped(head + 397)] ^ y >> 1 ^ ((y & 1) != 0 ? 0x9908B0DF : 0);
  return next;
}

// The 128-bit shifts by a byte work on the words from the lowest up.
std::size_t stepSfmt19937(std::uint32_t* sfmt, std::size_t head) {
  constexpr std::uint32_t mask[4] = {0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6};
  const std::uint32_t* const z = sfmt + head;
  const std::uint32_t* const far = sfmt + wrapped(head + std::size_t{122} * 4);
  const std::uint32_t* const beforeLast = sfmt + wrapped(head + size - 8);
  const std::uint32_t* const last = sfmt + wrapped(head + size - 4);
  std::uint32_t next[4];
  for (int i = 0; i < 4; ++i) {
    const std::uint32_t up = z[i] << 8 | (i > 0 ? z[i - 1] >> 24 : 0);
    const std::uint32_t down = beforeLast[i] >> 8 | (i < 3 ? beforeLast[i + 1] << 24 : 0);
    next[i] = z[i] ^ up ^ (far[i] >> 11 & mask[i]) ^ down ^ last[i] << 18;
  }
  std::memcpy(sfmt + head, next, sizeof next);
  return wrapped(head + 4);
}

}  // namespace

std::int32_t jumpMt19937(std::uint32_t* mt, std::uint64_t steps) {
  return jump(mt, steps, Mt19937Polynomial,
              [](std::uint32_t* ring, std::size_t head) { return stepMt19937(ring, head); });
}

std::int32_t jumpSfmt19937(std::uint32_t* sfmt, std::uint64_t steps) {
  return jump(sfmt, steps, Sfmt19937Polynomial,
              [](std::uint32_t* ring, std::size_t head) { return stepSfmt19937(ring, head); });
}

}  // namespace rvn
