// check: what is in a table, whether a spline can be made of it, and which.

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <limits>

#include "errors.h"
#include "output.h"
#include "progress.h"
#include "xy_data.h"

namespace command {

namespace {

// What is found in a column while rows pass.
struct column_facts {
  std::uint64_t bad = 0;  // no numbers, or not finite ones
  std::uint64_t first_bad = 0;
  double least = std::numeric_limits<double>::infinity();
  double largest = -std::numeric_limits<double>::infinity();
  std::uint64_t rises = 0;
  std::uint64_t falls = 0;
  std::uint64_t turns = 0;
  double largest_difference = 0.0;
  double differences = 0.0;  // sum of their sizes
  double last = 0.0;
  double last_difference = 0.0;
  std::uint64_t count = 0;

  void add(double value, std::uint64_t line) {
    if (!std::isfinite(value)) {
      if (bad++ == 0) first_bad = line;
      return;
    }
    least = std::min(least, value);
    largest = std::max(largest, value);
    if (count++ > 0) {
      const double difference = value - last;
      if (difference > 0.0) ++rises;
      if (difference < 0.0) ++falls;
      if ((difference > 0.0 && last_difference < 0.0) || (difference < 0.0 && last_difference > 0.0)) ++turns;
      if (difference != 0.0) last_difference = difference;
      largest_difference = std::max(largest_difference, std::fabs(difference));
      differences += std::fabs(difference);
    }
    last = value;
  }
  bool turns_often() const { return count >= 20 && turns > count / 3; }
  bool is_monotone() const { return (rises == 0) != (falls == 0); }
  // One step that outweighs the mean of the others by far.
  bool jumps() const {
    return count >= 8 && largest_difference > 20.0 * differences / static_cast<double>(count - 1);
  }
};

struct x_facts {
  std::vector<double> values;
  std::vector<std::uint64_t> lines;
  std::uint64_t steps_back = 0;
  std::uint64_t repeated = 0;
  std::size_t first_back = 0;
  std::size_t first_repeated = 0;

