#pragma once

// NumPy's .npy files, versions 1 to 3 of the format: arrays of one or two dimensions of real numbers, rows as rows.

#include <cstdint>
#include <string>
#include <vector>

#include "table_reader.h"

namespace command {

class npy_reader final : public table_reader {
 public:
  explicit npy_reader(std::unique_ptr<byte_source> source);

  const std::vector<std::string>& names() const override { return names_; }
  bool has_heading() const override { return false; }
  std::string place(std::uint64_t line) const override;
  std::string nearby(std::uint64_t line) const override { return "row " + std::to_string(line); }
  void choose(const std::vector<std::size_t>& columns, bool lenient) override;
  bool read(row_block& block) override;
  bool skip_to_last_rows() override;

 private:
  [[noreturn]] void refuse(const std::string& why) const;
  void read_header();
  std::uint64_t take_shape(const std::string& header, std::uint64_t& columns) const;
  void fill(char* to, std::size_t count);

  std::vector<std::string> names_;
  std::vector<std::size_t> chosen_;
  std::string type_;       // as "f8"
  std::size_t width_ = 0;  // bytes of a number
  bool swapped_ = false;
  bool by_column_ = false;
  bool lenient_ = false;
  std::uint64_t data_at_ = 0;  // in the file
  std::uint64_t rows_ = 0;
  std::uint64_t next_ = 0;
  std::vector<char> bytes_;  // of a block, or of all where columns stand one after another
};

}  // namespace command
