#include <cstdint>

#include "solvers/tridiagonal_kernels.h"
#include "vector/level.h"
#include "vector/simd.h"

// Elimination from both ends. With c = n / 2, rows above c are eliminated downwards and rows below c upwards;
// row c takes the last pivot. r[i] is the reciprocal pivot that replaces d[i]. In the top half dl[i] becomes
// the multiplier of row i + 1, in the bottom half dl[k - 1] becomes the subdiagonal of row k scaled by its
// own pivot:
//
//   top      y_(i+1) = b_(i+1) - dl_i y_i            i = 0 .. c - 1
//   bottom   y_k = (b_k - du_k y_(k+1)) r_k          k = n - 1 .. c + 1
//   row c    z_c = (y_c - du_c y_(c+1)) r_c
//   upward   z_k = (y_k - du_k z_(k+1)) r_k          k = c - 1 .. 0
//   downward z_j = y_j - dl_(j-1) z_(j-1)            j = c + 1 .. n - 1
//
// Top and bottom, then upward and downward, are independent of each other and run side by side.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t columnsPerBlock = 8;
constexpr std::int64_t pairsPerBlock = columnsPerBlock / 2;

bool unusable(double pivot) {
  return pivot == 0.0 || pivot != pivot;
}

// Factors; `WithColumn` also takes one right-hand side through the top and bottom sweeps, whose chains hide
// behind the divisions. The running pivots and right-hand sides of both ends stay in registers; where the work
// stops, the pivots go to their rows. Returns 0 or the number, from 1, of the first row with an unusable pivot.
template <bool WithColumn>
std::int64_t factorRows(std::int64_t n, double* __restrict dl, double* __restrict d,
                        const double* __restrict du, double* __restrict b) {
  const std::int64_t h = (n - 1) / 2;
  double p = d[0];
  double q = d[n - 1];
  double top = 0.0;
  double bottom = 0.0;
  if constexpr (WithColumn) {
    top = b[0];
    bottom = b[n - 1];
  }
  const auto topStep = [&](std::int64_t i, double next) {
    const double reciprocal = 1.0 / p;
    const double multiplier = dl[i] * reciprocal;
    d[i] = reciprocal;
    dl[i] = multiplier;
    p = subtractProduct(next, du[i], multiplier);
    if constexpr (WithColumn) {
      top = subtractProduct(b[i + 1], multiplier, top);
      b[i + 1] = top;
    }
  };
  const auto stopAt = [&](std::int64_t row, std::int64_t rowOfP, std::int64_t rowOfQ) {
    d[rowOfP] = p;
    d[rowOfQ] = q;
    return row + 1;
  };
  // The last pair works on the row that both ends share.
  const auto pairOfSteps = [&](std::int64_t i, double nextTop, bool meets) -> std::int64_t {
    const std::int64_t k = n - 1 - i;
    if (unusable(p)) return stopAt(i, i, k);
    topStep(i, nextTop);
    if (unusable(q)) return stopAt(k, i + 1, k);
    const double reciprocal = 1.0 / q;
    const double scaled = dl[k - 1] * reciprocal;
    d[k] = reciprocal;
    dl[k - 1] = scaled;
    q = subtractProduct(meets ? p : d[k - 1], du[k - 1], scaled);
    if constexpr (WithColumn) {
      bottom *= reciprocal;
      b[k] = bottom;
      bottom = subtractProduct(meets ? top : b[k - 1], du[k - 1], bottom);
    }
    return 0;
  };
  const bool odd = n % 2 != 0;
  const std::int64_t apart = odd ? h - 1 : h;
  for (std::int64_t i = 0; i < apart; ++i)
    if (const std::int64_t failed = pairOfSteps(i, d[i + 1], false)) return failed;
  const std::int64_t c = n - h - 1;
  if (odd) {
    if (h > 0)
      if (const std::int64_t failed = pairOfSteps(h - 1, d[h], true)) return failed;
  } else {
    if (unusable(p)) return stopAt(h, h, c);
    if constexpr (WithColumn) b[c] = bottom;
    topStep(h, q);
    q = p;
    bottom = top;
  }
  if (unusable(q)) {
    d[c] = q;
    return c + 1;
  }
  d[c] = 1.0 / q;
  if constexpr (WithColumn) b[c] = bottom * d[c];
  return 0;
}

