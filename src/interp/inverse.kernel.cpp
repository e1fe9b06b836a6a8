// The inverse of a monotone spline: a table of its values where pieces begin, searched like a partition, and the crossing
// of one piece for every value.

#include <cstddef>
#include <cstdint>

#include "interp/crossing.h"
#include "interp/formulas.h"
#include "interp/piece_range.h"
#include "interp/plan.h"
#include "interp/spline_tool_kernels.h"
#include "runtime/memory.h"
#include "vector/coefficients.h"
#include "vector/level.h"
#include "vector/simd.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const LookupBuilder lookupBuilder;

namespace {

// Values at the beginnings of pieces and, for the last entry, at the end of all, with a sign under which they rise. They
// stand from the last one to the first, negated, and so ascend: a search counts those that reach a value.
struct ValueTable {
  std::int64_t entries;
  double* negated;
  LookupCell* lookup;
  double direction;
  double topNoise;  // by which a value may exceed the last one

  double operator[](std::int64_t i) const { return -negated[entries - 1 - i]; }
};

// The least slope of a piece between two points.
template <int order>
inline double leastSlope(const double* c, double from, double to) {
  if constexpr (order == 2) return c[1];
  const double atFrom = formula<order, 1>(c, from);
  const double atTo = formula<order, 1>(c, to);
  const double least = atFrom < atTo ? atFrom : atTo;
  if constexpr (order == 4) {
    const double turn = -c[2] / (3.0 * c[3]);
    if (c[3] > 0.0 && turn > from && turn < to) return formula<order, 1>(c, turn);
  }
  return least;
}

// Fills the table. False if the function turns by more than rounding explains, or is not finite.
template <int order>
bool fillTable(const PieceRange& range, const double* row, ValueTable& table) {
  const std::int64_t last = range.count - 1;
  const double start = row[0];
  const double end = formula<order, 0>(row + last * order, range.to(last));
  table.direction = end < start ? -1.0 : 1.0;
  double highest = table.direction * start;  // of the beginnings
  double reached = highest;                  // at the end of the piece before
  double noise = 0.0;
  for (std::int64_t q = 0; q < range.count; ++q) {
    double c[order];
    for (int k = 0; k < order; ++k)
      c[k] = table.direction * row[q * order + k];
    const double from = range.from(q);
    const double to = range.to(q);
    const double reach = greaterOf(reachOf<order>(c, from), reachOf<order>(c, to));
    if (!(magnitude(c[0]) + reach < __builtin_inf())) return false;
    noise = greaterOf(noise, roundings * reach + 0x1p-51 * magnitude(c[0]));
    const double begin = formula<order, 0>(c, from);
    if (!(begin >= reached - noise)) return false;
    highest = greaterOf(highest, begin);
    table.negated[table.entries - 1 - q] = -highest;
    noise = roundings * reach + 0x1p-51 * magnitude(c[0]);
    if (!(leastSlope<order>(c, from, to) * (to - from) >= -noise)) return false;
    reached = greaterOf(highest, formula<order, 0>(c, to));
  }
  table.negated[0] = -reached;
  table.topNoise = noise;
  return true;
}

// What a search for values needs. `inOrder`: whether the look-up table can tell values apart.
struct ValueSearch {
  CellSearchArgs args = {};
  bool inOrder;

  explicit ValueSearch(const ValueTable& table) {
    const double width = table.negated[table.entries - 1] - table.negated[0];
    inOrder = width > 0.0 && width < __builtin_inf();
    DfTask partition = {};
    partition.nx = table.entries;
    partition.x = table.negated;
    partition.lookup = table.lookup;
    if (inOrder) lookupBuilder(partition);
    args.nx = partition.nx;
    args.x = partition.x;
    args.lookupCells = partition.lookupCells;
    args.lookup = partition.lookup;
    args.lookupInvWidth = partition.lookupInvWidth;
  }

