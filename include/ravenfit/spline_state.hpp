#ifndef RAVENFIT_SPLINE_STATE_HPP
#define RAVENFIT_SPLINE_STATE_HPP

// What a spline holds, and how it is made of its options. Included by spline.hpp.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <ravenfit/data_fitting.h>
#include <ravenfit/smoothing.h>
#include <ravenfit/spline_options.hpp>
#include <ravenfit/spline_tools.h>
#include <ravenfit/view.hpp>

namespace ravenfit {

namespace detail {

// Whatever holds numbers side by side, as a view of its own type.
template <class C>
auto numbers(const C& c) -> view<const std::remove_cv_t<std::remove_pointer_t<decltype(c.data())>>> {
  return {c.data(), static_cast<std::size_t>(c.size())};
}
template <class T, std::size_t n>
view<const T> numbers(const T (&array)[n]) {
  return {array, n};
}

template <class C>
std::vector<double> doubles(const C& c) {
  const auto from = numbers(c);
  return std::vector<double>(from.begin(), from.end());
}

inline std::string number(double value) {
  char text[32];
  for (int digits = 6; digits <= 17; ++digits) {
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    if (std::strtod(text, nullptr) == value || value != value) break;
  }
  return text;
}

inline std::string element(const char* name, std::ptrdiff_t i, double value) {
  return std::string(name) + "[" + std::to_string(i) + "] = " + number(value);
}

struct destroy_task {
  void operator()(DfTask* task) const { dfTaskDestroy(&task); }
};

constexpr std::size_t most_in_a_call = std::size_t{1} << 30;
constexpr std::size_t block_of_sites = 4096;

// All that a spline holds.
struct spline_state {
  explicit spline_state(const spline_options& options) : set(options), order(options.order_) {}

  spline_options set;
  int order;
  std::vector<double> own_x;
  std::vector<double> own_y;
  view<const double> x;
  view<const double> y;
  std::size_t ny = 1;
  std::vector<double> coeff;
  double* borrowed = nullptr;  // coefficients of the spline that this one is a part of, instead of its own
  std::vector<double> lambdas;
  std::vector<double> knots;
  double ends[2] = {};
  double bc[2] = {};
  std::int32_t xhint = DF_XHINT_NONE;
  std::unique_ptr<DfTask, destroy_task> task;

  static status refused(int code, std::string detail = {}, std::ptrdiff_t index = -1) {
    return {code, RVN_DOMAIN_FIT, index, std::move(detail)};
  }

  double* rows() { return borrowed != nullptr ? borrowed : coeff.data(); }
  std::size_t nx() const { return x.size(); }
  std::size_t row() const {
    return static_cast<std::size_t>(order) * (nx() - (set.kind_ == DF_KIND_SUBBOTIN ? 0 : 1));
  }
  bool smooths() const { return set.smooth_method_ >= 0; }

  status make() {
    if (status s = check_sizes(); !s.ok()) return s;
    if (status s = check_breakpoints(); !s.ok()) return s;
    if (borrowed == nullptr) coeff.resize(row() * ny);
    if (smooths()) {
      if (status s = smooth(); !s.ok()) return s;
    }
    if (status s = create(); !s.ok()) return s;
    return smooths() ? edit_for_evaluation() : construct();
  }

  template <class Run>
  status make_in_groups(Run run) {
    if (status s = check_sizes(); !s.ok()) return s;
    if (status s = check_breakpoints(); !s.ok()) return s;
    coeff.resize(row() * ny);
    lambdas.resize(smooths() ? ny : 0);
    if (status s = create(); !s.ok()) return s;
    spline_options bare = set;
    bare.inner_.clear();
    bare.unchecked_ = true;
    // The solver takes right-hand sides by eights, and a single one in another way: so cut, groups give the bits of the
    // whole.
    const std::size_t group = 8 * std::max<std::size_t>(512 / nx(), 1);
    const std::size_t groups = std::max<std::size_t>(ny / group, 1);
    status s = run(groups, [&](std::size_t i) {
      return make_group(bare, i * group, i + 1 == groups ? ny - i * group : group);
    });
    if (!s.ok()) return s;
    if (set.kind_ == DF_KIND_SUBBOTIN) place_knots();
    return edit_for_evaluation();
  }

