#pragma once

// Tables of numbers as text or as a NumPy array. Numbers of a text are the shortest that read back the same.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "output.h"
#include "side_by_side.h"

namespace command {

enum class table_format { csv, tsv, npy };

// By the ending of a file's name, unless `wanted` ("csv", "tsv", "npy") says it.
table_format format_of(const std::string& path, const std::string& wanted);

class table_writer {
 public:
  // Without names there is no heading.
  table_writer(output& to, table_format format, std::size_t columns, const std::vector<std::string>& names);
  ~table_writer();

  // Computes the columns but the first of some rows, side by side: rest[i * (columns - 1) + k]. Several threads call it.
  using maker = std::function<void(std::size_t from, std::size_t count, double* rest)>;

  // n rows of a column, and of columns that are made.
  void write(const double* first, std::size_t n, const maker& make);
  // n rows of a column, which may be null, and of columns side by side.
  void write(const double* first, const double* rest, std::size_t n);
  // Writes what is left. The output is not committed.
  void finish();

 private:
  // Rows as text, by one of several threads.
  struct part {
    std::vector<double> rest;
    std::unique_ptr<char[]> text;
    std::size_t room = 0;
    std::size_t size = 0;
  };

  void write_text(const double* first, const double* rest, std::size_t n, const maker* make);
  void write_npy(const double* first, const double* rest, std::size_t n);
  void format(part& to, const double* first, const double* rest, std::size_t n) const;
  std::size_t parts_for(std::size_t n) const;
  void send(const char* bytes, std::size_t count);
  std::string npy_header() const;

  output& to_;
  table_format format_;
  std::size_t columns_;
  std::uint64_t rows_ = 0;
  std::string heading_;  // until the first rows come
  std::vector<part> parts_;
  std::vector<part> written_;  // while the next ones are made
  std::vector<double> rest_;
  std::vector<double> numbers_;
  std::FILE* spool_ = nullptr;  // an array whose number of rows must come first, for a pipe
  meanwhile writing_;
};

}  // namespace command
