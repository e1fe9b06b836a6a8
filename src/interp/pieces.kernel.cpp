// The pieces of a block of sites with known cells, once for all functions.

#include <cstdint>

#include "interp/evaluate.h"
#include "interp/formulas.h"
#include "interp/piece_range.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <bool uniform, bool joinsAtKnots>
void preparePieces(const EvalBlock& block, std::int32_t* __restrict piece, double* __restrict t) {
  const DfTask& task = *block.task;
  const std::int32_t* cell = block.blockCells;
  const double* site = block.blockSites;
  for (std::int64_t i = 0; i < block.nblock; ++i)
    piece[i] = pieceOf(cell[i], task.nx);
  if constexpr (joinsAtKnots) {
    for (std::int64_t i = 0; i < block.nblock; ++i)
      if (site[i] >= knot<uniform>(task, block.h, piece[i])) ++piece[i];
  }
  // Fetches the coefficients of the first function while the block waits for its evaluation.
  if (task.nx * task.order > cachedCoefficients) {
    const double* row = task.coeffRows[0];
    for (std::int64_t i = 0; i < block.nblock; ++i) {
      const double* c = row + std::int64_t{piece[i]} * task.order;
      __builtin_prefetch(c);
      __builtin_prefetch(c + task.order - 1);
    }
  }
  if constexpr (uniform) {
    const double x0 = task.x[0];
    for (std::int64_t i = 0; i < block.nblock; ++i)
      t[i] = site[i] - (static_cast<double>(piece[i]) * block.h + x0);
  } else {
    std::int64_t i = 0;
    for (; i + laneCount <= block.nblock; i += laneCount)
      store(t + i, load<Lanes>(site + i) - pick(task.x, piece + i));
    for (; i < block.nblock; ++i)
      t[i] = site[i] - task.x[piece[i]];
  }
}

}  // namespace

extern const PieceKernels pieceKernels;
const PieceKernels pieceKernels = {{{preparePieces<false, false>, preparePieces<false, true>},
                                    {preparePieces<true, false>, preparePieces<true, true>}}};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
