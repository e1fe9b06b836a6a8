#pragma once

// Breakpoints and values out of a table: columns picked, order of x checked where each row stands.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "options.h"
#include "progress.h"
#include "table_reader.h"

namespace command {

text_format text_format_of(const input_options& options);

struct xy_rows {
  std::vector<double> x;
  std::vector<double> y;  // the values of all columns of a row side by side
  std::vector<double>
      given;  // in the same way what is given beside them: slopes, second derivatives, weights
};

// Columns that are given beside values.
struct given_columns {
  std::vector<std::string> names;
  bool are_weights = false;
};

class xy_reader {
 public:
  explicit xy_reader(const input_options& options, const given_columns& given = {});

  const std::string& x_name() const { return x_name_; }
  const std::vector<std::string>& y_names() const { return y_names_; }
  std::size_t functions() const { return y_names_.size(); }
  std::size_t given() const { return given_.names.size(); }
  bool has_heading() const { return table_->has_heading(); }
  // Nothing has been asked of the file yet that could not be asked again.
  bool can_be_read_twice() const { return table_->source().is_file(); }
  const table_reader& table() const { return *table_; }

  // Appends the next rows; false when there are none left. Rows must ascend in x, unless the options let them be sorted or
  // joined, which needs all of them: see read_all.
  bool append(xy_rows& rows);
  // Everything, sorted and joined as the options say.
  xy_rows read_all(progress& shown);

 private:
  void check_order(double x, std::uint64_t line);
  void check_weight(double weight, std::uint64_t line) const;

  const input_options& options_;
  given_columns given_;
  std::unique_ptr<table_reader> table_;
  row_block block_;
  std::string x_name_;
  std::vector<std::string> y_names_;
  bool ordered_ = true;
  bool started_ = false;
  double last_ = 0.0;
  std::uint64_t last_line_ = 0;
};

// Sorts rows by x, keeping the order of equal ones.
void sort_rows(xy_rows& rows);
// Rows of one x, which must stand together, become one with the means of their values. With weights these are weighted means,
// of the sum of their weights: the joined row then counts in a sum of squares as its rows did, but for a constant.
void join_rows(xy_rows& rows, bool weighted);

}  // namespace command
