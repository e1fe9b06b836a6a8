// resample, eval and smooth: values and derivatives of the columns of a table, or of a curve, at sites.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <limits>

#include "curve.h"
#include "curve_file.h"
#include "errors.h"
#include "given.h"
#include "output.h"
#include "progress.h"
#include "side_by_side.h"
#include "sites.h"
#include "table_writer.h"
#include "xy_data.h"

namespace command {

namespace {

constexpr double no_limit = std::numeric_limits<double>::infinity();
constexpr std::size_t values_in_a_window = std::size_t{1} << 16;
constexpr std::size_t values_in_a_block = std::size_t{1} << 16;

std::vector<std::string> headings(const std::string& x, const std::vector<std::string>& y,
                                  const std::vector<int>& orders) {
  std::vector<std::string> all = {x};
  for (const int k : orders)
    for (const std::string& name : y)
      all.push_back(k == 0 ? name : fmt::format("{}_d{}", name, k));
  return all;
}

// Evaluates at the sites that come, and writes.
class evaluation {
 public:
  evaluation(const resample_options& options, const std::string& x_name,
             const std::vector<std::string>& y_names, bool heading, sites& where)
      : options_(options),
        columns_(y_names.size() * options.derivatives.size()),
        where_(where),
        to_(options.out.file),
        writer_(to_, format_of(options.out.file, options.out.format), 1 + columns_,
                heading ? headings(x_name, y_names, options.derivatives) : std::vector<std::string>()) {}

  // Sites below the limit.
  void run(const curve& from, double limit) {
    const std::size_t most = std::max<std::size_t>(values_in_a_block / columns_, 64);
    for (;;) {
      where_.take(limit, most, block_);
      if (block_.empty()) return;
      write(from, block_);
    }
  }
  void write(const curve& from, const std::vector<double>& at) {
    if (options_.spline.outside == "refuse") check_inside(at);
    writer_.write(at.data(), at.size(), [&](std::size_t first, std::size_t count, double* to) {
      from.evaluate({at.data() + first, count}, options_.derivatives, to);
    });
  }
  void set_domain(double first, double last) {
    first_ = first;
    last_ = last;
  }
  void finish() {
    writer_.finish();
    to_.commit();
  }

 private:
  void check_inside(const std::vector<double>& at) const {
    for (const double s : at)
      if (s < first_ || s > last_)
        throw data_error(fmt::format("site {} is outside the data, which --outside refuse forbids", s));
  }

  const resample_options& options_;
  std::size_t columns_;
  sites& where_;
  output to_;
  table_writer writer_;
  double first_ = -no_limit;
  double last_ = no_limit;
  std::vector<double> block_;
};

// Rows that are read while others are worked on.
struct rows_ahead {
  xy_rows rows;
  bool are_last = false;

