#include "limits.h"

#include <algorithm>

#if defined(__x86_64__) && !defined(__clang__)
#define RVN_BENCH_WIDE [[gnu::target_clones("arch=haswell", "default")]]
#else
#define RVN_BENCH_WIDE
#endif

namespace bench {

RVN_BENCH_WIDE void limitStream(std::size_t n, std::size_t reads, const double* from, std::size_t writes,
                                double* to) {
  // Blocks stay in the first-level cache, so that every array is passed over once.
  constexpr std::size_t block = 256;
  double sum[block];
  for (std::size_t done = 0; done < n; done += block) {
    const std::size_t count = std::min(block, n - done);
    std::fill_n(sum, count, 0.0);
    for (std::size_t a = 0; a < reads; ++a)
      for (std::size_t i = 0; i < count; ++i)
        sum[i] += from[a * n + done + i];
    double* out = to + writes * done;
    for (std::size_t w = 0; w < writes; ++w)
      std::copy_n(sum, count, out + w * count);
  }
}

RVN_BENCH_WIDE void limitPieces(const double* x, const double* coeff, std::size_t nsite, const double* site,
                                const std::int32_t* piece, double* value) {
  for (std::size_t i = 0; i < nsite; ++i) {
    const double* c = coeff + 4 * static_cast<std::size_t>(piece[i]);
    const double t = x == nullptr ? site[i] : site[i] - x[piece[i]];
    value[i] = ((c[3] * t + c[2]) * t + c[1]) * t + c[0];
  }
}

RVN_BENCH_WIDE void limitCells(const double* x, std::size_t nsite, const double* site,
                               const std::int32_t* known, std::int32_t* cell) {
  for (std::size_t i = 0; i < nsite; ++i)
    cell[i] = known[i] - (x[known[i] - 1] > site[i]);
}

RVN_BENCH_WIDE void limitUniformCells(double x0, double inverseStep, std::int32_t last, std::size_t nsite,
                                      const double* site, std::int32_t* cell) {
  for (std::size_t i = 0; i < nsite; ++i)
    cell[i] = std::min(static_cast<std::int32_t>((site[i] - x0) * inverseStep) + 1, last);
}

}  // namespace bench
