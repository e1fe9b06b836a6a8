// Evaluators of a block of sites: splines of order 2 to 4.

#include <cstdint>

#include "interp/evaluate.h"
#include "interp/formulas.h"
#include "vector/coefficients.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Stores `count` results of each lane; sites lie nres apart.
template <int count>
inline void storeSites(double* to, std::int64_t nres, const Lanes* result) {
  for (int k = 0; k + 2 <= count; k += 2) {
    const Lanes even = firstOfPairs(result[k], result[k + 1]);
    const Lanes odd = secondOfPairs(result[k], result[k + 1]);
    for (int i = 0; i < laneCount; i += 2) {
      store(to + i * nres + k, pairAt(even, i));
      store(to + (i + 1) * nres + k, pairAt(odd, i));
    }
  }
  if constexpr (count % 2 != 0) {
    for (int i = 0; i < laneCount; ++i)
      to[i * nres + count - 1] = result[count - 1][i];
  }
}

template <int order, unsigned wants>
std::int32_t evaluate(const EvalBlock& block) {
  constexpr int count = __builtin_popcount(wants);
  const double* row = block.task->coeffRows[block.f];
  const std::int32_t* piece = block.piece;
  const double* t = block.t;
  const std::int64_t nres = block.wanted->nres;
  double* to = block.blockResults;
  std::int64_t i = 0;
  for (; i + laneCount <= block.nblock; i += laneCount) {
    Lanes c[order];
    Lanes result[count];
    loadCoefficients<order>(row, piece + i, c);
    evaluateSite<order, wants>(c, load<Lanes>(t + i), result);
    if (count == 1 && nres == 1) {
      store(to + i, result[0]);
    } else {
      storeSites<count>(to + i * nres, nres, result);
    }
  }
  for (; i < block.nblock; ++i)
    evaluateSite<order, wants>(row + std::int64_t{piece[i]} * order, t[i], to + i * nres);
  return 0;
}

// Derivatives beyond the degree have no formula; their positions follow those of the others.
template <int order>
std::int32_t evaluateOrder(const EvalBlock& block) {
  static constexpr auto evaluators =
      byWants<order, Evaluator>([]<unsigned wants>() -> Evaluator { return evaluate<order, wants>; });
  const unsigned wants = block.wanted->low4 & ((1U << order) - 1);
  return wants == 0 ? 0 : evaluators.at[wants](block);
}

}  // namespace

extern const BlockKernels blockKernels;
const BlockKernels blockKernels = {{evaluateOrder<2>, evaluateOrder<3>, evaluateOrder<4>}};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
