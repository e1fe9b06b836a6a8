// Polynomial evaluators. Row f of the coefficients holds, for piece q, `order` doubles c in ascending powers
// of t = s - x_q. The formulas below are the only definition of each derivative; lanes and tail share them,
// and nothing is fused, so that all levels give the same bits.

#include "interp/evaluate.h"

#include <cstdint>

#include "interp/search_choice.h"
#include "vector/coefficients.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// ---- pieces ----

constexpr std::int64_t cachedCoefficients = 32768;  // doubles of a row that no search drives out of the cache

// The point that piece q ends and piece q + 1 begins at, for splines that join between breakpoints. All knots
// given: ic is read from its first element on; two knots given: an equidistant run; none: midpoints.
template <bool uniform>
inline double knot(const DfTask& task, double h, std::int64_t q) {
  const bool given = task.ic != nullptr;
  if (given && (task.icType & (DF_IC_KNOTS | DF_IC_KNOT_ENDS)) == DF_IC_KNOTS) return task.ic[q];
  if (given && (task.icType & DF_IC_KNOT_ENDS) != 0) {
    const double step = task.nx > 2 ? (task.ic[1] - task.ic[0]) / static_cast<double>(task.nx - 2) : 0.0;
    return task.ic[0] + static_cast<double>(q) * step;
  }
  if constexpr (uniform) {
    const double left = static_cast<double>(q) * h + task.x[0];
    const double right = static_cast<double>(q + 1) * h + task.x[0];
    return 0.5 * (left + right);
  } else {
    return 0.5 * (task.x[q] + task.x[q + 1]);
  }
}

