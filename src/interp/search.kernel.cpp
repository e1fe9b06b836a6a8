// The seven search paths. A path takes its sites in runs of `sitesAtOnce` and works on many sites side by
// side: the comparisons of one site depend on each other, those of different sites do not.

#include "interp/search.h"

#include <cstdint>

#include "interp/ascending_sites.h"
#include "interp/search_choice.h"
#include "vector/level.h"
#include "vector/simd.h"
#include "vector/smaller.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t longBracket = 64;  // breakpoints; longer brackets are entered by a secant step
// Partitions up to this size are halved faster than a bracket is looked up.
constexpr std::int64_t halvedThrough = countedAtOnce > 1 ? countedThrough : 1024;
// A bracket of so many times its share of the breakpoints: the partition is crowded there, secants miss.
constexpr std::int64_t crowdedShare = 8;
static_assert(countedAtOnce <= countedThrough);

// Narrows `G` windows of n breakpoints in step and counts what remains: cell[i] holds the first breakpoint of
// site i's window and receives the cell. Every window lies inside the partition and stays there whatever the
// comparisons say; for ascending breakpoints, x[first] <= s < x[first + n] (or the end of the partition)
// makes the cell right. Halving beyond what counting needs would be no faster; the two-way choice is a
// conditional move.
template <int G>
inline void narrow(const double* x, std::int64_t n, const double* site, std::int32_t* cell) {
  const double* first[G];
  double s[G];
  for (int g = 0; g < G; ++g) {
    first[g] = x + cell[g];
    s[g] = site[g];
  }
  while (n > countedAtOnce) {
    const std::int64_t half = smaller(n / 2, n - countedAtOnce);
    for (int g = 0; g < G; ++g)
      first[g] = first[g][half] <= s[g] ? first[g] + half : first[g];
    n -= half;
  }
  for (int g = 0; g < G; ++g)
    cell[g] = static_cast<std::int32_t>(first[g] - x) + countLessEqual(first[g], s[g]);
}

// The same for up to sitesAtOnce sites; n at least countedAtOnce.
void narrowAll(const double* x, std::int64_t n, std::int64_t nsite, const double* site, std::int32_t* cell) {
  std::int64_t i = 0;
  for (; i + 16 <= nsite; i += 16)
    narrow<16>(x, n, site + i, cell + i);
  if (i + 8 <= nsite) {
    narrow<8>(x, n, site + i, cell + i);
    i += 8;
  }
  if (i + 4 <= nsite) {
    narrow<4>(x, n, site + i, cell + i);
    i += 4;
  }
  for (; i < nsite; ++i)
    narrow<1>(x, n, site + i, cell + i);
}

// Counts through all breakpoints, a vector of sites at a time.
void scanAll(const CellSearchArgs& args, std::int64_t nsite, const double* site, std::int32_t* cell) {
  constexpr std::int64_t group = 2 * std::int64_t{laneCount};
  std::int64_t i = 0;
  for (; i + group <= nsite; i += group) {
    const Lanes a = load<Lanes>(site + i);
    const Lanes b = load<Lanes>(site + i + laneCount);
    Lanes countA = {};
    Lanes countB = {};
    for (std::int64_t j = 0; j < args.nx; ++j) {
      const Lanes x = broadcast<Lanes>(args.x[j]);
      countA += x <= a ? broadcast<Lanes>(1.0) : Lanes{};
      countB += x <= b ? broadcast<Lanes>(1.0) : Lanes{};
    }
    storeAsInts(cell + i, countA);
    storeAsInts(cell + i + laneCount, countB);
  }
  for (; i < nsite; ++i) {
    std::int32_t c = 0;
    for (std::int64_t j = 0; j < args.nx; ++j)
      c += args.x[j] <= site[i];
    cell[i] = c;
  }
}

// Where sites stand in the look-up table: the scaled distance from the first breakpoint, its coarse cell, and the
// breakpoints `lo` and, with `width` more, `hi` that bracket the cell's sites. Sites left of the partition and NaN go to
// coarse cell 0, where `lo` is 0 and no comparison holds.
struct Brackets {
  double scaled[sitesAtOnce];
  std::int32_t coarse[sitesAtOnce];
  std::int32_t lo[sitesAtOnce];
  std::int32_t width[sitesAtOnce];
  std::int64_t widest;  // breakpoints, at least countedAtOnce and at most nx
};

