// One function on a uniform partition in one pass: finding a cell again costs less than keeping it. Splines of order 2 to 4.

#include <cstdint>

#include "interp/evaluate.h"
#include "interp/formulas.h"
#include "interp/search_choice.h"
#include "vector/coefficients.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

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
void evaluateUniform(const PassCall& call) {
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

template <int order, bool fetches>
constexpr auto uniformEvaluators = byWants<order, PassEvaluator>([]<unsigned wants>() -> PassEvaluator {
  return evaluateUniform<order, wants, fetches>;
});

template <int order>
void evaluateUniformOrder(const PassCall& call) {
  const bool fetches = call.task->nx * order > cachedCoefficients;
  (fetches ? uniformEvaluators<order, true> : uniformEvaluators<order, false>).at[call.low4](call);
}

}  // namespace

extern const PassKernels uniformPass;
const PassKernels uniformPass = {{evaluateUniformOrder<2>, evaluateUniformOrder<3>, evaluateUniformOrder<4>}};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
