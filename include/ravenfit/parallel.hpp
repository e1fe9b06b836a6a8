#ifndef RAVENFIT_PARALLEL_HPP
#define RAVENFIT_PARALLEL_HPP

// Batches on all cores, with oneTBB. Not part of ravenfit.hpp: only programs that include this need TBB; link the CMake
// target ravenfit::parallel beside the library, or -ltbb.
//
//   ravenfit::spline curves = ravenfit::parallel::make(x, y, ravenfit::pchip());
//   ravenfit::parallel::at<0, 1>(curves, sites, out);
//   ravenfit::parallel::fill_normal(g, values, mean, sigma);
//
// Every result is bit for bit that of the operation without threads, whatever the number of threads; a tbb::task_arena or
// tbb::global_control of the caller's sets it. Arguments and statuses are those of the operations of the same name; if
// several parts fail, the status is that of the first one by position. A call that fails while it works may have written
// part of its results. One thread at a time uses a stream; splines may be shared.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <utility>
#include <vector>

#include <ravenfit/ravenfit.hpp>

namespace ravenfit {

namespace detail {

// Calls body(from, count) for stretches of n elements, all of them even if one fails.
template <class Body>
status in_stretches(std::size_t n, std::size_t stretch, Body body) {
  const std::size_t stretches = n / stretch + (n % stretch == 0 ? 0 : 1);
  std::mutex guard;
  std::size_t failed = stretches;
  status why;
  tbb::parallel_for(std::size_t{0}, stretches, [&](std::size_t i) {
    status s = body(i * stretch, std::min(stretch, n - i * stretch));
    if (s.ok()) return;
    const std::lock_guard<std::mutex> lock(guard);
    if (i >= failed) return;
    failed = i;
    why = std::move(s);
  });
  return why;
}

// Values that pay for a copy of the stream and a skip. The large twisters take milliseconds for one, over any distance, so
// that a thread gets one stretch of them.
inline std::size_t stretch_of_values(const RsgInfo& known, std::size_t n) {
  if (known.stateBytes <= 1024) return std::size_t{1} << 16;
  const auto threads = static_cast<std::size_t>(tbb::this_task_arena::max_concurrency());
  return std::max(std::size_t{1} << 21, n / threads + 1);
}

// Each stretch comes from a copy of the stream that has skipped to it.
template <class Fill>
status fill_in_stretches(stream& g, view<double> r, Fill call) {
  if (status s = g.try_skip(0); !s.ok()) return s;
  const auto copy = [&](std::uint64_t ahead, stream_pointer& to) {
    RsgStream* made = nullptr;
    int code = rsgCopyStream(&made, g.get());
    to.reset(made);
    if (code == RSG_STATUS_OK) code = rsgSkipAhead(made, ahead);
    return code == RSG_STATUS_OK ? status{} : stream_status(code);
  };
  const RsgInfo known = g.info();
  if (known.dimension > 0) {  // the sequence may end before
    stream_pointer behind;
    if (status s = copy(r.size(), behind); !s.ok()) return s;
  }
  status s =
      in_stretches(r.size(), stretch_of_values(known, r.size()), [&](std::size_t from, std::size_t count) {
        stream_pointer part;
        if (status c = copy(from, part); !c.ok()) return c;
        return fill_in_parts(r.part(from, count),
                             [&](std::int32_t n, double* to) { return call(part.get(), n, to); });
      });
  return s.ok() ? g.try_skip(r.size()) : s;
}

}  // namespace detail

namespace parallel {

// ---- splines ----

// As spline::by_site: out[(i * nk + k) * functions + f].
template <int... K, class Sites>
status try_by_site(const spline& curve, const Sites& sites, view<double> out) {
  constexpr std::size_t stretch = 4 * ravenfit::detail::block_of_sites;
  constexpr std::size_t orders = sizeof...(K) == 0 ? 1 : sizeof...(K);
  const auto where = ravenfit::detail::numbers(sites);
  const std::size_t results = orders * curve.functions();
  if (where.size() <= stretch || results == 0 || out.size() / results != where.size() ||
      out.size() % results != 0)
    return curve.try_by_site<K...>(where, out);
  if (status s = curve.try_sites(where); !s.ok()) return s;
  return ravenfit::detail::in_stretches(where.size(), stretch, [&](std::size_t from, std::size_t count) {
    return curve.try_by_site<K...>(where.part(from, count), out.part(from * results, count * results));
  });
}
// The same, which throws on failure.
template <int... K, class Sites>
void by_site(const spline& curve, const Sites& sites, view<double> out) {
  ravenfit::detail::check(try_by_site<K...>(curve, sites, out));
}

// As spline::at into an array: out[(f * nk + k) * n + i].
template <int... K, class Sites>
status try_at(const spline& curve, const Sites& sites, view<double> out) {
  constexpr std::size_t orders = sizeof...(K) == 0 ? 1 : sizeof...(K);
  const auto where = ravenfit::detail::numbers(sites);
  const std::size_t n = where.size();
  const std::size_t results = orders * curve.functions();
  if (results == 1) return try_by_site<K...>(curve, where, out);  // both are one row
  constexpr std::size_t block = 4 * ravenfit::detail::block_of_sites;
  const std::size_t stretch = std::max<std::size_t>(block / std::max<std::size_t>(results, 1), 256);
  if (n <= stretch || results == 0 || out.size() / results != n || out.size() % results != 0)
    return curve.try_at<K...>(where, out);
  if (status s = curve.try_sites(where); !s.ok()) return s;
  return ravenfit::detail::in_stretches(n, stretch, [&](std::size_t from, std::size_t count) {
    std::vector<double> rows(results * count);
    if (status s = curve.try_at<K...>(where.part(from, count), rows); !s.ok()) return s;
    for (std::size_t k = 0; k < results; ++k)
      std::copy_n(rows.data() + k * count, count, out.data() + k * n + from);
    return status{};
  });
}
// The same, which throws on failure.
template <int... K, class Sites>
void at(const spline& curve, const Sites& sites, view<double> out) {
  ravenfit::detail::check(try_at<K...>(curve, sites, out));
}

// As the constructor of spline, for many functions over one partition: they are shared out in groups of at least eight.
template <class X, class Y>
result<spline> try_make(const X& x, const Y& y, const spline_options& options = cubic()) {
  return spline::try_make_in_groups(x, y, options, [](std::size_t groups, auto body) {
    return ravenfit::detail::in_stretches(groups, 1, [&](std::size_t i, std::size_t) { return body(i); });
  });
}
// The same, which throws on failure.
template <class X, class Y>
spline make(const X& x, const Y& y, const spline_options& options = cubic()) {
  return std::move(try_make(x, y, options)).value();
}

// ---- streams ----

// The values are those that the stream gives without threads, and it stands after them afterwards. Generators that cannot
// skip ahead are refused with RSG_ERROR_SKIP_AHEAD (R250, MT2203, RDRAND): give each worker a stream of its own, see
// stream::split.
inline status try_fill_uniform(stream& g, view<double> r, double a = 0.0, double b = 1.0) {
  if (status s = g.try_fill_uniform(view<double>(), a, b); !s.ok()) return s;
  return ravenfit::detail::fill_in_stretches(g, r, [=](RsgStream* part, std::int32_t n, double* to) {
    return vdRngUniform(RNG_UNIFORM_PLAIN, part, n, to, a, b);
  });
}
// The same, which throws on failure.
inline void fill_uniform(stream& g, view<double> r, double a = 0.0, double b = 1.0) {
  ravenfit::detail::check(try_fill_uniform(g, r, a, b));
}
// Normal variates, in the same way.
inline status try_fill_normal(stream& g, view<double> r, double mean = 0.0, double sigma = 1.0) {
  if (status s = g.try_fill_normal(view<double>(), mean, sigma); !s.ok()) return s;
  return ravenfit::detail::fill_in_stretches(
      g, r, [=](RsgStream* part, std::int32_t n, double* to) { return rsgNormal(part, n, to, mean, sigma); });
}
// The same, which throws on failure.
inline void fill_normal(stream& g, view<double> r, double mean = 0.0, double sigma = 1.0) {
  ravenfit::detail::check(try_fill_normal(g, r, mean, sigma));
}

// The same for quasi-random points: whole ones, a row of the matrix for each. If too few points are left, the call is
// refused with RSG_ERROR_SKIP_AHEAD.
inline void fill(points& from, view<double> matrix, double a = 0.0, double b = 1.0) {
  from.fill_by(matrix, [=](stream& g, view<double> r) { fill_uniform(g, r, a, b); });
}
inline void fill_normal(points& from, view<double> matrix, double mean = 0.0, double sigma = 1.0) {
  from.fill_by(matrix, [=](stream& g, view<double> r) { fill_normal(g, r, mean, sigma); });
}

}  // namespace parallel
}  // namespace ravenfit

#endif