  // Some functions, as a spline of their own over the same breakpoints that writes to their coefficients.
  status make_group(const spline_options& bare, std::size_t first, std::size_t count) {
    spline_state part(bare);
    part.x = x;
    part.xhint = xhint;
    part.borrowed = coeff.data() + first * row();
    part.y = y.part(set.by_breakpoint_ ? 0 : first * nx(), count * nx());
    if (set.by_breakpoint_) {
      for (std::size_t i = 0; i < nx(); ++i)
        part.own_y.insert(part.own_y.end(), y.data() + i * ny + first, y.data() + i * ny + first + count);
      part.y = part.own_y;
    }
    const bool slopes = set.kind_ == DF_KIND_HERMITE && set.inner_.size() == nx() * ny;
    const double* const inner = set.inner_.data() + (slopes ? first * nx() : 0);
    part.set.inner_.assign(inner, inner + (slopes ? count * nx() : set.inner_.size()));
    if (status s = part.make(); !s.ok()) return s;
    std::copy(part.lambdas.begin(), part.lambdas.end(), lambdas.data() + first);
    return {};
  }

  status check_sizes() {
    if (nx() < 2)
      return refused(DF_ERROR_BREAKPOINT_COUNT,
                     "a spline needs 2 breakpoints at least, and x has " + std::to_string(nx()));
    if (nx() > INT32_MAX) return refused(DF_ERROR_MEMORY, "x has more than 2^31 - 1 breakpoints");
    if (y.empty() || y.size() % nx() != 0)
      return refused(DF_ERROR_FUNCTION_VALUES, "y must have " + std::to_string(nx()) +
                                                   " values for every function, as x does; it has " +
                                                   std::to_string(y.size()));
    ny = y.size() / nx();
    if (ny > INT32_MAX) return refused(DF_ERROR_MEMORY, "more than 2^31 - 1 functions");
    const std::size_t given = set.inner_.size();
    const auto wrong = [&](const char* what, std::size_t wanted) {
      return refused(DF_ERROR_NULL_INTERNAL, std::string(what) + ": " + std::to_string(wanted) +
                                                 " are needed, and " + std::to_string(given) + " are given");
    };
    if (set.kind_ == DF_KIND_HERMITE && given != nx() * ny && !(ny == 1 && given + 2 == nx()))
      return wrong("slopes", nx() * ny);
    if (set.order_ == DF_ORDER_CUBIC && set.kind_ == DF_KIND_DEFAULT && given + 2 != nx())
      return wrong("second derivatives", nx() - 2);
    if (smooths() && given != 0 && given != nx()) return wrong("weights", nx());
    return {};
  }

  status check_breakpoints() {
    ends[0] = x[0];
    ends[1] = x[nx() - 1];
    if (set.unchecked_) return {};
    std::int32_t bad = -1;
    if (dfCheckBreakpoints(static_cast<std::int32_t>(nx()), x.data(), &bad) != DF_STATUS_OK) {
      const double value = x[static_cast<std::size_t>(bad)];
      std::string text = element("x", bad, value);
      text += std::isfinite(value) && bad > 0
                  ? " does not exceed " + element("x", bad - 1, x[static_cast<std::size_t>(bad - 1)])
                  : " is not finite";
      return refused(DF_ERROR_BREAKPOINTS, text, bad);
    }
    find_structure();
    return {};
  }

  // A uniform partition is one whose breakpoints are the equidistant ones within two roundings, and these are nothing
  // beside its steps: far from 0, steps of a few roundings may differ as they like. Its not-a-knot rows
  // do not reproduce even a line, so there the breakpoints are given one by one. On nearly uniform ones searches start
  // from an estimate; a site on a breakpoint may then be served from its left, which only splines with a continuous
  // second derivative do not show.
  void find_structure() {
    const double step = (ends[1] - ends[0]) / static_cast<double>(nx() - 1);
    const double rounding = 0x1p-51 * std::max(std::fabs(ends[0]), std::fabs(ends[1]));
    double off = 0.0;
    for (std::size_t i = 0; i < nx(); ++i)
      off = std::max(off, std::fabs(x[i] - (static_cast<double>(i) * step + ends[0])));
    const bool knots_count =
        set.left_.kind == end_condition::not_a_knot || set.right_.kind == end_condition::not_a_knot;
    if (off <= std::min(rounding, 0x1p-32 * step) && !knots_count) {
      xhint = DF_XHINT_UNIFORM;
    } else if (off <= 0.05 * step && nx() > 2 && set.kind_ == DF_KIND_NATURAL && order == DF_ORDER_CUBIC) {
      xhint = DF_XHINT_QUASI_UNIFORM;
    }
  }

