#pragma once

// CSV and its relatives, as RFC 4180 has them and spreadsheets, loggers and gnuplot write them: fields in quotes, line ends
// of all systems, comments, blank lines, with or without a heading. Quotes in the middle of a field are text, as in
// Python's csv module.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "table_reader.h"

namespace command {

class text_reader final : public table_reader {
 public:
  text_reader(std::unique_ptr<byte_source> source, const text_format& format);

  const std::vector<std::string>& names() const override { return names_; }
  bool has_heading() const override { return heading_; }
  std::string place(std::uint64_t line) const override;
  std::string nearby(std::uint64_t line) const override { return "line " + std::to_string(line); }
  void choose(const std::vector<std::size_t>& columns, bool lenient) override;
  bool read(row_block& block) override;
  bool skip_to_last_rows() override;

 private:
  // A place in the text, which goes on to an end behind some line end.
  struct cursor {
    const char* at = nullptr;  // the next record, or blank lines and comments before it
    const char* end = nullptr;
    std::uint64_t line = 1;  // of the byte at `at`
    std::uint64_t record_line = 1;
    std::uint64_t inner_lines = 0;  // line ends in quotes of the record
    std::string unescaped;
  };
  // Some lines, parsed apart from others. Lines count from 1.
  struct part {
    cursor text;
    row_block rows;
    bool failed = false;
  };

  bool fill();
  const char* last_line_end() const;
  void parse_parts();
  void parse(cursor& c, row_block& block) const;
  bool next_record(cursor& c) const;
  const char* line_end(const cursor& c, const char* p) const;
  const char* read_numbers(cursor& c, double* row) const;
  const char* split(cursor& c, std::vector<std::string>& fields) const;
  const char* scan_field(cursor& c, const char* p, std::string_view& text) const;
  bool separates(char c) const { return c == separator_ || (separator_ == ' ' && c == '\t'); }
  bool ends_field(char c) const { return separates(c) || c == '\n' || c == '\r'; }
  void read_first_record(const text_format& format);
  double number_of(std::string_view text, std::size_t column, const cursor& c) const;
  [[noreturn]] void wrong_count(std::size_t fields, const cursor& c) const;
  [[noreturn]] void not_closed(const cursor& c) const;

  std::unique_ptr<char[]> buffer_;
  std::size_t room_ = 0;
  std::size_t filled_ = 0;  // bytes in the buffer
  bool ended_ = false;      // nothing comes after them
  cursor next_;             // what is not parsed yet
  std::vector<part> parts_;
  std::size_t served_ = 0;  // of the parts that are parsed
  std::size_t parsed_ = 0;
  std::uint64_t first_line_ = 1;
  char separator_ = ',';
  char comment_ = '#';
  bool heading_ = false;
  bool lenient_ = false;
  std::vector<std::string> names_;
  std::vector<std::ptrdiff_t> targets_;  // of each column its place in a row, or -1
  std::size_t width_ = 0;
};

}  // namespace command