// One column, top and bottom sweeps and row c. Two rows a pass with the updates merged, so that the chain
// from one pass to the next is one multiplication and one addition:
//   y_(i+2) = (b_(i+2) - dl_(i+1) b_(i+1)) + (dl_(i+1) dl_i) y_i.
void sweepInwards(std::int64_t n, const double* __restrict dl, const double* __restrict r,
                  const double* __restrict du, double* __restrict b) {
  const std::int64_t c = n / 2;
  std::int64_t i = 0;
  std::int64_t k = n - 1;
  double top = b[0];
  double bottom = b[k] * r[k];
  if (c < k) b[k] = bottom;
  for (; i + 2 <= c && k - 2 > c; i += 2, k -= 2) {
    const double first = b[i + 1];
    b[i + 1] = subtractProduct(first, dl[i], top);
    top = fused(dl[i + 1] * dl[i], top, subtractProduct(b[i + 2], dl[i + 1], first));
    b[i + 2] = top;

    const double g = du[k - 1] * r[k - 1];
    const double gNext = du[k - 2] * r[k - 2];
    const double t = b[k - 1] * r[k - 1];
    b[k - 1] = subtractProduct(t, g, bottom);
    bottom = fused(gNext * g, bottom, subtractProduct(b[k - 2] * r[k - 2], gNext, t));
    b[k - 2] = bottom;
  }
  for (; i < c; ++i)
    b[i + 1] = subtractProduct(b[i + 1], dl[i], b[i]);
  for (; k - 1 > c; --k)
    b[k - 1] = subtractProduct(b[k - 1], du[k - 1], b[k]) * r[k - 1];
  if (c < n - 1) b[c] = subtractProduct(b[c], du[c], b[c + 1]);
  b[c] *= r[c];
}

// One column from row c outwards, two rows a pass as above.
void sweepOutwards(std::int64_t n, const double* __restrict dl, const double* __restrict r,
                   const double* __restrict du, double* __restrict b) {
  const std::int64_t c = n / 2;
  std::int64_t k = c;
  std::int64_t j = c;
  double up = b[c];
  double down = b[c];
  for (; k >= 2 && j + 2 < n; k -= 2, j += 2) {
    const double g = du[k - 1] * r[k - 1];
    const double gNext = du[k - 2] * r[k - 2];
    const double t = b[k - 1] * r[k - 1];
    b[k - 1] = subtractProduct(t, g, up);
    up = fused(gNext * g, up, subtractProduct(b[k - 2] * r[k - 2], gNext, t));
    b[k - 2] = up;

    const double first = b[j + 1];
    b[j + 1] = subtractProduct(first, dl[j], down);
    down = fused(dl[j + 1] * dl[j], down, subtractProduct(b[j + 2], dl[j + 1], first));
    b[j + 2] = down;
  }
  for (; k > 0; --k)
    b[k - 1] = subtractProduct(b[k - 1], du[k - 1], b[k]) * r[k - 1];
  for (; j + 1 < n; ++j)
    b[j + 1] = subtractProduct(b[j + 1], dl[j], b[j]);
}

// Eight columns side by side, as four pairs of lanes.
struct Block {
  Pair lanes[pairsPerBlock];
};

// Loads rows i and i + 1 of the eight columns.
inline void loadRows(const double* b, std::int64_t ldb, std::int64_t i, Block& first, Block& second) {
  for (std::int64_t p = 0; p < pairsPerBlock; ++p) {
    first.lanes[p] = load<Pair>(b + 2 * p * ldb + i);
    second.lanes[p] = load<Pair>(b + (2 * p + 1) * ldb + i);
    transpose(first.lanes[p], second.lanes[p]);
  }
}

inline void storeRows(double* b, std::int64_t ldb, std::int64_t i, Block first, Block second) {
  for (std::int64_t p = 0; p < pairsPerBlock; ++p) {
    transpose(first.lanes[p], second.lanes[p]);
    store(b + 2 * p * ldb + i, first.lanes[p]);
    store(b + (2 * p + 1) * ldb + i, second.lanes[p]);
  }
}

inline Block loadRow(const double* b, std::int64_t ldb, std::int64_t i) {
  Block row;
  for (std::int64_t p = 0; p < pairsPerBlock; ++p)
    row.lanes[p] = Pair{b[2 * p * ldb + i], b[(2 * p + 1) * ldb + i]};
  return row;
}

inline void storeRow(double* b, std::int64_t ldb, std::int64_t i, const Block& row) {
  for (std::int64_t p = 0; p < pairsPerBlock; ++p) {
    b[2 * p * ldb + i] = row.lanes[p][0];
    b[(2 * p + 1) * ldb + i] = row.lanes[p][1];
  }
}

// row := row - factor * neighbour
inline void eliminate(Block& row, double factor, const Block& neighbour) {
  const Pair f = broadcast<Pair>(factor);
  for (std::int64_t p = 0; p < pairsPerBlock; ++p)
    row.lanes[p] = subtractProduct(row.lanes[p], f, neighbour.lanes[p]);
}

