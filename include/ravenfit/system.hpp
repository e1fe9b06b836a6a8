#ifndef RAVENFIT_SYSTEM_HPP
#define RAVENFIT_SYSTEM_HPP

// Tridiagonal systems for C++. Included by ravenfit.hpp.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <ravenfit/tridiagonal.h>
#include <ravenfit/view.hpp>

namespace ravenfit {

// Solves A X = B without pivoting, for matrices that need none, such as diagonally dominant ones. dl and du have n - 1
// elements, d has n; they are read. b holds right-hand sides of n elements one after another and receives the solutions.
inline status try_solve_tridiagonal(view<const double> dl, view<const double> d, view<const double> du,
                                    view<double> b) {
  detail::settle_level();
  const std::size_t n = d.size();
  const auto refused = [](int info, std::string text) {
    return status{info, RVN_DOMAIN_SOLVER, -1, std::move(text)};
  };
  if (n > INT32_MAX) return refused(-1, "more than 2^31 - 1 equations");
  if (n == 0) return b.empty() ? status{} : refused(-6, "right-hand sides without a matrix");
  if (dl.size() + 1 != n) return refused(-3, "dl must have one element less than d");
  if (du.size() + 1 != n) return refused(-5, "du must have one element less than d");
  if (b.size() % n != 0)
    return refused(-6, "b must hold whole columns of " + std::to_string(n) + " elements");
  if (b.size() / n > INT32_MAX) return refused(-2, "more than 2^31 - 1 right-hand sides");
  std::vector<double> lower(dl.begin(), dl.end());
  std::vector<double> diagonal(d.begin(), d.end());
  const auto rows = static_cast<std::int32_t>(n);
  const auto columns = static_cast<std::int32_t>(b.size() / n);
  std::int32_t info = 0;
  DDTSVB(&rows, &columns, lower.data(), diagonal.data(), du.data(), b.data(), &rows, &info);
  if (info <= 0) return info == 0 ? status{} : refused(info, {});
  status singular =
      refused(info, "the pivot of row " + std::to_string(info - 1) + " is zero or not a number");
  singular.index = info - 1;
  return singular;
}

// The same, which throws on failure.
inline void solve_tridiagonal(view<const double> dl, view<const double> d, view<const double> du,
                              view<double> b) {
  detail::check(try_solve_tridiagonal(dl, d, du, b));
}

}  // namespace ravenfit

#endif