inline void bracket(const CellSearchArgs& args, std::int64_t nsite, const double* site, Brackets& b) {
  const double x0 = args.x[0];
  const auto cells = static_cast<double>(args.lookupCells);
  const auto lastCoarse = static_cast<std::int32_t>(args.lookupCells - 1);
  for (std::int64_t i = 0; i < nsite; ++i) {
    const double v = (site[i] - x0) * args.lookupInvWidth;
    const double positive = v > 0.0 ? v : 0.0;
    b.scaled[i] = positive < cells ? positive : cells;
    const auto cell = static_cast<std::int32_t>(b.scaled[i]);
    b.coarse[i] = cell < lastCoarse ? cell : lastCoarse;
  }
  b.widest = countedAtOnce;
  for (std::int64_t i = 0; i < nsite; ++i) {
    const LookupCell found = args.lookup[b.coarse[i]];
    b.lo[i] = static_cast<std::int32_t>(found.lo);
    b.width[i] = static_cast<std::int32_t>(found.hi) - b.lo[i] + 1;
    b.widest = larger(b.widest, b.width[i]);
  }
  b.widest = smaller(b.widest, args.nx);
}

// One secant step from the breakpoint at the site's place in its coarse cell, then a short window about the result; that
// takes two or three cache lines instead of one per halving. Sites outside their windows are searched for in their
// brackets. Guesses are limited before they become integers: two numbers of breakpoints together may be no 32-bit one.
void locateInLongBrackets(const CellSearchArgs& args, std::int64_t nsite, const double* site,
                          const Brackets& b, std::int32_t* cell) {
  const std::int64_t nx = args.nx;
  const auto lastBreakpoint = static_cast<double>(nx - 1);
  std::int32_t first[sitesAtOnce];
  for (std::int64_t i = 0; i < nsite; ++i) {
    const double guess = b.lo[i] + (b.scaled[i] - b.coarse[i]) * b.width[i];
    first[i] = static_cast<std::int32_t>(guess < lastBreakpoint ? guess : lastBreakpoint);
  }
  for (std::int64_t i = 0; i < nsite; ++i)
    __builtin_prefetch(args.x + first[i]);
  constexpr std::int64_t window = countedThrough;
  constexpr std::int64_t before = window / 2 - 1;
  const auto lastGuess = static_cast<double>(nx - window);
  for (std::int64_t i = 0; i < nsite; ++i) {
    const double step = (site[i] - args.x[first[i]]) * args.lookupInvWidth * b.width[i];
    const double guess = first[i] + step - static_cast<double>(before);
    const double inside = guess < lastGuess ? guess : lastGuess;
    first[i] = static_cast<std::int32_t>(inside > 0.0 ? inside : 0.0);
    cell[i] = first[i];
  }
  narrowAll(args.x, window, nsite, site, cell);
  std::int32_t missed[sitesAtOnce];
  std::int64_t misses = 0;
  for (std::int64_t i = 0; i < nsite; ++i) {
    const std::int64_t c = cell[i];
    missed[misses] = static_cast<std::int32_t>(i);
    misses += ((c == first[i]) & (c > 0)) | ((c == first[i] + window) & (c < nx));
  }
  if (misses == 0) return;
  const auto lastFirst = static_cast<std::int32_t>(nx - b.widest);
  double missedSite[sitesAtOnce];
  std::int32_t missedCell[sitesAtOnce];
  for (std::int64_t k = 0; k < misses; ++k) {
    const std::int32_t lo = b.lo[missed[k]];
    missedSite[k] = site[missed[k]];
    missedCell[k] = lo < lastFirst ? lo : lastFirst;
  }
  narrowAll(args.x, b.widest, misses, missedSite, missedCell);
  for (std::int64_t k = 0; k < misses; ++k)
    cell[missed[k]] = missedCell[k];
}

// Halves the whole partition.
void locateByHalves(const CellSearchArgs& args, std::int64_t nsite, const double* site, std::int32_t* cell) {
  for (std::int64_t i = 0; i < nsite; ++i)
    cell[i] = 0;
  narrowAll(args.x, args.nx, nsite, site, cell);
}