inline void scale(Block& row, double factor) {
  for (std::int64_t p = 0; p < pairsPerBlock; ++p)
    row.lanes[p] *= broadcast<Pair>(factor);
}

// Rows from + 1 .. to, each less its multiplier times the row before it.
inline void blockDown(std::int64_t from, std::int64_t to, const double* __restrict dl, double* __restrict b,
                      std::int64_t ldb) {
  Block previous = loadRow(b, ldb, from);
  std::int64_t i = from;
  for (; i + 2 <= to; i += 2) {
    Block first;
    Block second;
    loadRows(b, ldb, i + 1, first, second);
    eliminate(first, dl[i], previous);
    eliminate(second, dl[i + 1], first);
    storeRows(b, ldb, i + 1, first, second);
    previous = second;
  }
  if (i < to) {
    Block row = loadRow(b, ldb, i + 1);
    eliminate(row, dl[i], previous);
    storeRow(b, ldb, i + 1, row);
  }
}

// Rows from - 1 .. 0 solved upwards.
inline void blockUp(std::int64_t from, const double* __restrict r, const double* __restrict du,
                    double* __restrict b, std::int64_t ldb) {
  Block previous = loadRow(b, ldb, from);
  std::int64_t k = from;
  for (; k >= 2; k -= 2) {
    Block first;
    Block second;
    loadRows(b, ldb, k - 2, second, first);
    eliminate(first, du[k - 1], previous);
    scale(first, r[k - 1]);
    eliminate(second, du[k - 2], first);
    scale(second, r[k - 2]);
    storeRows(b, ldb, k - 2, second, first);
    previous = second;
  }
  if (k > 0) {
    Block row = loadRow(b, ldb, 0);
    eliminate(row, du[0], previous);
    scale(row, r[0]);
    storeRow(b, ldb, 0, row);
  }
}

void solveBlock(std::int64_t n, const double* dl, const double* r, const double* du, double* b,
                std::int64_t ldb) {
  const std::int64_t c = n / 2;
  blockDown(0, c, dl, b, ldb);
  Block last = loadRow(b, ldb, n - 1);
  scale(last, r[n - 1]);
  storeRow(b, ldb, n - 1, last);
  blockUp(n - 1, r, du, b, ldb);
  blockDown(c, n - 1, dl, b, ldb);
}

void solveColumn(std::int64_t n, const double* dl, const double* r, const double* du, double* b) {
  sweepInwards(n, dl, r, du, b);
  sweepOutwards(n, dl, r, du, b);
}

// The mirrored sequence of steps, column by column.
void solveMirrored(std::int64_t n, std::int64_t nrhs, const double* dl, const double* r, const double* du,
                   double* b, std::int64_t ldb) {
  const std::int64_t c = n / 2;
  for (std::int64_t column = 0; column < nrhs; ++column) {
    double* y = b + column * ldb;
    for (std::int64_t k = n - 2; k >= c; --k)
      y[k] = subtractProduct(y[k], du[k], y[k + 1]);
    y[0] *= r[0];
    for (std::int64_t k = 0; k <= n - 2; ++k)
      y[k + 1] = subtractProduct(y[k + 1], dl[k], y[k]) * r[k + 1];
    for (std::int64_t k = c - 1; k >= 0; --k)
      y[k] = subtractProduct(y[k], du[k], y[k + 1]);
  }
}

std::int64_t factor(std::int64_t n, double* dl, double* d, const double* du) {
  return factorRows<false>(n, dl, d, du, nullptr);
}

void solve(bool transposed, std::int64_t n, std::int64_t nrhs, const double* dl, const double* d,
           const double* du, double* b, std::int64_t ldb) {
  if (transposed) {
    solveMirrored(n, nrhs, dl, d, du, b, ldb);
    return;
  }
  std::int64_t column = 0;
  for (; column + columnsPerBlock <= nrhs; column += columnsPerBlock)
    solveBlock(n, dl, d, du, b + column * ldb, ldb);
  for (; column < nrhs; ++column)
    solveColumn(n, dl, d, du, b + column * ldb);
}

std::int64_t factorSolve(std::int64_t n, std::int64_t nrhs, double* dl, double* d, const double* du,
                         double* b, std::int64_t ldb) {
  if (nrhs == 1) {
    const std::int64_t failed = factorRows<true>(n, dl, d, du, b);
    if (failed == 0) sweepOutwards(n, dl, d, du, b);
    return failed;
  }
  const std::int64_t failed = factorRows<false>(n, dl, d, du, nullptr);
  if (failed == 0) solve(false, n, nrhs, dl, d, du, b, ldb);
  return failed;
}

}  // namespace

extern const TridiagonalKernels tridiagonalKernels;
const TridiagonalKernels tridiagonalKernels = {factor, factorSolve, solve};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
