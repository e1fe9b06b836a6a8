// Integrals between limits: the rest of the left limit's piece, the pieces between, the part of the right limit's piece.
// Integrals from x_0 to the beginning of every piece are kept with the task.

#include <cstddef>
#include <cstdint>

#include "interp/outside.h"
#include "interp/piece_range.h"
#include "interp/plan.h"
#include "interp/segment.h"
#include "interp/spline_tool_kernels.h"
#include "runtime/memory.h"
#include "vector/coefficients.h"
#include "vector/level.h"
#include "vector/simd.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// sums[f * (count + 1) + q] is the integral of function f up to the beginning of piece q, or, for q = count, over all.
Sum* buildSums(const DfTask& task, const PieceRange& range) {
  const std::int64_t functions = functionsOf(task);
  std::size_t bytes = 0;
  if (__builtin_mul_overflow(larger(functions, 1), sizeof(Sum), &bytes) ||
      __builtin_mul_overflow(bytes, range.count + 1, &bytes))
    return nullptr;
  auto* const sums = static_cast<Sum*>(rvnMalloc(bytes, blockAlignment));
  if (sums == nullptr) return nullptr;
  byOrder(task.order, [&]<int known>() {
    Sum* to = sums;
    for (std::int64_t f = 0; f < functions; ++f) {
      const double* c = task.coeffRows[f];
      Sum sum;
      for (std::int64_t q = 0; q < range.count; ++q, c += task.order) {
        *to++ = sum;
        sum.add(segment<known>(c, task.order, range.from(q), range.to(q)));
      }
      *to++ = sum;
    }
  });
  return sums;
}

// Threads that meet here build the same; one of them keeps it.
const Sum* sumsOf(const DfTask& task, const PieceRange& range) {
  void* kept = __atomic_load_n(&task.integralSums, __ATOMIC_ACQUIRE);
  if (kept != nullptr) return static_cast<const Sum*>(kept);
  Sum* const built = buildSums(task, range);
  if (built == nullptr) return nullptr;
  if (__atomic_compare_exchange_n(&task.integralSums, &kept, static_cast<void*>(built), false,
                                  __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE))
    return built;
  rvnFree(built);
  return static_cast<const Sum*>(kept);
}

// Limits of a block in the order of their size, and what lies beyond the ends of the partition, by the order given.
struct Limits {
  double site[sitesAtOnce];
  std::int32_t cell[sitesAtOnce];
  std::int32_t piece[sitesAtOnce];
  double t[sitesAtOnce];
};

struct PairBlock {
  std::int64_t n;
  Limits low;
  Limits high;
  double sign[sitesAtOnce];      // -1.0: right is below left
  double lowTo[sitesAtOnce];     // the parts of both pieces: from low.t to lowTo,
  double highFrom[sitesAtOnce];  // and from highFrom to high.t
  double below[sitesAtOnce];     // lengths with the end value, or with the constant
  double above[sitesAtOnce];
  double periods[sitesAtOnce];
};

struct Beyond {
  double below = 0.0;
  double above = 0.0;
  double periods = 0.0;
};

// The site inside that stands for a limit, and what lies between them, counted from the site.
inline double limitInside(const Outside& outside, double s, Beyond& beyond) {
  const std::int32_t mode = modeAt(outside, s);
  if (mode == DF_OUTSIDE_CONTINUE) return s;
  if (mode == DF_OUTSIDE_WRAP) {
    const WrappedSite at = wrapped(outside, s);
    beyond.periods = at.periods;
    return at.site;
  }
  const bool isBelow = s < outside.first;
  const double end = isBelow ? outside.first : outside.last;
  (isBelow ? beyond.below : beyond.above) = mode == DF_OUTSIDE_NAN ? __builtin_nan("") : s - end;
  return end;
}

void takeLimits(const Outside& outside, const double* left, const double* right, PairBlock& block) {
  for (std::int64_t i = 0; i < block.n; ++i) {
    double a = left[i];
    double b = right[i];
    if (outside.active) {
      Beyond ofLeft;
      Beyond ofRight;
      a = limitInside(outside, a, ofLeft);
      b = limitInside(outside, b, ofRight);
      block.below[i] = ofRight.below - ofLeft.below;
      block.above[i] = ofRight.above - ofLeft.above;
      block.periods[i] = ofRight.periods - ofLeft.periods;
    }
    const bool swapped = b < a;
    block.low.site[i] = swapped ? b : a;
    block.high.site[i] = swapped ? a : b;
    block.sign[i] = swapped ? -1.0 : 1.0;
  }
}

struct Run {
  const DfTask& task;
  const PieceRange& range;
  const Sum* sums;
  Outside outside;
  CellSearch search;
  CellSearchArgs searchArgs;
  PreparePieces prepare;
};

void findPieces(const Run& run, std::int64_t n, Limits& limits) {
  CellSearchArgs args = run.searchArgs;
  std::int32_t runningCell = 0;
  args.cellState = &runningCell;
  args.nsite = n;
  args.site = limits.site;
  args.cell = limits.cell;
  run.search(args);
  EvalBlock block = {};
  block.task = &run.task;
  block.h = run.range.h;
  block.nblock = n;
  block.blockSites = limits.site;
  block.blockCells = limits.cell;
  run.prepare(block, limits.piece, limits.t);
}

// Within one piece the left part reaches to the right limit, and the right part is empty.
void findParts(const Run& run, PairBlock& block) {
  for (std::int64_t i = 0; i < block.n; ++i) {
    const bool within = block.low.piece[i] == block.high.piece[i];
    block.lowTo[i] = within ? block.high.t[i] : run.range.to(block.low.piece[i]);
    block.highFrom[i] = within ? block.high.t[i] : run.range.from(block.high.piece[i]);
  }
}