  std::int32_t yhint() const { return set.by_breakpoint_ ? DF_VALUES_BY_BREAKPOINT : DF_VALUES_BY_FUNCTION; }

  status smooth() {
    lambdas.resize(ny);
    const int code =
        dfSmooth(static_cast<std::int32_t>(nx()), xhint == DF_XHINT_UNIFORM ? ends : x.data(),
                 xhint == DF_XHINT_UNIFORM ? DF_XHINT_UNIFORM : DF_XHINT_NONE, static_cast<std::int32_t>(ny),
                 y.data(), yhint(), set.inner_.empty() ? nullptr : set.inner_.data(), set.smooth_method_,
                 set.lambda_, lambdas.data(), rows());
    return code == DF_STATUS_OK ? status{} : refused(code);
  }

  status create() {
    DfTask* made = nullptr;
    const int code =
        dfTaskCreate(&made, static_cast<std::int32_t>(nx()), xhint == DF_XHINT_UNIFORM ? ends : x.data(),
                     xhint, static_cast<std::int32_t>(ny), y.data(), yhint());
    task.reset(made);
    if (code != DF_STATUS_OK) return refused(code);
    const int outside = dfTaskSetOutside(made, static_cast<int>(set.below_), static_cast<int>(set.above_),
                                         set.outside_value_);
    return outside == DF_STATUS_OK ? status{} : refused(outside);
  }

  // The DF_END_* of both ends, or -1; values go to bc.
  int boundary_type() {
    using e = end_condition;
    if (set.kind_ == DF_KIND_DEFAULT && set.order_ == DF_ORDER_QUADRATIC) {
      bc[0] = set.inner_[0];
      return DF_END_QUADRATIC_VALUE;
    }
    const e left = set.left_;
    const e right = set.right_;
    bc[0] = left.value;
    bc[1] = right.value;
    if (left.kind == right.kind) {
      if (left.kind == e::own) return DF_END_NONE;
      if (left.kind == e::not_a_knot) return DF_END_NOT_A_KNOT;
      if (left.kind == e::free && set.kind_ != DF_KIND_SUBBOTIN) return DF_END_FREE;
      if (left.kind == e::periodic) return DF_END_PERIODIC;
    }
    // A free end beside another one is an end of curvature 0.
    const auto bit = [](e::type kind, int slope, int curvature, int not_a_knot) {
      if (kind == e::slope) return slope;
      if (kind == e::curvature || kind == e::free) return curvature;
      return kind == e::not_a_knot ? not_a_knot : -1;
    };
    constexpr int knot_first = int{DF_END_NOT_A_KNOT_SLOPE} - int{DF_END_RIGHT_SLOPE};
    constexpr int knot_last = int{DF_END_SLOPE_NOT_A_KNOT} - int{DF_END_LEFT_SLOPE};
    const int first = bit(left.kind, DF_END_LEFT_SLOPE, DF_END_LEFT_CURVATURE, knot_first);
    const int second = bit(right.kind, DF_END_RIGHT_SLOPE, DF_END_RIGHT_CURVATURE, knot_last);
    return first < 0 || second < 0 ? -1 : first + second;
  }

  status construct() {
    const int type = boundary_type();
    if (type < 0) return refused(DF_ERROR_BOUNDARY_CONDITION, "this kind has no such pair of ends");
    if (set.kind_ == DF_KIND_HERMITE && set.inner_.size() == nx() * ny) return construct_hermite();
    std::int32_t internal = DF_IC_NONE;
    const double* ic = nullptr;
    if (set.kind_ == DF_KIND_SUBBOTIN) {
      internal = DF_IC_KNOTS;
      place_knots();
      ic = knots.data();
    } else if (set.kind_ == DF_KIND_HERMITE || (set.kind_ == DF_KIND_DEFAULT && order == DF_ORDER_CUBIC)) {
      internal = set.kind_ == DF_KIND_HERMITE ? DF_IC_SLOPES : DF_IC_CURVATURES;
      ic = set.inner_.data();
    }
    if (status s = edit(set.kind_, type, internal, ic); !s.ok()) return s;
    if (const int code = dfTaskConstruct(task.get(), 0, 0); code != DF_STATUS_OK) return refused(code);
    return set.kind_ == DF_KIND_SUBBOTIN ? edit_for_evaluation() : status{};
  }

