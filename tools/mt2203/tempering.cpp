#include "mt2203/tempering.h"

#include <algorithm>
#include <bit>
#include <utility>
#include <vector>

namespace mt2203 {
namespace {

constexpr int wordBits = 32;
constexpr int stateWords = 69;
constexpr int offset = 34;
constexpr int exponent = 2203;
constexpr std::uint32_t upperBits = 0xFFFFFFE0u;
constexpr int shiftB = 7;
constexpr int shiftC = 15;
constexpr int thoroughBits = 15;

constexpr std::uint32_t bitFromTop(int v) {
  return 0x80000000u >> v;
}

// A sequence of the recurrence plus a polynomial part: an element of the lattice of vectors of v formal power
// series in 1/x whose coefficients are the top bits of outputs.
class Vector {
 public:
  Vector() : words_(stateWords + 2 * exponent + 2) {}

  void setUnit(std::uint32_t bit) {
    start_ = 0;
    steps_ = 0;
    next_ = bit;
    std::fill_n(words_.begin(), stateWords, 0U);
  }

  void setSequence() {
    setUnit(0);
    words_[0] = 0xC0000000u;
  }

  void add(const Vector& other) {
    std::uint32_t* const to = words_.data() + start_;
    const std::uint32_t* const from = other.words_.data() + other.start_;
    for (int i = 0; i < stateWords; ++i)
      to[i] ^= from[i];
    next_ ^= other.next_;
  }

  // Multiplies by x until the leading coefficient is not zero. False if there is none: the vector is zero.
  bool advance(std::uint32_t matrixA, Masks masks, std::uint32_t topBits) {
    for (int i = 0; i < exponent; ++i) {
      std::uint32_t* const w = words_.data() + start_;
      const std::uint32_t joined = (w[0] & upperBits) | (w[1] & ~upperBits);
      std::uint32_t y = w[offset] ^ joined >> 1 ^ ((joined & 1) != 0 ? matrixA : 0);
      w[stateWords] = y;
      ++start_;
      ++steps_;
      y ^= y >> 12;
      y ^= (y << shiftB) & masks.b;
      y ^= (y << shiftC) & masks.c;
      next_ = y & topBits;
      if (next_ != 0) return true;
      if (start_ + 1 + stateWords >= static_cast<int>(words_.size())) return false;
    }
    return false;
  }

  std::uint32_t next() const { return next_; }
  int steps() const { return steps_; }

 private:
  std::vector<std::uint32_t> words_;  // the state is the stateWords from start_ on
  int start_ = 0;
  int steps_ = 0;  // norm: how far it was multiplied by x
  std::uint32_t next_ = 0;
};

// Reduces the lattice of the top v bits until its basis is minimal; k(v) is then its smallest norm
// (R. Couture, P. L'Ecuyer, S. Tezuka, Mathematics of Computation 60, 1993).
class Lattice {
 public:
  int smallestNorm(std::uint32_t matrixA, Masks masks, int v) {
    const std::uint32_t topBits = ~0u << (wordBits - v);
    for (int i = 0; i < v; ++i)
      vectors_[i].setUnit(bitFromTop(i));
    Vector& loose = vectors_[v];
    loose.setSequence();
    bool left = loose.advance(matrixA, masks, topBits);
    while (left) {
      Vector& pivot = vectors_[wordBits - 1 - std::countr_zero(loose.next())];
      if (pivot.steps() < loose.steps()) std::swap(pivot, loose);
      loose.add(pivot);
      if (loose.next() == 0) left = loose.advance(matrixA, masks, topBits);
    }
    int least = vectors_[0].steps();
    for (int i = 1; i < v; ++i)
      least = vectors_[i].steps() < least ? vectors_[i].steps() : least;
    return least;
  }

 private:
  Vector vectors_[wordBits + 1];
};

// The values that bit v, and the bits of b that act on it through c, can take. What cannot change the top
// v + 1 bits of an output is left as it is.
std::vector<Masks> choices(Masks masks, int v) {
  std::vector<Masks> out;
  const auto choose = [&](std::uint32_t c) {
    const bool cActs = v + shiftC < wordBits;
    std::vector<std::uint32_t> here = {bitFromTop(v), 0};
    if (v + shiftB >= wordBits) {
      here = {0};
    } else if (v >= shiftC && (c & bitFromTop(v - shiftC)) != 0) {
      here = {masks.b & bitFromTop(v)};  // chosen when bit v - 15 of c was
    }
    std::vector<std::uint32_t> below = {0};
    if (v + shiftC + shiftB < wordBits && (c & bitFromTop(v)) != 0) below = {bitFromTop(v + shiftC), 0};
    const std::uint32_t chosen = bitFromTop(v) | (cActs ? bitFromTop(v + shiftC) : 0);
    for (const std::uint32_t low : below)
      for (const std::uint32_t high : here)
        out.push_back({(masks.b & ~chosen) | high | low, c});
  };
  if (v + shiftC < wordBits) choose(masks.c | bitFromTop(v));
  choose(masks.c);
  return out;
}

struct Choice {
  Masks masks;
  int k;
};

}  // namespace

int equidistribution(std::uint32_t matrixA, Masks masks, int v) {
  return Lattice().smallestNorm(matrixA, masks, v);
}

int totalDefect(std::uint32_t matrixA, Masks masks) {
  Lattice lattice;
  int defect = 0;
  for (int v = 1; v <= wordBits; ++v)
    defect += exponent / v - lattice.smallestNorm(matrixA, masks, v);
  return defect;
}

Tempering bestTempering(std::uint32_t matrixA, int worst) {
  Lattice lattice;
  std::vector<Choice> kept = {{{0, 0}, 0}};
  int defect = 0;
  for (int v = 0; v < thoroughBits; ++v) {
    std::vector<Choice> reached;
    int best = 0;
    for (const Choice& choice : kept)
      for (const Masks masks : choices(choice.masks, v)) {
        const int k = lattice.smallestNorm(matrixA, masks, v + 1);
        if (k < best) continue;
        best = k;
        reached.insert(reached.begin(), {masks, k});
      }
    std::erase_if(reached, [&](const Choice& choice) { return choice.k < best; });
    kept = std::move(reached);
    defect += exponent / (v + 1) - best;
    if (defect > worst) return {kept.front().masks, defect};
  }
  Masks masks = kept.front().masks;
  for (int v = thoroughBits; v < wordBits; ++v) {
    const std::vector<Masks> next = choices(masks, v);
    int best = 0;
    std::size_t at = 0;
    for (std::size_t i = 0; next.size() > 1 && i < next.size(); ++i) {
      const int k = lattice.smallestNorm(matrixA, next[i], v + 1);
      if (k > best) {
        best = k;
        at = i;
      }
    }
    masks = next[at];
  }
  return {masks, totalDefect(matrixA, masks)};
}

}  // namespace mt2203
