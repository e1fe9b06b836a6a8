#ifndef RAVENFIT_SPLINE_HPP
#define RAVENFIT_SPLINE_HPP

// Splines for C++. Included by ravenfit.hpp.

#include <algorithm>
#include <array>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <ravenfit/data_fitting.h>
#include <ravenfit/spline_options.hpp>
#include <ravenfit/spline_state.hpp>
#include <ravenfit/spline_tools.h>
#include <ravenfit/view.hpp>

namespace ravenfit {

// One function or several over one partition, with their coefficients. Owns its data; moving is cheap, copying copies.
// const members may be called by many threads at once.
class spline {
 public:
  // Empty, as is an object that was moved from: every operation on it fails.
  spline() = default;

  // x: nx breakpoints, ascending. y: nx values for every function, one function after another unless the options say
  // otherwise. Both may be anything contiguous, of any type that converts to double; they are copied.
  template <class X, class Y>
  spline(const X& x, const Y& y, const spline_options& options = cubic())
      : spline(try_make(x, y, options).value()) {}

  // The same, as a result instead of an exception.
  template <class X, class Y>
  static result<spline> try_make(const X& x, const Y& y, const spline_options& options = cubic()) {
    spline made = with_data(x, y, options);
    if (status s = made.state_->make(); !s.ok()) return s;
    return made;
  }
  // The same in groups of functions, which may be made side by side: run(n, body) is to call body(i) for all i below n, and
  // to return a status that is not 0 if one of them did.
  template <class X, class Y, class Run>
  static result<spline> try_make_in_groups(const X& x, const Y& y, const spline_options& options, Run run) {
    spline made = with_data(x, y, options);
    if (status s = made.state_->make_in_groups(run); !s.ok()) return s;
    return made;
  }

  // Moves leave an empty spline behind; copies own their data, also those of a spline_view.
  spline(spline&&) = default;
  spline& operator=(spline&&) = default;
  spline(const spline& other) { *this = other; }
  spline& operator=(const spline& other) {
    if (this != &other) state_ = other.state_ == nullptr ? nullptr : other.state_->copy();
    return *this;
  }

  // How many functions it holds; 0 if it is empty.
  std::size_t functions() const { return has_state() ? state_->ny : 0; }
  // All of them, also if they are equidistant; of a spline_view the array that it was made of.
  view<const double> breakpoints() const { return has_state() ? state_->x : view<const double>(); }
  // The first and the last breakpoint.
  std::pair<double, double> domain() const {
    detail::check(usable());
    return {state_->x[0], state_->x[state_->x.size() - 1]};
  }
  // Coefficients a cell: 2 to 4, one more for every antiderivative.
  int order() const { return has_state() ? state_->order : 0; }
  // Row f holds those of function f, `order` for each cell in ascending powers of the distance to its left end.
  view<const double> coefficients() const {
    return has_state() ? view<const double>(state_->coeff) : view<const double>();
  }
  // The lambda of every function, for a smoothing spline.
  view<const double> lambdas() const {
    return has_state() ? view<const double>(state_->lambdas) : view<const double>();
  }
  // For C operations beyond this class; the spline still owns it.
  const DfTask* task() const { return has_state() ? state_->task.get() : nullptr; }

  // The value of one function.
  double operator()(double site, std::size_t function = 0) const { return one(site, 0, function); }
  // Derivative k, 1 unless said otherwise; 0.0 beyond the degree.
  double derivative(double site, int k = 1, std::size_t function = 0) const { return one(site, k, function); }

  // Derivatives K at all sites, in ascending order of K: a vector each, which at<0, 1>() returns as an array for
  // structured bindings; with several functions, those of a function one after another. No K means values.
  template <int... K, class Sites>
  auto at(const Sites& sites) const {
    constexpr std::size_t count = sizeof...(K) == 0 ? 1 : sizeof...(K);
    const auto where = detail::numbers(sites);
    const std::size_t rows = functions();
    std::vector<double> all(count * rows * where.size());
    at<K...>(sites, view<double>(all));
    if constexpr (count == 1) {
      return all;
    } else {
      std::array<std::vector<double>, count> parts;
      for (std::size_t k = 0; k < count; ++k)
        for (std::size_t f = 0; f < rows; ++f) {
          const double* const from = all.data() + (f * count + k) * where.size();
          parts[k].insert(parts[k].end(), from, from + where.size());
        }
      return parts;
    }
  }

