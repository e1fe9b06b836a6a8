#include "sites.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

#include "errors.h"
#include "table_reader.h"
#include "xy_data.h"

namespace command {

namespace {

std::vector<double> read_column(const std::string& file, const input_options& in, const std::string& column) {
  const auto table = open_table(file, text_format_of(in));
  table->choose({column.empty() ? 0 : find_column(*table, column)}, false);
  std::vector<double> all;
  row_block block;
  while (table->read(block))
    all.insert(all.end(), block.values.begin(),
               block.values.begin() + static_cast<std::ptrdiff_t>(block.rows));
  return all;
}

}  // namespace

sites::sites(const site_choice& choice, const input_options& in, const std::string& x_name)
    : has_from_(choice.from.has_value()),
      has_to_(choice.to.has_value()),
      from_(choice.from.value_or(0.0)),
      to_(choice.to.value_or(0.0)) {
  const int ways = (choice.step ? 1 : 0) + (choice.n > 0 ? 1 : 0) + (choice.at.empty() ? 0 : 1) +
                   (choice.like.empty() ? 0 : 1) + (choice.list.empty() ? 0 : 1);
  if (ways > 1) throw use_error("choose the sites in one way: by --step, --n, --at, --like or --sites");
  if ((has_from_ || has_to_) && !choice.step && choice.n == 0)
    throw use_error("--from and --to go with --step or --n");
  if (has_from_ && has_to_ && !(from_ <= to_))
    throw use_error(fmt::format("--from {} is above --to {}", from_, to_));
  if (choice.step) {
    kind_ = by_step;
    step_ = *choice.step;
    if (!(step_ > 0.0) || !std::isfinite(step_))
      throw use_error(fmt::format("--step {}: a step must be above 0", step_));
  } else if (choice.n > 0) {
    kind_ = by_count;
    count_ = choice.n;
  } else if (ways == 1) {
    kind_ = listed;
    list_ = !choice.at.empty()     ? read_column(choice.at, in, "")
            : !choice.like.empty() ? read_column(choice.like, in, x_name)
                                   : choice.list;
    count_ = list_.size();
    ascend_ = std::is_sorted(list_.begin(), list_.end());
  }
  if (has_from_ && has_to_) count_steps();
}

void sites::set_first(double x) {
  if (has_from_) return;
  has_from_ = true;
  from_ = x;
  if (has_to_) count_steps();
}

void sites::set_last(double x) {
  if (has_to_) return;
  has_to_ = true;
  to_ = x;
  if (has_from_) count_steps();
}

// Of steps that miss `to` by nothing but rounding, the last one reaches it.
void sites::count_steps() {
  if (kind_ != by_step && kind_ != by_count) return;
  if (!(from_ <= to_)) throw data_error(fmt::format("there are no sites from {} to {}", from_, to_));
  const double length = to_ - from_;
  if (!std::isfinite(length))
    throw data_error(fmt::format("sites from {} to {} are too far apart", from_, to_));
  if (kind_ == by_count) {
    step_ = count_ > 1 ? length / static_cast<double>(count_ - 1) : 0.0;
    return;
  }
  const double steps = length / step_;
  if (!(steps < 0x1p53))
    throw use_error(fmt::format("--step {} is too small for sites from {} to {}", step_, from_, to_));
  const double rounding = 0x1p-50 * (std::max(std::fabs(from_), std::fabs(to_)) / step_);
  count_ = static_cast<std::uint64_t>(std::floor(steps + std::min(rounding, 0.25))) + 1;
}

double sites::at(std::uint64_t i) const {
  if (kind_ == listed) return list_[static_cast<std::size_t>(i)];
  if (kind_ == by_count && i > 0 && i + 1 == count_) return to_;
  const double site = from_ + static_cast<double>(i) * step_;
  return has_to_ ? std::min(site, to_) : site;
}

void sites::take(double limit, std::size_t most, std::vector<double>& block) {
  block.clear();
  while (block.size() < most && next_ < count_) {
    const double site = at(next_);
    if (!(site < limit)) break;
    block.push_back(site);
    ++next_;
  }
}

double last_of_x(const input_options& in) {
  const auto last = [&](bool may_skip, double& x) {
    const auto table = open_table(in.file, text_format_of(in));
    table->choose({in.x.empty() ? 0 : find_column(*table, in.x)}, false);
    if (may_skip && !table->skip_to_last_rows()) return false;
    row_block block;
    bool found = false;
    for (; table->read(block); found = true)
      x = block.values[block.rows - 1];
    return found;
  };
  double x = 0.0;
  try {
    if (last(true, x)) return x;
  } catch (const data_error&) {
    // Whatever is wrong, the other way tells where.
  }
  last(false, x);
  return x;
}

}  // namespace command
