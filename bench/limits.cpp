#include "limits.h"

#include <algorithm>

#if defined(__x86_64__) && !defined(__clang__)
#define RVN_BENCH_WIDE [[gnu::target_clones("arch=haswell", "default")]]
#else
#define RVN_BENCH_WIDE
#endif

namespace bench {

namespace {

using Four = double __attribute__((vector_size(32), aligned(8), may_alias));

// Four elements of each array in, four doubles to each of `writes` places out.
template <std::size_t reads, std::size_t writes>
RVN_BENCH_WIDE void stream(std::size_t n, const double* from, double* to) {
  for (std::size_t i = 0; i + 4 <= n; i += 4) {
    Four sum = *reinterpret_cast<const Four*>(from + i);
    for (std::size_t a = 1; a < reads; ++a)
      sum += *reinterpret_cast<const Four*>(from + a * n + i);
    for (std::size_t w = 0; w < writes; ++w)
      *reinterpret_cast<Four*>(to + writes * i + 4 * w) = sum;
  }
}

template <std::size_t reads>
void streamTo(std::size_t n, const double* from, std::size_t writes, double* to) {
  static constexpr void (*streams[])(std::size_t, const double*, double*) = {
      stream<reads, 1>, stream<reads, 2>, stream<reads, 3>, stream<reads, 4>};
  streams[writes - 1](n, from, to);
}

}  // namespace

void limitStream(std::size_t n, std::size_t reads, const double* from, std::size_t writes, double* to) {
  reads == 1   ? streamTo<1>(n, from, writes, to)
  : reads == 2 ? streamTo<2>(n, from, writes, to)
               : streamTo<3>(n, from, writes, to);
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