  // The same into an array: result of function f, packed derivative k of nk, site i at out[(f * nk + k) * n + i].
  template <int... K, class Sites>
  void at(const Sites& sites, view<double> out) const {
    detail::check(try_at<K...>(sites, out));
  }
  // The same, with a status instead of an exception. Nothing is written if it is refused.
  template <int... K, class Sites>
  status try_at(const Sites& sites, view<double> out) const {
    return evaluate(detail::numbers(sites), orders<K...>(), layout::rows, out);
  }

  // Channels side by side: out[(i * nk + k) * functions + f].
  template <int... K, class Sites>
  void by_site(const Sites& sites, view<double> out) const {
    detail::check(try_by_site<K...>(sites, out));
  }
  // The same, with a status.
  template <int... K, class Sites>
  status try_by_site(const Sites& sites, view<double> out) const {
    return evaluate(detail::numbers(sites), orders<K...>(), layout::by_site, out);
  }

  // Whether the spline takes the sites: one with outside(refuse) takes none outside its domain and no NaN. The status names
  // the first that it refuses, with DF_ERROR_OUTSIDE. Operations over many sites ask before they write.
  template <class Sites>
  status try_sites(const Sites& sites) const {
    if (status s = usable(); !s.ok()) return s;
    return check_sites(detail::numbers(sites));
  }

  // From a to b, in either order, also outside the domain.
  double integral(double a, double b, std::size_t function = 0) const {
    detail::check(usable(function));
    std::vector<double> all(functions());
    detail::check(try_integrals({&a, 1}, {&b, 1}, all));
    return all[function];
  }
  // One for each pair and function: out[f * n + i].
  status try_integrals(view<const double> a, view<const double> b, view<double> out) const {
    if (status s = usable(); !s.ok()) return s;
    if (a.size() != b.size()) return refuse_size("limits", b.size(), a.size());
    if (out.size() != a.size() * functions())
      return refuse_size("integrals", out.size(), a.size() * functions());
    return in_parts(a.size(), functions(), layout::rows, out,
                    [&](std::size_t from, std::size_t count, double* r, int rhint) {
                      return dfTaskIntegrate(state_->task.get(), static_cast<std::int32_t>(count),
                                             a.data() + from, b.data() + from, r, rhint);
                    });
  }

  // All sites, ascending, at which a function has a value: of the domain, or of [a, b].
  std::vector<double> solve(double value, std::size_t function = 0) const {
    const auto [a, b] = domain();
    return solve(value, a, b, function);
  }
  // Of [a, b], which may reach beyond the domain where the end polynomials continue.
  std::vector<double> solve(double value, double a, double b, std::size_t function = 0) const {
    return std::move(try_solve(value, a, b, function)).value();
  }
  // The same, as a result.
  result<std::vector<double>> try_solve(double value, double a, double b, std::size_t function = 0) const {
    if (status s = usable(function); !s.ok()) return s;
    std::vector<double> sites(8);
    for (;;) {
      std::int64_t count = 0;
      const int code = dfTaskSolve(state_->task.get(), static_cast<std::int32_t>(function), value, a, b,
                                   static_cast<std::int64_t>(sites.size()), sites.data(), &count);
      if (code != DF_STATUS_OK) return status{code, RVN_DOMAIN_FIT, -1, {}};
      const bool complete = static_cast<std::size_t>(count) <= sites.size();
      sites.resize(static_cast<std::size_t>(count));
      if (complete) return sites;
    }
  }
  // solve(0): all zeros of the domain.
  std::vector<double> roots(std::size_t function = 0) const { return solve(0.0, function); }