// Cells of up to sitesAtOnce sites in any order. `crowded` becomes true where brackets turn out to be of no use, and then
// none are looked up.
void locate(const CellSearchArgs& args, std::int64_t nsite, const double* site, std::int32_t* cell,
            bool& crowded) {
  const std::int64_t nx = args.nx;
  if (nx <= countedThrough) return scanAll(args, nsite, site, cell);
  if (crowded || nx <= halvedThrough) return locateByHalves(args, nsite, site, cell);
  Brackets brackets;
  bracket(args, nsite, site, brackets);
  if (brackets.widest > longBracket) {
    crowded = brackets.widest * args.lookupCells > crowdedShare * nx;
    if (crowded) return locateByHalves(args, nsite, site, cell);
    return locateInLongBrackets(args, nsite, site, brackets, cell);
  }
  const auto lastFirst = static_cast<std::int32_t>(nx - brackets.widest);
  for (std::int64_t i = 0; i < nsite; ++i)
    cell[i] = brackets.lo[i] < lastFirst ? brackets.lo[i] : lastFirst;
  narrowAll(args.x, brackets.widest, nsite, site, cell);
}

// Calls body(nsite, site, cell) for the sites of a call in runs of at most sitesAtOnce.
template <class Body>
inline void forRuns(const CellSearchArgs& args, Body body) {
  for (std::int64_t done = 0; done < args.nsite; done += sitesAtOnce)
    body(smaller(sitesAtOnce, args.nsite - done), args.site + done, args.cell + done);
}

std::int32_t searchDefault(const CellSearchArgs& args) {
  bool crowded = *args.cellState != 0;
  forRuns(args, [&](std::int64_t nsite, const double* site, std::int32_t* cell) {
    locate(args, nsite, site, cell, crowded);
  });
  *args.cellState = crowded ? 1 : 0;
  return 0;
}

void estimateAll(const CellSearchArgs& args, std::int64_t nsite, const double* site,
                 std::int32_t* __restrict cell) {
  const double x0 = args.x[0];
  const double spacing = args.param;
  const auto lastCell = static_cast<double>(args.nx - 1);
  for (std::int64_t i = 0; i < nsite; ++i)
    cell[i] = estimate(site[i], x0, spacing, lastCell);
}

std::int32_t searchUniform(const CellSearchArgs& args) {
  estimateAll(args, args.nsite, args.site, args.cell);
  return 0;
}

// Corrects an estimate 0 .. nx. A site equal to x[c] stays left of it when the estimate is c: the first test
// is strict. One step either way is taken without a branch, since the estimate is often off by one; more are
// rare, and after a few of them the whole partition is searched.
inline std::int32_t correct(const double* x, std::int64_t nx, double s, std::int64_t c) {
  const bool right = (c < nx) & (s > x[smaller(c, nx - 1)]);
  const bool left = (c > 0) & (x[larger(c, 1) - 1] > s);
  if (right & left) return static_cast<std::int32_t>(c);  // no ascending breakpoints
  c += std::int64_t{right} - std::int64_t{left};
  std::int64_t steps = countedThrough;
  if (right)
    while (c < nx && s >= x[c] && steps-- > 0)
      ++c;
  if (left)
    while (c > 0 && x[c - 1] > s && steps-- > 0)
      --c;
  std::int32_t cell = static_cast<std::int32_t>(c);
  if (steps < 0) {
    cell = 0;
    narrow<1>(x, nx, &s, &cell);
  }
  return cell;
}

// Cells of sites in any order, but left of a breakpoint that a site equals and the estimate names.
void locateWithTies(const CellSearchArgs& args, std::int64_t nsite, const double* site, std::int32_t* cell,
                    bool& crowded) {
  std::int32_t estimates[sitesAtOnce];
  estimateAll(args, nsite, site, estimates);
  locate(args, nsite, site, cell, crowded);
  const double* x = args.x;
  for (std::int64_t i = 0; i < nsite; ++i) {
    const bool onBreakpoint = cell[i] > 0 && x[cell[i] - 1] == site[i];
    if (onBreakpoint && estimates[i] < cell[i] && x[estimates[i]] == site[i]) cell[i] = estimates[i];
  }
}

// Where many estimates of a run are more than one cell off, the runs behind it are searched without them; the cells are
// the same.
std::int32_t searchQuasiUniform(const CellSearchArgs& args) {
  bool nearlyUniform = *args.cellState == 0;
  bool crowded = false;
  forRuns(args, [&](std::int64_t nsite, const double* site, std::int32_t* cell) {
    if (!nearlyUniform) return locateWithTies(args, nsite, site, cell, crowded);
    std::int32_t estimates[sitesAtOnce];
    estimateAll(args, nsite, site, estimates);
    for (std::int64_t i = 0; i < nsite; ++i)
      cell[i] = correct(args.x, args.nx, site[i], estimates[i]);
    std::uint32_t farOff = 0;
    for (std::int64_t i = 0; i < nsite; ++i)
      farOff += static_cast<std::uint32_t>(cell[i] - estimates[i] + 1) > 2;
    nearlyUniform = std::int64_t{farOff} <= nsite / 4;
  });
  *args.cellState = nearlyUniform ? 0 : 1;
  return 0;
}

