#ifndef RAVENFIT_SPLINE_OPTIONS_HPP
#define RAVENFIT_SPLINE_OPTIONS_HPP

// What a spline shall be: kind, ends, and values outside. Included by ravenfit.hpp.

#include <vector>

#include <ravenfit/data_fitting.h>
#include <ravenfit/smoothing.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/view.hpp>

namespace ravenfit {

namespace detail {
struct spline_state;
}

// One end of a spline.
struct end_condition {
  // `value` is the slope or the second derivative; of periodic ends the common one, for kinds that are given them.
  enum type { own, not_a_knot, free, slope, curvature, periodic };
  type kind = own;
  double value = 0.0;
};

// The kind's own ends: for Akima, modified Akima, PCHIP and Steffen.
inline end_condition own_end() {
  return {end_condition::own, 0.0};
}
// The third derivative is continuous at the breakpoint beside the end.
inline end_condition not_a_knot() {
  return {end_condition::not_a_knot, 0.0};
}
// Second derivative 0.
inline end_condition free_end() {
  return {end_condition::free, 0.0};
}
// First derivative.
inline end_condition slope(double value) {
  return {end_condition::slope, value};
}
// Second derivative.
inline end_condition curvature(double value) {
  return {end_condition::curvature, value};
}

// What a spline is outside its partition; see dfTaskSetOutside for each.
enum class outside_mode {
  proceed = DF_OUTSIDE_CONTINUE,
  clamp = DF_OUTSIDE_CLAMP,
  constant = DF_OUTSIDE_CONSTANT,
  nan = DF_OUTSIDE_NAN,
  wrap = DF_OUTSIDE_WRAP,
  refuse = DF_OUTSIDE_REFUSE
};
constexpr outside_mode proceed = outside_mode::proceed;
constexpr outside_mode clamp = outside_mode::clamp;
constexpr outside_mode wrap = outside_mode::wrap;
constexpr outside_mode refuse = outside_mode::refuse;

// The kind of a spline and all of its settings. Made by the functions below; each setter changes one thing and returns the
// whole, so that calls chain.
class spline_options {
 public:
  // Of DF_ORDER_* and DF_KIND_*; the functions below are shorter.
  spline_options(int order, int kind, end_condition ends)
      : order_(order), kind_(kind), left_(ends), right_(ends) {}

  // The end at the first breakpoint.
  spline_options& left(end_condition end) { return left_ = end, *this; }
  // The end at the last breakpoint.
  spline_options& right(end_condition end) { return right_ = end, *this; }
  // Both ends.
  spline_options& ends(end_condition end) { return left(end).right(end); }
  // Value, and slope and curvature as far as the kind has them, agree at both ends.
  spline_options& periodic() { return ends({end_condition::periodic, 0.0}); }
  // On both sides of the partition.
  spline_options& outside(outside_mode mode) { return below(mode).above(mode); }
  // This value on both sides.
  spline_options& outside(double value) { return outside_value_ = value, outside(outside_mode::constant); }
  // Below the first breakpoint.
  spline_options& below(outside_mode mode) { return below_ = mode, *this; }
  // Above the last breakpoint.
  spline_options& above(outside_mode mode) { return above_ = mode, *this; }
  // y holds the values of all functions at a breakpoint side by side; without this, all values of a function.
  spline_options& by_breakpoint() { return by_breakpoint_ = true, *this; }
  // Breakpoints are taken as they are: not tested, no structure looked for.
  spline_options& unchecked() { return unchecked_ = true, *this; }

 private:
  friend class spline;
  friend struct detail::spline_state;
  friend spline_options hermite(view<const double> slopes);
  friend spline_options second_derivatives(view<const double> values);
  friend spline_options quadratic(double midpoint);
  friend spline_options smoothing(double lambda, view<const double> weights);
  friend spline_options smoothing(view<const double> weights);

  int order_;
  int kind_;
  end_condition left_;
  end_condition right_;
  outside_mode below_ = outside_mode::proceed;
  outside_mode above_ = outside_mode::proceed;
  double outside_value_ = 0.0;
  bool by_breakpoint_ = false;
  bool unchecked_ = false;
  int smooth_method_ = -1;
  double lambda_ = 0.0;
  std::vector<double> inner_;  // slopes, second derivatives, the midpoint value, weights
};

// Cubic with continuous second derivative; free ends unless set otherwise.
inline spline_options cubic() {
  return {DF_ORDER_CUBIC, DF_KIND_NATURAL, free_end()};
}
// The broken line.
inline spline_options linear() {
  return {DF_ORDER_LINEAR, DF_KIND_DEFAULT, own_end()};
}
// Cubic with a continuous slope by H. Akima (1970), which single outliers disturb little.
inline spline_options akima() {
  return {DF_ORDER_CUBIC, DF_KIND_AKIMA, own_end()};
}
// The same with weights that keep flat stretches flat.
inline spline_options modified_akima() {
  return {DF_ORDER_CUBIC, DF_KIND_MODIFIED_AKIMA, own_end()};
}
// Cubic, monotone where the data are (F. N. Fritsch, J. Butland, 1984).
inline spline_options pchip() {
  return {DF_ORDER_CUBIC, DF_KIND_PCHIP, own_end()};
}
// Cubic, monotone where the data are (M. Steffen, 1990).
inline spline_options steffen() {
  return {DF_ORDER_CUBIC, DF_KIND_STEFFEN, own_end()};
}
// Cubic, with the slopes of parabolas through three neighbours.
inline spline_options bessel() {
  return {DF_ORDER_CUBIC, DF_KIND_BESSEL, not_a_knot()};
}
// Parabolas that join at the midpoints of cells; slopes or curvatures must be given at both ends.
inline spline_options subbotin() {
  return {DF_ORDER_QUADRATIC, DF_KIND_SUBBOTIN, curvature(0.0)};
}
// Parabolas with a continuous slope, from the value at the midpoint of the first cell.
inline spline_options quadratic(double midpoint) {
  spline_options made(DF_ORDER_QUADRATIC, DF_KIND_DEFAULT, own_end());
  made.inner_.assign(1, midpoint);
  return made;
}
// Cubic from given slopes at all breakpoints, nx for each function one after another; or, for one function, at the
// interior ones.
inline spline_options hermite(view<const double> slopes) {
  spline_options made(DF_ORDER_CUBIC, DF_KIND_HERMITE, free_end());
  made.inner_.assign(slopes.begin(), slopes.end());
  return made;
}
// Cubic from given second derivatives at the nx - 2 interior breakpoints.
inline spline_options second_derivatives(view<const double> values) {
  spline_options made(DF_ORDER_CUBIC, DF_KIND_DEFAULT, free_end());
  made.inner_.assign(values.begin(), values.end());
  return made;
}
// Smoothing spline for values with noise; weights may be left out. See ravenfit/smoothing.h on lambda.
inline spline_options smoothing(double lambda, view<const double> weights = {}) {
  spline_options made(DF_ORDER_CUBIC, DF_KIND_NATURAL, free_end());
  made.smooth_method_ = DF_SMOOTH_LAMBDA;
  made.lambda_ = lambda;
  made.inner_.assign(weights.begin(), weights.end());
  return made;
}
// The same with lambda by generalised cross-validation.
inline spline_options smoothing(view<const double> weights = {}) {
  spline_options made = smoothing(0.0, weights);
  made.smooth_method_ = DF_SMOOTH_GCV;
  return made;
}

}  // namespace ravenfit

#endif