  // The inverse of a monotone function: the smallest site for each value, NaN where it is not reached.
  std::vector<double> inverse(view<const double> values, std::size_t function = 0) const {
    std::vector<double> sites(values.size());
    detail::check(try_inverse(values, sites, function));
    return sites;
  }
  // The same into an array of as many sites as values, with a status.
  status try_inverse(view<const double> values, view<double> sites, std::size_t function = 0) const {
    if (status s = usable(function); !s.ok()) return s;
    if (sites.size() != values.size()) return refuse_size("sites", sites.size(), values.size());
    return in_parts(values.size(), 1, layout::rows, sites,
                    [&](std::size_t from, std::size_t count, double* r, int) {
                      return dfTaskInverse(state_->task.get(), static_cast<std::int32_t>(function),
                                           static_cast<std::int32_t>(count), values.data() + from, r);
                    });
  }

  // As splines over the same breakpoints; the antiderivative is 0 at the first one. Outside, they refuse or give NaN as
  // this one does, the derivative wraps as this one does, and otherwise the end polynomials continue.
  spline antiderivative() const { return related(1, dfTaskAntiderivative); }
  spline derivative_spline() const { return related(-1, dfTaskDerivative); }

 private:
  friend class spline_view;

  enum class layout { rows, by_site };

  using state = detail::spline_state;

  template <class X, class Y>
  static spline with_data(const X& x, const Y& y, const spline_options& options) {
    detail::settle_level();
    spline made;
    made.state_ = std::make_unique<state>(options);
    made.state_->own_x = detail::doubles(x);
    made.state_->own_y = detail::doubles(y);
    made.state_->x = made.state_->own_x;
    made.state_->y = made.state_->own_y;
    return made;
  }

  bool has_state() const { return state_ != nullptr && state_->task != nullptr; }

  status usable() const {
    return has_state() ? status{}
                       : state::refused(DF_ERROR_NULL_TASK, "the spline holds nothing: it was moved from");
  }
  status usable(std::size_t function) const {
    if (status s = usable(); !s.ok()) return s;
    if (function < functions()) return {};
    return state::refused(
        DF_ERROR_FUNCTION_INDEX,
        "there is no function " + std::to_string(function) + " among " + std::to_string(functions()),
        static_cast<std::ptrdiff_t>(function));
  }

  static status refuse_size(const char* what, std::size_t is, std::size_t wanted) {
    return state::refused(DF_ERROR_NULL_RESULTS, std::string("the array of ") + what + " has " +
                                                     std::to_string(is) + " elements; it must have " +
                                                     std::to_string(wanted));
  }

  // The derivatives of a request, as bits.
  template <int... K>
  static constexpr std::uint32_t orders() {
    static_assert(((K >= 0 && K < 32) && ...), "derivatives go from 0 to 31");
    if constexpr (sizeof...(K) == 0) {
      return 1;
    } else {
      constexpr std::uint32_t bits = ((std::uint32_t{1} << K) | ...);
      static_assert(((bits >> K == 1) + ... + 0) >= 1, "name each derivative once");
      return bits;
    }
  }

  double one(double site, int k, std::size_t function) const {
    if (!has_state() || function >= state_->ny) detail::fail(usable(function));
    constexpr std::size_t most = 16;
    if (state_->ny > most || k < 0 || k > 3) return one_of_many(site, k, function);
    static constexpr std::int32_t wanted[4][4] = {{1}, {0, 1}, {0, 0, 1}, {0, 0, 0, 1}};
    double r[most];
    const int code = dfTaskInterpolate(state_->task.get(), DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1,
                                       &site, DF_SITES_GENERAL, k == 0 ? 0 : k + 1,
                                       k == 0 ? nullptr : wanted[k], nullptr, r, DF_RESULTS_DEFAULT, nullptr);
    if (code != DF_STATUS_OK) detail::fail(state::refused(code));
    return r[function];
  }

  double one_of_many(double site, int k, std::size_t function) const {
    if (k < 0) detail::fail(state::refused(DF_ERROR_DERIVATIVES, "a derivative below 0 was asked for"));
    double few[16];
    std::vector<double> many;
    view<double> r(few, state_->ny);
    if (state_->ny > 16) {
      many.resize(state_->ny);
      r = many;
    }
    detail::check(
        evaluate(view<const double>(&site, 1), std::uint32_t{1} << std::min(k, 31), layout::rows, r));
    return r[function];
  }