// Merges ascending sites into the breakpoints from x[c] on and returns the running cell behind the last site.
std::int64_t merge(const CellSearchArgs& args, std::int64_t c, std::int64_t nsite, const double* site,
                   std::int32_t* cell) {
  const double* x = args.x;
  const std::int64_t nx = args.nx;
  std::int64_t i = 0;
  for (; i + sitesOfGroup <= nsite; i += sitesOfGroup)
    c = mergeGroup(x, nx, c, site + i, cell + i);
  for (; i < nsite; ++i) {
    while (c < nx && x[c] <= site[i])
      ++c;
    cell[i] = static_cast<std::int32_t>(c);
  }
  return c;
}

// Where the next run of sites spans more than a few breakpoints per site, each site is located by itself.
std::int32_t searchSorted(const CellSearchArgs& args) {
  constexpr std::int64_t mergedPerSite = 4;
  std::int64_t c = *args.cellState;
  bool crowded = false;
  forRuns(args, [&](std::int64_t nsite, const double* site, std::int32_t* cell) {
    const std::int64_t reach = c + mergedPerSite * nsite;
    if (reach < args.nx && args.x[reach] <= site[nsite - 1]) {
      locate(args, nsite, site, cell, crowded);
      c = cell[nsite - 1];
    } else {
      c = merge(args, c, nsite, site, cell);
    }
  });
  *args.cellState = static_cast<std::int32_t>(c);
  return 0;
}

// Sites that crowd about one cell are narrowed in a window about it; a run with a site outside is located
// anew.
std::int32_t searchLikely(const CellSearchArgs& args) {
  if (!level.usesLikelyCell || args.nx <= countedThrough) return searchDefault(args);
  constexpr std::int64_t window = 16;
  static_assert(window >= countedAtOnce);
  const double* x = args.x;
  const std::int64_t first =
      smaller(larger(static_cast<std::int64_t>(args.param) - window / 2, 0), args.nx - window);
  const bool openRight = first + window == args.nx;
  const double right = openRight ? 0.0 : x[first + window];
  bool crowded = false;
  forRuns(args, [&](std::int64_t nsite, const double* site, std::int32_t* cell) {
    bool inside = true;
    for (std::int64_t i = 0; i < nsite; ++i) {
      inside &= (first == 0) | (x[first] <= site[i]);
      inside &= openRight | (site[i] < right);
      cell[i] = static_cast<std::int32_t>(first);
    }
    if (inside) {
      narrowAll(x, window, nsite, site, cell);
    } else {
      locate(args, nsite, site, cell, crowded);
    }
  });
  return 0;
}

// One call of the user's search, for at most the sites of a block. Cells that are out of range count as the
// nearest cell.
template <bool uniform>
std::int32_t searchUser(const CellSearchArgs& args) {
  std::int64_t cells64[sitesAtOnce < userBlock ? userBlock : sitesAtOnce] = {};
  for (std::int64_t i = 0; i < args.nsite; ++i)
    args.searchMarks[i] = 0;
  constexpr std::int32_t allFinal = 1000;
  const std::int32_t status =
      args.searchCb(&args.nsite, args.site, cells64, args.searchMarks, args.searchParams);
  if (status < 0) return status;
  const auto lastCell = static_cast<double>(args.nx - 1);
  for (std::int64_t i = 0; i < args.nsite; ++i) {
    const std::int64_t given = smaller(larger(cells64[i], 0), args.nx);
    if (status == allFinal || args.searchMarks[i] != 0) {
      args.cell[i] = static_cast<std::int32_t>(given);
    } else if constexpr (uniform) {
      args.cell[i] = estimate(args.site[i], args.x[0], args.param, lastCell);
    } else {
      args.cell[i] = correct(args.x, args.nx, args.site[i], given);
    }
  }
  return status == allFinal ? 0 : status;
}

}  // namespace

extern const CellSearch searchPaths[searchPathCount];
const CellSearch searchPaths[searchPathCount] = {
    searchUniform, searchQuasiUniform, searchSorted,     searchLikely,
    searchDefault, searchUser<false>,  searchUser<true>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
