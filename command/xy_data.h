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

class xy_reader {
 public:
  explicit xy_reader(const input_options& options);

  const std::string& x_name() const { return x_name_; }
  const std::vector<std::string>& y_names() const { return y_names_; }
  std::size_t functions() const { return y_names_.size(); }
  bool has_heading() const { return table_->has_heading(); }
  // Nothing has been asked of the file yet that could not be asked again.
  bool can_be_read_twice() const { return table_->source().is_file(); }
  const table_reader& table() const { return *table_; }

  // Appends the next rows, the values of all columns side by side; false when there are none left. Rows must ascend in x,
  // unless the options let them be sorted or joined, which needs all of them: see read_all.
  bool append(std::vector<double>& x, std::vector<double>& y);
  // Everything, sorted and joined as the options say.
  void read_all(std::vector<double>& x, std::vector<double>& y, progress& shown);

 private:
  void check_order(double x, std::uint64_t line);

  const input_options& options_;
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
void sort_rows(std::vector<double>& x, std::vector<double>& y, std::size_t functions);
// Rows of one x, which must stand together, become one with the means of their values.
void join_rows(std::vector<double>& x, std::vector<double>& y, std::size_t functions);

}  // namespace command
