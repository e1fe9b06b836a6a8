#pragma once

// CSV and its relatives, as RFC 4180 has them and spreadsheets, loggers and gnuplot write them: fields in quotes, line ends
// of all systems, comments, blank lines, with or without a heading. Quotes in the middle of a field are text, as in
// Python's csv module.

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
  const char* end() const { return buffer_.data() + filled_; }
  bool fill();
  const char* next_record(const char* p);
  const char* read_numbers(const char* p, double* row);
  const char* split(const char* p, std::vector<std::string>& fields);
  const char* scan_field(const char* p, std::string_view& text);
  const char* skip_field(const char* p) const;
  const char* skip_blanks(const char* p) const;
  const char* line_end(const char* p) const;
  bool separates(char c) const { return c == separator_ || (separator_ == ' ' && c == '\t'); }
  bool ends_field(char c) const { return separates(c) || c == '\n' || c == '\r'; }
  void read_first_record(const text_format& format);
  double number_of(std::string_view text, std::size_t column) const;
  [[noreturn]] void wrong_count(std::size_t fields) const;

  std::vector<char> buffer_;
  std::size_t at_ = 0;      // the next record, or blank lines and comments before it
  std::size_t filled_ = 0;  // bytes in the buffer
  bool ended_ = false;      // nothing comes after them
  std::uint64_t line_ = 1;  // of the byte at at_
  std::uint64_t record_line_ = 1;
  std::uint64_t inner_lines_ = 0;  // line ends in quotes of the record
  std::uint64_t first_line_ = 1;
  char separator_ = ',';
  char comment_ = '#';
  bool heading_ = false;
  bool lenient_ = false;
  std::vector<std::string> names_;
  std::vector<std::ptrdiff_t> targets_;  // of each column its place in a row, or -1
  std::size_t width_ = 0;
  std::string unescaped_;
};

}  // namespace command
