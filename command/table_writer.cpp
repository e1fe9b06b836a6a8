#include "table_writer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>

#include "errors.h"
#include "numbers.h"

namespace command {

namespace {

constexpr std::size_t room = std::size_t{1} << 18;
// So that a part pays for its thread.
constexpr std::size_t values_in_a_part = std::size_t{1} << 12;
constexpr std::size_t values_in_a_step = std::size_t{1} << 12;
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

void table_writer::write(const double* first, std::size_t n, const maker& make) {
  if (format_ != table_format::npy) return write_text(first, nullptr, n, &make);
  const std::size_t others = columns_ - 1;
  rest_.resize(n * others);
  const std::size_t parts = parts_for(n);
  side_by_side(parts, [&](std::size_t k) {
    const std::size_t from = k * n / parts;
    make(from, (k + 1) * n / parts - from, rest_.data() + from * others);
  });
  write(first, rest_.data(), n);
}

void table_writer::write(const double* first, const double* rest, std::size_t n) {
  if (format_ == table_format::npy)
    write_npy(first, rest, n);
  else
    write_text(first, rest, n, nullptr);
}

std::size_t table_writer::parts_for(std::size_t n) const {
  return std::clamp<std::size_t>(n * columns_ / values_in_a_part, 1,
                                 std::min(cores(), std::max<std::size_t>(n, 1)));
}

void table_writer::format(part& to, const double* first, const double* rest, std::size_t n) const {
  const char separator = format_ == table_format::tsv ? '\t' : ',';
  const std::size_t others = columns_ - (first != nullptr ? 1 : 0);
  char* p = to.text.get() + to.size;
  for (std::size_t i = 0; i < n; ++i) {
    if (first != nullptr) {
      p = write_number(p, first[i]);
      *p++ = separator;
    }
    for (std::size_t k = 0; k < others; ++k) {
      p = write_number(p, *rest++);
      *p++ = separator;
    }
    p[-1] = '\n';
  }
  to.size = static_cast<std::size_t>(p - to.text.get());
}

// Values are made and written out a few at a time, while they are near.
void table_writer::write_text(const double* first, const double* rest, std::size_t n, const maker* make) {
  if (n == 0) return;
  rows_ += n;
  const std::size_t parts = parts_for(n);
  const std::size_t others = columns_ - (first != nullptr ? 1 : 0);
  const std::size_t step = std::max<std::size_t>(values_in_a_step / columns_, 1);
  parts_.resize(parts);
  side_by_side(parts, [&](std::size_t k) {
    part& to = parts_[k];
    std::size_t from = k * n / parts;
    const std::size_t end = (k + 1) * n / parts;
    const std::size_t most = (end - from) * columns_ * (longest_number + 1);
    if (to.room < most) {
      to.text = std::make_unique_for_overwrite<char[]>(most);
      to.room = most;
    }
    to.size = 0;
    for (; from < end; from += step) {
      const std::size_t count = std::min(step, end - from);
      if (make != nullptr) {
        to.rest.resize(step * others);
        (*make)(from, count, to.rest.data());
      }
      format(to, first == nullptr ? nullptr : first + from,
             make != nullptr ? to.rest.data() : rest + from * others, count);
    }
  });
  writing_.finish();
  to_.write(heading_);
  heading_.clear();
  written_.swap(parts_);
  const auto write = [this] {
    for (const part& one : written_)
      to_.write({one.text.get(), one.size});
  };
  if (n * columns_ < values_in_a_part) return write();
  writing_ = meanwhile(write);
}

void table_writer::write_npy(const double* first, const double* rest, std::size_t n) {
  rows_ += n;
  if (n == 0) return;
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
  writing_.finish();
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
