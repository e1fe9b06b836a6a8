#pragma once

// Tables of numbers as text or as a NumPy array. Numbers of a text are the shortest that read back the same.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "output.h"

namespace command {

enum class table_format { csv, tsv, npy };

// By the ending of a file's name, unless `wanted` ("csv", "tsv", "npy") says it.
table_format format_of(const std::string& path, const std::string& wanted);

class table_writer {
 public:
  // Without names there is no heading.
  table_writer(output& to, table_format format, std::size_t columns, const std::vector<std::string>& names);
  ~table_writer();

  // n rows of a column, which may be null, and of columns side by side: rest[i * (columns - 1) + k].
  void write(const double* first, const double* rest, std::size_t n);
  // Writes what is left. The output is not committed.
  void finish();

 private:
  void write_text(const double* first, const double* rest, std::size_t n);
  void write_npy(const double* first, const double* rest, std::size_t n);
  void send(const char* bytes, std::size_t count);
  std::string npy_header() const;

  output& to_;
  table_format format_;
  std::size_t columns_;
  std::uint64_t rows_ = 0;
  std::string heading_;                   // until the first rows come
  std::vector<std::vector<char>> parts_;  // rows as text, by several threads
  std::vector<double> numbers_;
  std::FILE* spool_ = nullptr;  // an array whose number of rows must come first, for a pipe
};

}  // namespace command