// Pairs i .. of as many as V has lanes; `between` is the integral over the pieces between.
template <int order, class V>
inline V integrals(const double* row, const PairBlock& block, std::int64_t i, V between) {
  V c[order];
  const V highFrom = load<V>(block.highFrom + i);
  const V highTo = load<V>(block.high.t + i);
  V sum = between;
  if (holdsAnywhere(highFrom != highTo)) {
    loadCoefficients<order>(row, block.high.piece + i, c);
    sum = sum + segment<order>(c, order, highFrom, highTo);
  }
  loadCoefficients<order>(row, block.low.piece + i, c);
  sum = sum + segment<order>(c, order, load<V>(block.low.t + i), load<V>(block.lowTo + i));
  return load<V>(block.sign + i) * sum;
}

inline double integralOfAnyOrder(const double* row, std::int64_t order, const PairBlock& block,
                                 std::int64_t i, double between) {
  const double* const low = row + block.low.piece[i] * order;
  const double* const high = row + block.high.piece[i] * order;
  const double sum = segment<anyOrderOf>(high, order, block.highFrom[i], block.high.t[i]) + between;
  return block.sign[i] * (sum + segment<anyOrderOf>(low, order, block.low.t[i], block.lowTo[i]));
}

template <int order>
void integrateInside(const Run& run, std::int64_t f, const PairBlock& block, double* r) {
  const Sum* const sums = run.sums + f * (run.range.count + 1);
  double between[sitesAtOnce];
  for (std::int64_t i = 0; i < block.n; ++i) {
    const Sum& from = sums[block.low.piece[i] + 1];
    const Sum& to = sums[block.high.piece[i]];
    const bool within = block.low.piece[i] == block.high.piece[i];
    between[i] = within ? 0.0 : (to.high - from.high) + (to.low - from.low);
  }
  const double* const row = run.task.coeffRows[f];
  std::int64_t i = 0;
  if constexpr (order != anyOrderOf) {
    for (; i + laneCount <= block.n; i += laneCount)
      store(r + i, integrals<order>(row, block, i, load<Lanes>(between + i)));
  }
  for (; i < block.n; ++i)
    r[i] = integralOfAnyOrder(row, run.task.order, block, i, between[i]);
}

inline double valueAt(const double* c, std::int64_t order, double t) {
  double v = c[order - 1];
  for (std::int64_t k = order - 2; k >= 0; --k)
    v = v * t + c[k];
  return v;
}

// Lengths of 0 add nothing, whatever the values are.
void integrateOutside(const Run& run, std::int64_t f, const PairBlock& block, double* r) {
  const PieceRange& range = run.range;
  const std::int64_t order = run.task.order;
  const double* const row = run.task.coeffRows[f];
  const std::int64_t last = range.count - 1;
  const Outside& outside = run.outside;
  const double below = outside.below == DF_OUTSIDE_CONSTANT ? outside.value : row[0];
  const double above = outside.above == DF_OUTSIDE_CONSTANT
                           ? outside.value
                           : valueAt(row + last * order, order, range.to(last));
  const Sum& all = run.sums[f * (range.count + 1) + range.count];
  for (std::int64_t i = 0; i < block.n; ++i) {
    if (block.below[i] != 0.0) r[i] += block.below[i] * below;
    if (block.above[i] != 0.0) r[i] += block.above[i] * above;
    if (block.periods[i] != 0.0) r[i] += block.periods[i] * (all.high + all.low);
  }
}

std::int32_t integrate(const DfTask& task, Pieces pieces, const IntegrateCall& call) {
  const Outside outside = outsideOf(task, pieces);
  if (mayRefuse(outside) && (isRefused(outside, call.n, call.left) || isRefused(outside, call.n, call.right)))
    return DF_ERROR_OUTSIDE;
  const PieceRange range(task, pieces);
  const Sum* const sums = sumsOf(task, range);
  if (sums == nullptr) return DF_ERROR_MEMORY;
  const std::int32_t path = chooseSearch(task, DF_SITES_GENERAL, nullptr, nullptr);
  const Run run = {task,
                   range,
                   sums,
                   outside,
                   searchPaths[path],
                   searchArgs(task, path, nullptr, nullptr, nullptr),
                   pieceKernels.prepare[range.uniform ? 1 : 0][range.joinsAtKnots ? 1 : 0]};
  const std::int64_t functions = functionsOf(task);
  PairBlock block;
  double r[sitesAtOnce];
  for (std::int64_t first = 0; first < call.n; first += sitesAtOnce) {
    block.n = smaller(call.n - first, sitesAtOnce);
    takeLimits(outside, call.left + first, call.right + first, block);
    findPieces(run, block.n, block.low);
    findPieces(run, block.n, block.high);
    findParts(run, block);
    for (std::int64_t f = 0; f < functions; ++f) {
      byOrder(task.order, [&]<int order>() { integrateInside<order>(run, f, block, r); });
      if (outside.active) integrateOutside(run, f, block, r);
      const std::int64_t stride = call.bySite ? functions : 1;
      double* const to = call.r + (call.bySite ? first * functions + f : f * call.n + first);
      for (std::int64_t i = 0; i < block.n; ++i)
        to[i * stride] = r[i];
    }
  }
  return DF_STATUS_OK;
}

}  // namespace

extern const Integrate integration;
const Integrate integration = integrate;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
