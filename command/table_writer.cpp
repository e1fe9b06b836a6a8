#include "table_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/compile.h>
#include <fmt/format.h>

#include "errors.h"
#include "side_by_side.h"

namespace command {

namespace {

// "-2.2250738585072014e-308", and its separator.
constexpr std::size_t most_for_a_number = 25;
constexpr std::size_t room = std::size_t{1} << 18;
// So that a part pays for its thread.
constexpr std::size_t values_in_a_part = std::size_t{1} << 12;
constexpr std::size_t npy_header_bytes = 128;

std::string name_field(const std::string& name, char separator) {
  const bool plain = !name.empty() && name.find_first_of("\"\r\n") == std::string::npos &&
                     name.find(separator) == std::string::npos && name[0] != '#' && name[0] != ' ' &&
                     name.back() != ' ';
  if (plain) return name;
  std::string quoted = "\"";
  for (const char c : name) {
    if (c == '"') quoted += '"';
    quoted += c;
  }
  return quoted + '"';
}

char* number(char* to, double value) {
  return fmt::format_to(to, FMT_COMPILE("{}"), value);
}

bool ends_with(const std::string& path, const char* ending) {
  const std::size_t length = std::strlen(ending);
  return path.size() > length && path.compare(path.size() - length, length, ending) == 0;
}

}  // namespace

table_format format_of(const std::string& path, const std::string& wanted) {
  if (wanted == "npy" || (wanted.empty() && ends_with(path, ".npy"))) return table_format::npy;
  if (wanted == "tsv" || (wanted.empty() && (ends_with(path, ".tsv") || ends_with(path, ".tab"))))
    return table_format::tsv;
  return table_format::csv;
}

table_writer::table_writer(output& to, table_format format, std::size_t columns,
                           const std::vector<std::string>& names)
    : to_(to), format_(format), columns_(columns) {
  if (format == table_format::npy) {
    if (to.can_rewrite()) {
      to.write(npy_header());
    } else {
      spool_ = std::tmpfile();
      if (spool_ == nullptr) throw data_error(std::string("temporary file: ") + std::strerror(errno));
    }
    return;
  }
  const char separator = format == table_format::tsv ? '\t' : ',';
  for (std::size_t c = 0; c < names.size(); ++c)
    heading_ += name_field(names[c], separator) + (c + 1 == names.size() ? '\n' : separator);
}

table_writer::~table_writer() {
  if (spool_ != nullptr) std::fclose(spool_);
}

void table_writer::write(const double* first, const double* rest, std::size_t n) {
  rows_ += n;
  if (n == 0) return;
  if (format_ == table_format::npy)
    write_npy(first, rest, n);
  else
    write_text(first, rest, n);
}

void table_writer::write_text(const double* first, const double* rest, std::size_t n) {
  const char separator = format_ == table_format::tsv ? '\t' : ',';
  const std::size_t others = columns_ - (first != nullptr ? 1 : 0);
  const std::size_t parts = std::clamp<std::size_t>(n * columns_ / values_in_a_part, 1, std::min(cores(), n));
  parts_.resize(std::max(parts_.size(), parts));
  std::vector<std::size_t> sizes(parts);
  side_by_side(parts, [&](std::size_t part) {
    const std::size_t from = part * n / parts;
    const std::size_t to = (part + 1) * n / parts;
    std::vector<char>& text = parts_[part];
    text.resize(std::max(text.size(), (to - from) * columns_ * most_for_a_number));
    char* p = text.data();
    for (std::size_t i = from; i < to; ++i) {
      if (first != nullptr) {
        p = number(p, first[i]);
        *p++ = separator;
      }
      for (std::size_t k = 0; k < others; ++k) {
        p = number(p, rest[i * others + k]);
        *p++ = separator;
      }
      p[-1] = '\n';
    }
    sizes[part] = static_cast<std::size_t>(p - text.data());
  });
  to_.write(heading_);
  heading_.clear();
  for (std::size_t part = 0; part < parts; ++part)
    to_.write({parts_[part].data(), sizes[part]});
}

void table_writer::write_npy(const double* first, const double* rest, std::size_t n) {
  if (first == nullptr) return send(reinterpret_cast<const char*>(rest), n * columns_ * sizeof(double));
  numbers_.resize(n * columns_);
  double* p = numbers_.data();
  for (std::size_t i = 0; i < n; ++i) {
    *p++ = first[i];
    p = std::copy_n(rest + i * (columns_ - 1), columns_ - 1, p);
  }
  send(reinterpret_cast<const char*>(numbers_.data()), numbers_.size() * sizeof(double));
}

void table_writer::send(const char* bytes, std::size_t count) {
  if (spool_ == nullptr) return to_.write({bytes, count});
  if (std::fwrite(bytes, 1, count, spool_) != count)
    throw data_error(std::string("temporary file: ") + std::strerror(errno));
}

// Of a fixed length, so that it can be written again when the rows are counted.
std::string table_writer::npy_header() const {
  std::string text =
      fmt::format("{{'descr': '<f8', 'fortran_order': False, 'shape': ({}, {}), }}", rows_, columns_);
  constexpr std::size_t before = 10;
  text.resize(npy_header_bytes - before - 1, ' ');
  text += '\n';
  return std::string("\x93NUMPY\x01\x00", 8) + static_cast<char>(text.size() & 0xff) +
         static_cast<char>(text.size() >> 8) + text;
}

void table_writer::finish() {
  if (format_ != table_format::npy) return to_.write(heading_);
  if (spool_ == nullptr) return to_.rewrite_start(npy_header());
  to_.write(npy_header());
  std::rewind(spool_);
  std::vector<char> block(room);
  while (const std::size_t count = std::fread(block.data(), 1, block.size(), spool_))
    to_.write({block.data(), count});
  if (std::ferror(spool_) != 0) throw data_error(std::string("temporary file: ") + std::strerror(errno));
}

}  // namespace command
