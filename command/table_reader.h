#pragma once

// Tables of numbers, read in blocks of rows: text with separators, and NumPy arrays.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "byte_source.h"

namespace command {

// Some rows of the columns that were chosen.
struct row_block {
  std::size_t rows = 0;
  std::vector<double> values;        // [row * columns chosen + column], and perhaps more that does not count
  std::vector<std::uint64_t> lines;  // where each row stands: a line of text from 1, a row of an array from 0
};

// What is known of a text beforehand; the rest is guessed from its first record.
struct text_format {
  std::optional<char> separator;  // ' ' stands for any run of blanks
  std::optional<bool> heading;
  char comment = '#';
};

class table_reader {
 public:
  virtual ~table_reader() = default;

  // Of all columns: what the heading says, or "1", "2", ...
  virtual const std::vector<std::string>& names() const = 0;
  virtual bool has_heading() const = 0;
  // How messages say where a row is: "in.csv:7".
  virtual std::string place(std::uint64_t line) const = 0;
  // The same beside another place of the file: "line 7".
  virtual std::string nearby(std::uint64_t line) const = 0;

  // The columns that blocks will have, by their indices, none of them twice. With `lenient` a field that is no number counts
  // as NaN, and what is not finite is let through.
  virtual void choose(const std::vector<std::size_t>& columns, bool lenient) = 0;
  // The next rows in place of those in the block; false when there are none left.
  virtual bool read(row_block& block) = 0;
  // Goes on with some of the last rows of a file, whose lines are not counted then. False where that cannot be done, and
  // the reader be used no more.
  virtual bool skip_to_last_rows() = 0;

  const byte_source& source() const { return *source_; }

 protected:
  explicit table_reader(std::unique_ptr<byte_source> source) : source_(std::move(source)) {}

  std::unique_ptr<byte_source> source_;
};

// The format is told by the first bytes.
std::unique_ptr<table_reader> open_table(const std::string& path, const text_format& format);

// The index of a column that is given by name or else by number, from 1 on.
std::size_t find_column(const table_reader& table, const std::string& wanted);

// `in.csv:7: column "a": ...`
std::string field_message(const table_reader& table, std::uint64_t line, const std::string& column,
                          const std::string& text);

}  // namespace command