  // Subbotin's pieces join at the midpoints of cells.
  void place_knots() {
    knots.assign(1, x[0]);
    for (std::size_t i = 1; i < nx(); ++i)
      knots.push_back(x[i - 1] + 0.5 * (x[i] - x[i - 1]));
    knots.push_back(x[nx() - 1]);
  }

  // Slopes of their own for every function: one task each, into its row.
  status construct_hermite() {
    if (nx() < 3) {
      for (std::size_t f = 0; f < ny; ++f)
        two_points(f);
      return edit_for_evaluation();
    }
    std::vector<double> values(nx());
    for (std::size_t f = 0; f < ny; ++f) {
      for (std::size_t i = 0; i < nx(); ++i)
        values[i] = set.by_breakpoint_ ? y[i * ny + f] : y[f * nx() + i];
      const double* const m = set.inner_.data() + f * nx();
      const double slopes[2] = {m[0], m[nx() - 1]};
      DfTask* one = nullptr;
      int code =
          dfTaskCreate(&one, static_cast<std::int32_t>(nx()), xhint == DF_XHINT_UNIFORM ? ends : x.data(),
                       xhint, 1, values.data(), DF_VALUES_DEFAULT);
      const std::unique_ptr<DfTask, destroy_task> guard(one);
      if (code == DF_STATUS_OK)
        code = dfTaskEditSpline(one, order, DF_KIND_HERMITE, DF_END_LEFT_SLOPE + DF_END_RIGHT_SLOPE, slopes,
                                DF_IC_SLOPES, m + 1, rows() + f * row(), DF_COEFF_DEFAULT);
      if (code == DF_STATUS_OK) code = dfTaskConstruct(one, 0, 0);
      if (code != DF_STATUS_OK) return refused(code);
    }
    return edit_for_evaluation();
  }

  // The one cubic through two points with slopes.
  void two_points(std::size_t f) {
    const double left = set.by_breakpoint_ ? y[f] : y[2 * f];
    const double right = set.by_breakpoint_ ? y[ny + f] : y[2 * f + 1];
    const double* const m = set.inner_.data() + 2 * f;
    const double r = 1.0 / (x[1] - x[0]);
    const double d = (right - left) * r;
    double* const c = rows() + 4 * f;
    c[0] = left;
    c[1] = m[0];
    c[2] = (3.0 * d - 2.0 * m[0] - m[1]) * r;
    c[3] = (m[0] + m[1] - 2.0 * d) * r * r;
  }

  // Knots count from the second one on where pieces are looked for.
  status edit_for_evaluation() {
    const bool knotted = set.kind_ == DF_KIND_SUBBOTIN;
    return edit(order > DF_ORDER_CUBIC ? DF_KIND_DEFAULT : set.kind_, DF_END_NONE,
                knotted ? DF_IC_KNOTS : DF_IC_NONE, knotted ? knots.data() + 1 : nullptr);
  }

  status edit(std::int32_t kind, std::int32_t type, std::int32_t internal, const double* ic) {
    const int code =
        dfTaskEditSpline(task.get(), order, kind, type, bc, internal, ic, rows(), DF_COEFF_DEFAULT);
    return code == DF_STATUS_OK ? status{} : refused(code);
  }

  // Another object with the same coefficients.
  std::unique_ptr<spline_state> copy() const {
    auto made = std::make_unique<spline_state>(set);
    made->order = order;
    made->own_x.assign(x.begin(), x.end());
    made->own_y.assign(y.begin(), y.end());
    made->x = made->own_x;
    made->y = made->own_y;
    made->ny = ny;
    made->coeff = coeff;
    made->lambdas = lambdas;
    made->knots = knots;
    made->ends[0] = ends[0];
    made->ends[1] = ends[1];
    made->xhint = xhint;
    check(made->create());
    check(made->edit_for_evaluation());
    return made;
  }
};

}  // namespace detail

}  // namespace ravenfit

#endif
