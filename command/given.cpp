#include "given.h"

#include <algorithm>
#include <fmt/format.h>

#include "errors.h"

namespace command {

namespace {

using ravenfit::end_condition;
using ravenfit::spline_options;

struct need_row {
  need needs;
  const char* option;
  const char* what;
};
constexpr need_row need_rows[] = {
    {need::slopes, "--slopes", "the columns of the slopes"},
    {need::curvatures, "--curvatures", "the columns of the second derivatives"},
    {need::midpoints, "--midpoints", "of each column the value halfway between the first two rows"},
};

std::size_t count_of(const spline_choice& choice, need what) {
  if (what == need::slopes) return choice.slopes.size();
  return what == need::curvatures ? choice.curvatures.size() : choice.midpoints.size();
}

// What is said of an end, or what the data give there. Periodic ends have the same slope, or second derivative, and take that
// of the data.
end_condition end_by(const std::string& said, bool is_there, need needs, double given) {
  if (is_there && said == "periodic") return {end_condition::periodic, given};
  if (is_there && !said.empty()) return end_of(said);
  return needs == need::slopes ? ravenfit::slope(given) : ravenfit::curvature(given);
}

// Of one column. The library takes slopes at all breakpoints, or inner ones beside ends of another kind, and second
// derivatives at the inner ones.
spline_options options_of(ravenfit::view<const double> given, const spline_choice& choice, bool has_left,
                          bool has_right) {
  const need needs = need_of(choice.kind);
  const std::string& left = left_end(choice);
  const std::string& right = right_end(choice);
  const bool as_given = (!has_left || left.empty()) && (!has_right || right.empty());
  if (needs == need::slopes && as_given) return ravenfit::hermite(given);
  const auto inner = given.part(1, given.size() - 2);
  spline_options options =
      needs == need::slopes ? ravenfit::hermite(inner) : ravenfit::second_derivatives(inner);
  return options.left(end_by(left, has_left, needs, given[0]))
      .right(end_by(right, has_right, needs, given[given.size() - 1]));
}

}  // namespace

void check_needs(const spline_choice& choice, const std::vector<std::string>& kinds) {
  for (const need_row& row : need_rows) {
    const auto kind = std::find_if(kinds.begin(), kinds.end(),
                                   [&](const std::string& name) { return need_of(name) == row.needs; });
    const bool is_given = count_of(choice, row.needs) > 0;
    if (kind != kinds.end() && !is_given)
      throw use_error(fmt::format("kind {} needs {}: {}", *kind, row.option, row.what));
    if (kind == kinds.end() && is_given)
      throw use_error(fmt::format("{} goes with kind {} alone", row.option, kind_that_needs(row.needs)));
    if (kind != kinds.end() && row.needs == need::midpoints &&
        !(left_end(choice).empty() && right_end(choice).empty()))
      throw use_error(fmt::format("kind {} has no ends to be chosen: {} says it all", *kind, row.option));
  }
}

given_columns given_of(const spline_choice& choice) {
  given_columns columns = {choice.slopes, false};
  columns.names.insert(columns.names.end(), choice.curvatures.begin(), choice.curvatures.end());
  return columns;
}

void check_counts(const spline_choice& choice, const xy_reader& data) {
  for (const need_row& row : need_rows) {
    const std::size_t count = count_of(choice, row.needs);
    if (count == 0 || count == data.functions()) continue;
    throw use_error(fmt::format("{} takes one for each column of values: {}, not {}", row.option,
                                data.functions(), count));
  }
}

curve curve_through(const xy_rows& rows, const spline_choice& choice, bool has_left, bool has_right) {
  const need needs = need_of(choice.kind);
  if (needs == need::nothing) return curve(rows.x, rows.y, spline_options_of(choice, has_left, has_right));
  const std::size_t n = rows.x.size();
  const std::size_t functions = rows.y.size() / n;
  const std::size_t width = rows.given.size() / n;
  const std::size_t first = needs == need::curvatures ? choice.slopes.size() : 0;
  curve::parts parts;
  parts.order = needs == need::midpoints ? DF_ORDER_QUADRATIC : DF_ORDER_CUBIC;
  override_outside(parts, choice.outside);
  parts.x = rows.x;
  parts.y_names.resize(functions);
  std::vector<double> y(n);
  std::vector<double> given(n);
  for (std::size_t f = 0; f < functions; ++f) {
    for (std::size_t i = 0; i < n; ++i)
      y[i] = rows.y[i * functions + f];
    for (std::size_t i = 0; i < n && width > 0; ++i)
      given[i] = rows.given[i * width + first + f];
    spline_options options = needs == need::midpoints ? ravenfit::quadratic(choice.midpoints[f])
                                                      : options_of(given, choice, has_left, has_right);
    const ravenfit::spline_view one(parts.x, y, options.unchecked());
    parts.coefficients.insert(parts.coefficients.end(), one.coefficients().begin(), one.coefficients().end());
  }
  return curve(std::move(parts));
}

}  // namespace command