// Sites left of the partition take the first piece, sites right of it the last one.
template <bool uniform, bool joinsAtKnots>
void preparePieces(const EvalBlock& block, std::int32_t* __restrict piece, double* __restrict t) {
  const DfTask& task = *block.task;
  const auto nx = static_cast<std::int32_t>(task.nx);
  const std::int32_t* cell = block.blockCells;
  const double* site = block.blockSites;
  for (std::int64_t i = 0; i < block.nblock; ++i)
    piece[i] = cell[i] - (cell[i] > 0 ? 1 : 0) - (cell[i] == nx ? 1 : 0);
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

// ---- formulas ----

template <int order, int derivative, class V>
inline V formula(const V* c, V t) {
  if constexpr (order == 2) {
    return derivative == 0 ? c[0] + c[1] * t : c[1];
  } else if constexpr (order == 3) {
    if constexpr (derivative == 0) return (c[2] * t + c[1]) * t + c[0];
    if constexpr (derivative == 1) return c[1] + 2.0 * c[2] * t;
    return 2.0 * c[2];
  } else {
    if constexpr (derivative == 0) return ((c[3] * t + c[2]) * t + c[1]) * t + c[0];
    if constexpr (derivative == 1) return c[1] + (2.0 * c[2] + 3.0 * c[3] * t) * t;
    if constexpr (derivative == 2) return 2.0 * c[2] + 6.0 * c[3] * t;
    return 6.0 * c[3];
  }
}

// ---- splines of order 2 to 4 ----

// Derivative k is wanted where bit k of `wants` is set.
template <int order, unsigned wants, class V>
inline void evaluateSite(const V* c, V t, V* result) {
  if constexpr ((wants & 1U) != 0) *result++ = formula<order, 0>(c, t);
  if constexpr ((wants & 2U) != 0) *result++ = formula<order, 1>(c, t);
  if constexpr ((wants & 4U) != 0) *result++ = formula<order, 2>(c, t);
  if constexpr ((wants & 8U) != 0) *result++ = formula<order, 3>(c, t);
}

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

struct ByWants {
  Evaluator at[16];
};

template <int order, unsigned wants>
constexpr void fillByWants(ByWants& table) {
  table.at[wants] = evaluate<order, wants>;
  if constexpr (wants > 1) fillByWants<order, wants - 1>(table);
}

template <int order>
constexpr ByWants makeByWants() {
  ByWants table = {};
  fillByWants<order, (1U << order) - 1>(table);
  return table;
}

// Derivatives beyond the degree have no formula; their positions follow those of the others.
template <int order>
std::int32_t evaluateOrder(const EvalBlock& block) {
  static constexpr ByWants byWants = makeByWants<order>();
  const unsigned wants = block.wanted->low4 & ((1U << order) - 1);
  return wants == 0 ? 0 : byWants.at[wants](block);
}

// ---- splines of order 2 to 4 on uniform partitions, in one pass ----

// Finds pieces `ahead` sites before they are evaluated, so that neither waits for the other; with `fetches`, far
// enough for their coefficients to come from memory.
template <int order, bool fetches>
struct PieceFinder {
  static constexpr std::int64_t ahead = fetches ? 64 : 16;
  static_assert(ahead % laneCount == 0);
  const double* row;
  const double* site;
  std::int64_t lastGroup;
  double x0;
  double h;
  double spacing;
  double lastPiece;

  // The group of sites behind the one from i on. The last one ends with the last site and is its own next.
  std::int64_t next(std::int64_t i) const { return i + laneCount < lastGroup ? i + laneCount : lastGroup; }

  // Places of the sites from i on go to `slot`.
  [[gnu::always_inline]] void find(std::int64_t i, std::int64_t slot, std::int32_t* pieces,
                                   double* distances) const {
    const Lanes s = load<Lanes>(site + i);
    const Lanes first = broadcast<Lanes>(x0);
    const Lanes steps = stepsFromFirst(s, first, broadcast<Lanes>(spacing), broadcast<Lanes>(lastPiece));
    const Lanes q = s >= first ? steps : Lanes{};
    std::int32_t* piece = pieces + slot;
    storeAsInts(piece, q);
    store(distances + slot, s - (truncated(q) * h + first));
    if constexpr (fetches) {
      for (int g = 0; g < laneCount; ++g) {
        const double* c = row + std::int64_t{piece[g]} * order;
        __builtin_prefetch(c);
        __builtin_prefetch(c + order - 1);
      }
    }
  }
};

// Fills the slots and returns the last group in them. Takes the finder by value: one whose address is known could
// change with every result that is stored.
template <int order, bool fetches>
[[gnu::noinline]] std::int64_t findFirst(PieceFinder<order, fetches> finder, std::int32_t* piece, double* t) {
  std::int64_t group = 0;
  finder.find(0, 0, piece, t);
  for (std::int64_t slot = laneCount; slot < finder.ahead && group < finder.lastGroup; slot += laneCount) {
    group = finder.next(group);
    finder.find(group, slot, piece, t);
  }
  return group;
}

// Where the last group overlaps the one before, the same results are stored again.
template <int order, unsigned wants, bool fetches>
void evaluateUniform(const UniformCall& call) {
  constexpr int count = __builtin_popcount(wants);
  constexpr std::int64_t ahead = PieceFinder<order, fetches>::ahead;
  const DfTask& task = *call.task;
  const double* row = task.coeffRows[0];
  double* const results = call.results;
  const std::int64_t rowLength = call.rowLength;
  const std::int64_t nsite = call.nsite;
  const PieceFinder<order, fetches> finder = {
      row, call.site, nsite - laneCount, task.x[0], call.h, call.spacing, static_cast<double>(task.nx - 2)};
  std::int32_t piece[ahead];
  double t[ahead];
  std::int64_t found = findFirst(finder, piece, t);
  std::int64_t group = 0;
  for (std::int64_t i = 0; i < nsite; i += laneCount) {
    const std::int64_t slot = i % ahead;
    Lanes c[order];
    Lanes result[count];
    loadCoefficients<order>(row, piece + slot, c);
    evaluateSite<order, wants>(c, load<Lanes>(t + slot), result);
    found = finder.next(found);
    finder.find(found, slot, piece, t);
    for (int k = 0; k < count; ++k)
      store(results + k * rowLength + group, result[k]);
    group = finder.next(group);
  }
}

struct UniformByWants {
  UniformEvaluator at[16][2];  // by wants, by whether coefficients are fetched
};

template <int order, unsigned wants>
constexpr void fillUniform(UniformByWants& table) {
  table.at[wants][0] = evaluateUniform<order, wants, false>;
  table.at[wants][1] = evaluateUniform<order, wants, true>;
  if constexpr (wants > 1) fillUniform<order, wants - 1>(table);
}

template <int order>
constexpr UniformByWants makeUniform() {
  UniformByWants table = {};
  fillUniform<order, (1U << order) - 1>(table);
  return table;
}

template <int order>
void evaluateUniformOrder(const UniformCall& call) {
  static constexpr UniformByWants byWants = makeUniform<order>();
  byWants.at[call.low4][call.task->nx * order > cachedCoefficients ? 1 : 0](call);
}

// ---- any order above 4 ----

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

// Pieces of any order above that of the known kinds; the coefficients are the caller's.
extern const SplineKind anyOrder;
const SplineKind anyOrder = {
    .order = DF_ORDER_CUBIC + 1, .mostOrder = INT64_MAX, .kind = anyKind, .pieces = anyOrderPieces};

extern const PolynomialKernels polynomialKernels;
const PolynomialKernels polynomialKernels = {
    {{preparePieces<false, false>, preparePieces<false, true>},
     {preparePieces<true, false>, preparePieces<true, true>}},
    {evaluateOrder<2>, evaluateOrder<3>, evaluateOrder<4>, evaluateOrder<3>, evaluateGeneral},
    {evaluateUniformOrder<2>, evaluateUniformOrder<3>, evaluateUniformOrder<4>},
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