  void read(xy_reader& data, std::size_t count) {
    for (std::vector<double>* const all : {&rows.x, &rows.y, &rows.given})
      all->clear();
    while (rows.x.size() < count && !are_last)
      are_last = !data.append(rows);
  }
};

// Drops rows at the front, and appends others.
void move_on(xy_rows& window, std::size_t drop, const xy_rows& next) {
  const auto move = [&](std::vector<double>& all, const std::vector<double>& more) {
    const std::size_t width = window.x.empty() ? 0 : all.size() / window.x.size();
    all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(drop * width));
    all.insert(all.end(), more.begin(), more.end());
  };
  move(window.y, next.y);
  move(window.given, next.given);
  move(window.x, next.x);
}

// Data that ascend pass through a window, whose splines have the values of the whole a few breakpoints away from where it
// is cut.
void run_in_windows(const resample_options& options, xy_reader& data, sites& where, evaluation& work) {
  const std::size_t reach = reach_of(options.spline);
  const std::size_t rows = std::max(values_in_a_window / data.functions(), 8 * reach);
  progress shown(options.out.quiet, data.table().source().size());
  xy_rows window;
  const std::vector<double>& x = window.x;
  rows_ahead next;
  next.read(data, rows);
  std::size_t drop = 0;
  for (bool has_first = true;; has_first = false) {
    move_on(window, drop, next.rows);
    const bool has_last = next.are_last;
    const std::uint64_t done = data.table().source().done();
    meanwhile reading;
    if (!has_last) reading = meanwhile([&] { next.read(data, rows - 2 * reach); });
    if (has_first && has_last) require_rows(data.table().source().name(), x.size(), options.spline);
    if (has_first) where.set_first(x.front());
    if (has_last) where.set_last(x.back());
    work.set_domain(has_first ? x.front() : -no_limit, has_last ? x.back() : no_limit);
    const curve part = curve_through(window, options.spline, has_first, has_last);
    if (has_last) return work.run(part, no_limit);
    const std::size_t cut = x.size() - 1 - reach;
    work.run(part, x[cut]);
    shown.at(done);
    reading.finish();
    drop = cut - reach;
  }
}

void report_lambdas(const curve& made, const std::vector<std::string>& names) {
  const auto lambdas = made.made()->lambdas();
  for (std::size_t f = 0; f < lambdas.size(); ++f)
    fmt::print(stderr, "{}: lambda {:.6g}\n", names[f], lambdas[f]);
}

curve smoothed(const xy_rows& rows, const resample_options& options) {
  ravenfit::spline_options spline =
      options.lambda ? ravenfit::smoothing(*options.lambda, rows.given) : ravenfit::smoothing(rows.given);
  set_outside(spline, options.spline.outside);
  return curve(rows.x, rows.y, spline);
}

void run_whole(const resample_options& options, xy_reader& data, sites& where, evaluation& work,
               bool smooths) {
  xy_rows rows;
  {
    progress shown(options.out.quiet, data.table().source().size());
    rows = data.read_all(shown);
  }
  const std::vector<double>& x = rows.x;
  spline_choice kind = options.spline;
  if (smooths) kind.kind = "linear";  // whose needs are the same
  require_rows(data.table().source().name(), x.size(), kind);
  const curve all = smooths ? smoothed(rows, options) : curve_through(rows, options.spline);
  if (smooths && !options.lambda && !options.out.quiet) report_lambdas(all, data.y_names());
  where.set_first(x.front());
  where.set_last(x.back());
  work.set_domain(x.front(), x.back());
  if (!where.are_breakpoints()) return work.run(all, no_limit);
  const std::size_t most = std::max<std::size_t>(values_in_a_block / data.functions(), 64);
  for (std::size_t from = 0; from < x.size(); from += most)
    work.write(all, {x.begin() + static_cast<std::ptrdiff_t>(from),
                     x.begin() + static_cast<std::ptrdiff_t>(std::min(from + most, x.size()))});
}

int run_on_curve(resample_options options) {
  curve::parts parts = read_curve(options.in.file);
  override_outside(parts, options.spline.outside);
  if (parts.outside == DF_OUTSIDE_REFUSE) options.spline.outside = "refuse";
  const std::string x_name = parts.x_name;
  const std::vector<std::string> y_names = parts.y_names;
  const curve from(std::move(parts));
  sites where(options.sites, options.in, x_name);
  where.set_first(from.first());
  where.set_last(from.last());
  evaluation work(options, x_name, y_names, !options.in.no_heading, where);
  work.set_domain(from.first(), from.last());
  work.run(from, no_limit);
  work.finish();
  return 0;
}

int run_on_table(const resample_options& options, bool smooths) {
  check_needs(options.spline, {options.spline.kind});
  spline_options_of(options.spline);
  given_columns given = given_of(options.spline);
  if (!options.weights.empty()) given = {{options.weights}, true};
  xy_reader data(options.in, given);
  check_counts(options.spline, data);
  sites where(options.sites, options.in, options.in.x.empty() ? data.x_name() : options.in.x);
  bool whole = smooths || reach_of(options.spline) == 0 || !where.ascend() || options.in.sort ||
               options.in.mean_duplicates;
  if (where.need_last() && !whole) {
    if (data.can_be_read_twice())
      where.set_last(last_of_x(options.in));
    else
      whole = true;
  }
  evaluation work(options, data.x_name(), data.y_names(), data.has_heading(), where);
  if (whole)
    run_whole(options, data, where, work, smooths);
  else
    run_in_windows(options, data, where, work);
  work.finish();
  return 0;
}

bool says_sites(const site_choice& sites) {
  return sites.step || sites.n > 0 || !sites.at.empty() || !sites.like.empty() || !sites.list.empty();
}

}  // namespace

int resample(const resample_options& options) {
  if (!says_sites(options.sites)) throw use_error("choose the sites by --step, --n, --at or --like");
  return run_on_table(options, false);
}

int evaluate(const resample_options& options) {
  if (!says_sites(options.sites)) throw use_error("choose the sites by --at or --sites");
  return is_curve_file(options.in.file) ? run_on_curve(options) : run_on_table(options, false);
}

int smooth(const resample_options& options) {
  if (options.lambda && !(*options.lambda >= 0.0 && std::isfinite(*options.lambda)))
    throw use_error(fmt::format("--lambda {}: it must be 0 or more", *options.lambda));
  return run_on_table(options, true);
}

}  // namespace command
