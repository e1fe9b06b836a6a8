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

xy_reader::xy_reader(const input_options& options)
    : options_(options), table_(open_table(options.file, text_format_of(options))) {
  const std::size_t x = options.x.empty() ? 0 : find_column(*table_, options.x);
  std::vector<std::size_t> columns = {x};
  for (const std::string& y : options.y)
    columns.push_back(find_column(*table_, y));
  for (std::size_t c = 0; options.y.empty() && c < table_->names().size(); ++c)
    if (c != x) columns.push_back(c);
  std::vector<std::size_t> ascending = columns;
  std::sort(ascending.begin(), ascending.end());
  const auto twice = std::adjacent_find(ascending.begin(), ascending.end());
  if (twice != ascending.end())
    throw use_error(table_->source().name() + ": column \"" + table_->names()[*twice] + "\" is used twice");
  if (columns.size() == 1) throw use_error(table_->source().name() + ": there is no column but that of x");
  table_->choose(columns, false);
  x_name_ = table_->names()[x];
  for (std::size_t k = 1; k < columns.size(); ++k)
    y_names_.push_back(table_->names()[columns[k]]);
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

bool xy_reader::append(std::vector<double>& x, std::vector<double>& y) {
  if (!table_->read(block_)) return false;
  const std::size_t width = y_names_.size() + 1;
  const double* row = block_.values.data();
  const std::size_t before = y.size();
  y.resize(before + block_.rows * (width - 1));
  double* to = y.data() + before;
  for (std::size_t i = 0; i < block_.rows; ++i, row += width) {
    check_order(row[0], block_.lines[i]);
    x.push_back(row[0]);
    to = std::copy_n(row + 1, width - 1, to);
  }
  return true;
}

void xy_reader::read_all(std::vector<double>& x, std::vector<double>& y, progress& shown) {
  ordered_ = !options_.sort;
  while (append(x, y))
    shown.at(table_->source().done());
  if (options_.sort) sort_rows(x, y, functions());
  if (options_.mean_duplicates) join_rows(x, y, functions());
  const auto repeated = std::adjacent_find(x.begin(), x.end());
  if (repeated != x.end())
    throw data_error(table_->source().name() + ": column \"" + x_name_ + "\": " +
                     fmt::format("{} occurs in several rows; --mean-duplicates takes their mean", *repeated));
}

void sort_rows(std::vector<double>& x, std::vector<double>& y, std::size_t functions) {
  if (std::is_sorted(x.begin(), x.end())) return;
  std::vector<std::size_t> order(x.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return x[a] < x[b]; });
  std::vector<double> sorted_x(x.size());
  std::vector<double> sorted_y(y.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    sorted_x[i] = x[order[i]];
    std::copy_n(y.begin() + static_cast<std::ptrdiff_t>(order[i] * functions), functions,
                sorted_y.begin() + static_cast<std::ptrdiff_t>(i * functions));
  }
  x.swap(sorted_x);
  y.swap(sorted_y);
}

void join_rows(std::vector<double>& x, std::vector<double>& y, std::size_t functions) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < x.size();) {
    std::size_t count = 1;
    while (i + count < x.size() && x[i + count] == x[i])
      ++count;
    for (std::size_t f = 0; f < functions; ++f) {
      long double sum = 0.0L;  // which no doubles overflow
      for (std::size_t k = 0; k < count; ++k)
        sum += y[(i + k) * functions + f];
      y[kept * functions + f] = static_cast<double>(sum / static_cast<long double>(count));
    }
    x[kept++] = x[i];
    i += count;
  }
  x.resize(kept);
  y.resize(kept * functions);
}

}  // namespace command
