#pragma once

// Sites in blocks: equidistant ones, which are computed when they are wanted, or a list.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "options.h"

namespace command {

class sites {
 public:
  // `x_name` is the column that --like takes.
  sites(const site_choice& choice, const input_options& in, const std::string& x_name);

  bool ascend() const { return ascend_; }
  // Whether the last breakpoint must be known before the second site is.
  bool need_last() const { return kind_ == by_count && !has_to_; }
  bool are_breakpoints() const { return kind_ == breakpoints; }

  // The ends of the data, for what the choice leaves open.
  void set_first(double x);
  void set_last(double x);

  // The next sites below the limit in place of those of the block, at most so many.
  void take(double limit, std::size_t most, std::vector<double>& block);

 private:
  enum kind { breakpoints, by_step, by_count, listed };

  double at(std::uint64_t i) const;
  void count_steps();

  kind kind_ = breakpoints;
  bool ascend_ = true;
  bool has_from_ = false;
  bool has_to_ = false;
  double from_ = 0.0;
  double to_ = 0.0;
  double step_ = 0.0;
  std::uint64_t count_ = UINT64_MAX;  // unknown until the last breakpoint is
  std::uint64_t next_ = 0;
  std::vector<double> list_;
};

// The last number of the column of x.
double last_of_x(const input_options& in);

}  // namespace command
