#include "xy_data.h"

#include <algorithm>
#include <fmt/format.h>
#include <numeric>

#include "errors.h"

namespace command {

text_format text_format_of(const input_options& options) {
  text_format format;
  if (options.heading) format.heading = true;
  if (options.no_heading) format.heading = false;
  format.comment = options.comment.empty() || options.comment == "none" ? '\n' : options.comment[0];
  const std::string& s = options.separator;
  if (s == "tab" || s == "\\t") {
    format.separator = '\t';
  } else if (s == "space" || s == "comma" || s == "semicolon") {
    format.separator = s == "space" ? ' ' : s == "comma" ? ',' : ';';
  } else if (!s.empty()) {
    constexpr std::string_view never = "\"\r\n+-.eE0123456789";
    if (s.size() != 1 || never.find(s[0]) != std::string_view::npos)
      throw use_error("--separator takes comma, semicolon, tab, space or one other character, not \"" + s +
                      "\"");
    format.separator = s[0];
  }
  return format;
}

xy_reader::xy_reader(const input_options& options, const given_columns& given)
    : options_(options), given_(given), table_(open_table(options.file, text_format_of(options))) {
  const std::size_t x = options.x.empty() ? 0 : find_column(*table_, options.x);
  std::vector<std::size_t> taken;
  for (const std::string& name : given.names)
    taken.push_back(find_column(*table_, name));
  std::vector<std::size_t> columns = {x};
  for (const std::string& y : options.y)
    columns.push_back(find_column(*table_, y));
  for (std::size_t c = 0; options.y.empty() && c < table_->names().size(); ++c)
    if (c != x && std::find(taken.begin(), taken.end(), c) == taken.end()) columns.push_back(c);
  const std::size_t first_given = columns.size();
  columns.insert(columns.end(), taken.begin(), taken.end());
  std::vector<std::size_t> ascending = columns;
  std::sort(ascending.begin(), ascending.end());
  const auto twice = std::adjacent_find(ascending.begin(), ascending.end());
  if (twice != ascending.end())
    throw use_error(table_->source().name() + ": column \"" + table_->names()[*twice] + "\" is used twice");
  if (columns.size() == 1) throw use_error(table_->source().name() + ": there is no column but that of x");
  if (first_given == 1) throw use_error(table_->source().name() + ": no column is left for the values");
  for (std::size_t k = 0; k < taken.size(); ++k)
    given_.names[k] = table_->names()[taken[k]];
  table_->choose(columns, false);
  x_name_ = table_->names()[x];
  for (std::size_t k = 1; k < first_given; ++k)
    y_names_.push_back(table_->names()[columns[k]]);
}

void xy_reader::check_weight(double weight, std::uint64_t line) const {
  if (!(weight > 0.0))
    throw data_error(field_message(*table_, line, given_.names[0],
                                   fmt::format("{} is no weight; weights must be above 0", weight)));
}

void xy_reader::check_order(double x, std::uint64_t line) {
  if (started_ && ordered_ && !(x > last_) && !(x == last_ && options_.mean_duplicates)) {
    const char* const help =
        x == last_ ? "; --mean-duplicates takes the mean of such rows" : "; --sort sorts the rows";
    throw data_error(field_message(
        *table_, line, x_name_,
        fmt::format("{} does not exceed {} in {}{}", x, last_, table_->nearby(last_line_), help)));
  }
  started_ = true;
  last_ = x;
  last_line_ = line;
}

bool xy_reader::append(xy_rows& rows) {
  if (!table_->read(block_)) return false;
  const std::size_t before = rows.x.size();
  rows.x.resize(before + block_.rows);
  rows.y.resize(rows.x.size() * functions());
  rows.given.resize(rows.x.size() * given());
  const double* from = block_.values.data();
  double* y = rows.y.data() + before * functions();
  double* more = rows.given.data() + before * given();
  for (std::size_t i = 0; i < block_.rows; ++i) {
    check_order(*from, block_.lines[i]);
    rows.x[before + i] = *from++;
    y = std::copy_n(from, functions(), y);
    from += functions();
    if (given_.are_weights) check_weight(*from, block_.lines[i]);
    more = std::copy_n(from, given(), more);
    from += given();
  }
  return true;
}

xy_rows xy_reader::read_all(progress& shown) {
  ordered_ = !options_.sort;
  xy_rows rows;
  while (append(rows))
    shown.at(table_->source().done());
  if (options_.sort) sort_rows(rows);
  if (options_.mean_duplicates) join_rows(rows, given_.are_weights);
  const auto repeated = std::adjacent_find(rows.x.begin(), rows.x.end());
  if (repeated != rows.x.end())
    throw data_error(table_->source().name() + ": column \"" + x_name_ + "\": " +
                     fmt::format("{} occurs in several rows; --mean-duplicates takes their mean", *repeated));
  return rows;
}

void sort_rows(xy_rows& rows) {
  if (std::is_sorted(rows.x.begin(), rows.x.end())) return;
  std::vector<std::size_t> order(rows.x.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(),
                   [&](std::size_t a, std::size_t b) { return rows.x[a] < rows.x[b]; });
  for (std::vector<double>* const all : {&rows.x, &rows.y, &rows.given}) {
    const std::size_t width = all->size() / order.size();
    std::vector<double> sorted(all->size());
    for (std::size_t i = 0; i < order.size(); ++i)
      std::copy_n(all->begin() + static_cast<std::ptrdiff_t>(order[i] * width), width,
                  sorted.begin() + static_cast<std::ptrdiff_t>(i * width));
    all->swap(sorted);
  }
}

void join_rows(xy_rows& rows, bool weighted) {
  if (rows.x.empty()) return;
  const std::size_t functions = rows.y.size() / rows.x.size();
  const std::size_t given = rows.given.size() / rows.x.size();
  std::size_t kept = 0;
  for (std::size_t i = 0; i < rows.x.size();) {
    std::size_t count = 1;
    while (i + count < rows.x.size() && rows.x[i + count] == rows.x[i])
      ++count;
    // Long doubles, of which no sum of doubles overflows.
    const auto weight = [&](std::size_t k) { return weighted ? rows.given[i + k] : 1.0L; };
    long double weights = 0.0L;
    for (std::size_t k = 0; k < count; ++k)
      weights += weight(k);
    const auto join = [&](std::vector<double>& all, std::size_t width) {
      for (std::size_t f = 0; f < width; ++f) {
        long double sum = 0.0L;
        for (std::size_t k = 0; k < count; ++k)
          sum += weight(k) * all[(i + k) * width + f];
        all[kept * width + f] = static_cast<double>(sum / weights);
      }
    };
    join(rows.y, functions);
    if (weighted)
      rows.given[kept] = static_cast<double>(weights);
    else
      join(rows.given, given);
    rows.x[kept++] = rows.x[i];
    i += count;
  }
  rows.x.resize(kept);
  rows.y.resize(kept * functions);
  rows.given.resize(kept * given);
}

}  // namespace command