  // Calls body(from, count, r, rhint) for at most so many elements as a call takes, `results` of each; rows of results
  // that a cut would tear apart go through a block.
  template <class Body>
  static status in_parts(std::size_t n, std::size_t results, layout how, view<double> out, Body body) {
    const bool joined = how == layout::by_site || results == 1 || n <= detail::most_in_a_call;
    const std::int32_t rhint = how == layout::by_site ? int{DF_RESULTS_BY_SITE} : int{DF_RESULTS_SITES_INNER};
    std::vector<double> block(joined ? 0 : results * detail::block_of_sites);
    for (std::size_t from = 0; from < n;) {
      const std::size_t count = std::min(n - from, joined ? detail::most_in_a_call : detail::block_of_sites);
      double* const r = joined ? out.data() + from * results : block.data();
      if (const int code = body(from, count, r, rhint); code != DF_STATUS_OK) return state::refused(code);
      for (std::size_t k = 0; !joined && k < results; ++k)
        std::copy_n(r + k * count, count, out.data() + k * n + from);
      from += count;
    }
    return {};
  }

  template <class T>
  static bool ascends(const T* s, std::size_t n) {
    for (std::size_t i = 1; i < n; ++i)
      if (!(s[i - 1] <= s[i])) return false;
    return n > 0 && s[0] == s[0];
  }

  status evaluate(view<const double> sites, std::uint32_t bits, layout how, view<double> out) const {
    if (status s = check_results(sites.size(), bits, out); !s.ok()) return s;
    if (status s = check_sites(sites); !s.ok()) return s;
    return evaluate_blocks(sites, bits, how, out);
  }

  status evaluate_blocks(view<const double> sites, std::uint32_t bits, layout how, view<double> out) const {
    std::int32_t wanted[32];
    const int count = spread(bits, wanted);
    const std::size_t results = result_count(bits);
    // Where rows are not torn apart by it, order is looked for block by block.
    const bool blockwise = results == 1 || how == layout::by_site;
    return in_parts(
        sites.size(), results, how, out, [&](std::size_t from, std::size_t n, double* r, int rhint) {
          const std::size_t step = blockwise ? detail::block_of_sites : n;
          for (std::size_t i = 0; i < n; i += step) {
            const double* const s = sites.data() + from + i;
            const std::size_t part = std::min(step, n - i);
            const int code = dfTaskInterpolate(
                state_->task.get(), DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL,
                static_cast<std::int32_t>(part), s, ascends(s, part) ? DF_SITES_SORTED : DF_SITES_GENERAL,
                count, wanted, nullptr, r + (blockwise ? i * results : 0), rhint, nullptr);
            if (code != DF_STATUS_OK) return code;
          }
          return int{DF_STATUS_OK};
        });
  }

  // Sites of another type are converted block by block.
  template <class T>
  status evaluate(view<const T> sites, std::uint32_t bits, layout how, view<double> out) const {
    if (status s = check_results(sites.size(), bits, out); !s.ok()) return s;
    if (status s = check_sites(sites); !s.ok()) return s;
    const std::size_t results = result_count(bits);
    double converted[512];
    std::vector<double> block(results * 512);
    for (std::size_t from = 0; from < sites.size();) {
      const std::size_t n = std::min<std::size_t>(sites.size() - from, 512);
      for (std::size_t i = 0; i < n; ++i)
        converted[i] = static_cast<double>(sites[from + i]);
      if (status s =
              evaluate_blocks(view<const double>(converted, n), bits, how, {block.data(), results * n});
          !s.ok())
        return s;
      for (std::size_t k = 0; k < results; ++k)
        for (std::size_t i = 0; i < n; ++i) {
          if (how == layout::by_site)
            out[(from + i) * results + k] = block[i * results + k];
          else
            out[k * sites.size() + from + i] = block[k * n + i];
        }
      from += n;
    }
    return {};
  }

  std::size_t result_count(std::uint32_t bits) const {
    std::size_t count = 0;
    for (; bits != 0; bits &= bits - 1)
      ++count;
    return count * functions();
  }