  void find_order() {
    for (std::size_t i = 1; i < values.size(); ++i) {
      if (values[i] < values[i - 1] && steps_back++ == 0) first_back = i;
      if (values[i] == values[i - 1] && repeated++ == 0) first_repeated = i;
    }
  }
  bool ascends() const { return steps_back == 0 && repeated == 0; }
};

class report {
 public:
  template <class... Arguments>
  void line(const std::string& what, fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    text_ += fmt::format("{:<12}", what) + fmt::format(format, std::forward<Arguments>(arguments)...) + '\n';
  }
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

void report_steps(report& to, const x_facts& x, const table_reader& table) {
  const std::size_t n = x.values.size();
  std::vector<double> steps(n - 1);
  for (std::size_t i = 1; i < n; ++i)
    steps[i - 1] = x.values[i] - x.values[i - 1];
  std::vector<double> order = steps;
  const auto middle = order.begin() + static_cast<std::ptrdiff_t>(order.size() / 2);
  std::nth_element(order.begin(), middle, order.end());
  const double median = *middle;
  const auto [least, largest] = std::minmax_element(steps.begin(), steps.end());
  to.line("steps", "{:.6g} to {:.6g}, median {:.6g}", *least, *largest, median);
  const auto gap = std::find_if(steps.begin(), steps.end(), [&](double h) { return h > 10.0 * median; });
  if (gap == steps.end())
    to.line("gaps", "none above 10 median steps");
  else
    to.line("gaps", "{} above 10 median steps, the first of {:.6g} after {}",
            std::count_if(gap, steps.end(), [&](double h) { return h > 10.0 * median; }), *gap,
            table.nearby(x.lines[static_cast<std::size_t>(gap - steps.begin())]));

  // The tests of the library's C++ layer.
  const double first = x.values.front();
  const double last = x.values.back();
  const double step = (last - first) / static_cast<double>(n - 1);
  double off = 0.0;
  for (std::size_t i = 0; i < n; ++i)
    off = std::max(off, std::fabs(x.values[i] - (static_cast<double>(i) * step + first)));
  const double rounding = 0x1p-51 * std::max(std::fabs(first), std::fabs(last));
  if (off <= std::min(rounding, 0x1p-32 * step))
    to.line("hint", "DF_XHINT_UNIFORM: equidistant up to rounding");
  else if (off <= 0.05 * step)
    to.line("hint", "DF_XHINT_QUASI_UNIFORM: equidistant within {:.2g} of a step", off / step);
  else
    to.line("hint", "none: breakpoints are not equidistant");
}

const char* advice(const column_facts& y) {
  if (y.turns_often()) return "smooth, if noise makes it turn so often; otherwise cubic";
  if (y.rises == 0 && y.falls == 0) return "any: it is constant";
  if (y.is_monotone()) return "pchip or steffen keep it monotone; cubic is more accurate where it is smooth";
  if (y.jumps()) return "pchip or modified-akima: cubic overshoots at its jumps";
  return "cubic, or akima where single values stand out";
}

}  // namespace

int check(const check_options& options) {
  const auto table = open_table(options.in.file, text_format_of(options.in));
  const std::vector<std::string>& names = table->names();
  const std::size_t x_column = options.in.x.empty() ? 0 : find_column(*table, options.in.x);
  std::vector<std::size_t> columns;
  for (std::size_t c = 0; c < names.size(); ++c)
    columns.push_back(c);
  table->choose(columns, true);

  std::vector<column_facts> facts(names.size());
  x_facts x;
  std::uint64_t rows = 0;
  {
    progress shown(options.out.quiet, table->source().size());
    for (row_block block; table->read(block); shown.at(table->source().done())) {
      rows += block.rows;
      for (std::size_t i = 0; i < block.rows; ++i) {
        const double* const row = block.values.data() + i * names.size();
        for (std::size_t c = 0; c < names.size(); ++c)
          facts[c].add(row[c], block.lines[i]);
        if (std::isfinite(row[x_column])) {
          x.values.push_back(row[x_column]);
          x.lines.push_back(block.lines[i]);
        }
      }
    }
  }
  x.find_order();

  report to;
  to.line("rows", "{}", rows);
  to.line("columns", "{}{}", names.size(), table->has_heading() ? "" : ", without a heading");
  const std::string& x_name = names[x_column];
  if (x.values.empty())
    to.line("x", "\"{}\" holds no numbers", x_name);
  else
    to.line("x", "\"{}\", from {} to {}", x_name, facts[x_column].least, facts[x_column].largest);
  to.line("order", "{}",
          x.steps_back == 0 ? "ascends"
                            : fmt::format("{} steps back, the first in {}; --sort sorts the rows",
                                          x.steps_back, table->nearby(x.lines[x.first_back])));
  to.line("duplicates", "{}",
          x.repeated == 0 ? "none"
                          : fmt::format("{}, the first in {}; --mean-duplicates takes means", x.repeated,
                                        table->nearby(x.lines[x.first_repeated])));
  bool finite = true;
  for (std::size_t c = 0; c < names.size(); ++c) {
    if (facts[c].bad == 0) continue;
    finite = false;
    to.line("no numbers", "{} in \"{}\", the first in {}", facts[c].bad, names[c],
            table->nearby(facts[c].first_bad));
  }
  if (finite) to.line("no numbers", "none");
  const bool fits = finite && x.ascends() && rows >= 2;
  if (x.ascends() && x.values.size() >= 2) report_steps(to, x, *table);
  constexpr std::size_t most_advised = 40;
  std::size_t advised = 0;
  for (std::size_t c = 0; c < names.size() && advised < most_advised; ++c) {
    if (c == x_column || facts[c].count < 2) continue;
    ++advised;
    to.line("kind", "\"{}\": {}", names[c], advice(facts[c]));
  }
  to.line("verdict", "{}",
          fits       ? "splines can be made from it"
          : rows < 2 ? "too few rows for a spline"
                     : "no spline can be made from it as it is");
  output file(options.out.file);
  file.write(to.text());
  file.commit();
  return fits ? 0 : 1;
}

}  // namespace command
