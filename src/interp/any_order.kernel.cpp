// Pieces of any order above that of the known kinds; their coefficients are the caller's.

#include <cstdint>

#include "interp/evaluate.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

bool wantsDerivative(const Wanted& wanted, std::int64_t k) {
  if (k < 4) return (wanted.low4 >> k & 1U) != 0;
  if (wanted.wide) return static_cast<const std::int64_t*>(wanted.dorder)[k] != 0;
  return static_cast<const std::int32_t*>(wanted.dorder)[k] != 0;
}

// w holds `count` coefficients, the highest power first.
template <class V>
inline V horner(const V* w, std::int64_t count, V t) {
  V v = w[0];
  for (std::int64_t j = 1; j < count; ++j)
    v = v * t + w[j];
  return v;
}

template <class V>
inline void differentiate(V* w, std::int64_t count) {
  for (std::int64_t j = 0; j + 1 < count; ++j)
    w[j] *= static_cast<double>(count - 1 - j);
}

// `sites` sites, one per lane of V. The constant derivative of order - 1 is not computed, and reads 0.
template <int sites, class V>
inline void evaluateAnyOrder(const EvalBlock& block, std::int64_t i, V* w) {
  const std::int64_t order = block.task->order;
  const double* row = block.task->coeffRows[block.f];
  for (std::int64_t j = 0; j < order; ++j) {
    double c[sites];
    for (int g = 0; g < sites; ++g)
      c[g] = row[std::int64_t{block.piece[i + g]} * order + (order - 1 - j)];
    w[j] = load<V>(c);
  }
  const V t = load<V>(block.t + i);
  const Wanted& wanted = *block.wanted;
  const std::int64_t asked = order - 1 < wanted.ndorder ? order - 1 : wanted.ndorder;
  const std::int64_t end = asked > 4 ? asked : 4;
  std::int64_t position = 0;
  for (std::int64_t k = 0; k < end && position < wanted.nres; ++k) {
    if (wantsDerivative(wanted, k)) {
      double result[sites];
      store(result, horner(w, order - k, t));
      for (int g = 0; g < sites; ++g)
        block.blockResults[(i + g) * wanted.nres + position] = result[g];
      ++position;
    }
    differentiate(w, order - k);
  }
}

std::int32_t evaluateGeneral(const EvalBlock& block) {
  Lanes frame[generalOrderInFrame] = {};
  Lanes* w = block.task->order <= generalOrderInFrame ? frame : reinterpret_cast<Lanes*>(block.work);
  std::int64_t i = 0;
  for (; i + laneCount <= block.nblock; i += laneCount)
    evaluateAnyOrder<laneCount>(block, i, w);
  for (; i < block.nblock; ++i)
    evaluateAnyOrder<1>(block, i, reinterpret_cast<double*>(w));
  return 0;
}

}  // namespace

extern const SplineKind anyOrder;
const SplineKind anyOrder = {
    .order = DF_ORDER_CUBIC + 1, .mostOrder = INT64_MAX, .kind = anyKind, .pieces = anyOrderPieces};

extern const Evaluator anyOrderEvaluator;
const Evaluator anyOrderEvaluator = evaluateGeneral;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