  status check_results(std::size_t sites, std::uint32_t bits, view<double> out) const {
    if (status s = usable(); !s.ok()) return s;
    const std::size_t wanted = sites * result_count(bits);
    return out.size() == wanted ? status{} : refuse_size("results", out.size(), wanted);
  }

  // Calls are cut into blocks, of which one that is refused would come too late.
  template <class T>
  status check_sites(view<const T> sites) const {
    const double a = state_->set.below_ == outside_mode::refuse ? state_->x[0] : -HUGE_VAL;
    const double b = state_->set.above_ == outside_mode::refuse ? state_->x[state_->nx() - 1] : HUGE_VAL;
    if (a == -HUGE_VAL && b == HUGE_VAL) return {};
    const auto takes = [&](T s) { return static_cast<double>(s) >= a && static_cast<double>(s) <= b; };
    const T* const bad = std::find_if_not(sites.data(), sites.data() + sites.size(), takes);
    if (bad == sites.data() + sites.size()) return {};
    const std::ptrdiff_t i = bad - sites.data();
    return state::refused(DF_ERROR_OUTSIDE,
                          detail::element("site", i, static_cast<double>(*bad)) +
                              " is outside the domain of the spline, which takes no such sites",
                          i);
  }

  // Bits as the array that dfTaskInterpolate takes; returns its length.
  static int spread(std::uint32_t bits, std::int32_t (&wanted)[32]) {
    int length = 0;
    for (int k = 0; k < 32; ++k) {
      wanted[k] = static_cast<std::int32_t>(bits >> k & 1);
      if (wanted[k] != 0) length = k + 1;
    }
    return length;
  }

  // What a derivative (more < 0) or antiderivative is outside: its end polynomials, unless that is said elsewhere.
  static outside_mode outside_of(outside_mode mode, int more) {
    const bool stays =
        mode == outside_mode::nan || mode == outside_mode::refuse || (mode == wrap && more < 0);
    return stays ? mode : outside_mode::proceed;
  }

  spline related(int more, std::int32_t (*fill)(const DfTask*, double*)) const {
    detail::check(usable());
    spline made;
    made.state_ = std::make_unique<state>(state_->set);
    state& s = *made.state_;
    s.order = state_->order + more;
    s.set.order_ = s.order;
    s.set.kind_ = DF_KIND_DEFAULT;
    s.own_x.assign(state_->x.begin(), state_->x.end());
    s.own_y.assign(state_->y.begin(), state_->y.end());
    s.x = s.own_x;
    s.y = s.own_y;
    s.ny = state_->ny;
    s.ends[0] = state_->ends[0];
    s.ends[1] = state_->ends[1];
    s.set.below_ = outside_of(state_->set.below_, more);
    s.set.above_ = outside_of(state_->set.above_, more);
    s.xhint = state_->xhint == DF_XHINT_UNIFORM ? DF_XHINT_UNIFORM : DF_XHINT_NONE;
    if (s.order > 0) s.coeff.resize(s.row() * s.ny);
    if (const int code = fill(state_->task.get(), s.coeff.data()); code != DF_STATUS_OK)
      detail::fail(state::refused(code));
    detail::check(s.create());
    detail::check(s.edit_for_evaluation());
    return made;
  }

  std::unique_ptr<state> state_;
};

// A spline over breakpoints and values that stay the caller's, who keeps them alive and unchanged; it owns its
// coefficients alone. Temporaries are refused. Copies own their data.
class spline_view : public spline {
 public:
  // x and y as for spline, of doubles.
  spline_view(view<const double> x, view<const double> y, const spline_options& options = cubic()) {
    detail::settle_level();
    state_ = std::make_unique<state>(options);
    state_->x = x;
    state_->y = y;
    detail::check(state_->make());
  }
  template <
      class X, class Y,
      class = std::enable_if_t<!std::is_lvalue_reference<X>::value || !std::is_lvalue_reference<Y>::value>>
  spline_view(X&& x, Y&& y, const spline_options& options = cubic()) = delete;
};

}  // namespace ravenfit

#endif
