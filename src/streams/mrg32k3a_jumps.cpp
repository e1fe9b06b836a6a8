#include "streams/mrg32k3a.h"

namespace rvn {
namespace {

consteval Mrg32k3aMatrix companion(const Mrg32k3aComponent& c) {
  Mrg32k3aMatrix matrix = {{{0, 1, 0}, {0, 0, 1}, {c.m - c.subtracted, 0, 0}}};
  matrix.at[2][c.positive] = c.factor;
  return matrix;
}

consteval Mrg32k3aMatrix squared(const Mrg32k3aMatrix& a, std::uint64_t m) {
  Mrg32k3aMatrix square = {};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      std::uint64_t sum = 0;
      for (int k = 0; k < 3; ++k)
        sum += std::uint64_t{a.at[i][k]} * a.at[k][j] % m;
      square.at[i][j] = static_cast<std::uint32_t>(sum % m);
    }
  return square;
}

consteval Mrg32k3aJumps makeJumps() {
  Mrg32k3aJumps jumps = {};
  jumps.power[0] = {companion(mrg32k3aX), companion(mrg32k3aY)};
  for (int k = 1; k < 64; ++k)
    jumps.power[k] = {squared(jumps.power[k - 1].x, mrg32k3aX.m), squared(jumps.power[k - 1].y, mrg32k3aY.m)};
  return jumps;
}

}  // namespace

const Mrg32k3aJumps mrg32k3aJumps = makeJumps();

}  // namespace rvn