  // How many entries reach each value, which stands negated.
  void countReaching(std::int64_t n, const double* negated, std::int32_t* reaching) const {
    if (inOrder) {
      std::int32_t cellState = 0;
      CellSearchArgs call = args;
      call.cellState = &cellState;
      call.nsite = n;
      call.site = negated;
      call.cell = reaching;
      searchPaths[cellSearchDefault](call);
      return;
    }
    for (std::int64_t i = 0; i < n; ++i) {
      std::int64_t low = 0;
      std::int64_t high = args.nx;
      while (low < high) {
        const std::int64_t middle = low + (high - low) / 2;
        if (args.x[middle] <= negated[i]) {
          low = middle + 1;
        } else {
          high = middle;
        }
      }
      reaching[i] = static_cast<std::int32_t>(low);
    }
  }
};

// Values of a block that lie inside a piece, and where their sites go.
struct Inner {
  std::int64_t n = 0;
  std::int32_t piece[sitesAtOnce];
  double value[sitesAtOnce];
  double from[sitesAtOnce];
  double to[sitesAtOnce];
  double* site[sitesAtOnce];
};

template <int order>
inline Lanes crossingsFrom(const double* row, double direction, const Inner& inner, std::int64_t i) {
  Lanes c[order];
  loadCoefficients<order>(row, inner.piece + i, c);
  for (int k = 0; k < order; ++k)
    c[k] = direction * c[k];
  c[0] = c[0] - load<Lanes>(inner.value + i);
  return risingCrossing<order>(c, load<Lanes>(inner.from + i), load<Lanes>(inner.to + i));
}

template <int order>
void solveInner(const PieceRange& range, const double* row, double direction, Inner& inner) {
  // The last vector is filled up with its last value.
  for (std::int64_t i = inner.n; i % laneCount != 0; ++i) {
    inner.piece[i] = inner.piece[i - 1];
    inner.value[i] = inner.value[i - 1];
    inner.from[i] = inner.from[i - 1];
    inner.to[i] = inner.to[i - 1];
  }
  for (std::int64_t i = 0; i < inner.n; i += laneCount) {
    double t[laneCount];
    store(t, crossingsFrom<order>(row, direction, inner, i));
    for (std::int64_t j = i; j < smaller(i + laneCount, inner.n); ++j) {
      const std::int64_t q = inner.piece[j];
      const double site = range.origin(q) + t[j - i];
      const double begin = range.begin(q);
      const double end = range.end(q);
      *inner.site[j] = site < begin ? begin : site > end ? end : site;
    }
  }
}

template <int order>
std::int32_t invertAll(const PieceRange& range, const double* row, const InverseCall& call,
                       ValueTable& table) {
  if (!fillTable<order>(range, row, table)) return DF_ERROR_NOT_MONOTONE;
  const ValueSearch search(table);
  const double top = table[range.count];
  Inner inner;
  for (std::int64_t first = 0; first < call.n; first += sitesAtOnce) {
    const std::int64_t n = smaller(call.n - first, sitesAtOnce);
    double negated[sitesAtOnce];
    std::int32_t reaching[sitesAtOnce];
    for (std::int64_t i = 0; i < n; ++i)
      negated[i] = -(table.direction * call.values[first + i]);
    search.countReaching(n, negated, reaching);
    inner.n = 0;
    for (std::int64_t i = 0; i < n; ++i) {
      const double value = -negated[i];
      double& site = call.sites[first + i];
      // The first entry that reaches the value.
      const std::int64_t at = table.entries - reaching[i];
      if (at == table.entries || value != value) {
        site = value <= top + table.topNoise ? range.end(range.count - 1) : __builtin_nan("");
      } else if (table[at] == value) {
        site = at == range.count ? range.end(at - 1) : range.begin(at);
      } else if (at == 0) {
        site = __builtin_nan("");
      } else {
        inner.piece[inner.n] = static_cast<std::int32_t>(at - 1);
        inner.value[inner.n] = value;
        inner.from[inner.n] = range.from(at - 1);
        inner.to[inner.n] = range.to(at - 1);
        inner.site[inner.n] = &site;
        ++inner.n;
      }
    }
    solveInner<order>(range, row, table.direction, inner);
  }
  return DF_STATUS_OK;
}

std::int32_t invert(const DfTask& task, Pieces pieces, const InverseCall& call) {
  const PieceRange range(task, pieces);
  const std::int64_t entries = range.count + 1;
  std::size_t bytes = 0;
  if (entries > INT32_MAX || __builtin_mul_overflow(entries, sizeof(double), &bytes) ||
      __builtin_add_overflow(bytes, static_cast<std::size_t>(lookupCellsOf(entries)) * sizeof(LookupCell),
                             &bytes))
    return DF_ERROR_MEMORY;
  auto* const block = static_cast<double*>(rvnMalloc(bytes, blockAlignment));
  if (block == nullptr) return DF_ERROR_MEMORY;
  ValueTable table = {entries, block, reinterpret_cast<LookupCell*>(block + entries), 1.0, 0.0};
  const double* const row = task.coeffRows[call.f];
  const std::int32_t status = task.order == 2   ? invertAll<2>(range, row, call, table)
                              : task.order == 3 ? invertAll<3>(range, row, call, table)
                                                : invertAll<4>(range, row, call, table);
  rvnFree(block);
  return status;
}

}  // namespace

extern const Invert inversion;
const Invert inversion = invert;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
