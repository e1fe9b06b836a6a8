#include "curve.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "errors.h"

namespace command {

namespace {

using ravenfit::end_condition;
using ravenfit::spline_options;

// The system of a spline with continuous curvature couples slopes to their neighbours by half at most, so that what is
// 256 breakpoints away counts by 2^-256.
constexpr std::size_t reach_of_system = 256;
constexpr std::size_t reach_of_formula = 8;
constexpr std::size_t everywhere = 0;

struct kind_row {
  const char* name;
  spline_options (*make)();
  std::size_t reach;
  std::size_t least_rows;
  need needs = need::nothing;
};

// Which get their data later.
spline_options bare_hermite() {
  return ravenfit::hermite({});
}
spline_options bare_second_derivatives() {
  return ravenfit::second_derivatives({});
}
spline_options bare_quadratic() {
  return ravenfit::quadratic(0.0);
}

const kind_row kinds[] = {
    {"cubic", ravenfit::cubic, reach_of_system, 3},
    {"natural", ravenfit::cubic, reach_of_system, 3},
    {"akima", ravenfit::akima, reach_of_formula, 5},
    {"modified-akima", ravenfit::modified_akima, reach_of_formula, 5},
    {"pchip", ravenfit::pchip, reach_of_formula, 3},
    {"steffen", ravenfit::steffen, reach_of_formula, 3},
    {"bessel", ravenfit::bessel, reach_of_formula, 4},
    {"linear", ravenfit::linear, reach_of_formula, 2},
    {"subbotin", ravenfit::subbotin, everywhere, 3},
    {"hermite", bare_hermite, reach_of_formula, 2, need::slopes},
    {"second-derivatives", bare_second_derivatives, reach_of_formula, 3, need::curvatures},
    {"quadratic", bare_quadratic, everywhere, 2, need::midpoints},
};

const kind_row& row_of(const std::string& name) {
  const auto found =
      std::find_if(std::begin(kinds), std::end(kinds), [&](const kind_row& row) { return row.name == name; });
  if (found == std::end(kinds)) throw use_error("there is no kind \"" + name + "\"");
  return *found;
}

double number_in(const std::string& text, std::size_t from) {
  double value = 0.0;
  const char* const end = text.data() + text.size();
  const auto [rest, failed] = std::from_chars(text.data() + from, end, value);
  if (failed != std::errc() || rest != end || !std::isfinite(value))
    throw use_error("\"" + text + "\": a number must follow \"" + text.substr(0, from) + "\"");
  return value;
}

struct outside_row {
  const char* name;
  ravenfit::outside_mode mode;
};
constexpr outside_row outsides[] = {{"proceed", ravenfit::proceed},
                                    {"clamp", ravenfit::clamp},
                                    {"wrap", ravenfit::wrap},
                                    {"nan", ravenfit::outside_mode::nan},
                                    {"refuse", ravenfit::refuse}};

// A word of the table, or else a number, which is the constant.
ravenfit::outside_mode outside_of(const std::string& text, double& value) {
  for (const outside_row& row : outsides)
    if (text == row.name) return row.mode;
  const char* const end = text.data() + text.size();
  const auto [rest, failed] = std::from_chars(text.data(), end, value);
  if (failed == std::errc() && rest == end) return ravenfit::outside_mode::constant;
  throw use_error("--outside takes proceed, clamp, wrap, nan, refuse or a number, not \"" + text + "\"");
}

void check(int code) {
  if (code != DF_STATUS_OK) throw data_error(rvnStatusText(RVN_DOMAIN_FIT, code));
}

}  // namespace

const std::vector<std::string>& kind_names() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> all;
    for (const kind_row& row : kinds)
      all.emplace_back(row.name);
    return all;
  }();
  return names;
}

need need_of(const std::string& kind) {
  return row_of(kind).needs;
}

const char* kind_that_needs(need what) {
  return std::find_if(std::begin(kinds), std::end(kinds),
                      [&](const kind_row& row) { return row.needs == what; })
      ->name;
}

const std::string& left_end(const spline_choice& choice) {
  return choice.left.empty() ? choice.ends : choice.left;
}

const std::string& right_end(const spline_choice& choice) {
  return choice.right.empty() ? choice.ends : choice.right;
}

end_condition end_of(const std::string& text) {
  if (text == "own") return ravenfit::own_end();
  if (text == "free") return ravenfit::free_end();
  if (text == "not-a-knot") return ravenfit::not_a_knot();
  if (text == "periodic") return {end_condition::periodic, 0.0};
  if (text.rfind("slope=", 0) == 0) return ravenfit::slope(number_in(text, 6));
  if (text.rfind("curvature=", 0) == 0) return ravenfit::curvature(number_in(text, 10));
  throw use_error("\"" + text +
                  "\" is not an end; take own, free, not-a-knot, periodic, slope=NUMBER, curvature=NUMBER");
}

std::size_t reach_of(const spline_choice& choice) {
  const bool closed = choice.ends == "periodic" || choice.left == "periodic" || choice.right == "periodic";
  return closed || choice.outside == "wrap" ? everywhere : row_of(choice.kind).reach;
}

