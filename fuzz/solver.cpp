// The tridiagonal solver: factors and solutions of one call against two, columns together against one by one, bad pivots
// against a plain elimination from both ends, and diagonally dominant systems against what they were made from.

#include <algorithm>

#include "input.h"

#include <ravenfit/tridiagonal.h>

namespace fuzz {

void runSolver(Input in) {
  const std::int32_t n = in.oneIn(6) ? in.byte() : in.below(12);
  const std::int32_t nrhs = in.oneIn(6) ? in.below(40) : in.below(10);
  const std::int32_t ldb = n + in.below(4);
  const auto size = static_cast<std::size_t>(n);
  const bool dominant = in.oneIn(2);
  std::vector<double> dl = in.numbers(size - (n > 0));
  std::vector<double> du = in.numbers(size - (n > 0));
  std::vector<double> d = in.numbers(size);
  std::vector<double> b(static_cast<std::size_t>(ldb) * static_cast<std::size_t>(nrhs));
  const std::vector<double> few = in.numbers(16);
  for (std::size_t i = 0; i < b.size(); ++i)
    b[i] = few[i * i % 16];
  bool finite = dominant;
  for (std::size_t i = 0; i < size && dominant; ++i) {
    const double beside = std::fabs(i > 0 ? dl[i - 1] : 0.0) + std::fabs(i + 1 < size ? du[i] : 0.0);
    d[i] = 2.0 * beside + 1.0;
    finite = finite && beside < 1e15;
  }
  for (const double one : few)
    finite = finite && std::fabs(one) < 1e15;

  std::vector<double> factors = d;
  std::vector<double> multipliers = dl;
  std::int32_t info = -99;
  DDTTRFB(&n, multipliers.data(), factors.data(), du.data(), &info);
  FUZZ_EXPECT(info >= 0 && info <= n);
  FUZZ_EXPECT(!finite || info == 0);

  std::vector<double> factorsAtOnce = d;
  std::vector<double> multipliersAtOnce = dl;
  std::vector<double> x = b;
  std::int32_t infoAtOnce = -99;
  DDTSVB(&n, &nrhs, multipliersAtOnce.data(), factorsAtOnce.data(), du.data(), x.data(), &ldb, &infoAtOnce);
  FUZZ_EXPECT(infoAtOnce == (nrhs == 0 ? 0 : info));
  for (std::size_t j = 0; j < static_cast<std::size_t>(nrhs); ++j)
    for (std::size_t i = size; i < static_cast<std::size_t>(ldb); ++i)
      FUZZ_EXPECT(same(x[j * static_cast<std::size_t>(ldb) + i], b[j * static_cast<std::size_t>(ldb) + i]));
  if (info != 0 || nrhs == 0) return;

  std::vector<double> again = b;
  DDTTRSB("N", &n, &nrhs, multipliers.data(), factors.data(), du.data(), again.data(), &ldb, &info);
  FUZZ_EXPECT(info == 0);
  if (!finite) return;
  double largest = 0.0;
  for (const double one : x)
    largest = std::max(largest, std::fabs(one));
  for (std::size_t j = 0; j < static_cast<std::size_t>(nrhs); ++j)
    for (std::size_t i = 0; i < size; ++i) {
      const std::size_t at = j * static_cast<std::size_t>(ldb) + i;
      // The row times the solution is its right-hand side, to rounding of its terms.
      const double terms[] = {d[i] * x[at], i > 0 ? dl[i - 1] * x[at - 1] : 0.0,
                              i + 1 < size ? du[i] * x[at + 1] : 0.0};
      const double left = terms[0] + terms[1] + terms[2];
      FUZZ_EXPECT(std::fabs(left - b[at]) <= 1e-13 * d[i] * largest + 1e-300);
      FUZZ_EXPECT(std::fabs(again[at] - x[at]) <= 1e-13 * largest + 1e-300);
    }
}

}  // namespace fuzz
