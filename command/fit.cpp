// fit, which keeps the spline of a table, and integrate.

#include <cmath>
#include <fmt/format.h>

#include "curve.h"
#include "curve_file.h"
#include "errors.h"
#include "given.h"
#include "output.h"
#include "table_writer.h"
#include "xy_data.h"

namespace command {

namespace {

// A table's spline, with what it stands on.
struct fitted {
  xy_rows rows;
  std::string x_name;
  std::vector<std::string> y_names;
  std::unique_ptr<curve> spline;

  fitted(const input_options& in, const spline_choice& choice, bool quiet) {
    check_needs(choice, {choice.kind});
    spline_options_of(choice);
    xy_reader data(in, given_of(choice));
    check_counts(choice, data);
    progress shown(quiet, data.table().source().size());
    rows = data.read_all(shown);
    require_rows(data.table().source().name(), rows.x.size(), choice);
    x_name = data.x_name();
    y_names = data.y_names();
    spline = std::make_unique<curve>(curve_through(rows, choice));
  }
};

}  // namespace

int fit(const fit_options& options) {
  const fitted made(options.in, options.spline, options.out.quiet);
  output to(options.out.file);
  write_curve(to, parts_of(*made.spline, options.spline, made.x_name, made.y_names));
  to.commit();
  return 0;
}

int integrate(const integrate_options& options) {
  const auto write = [&](const curve& of, const std::vector<std::string>& names, bool refuses) {
    const double limits[2] = {options.from.value_or(of.first()), options.to.value_or(of.last())};
    for (const double limit : limits)
      if (refuses && !(limit >= of.first() && limit <= of.last()))
        throw data_error(fmt::format("limit {} is outside the data, which --outside refuse forbids", limit));
    std::vector<double> row = of.integrals(limits[0], limits[1]);
    row.insert(row.begin(), limits[1]);
    std::vector<std::string> heading = {"from", "to"};
    heading.insert(heading.end(), names.begin(), names.end());
    output to(options.out.file);
    table_writer writer(to, format_of(options.out.file, options.out.format), heading.size(), heading);
    writer.write(&limits[0], row.data(), 1);
    writer.finish();
    to.commit();
  };
  if (is_curve_file(options.in.file)) {
    curve::parts parts = read_curve(options.in.file);
    override_outside(parts, options.spline.outside);
    const bool refuses = parts.outside == DF_OUTSIDE_REFUSE;
    const std::vector<std::string> names = parts.y_names;
    write(curve(std::move(parts)), names, refuses);
  } else {
    const fitted made(options.in, options.spline, options.out.quiet);
    write(*made.spline, made.y_names, options.spline.outside == "refuse");
  }
  return 0;
}

}  // namespace command