void require_rows(const std::string& file, std::size_t rows, const spline_choice& choice) {
  if (rows == 0) throw data_error(file + ": holds no data");
  const bool loose =
      choice.ends == "not-a-knot" || choice.left == "not-a-knot" || choice.right == "not-a-knot";
  // The cubic of two rows takes its slopes at both of them.
  const bool replaced =
      need_of(choice.kind) == need::slopes && !(left_end(choice).empty() && right_end(choice).empty());
  const std::size_t least = std::max(
      {row_of(choice.kind).least_rows, std::size_t{loose ? 4U : 0U}, std::size_t{replaced ? 3U : 0U}});
  if (rows < least)
    throw data_error(file + ": too few rows for kind " + choice.kind + ": " + std::to_string(rows) + " of " +
                     std::to_string(least));
}

spline_options spline_options_of(const spline_choice& choice, bool has_left, bool has_right) {
  spline_options options = row_of(choice.kind).make();
  const std::string& left = left_end(choice);
  const std::string& right = right_end(choice);
  if (has_left && !left.empty()) options.left(end_of(left));
  if (has_right && !right.empty()) options.right(end_of(right));
  // A kind's own end beside another one, and a cut, are curvature 0, which every cubic kind takes.
  if ((!left.empty() || !right.empty()) && choice.kind != "linear") {
    if (!has_left || left.empty()) options.left(ravenfit::free_end());
    if (!has_right || right.empty()) options.right(ravenfit::free_end());
  }
  set_outside(options, choice.outside);
  return options;
}

void set_outside(spline_options& options, const std::string& text) {
  if (text.empty()) return;
  double value = 0.0;
  const ravenfit::outside_mode mode = outside_of(text, value);
  if (mode == ravenfit::outside_mode::constant)
    options.outside(value);
  else
    options.outside(mode);
}

void override_outside(curve::parts& parts, const std::string& text) {
  if (!text.empty()) parts.outside = static_cast<std::int32_t>(outside_of(text, parts.outside_value));
}

curve::parts parts_of(const curve& made, const spline_choice& choice, const std::string& x_name,
                      const std::vector<std::string>& y_names) {
  curve::parts parts = made.loaded();
  parts.x_name = x_name;
  parts.y_names = y_names;
  if (made.made() == nullptr) return parts;
  const ravenfit::spline& spline = *made.made();
  parts.order = spline.order();
  parts.kind = choice.kind == "subbotin" ? DF_KIND_SUBBOTIN : DF_KIND_DEFAULT;
  override_outside(parts, choice.outside);
  parts.x.assign(spline.breakpoints().begin(), spline.breakpoints().end());
  parts.coefficients.assign(spline.coefficients().begin(), spline.coefficients().end());
  return parts;
}

curve::curve(ravenfit::view<const double> x, ravenfit::view<const double> y, const spline_options& options)
    : made_(
          std::make_unique<ravenfit::spline_view>(x, y, spline_options(options).by_breakpoint().unchecked())),
      functions_(made_->functions()),
      first_(x[0]),
      last_(x[x.size() - 1]) {}

curve::curve(parts loaded)
    : loaded_(std::move(loaded)),
      functions_(loaded_.y_names.size()),
      first_(loaded_.x.front()),
      last_(loaded_.x.back()) {
  // The task is told of values that it does not look at: there are coefficients.
  DfTask* task = nullptr;
  check(dfTaskCreate(&task, static_cast<std::int32_t>(loaded_.x.size()), loaded_.x.data(), DF_XHINT_NONE,
                     static_cast<std::int32_t>(functions_), loaded_.coefficients.data(), DF_VALUES_DEFAULT));
  task_.reset(task);
  check(dfTaskSetOutside(task, loaded_.outside, loaded_.outside, loaded_.outside_value));
  check(dfTaskEditSpline(task, loaded_.order, loaded_.kind, DF_END_NONE, nullptr, DF_IC_NONE, nullptr,
                         loaded_.coefficients.data(), DF_COEFF_DEFAULT));
}

void curve::evaluate(ravenfit::view<const double> sites, const std::vector<int>& derivatives,
                     double* out) const {
  std::int32_t wanted[32] = {};
  for (const int k : derivatives)
    wanted[k] = 1;
  const std::size_t results = derivatives.size() * functions_;
  const std::size_t most = std::max<std::size_t>((std::size_t{1} << 30) / results, 1);
  for (std::size_t from = 0; from < sites.size(); from += most) {
    const auto part = sites.part(from, std::min(most, sites.size() - from));
    const bool ascend = std::is_sorted(part.begin(), part.end());
    check(dfTaskInterpolate(task(), DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL,
                            static_cast<std::int32_t>(part.size()), part.data(),
                            ascend ? DF_SITES_SORTED : DF_SITES_GENERAL, 32, wanted, nullptr,
                            out + from * results, DF_RESULTS_BY_SITE, nullptr));
  }
}

std::vector<double> curve::integrals(double a, double b) const {
  std::vector<double> all(functions_);
  check(dfTaskIntegrate(task(), 1, &a, &b, all.data(), DF_RESULTS_BY_SITE));
  return all;
}

}  // namespace command
