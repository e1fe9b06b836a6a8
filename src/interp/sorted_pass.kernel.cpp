// One function at many ascending sites in one pass: while sites stay in a cell, its coefficients stay in registers.
// Splines of order 2 to 4.

#include <cstdint>

#include "interp/ascending_sites.h"
#include "interp/evaluate.h"
#include "interp/formulas.h"
#include "vector/coefficients.h"
#include "vector/level.h"
#include "vector/simd.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// Where results of sites go.
struct ResultRows {
  double* results;
  std::int64_t rowLength;

  template <int count, class V>
  [[gnu::always_inline]] void put(std::int64_t i, const V* result) const {
    for (int k = 0; k < count; ++k)
      store(results + k * rowLength + i, result[k]);
  }
};

template <int order, unsigned wants>
void evaluateSorted(const PassCall& call) {
  constexpr int count = __builtin_popcount(wants);
  const DfTask& task = *call.task;
  const double* const x = task.x;
  const double* const row = task.coeffRows[0];
  const double* const site = call.site;
  const ResultRows rows = {call.results, call.rowLength};
  const std::int64_t nx = task.nx;
  const std::int64_t lastGroup = call.nsite - sitesOfGroup;
  Lanes c[order];
  Lanes result[count];
  std::int64_t cell = 0;
  std::int64_t i = 0;
  while (i <= lastGroup) {
    if (cell < nx && x[cell] <= site[i + sitesOfGroup - 1]) {
      std::int32_t piece[sitesOfGroup];
      cell = mergeGroup(x, nx, cell, site + i, piece);
      for (std::int32_t& one : piece)
        one = pieceOf(one, nx);
      for (int g = 0; g < sitesOfGroup; g += laneCount) {
        loadCoefficients<order>(row, piece + g, c);
        evaluateSite<order, wants>(c, load<Lanes>(site + i + g) - pick(x, piece + g), result);
        rows.put<count>(i + g, result);
      }
      i += sitesOfGroup;
      continue;
    }
    const std::int64_t q = pieceOf(cell, nx);
    const Lanes origin = broadcast<Lanes>(x[q]);
    for (int j = 0; j < order; ++j)
      c[j] = broadcast<Lanes>(row[q * order + j]);
    do {
      for (int g = 0; g < sitesOfGroup; g += laneCount) {
        evaluateSite<order, wants>(c, load<Lanes>(site + i + g) - origin, result);
        rows.put<count>(i + g, result);
      }
      i += sitesOfGroup;
    } while (i <= lastGroup && !(cell < nx && x[cell] <= site[i + sitesOfGroup - 1]));
  }
  for (; i < call.nsite; ++i) {
    while (cell < nx && x[cell] <= site[i])
      ++cell;
    const std::int64_t q = pieceOf(cell, nx);
    double one[count];
    evaluateSite<order, wants>(row + q * order, site[i] - x[q], one);
    rows.put<count>(i, one);
  }
}

template <int order>
void evaluateSortedOrder(const PassCall& call) {
  static constexpr auto evaluators = byWants<order, PassEvaluator>(
      []<unsigned wants>() -> PassEvaluator { return evaluateSorted<order, wants>; });
  evaluators.at[call.low4](call);
}

}  // namespace

extern const PassKernels sortedPass;
const PassKernels sortedPass = {{evaluateSortedOrder<2>, evaluateSortedOrder<3>, evaluateSortedOrder<4>}};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
