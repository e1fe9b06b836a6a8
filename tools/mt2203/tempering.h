#pragma once

// Tempering masks and the equidistribution of tempered generators.

#include <array>
#include <cstdint>

namespace mt2203 {

struct Masks {
  std::uint32_t b;
  std::uint32_t c;
};

// k(v): the top v bits of k(v) successive outputs take every value equally often over a period. `matrixA` must
// give the maximal period. The last step of tempering, y ^= y >> 18, does not change it.
int equidistribution(std::uint32_t matrixA, Masks masks, int v);

// The sum over v = 1 .. 32 of floor(2203 / v) - k(v): 0 for a generator that is as good as any can be.
int totalDefect(std::uint32_t matrixA, Masks masks);

struct Tempering {
  Masks masks;
  int defect;
};

// Masks chosen bit by bit, from the top on, for the largest k(v) (M. Matsumoto, T. Nishimura, Dynamic creation
// of pseudorandom number generators, 2000): for the first 15 bits all choices that reach the best k(v) so far
// are followed up, then the first best one. Gives up, with a defect above `worst`, when the first 15 bits have
// spent more than that.
Tempering bestTempering(std::uint32_t matrixA, int worst);

}  // namespace mt2203
