#include "npy_reader.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <numeric>

#include "errors.h"

namespace command {

namespace {

constexpr std::size_t bytes_in_a_block = std::size_t{1} << 20;

// Numbers of one row block: `columns` of every row at `from`, rows `down` bytes apart, columns `across`.
struct placed {
  const char* from;
  std::size_t rows;
  std::size_t down;
  std::size_t across;
  bool swapped;
};

template <class T>
void gather(const placed& numbers, const std::vector<std::size_t>& columns, double* to) {
  for (std::size_t i = 0; i < numbers.rows; ++i)
    for (const std::size_t c : columns) {
      char bytes[sizeof(T)];
      std::memcpy(bytes, numbers.from + i * numbers.down + c * numbers.across, sizeof(T));
      if (numbers.swapped) std::reverse(bytes, bytes + sizeof(T));
      T value;
      std::memcpy(&value, bytes, sizeof(T));
      *to++ = static_cast<double>(value);
    }
}

struct number_type {
  const char* name;
  std::size_t width;
  void (*gather)(const placed&, const std::vector<std::size_t>&, double*);
};
constexpr number_type number_types[] = {
    {"f8", 8, gather<double>},        {"f4", 4, gather<float>},         {"i8", 8, gather<std::int64_t>},
    {"i4", 4, gather<std::int32_t>},  {"i2", 2, gather<std::int16_t>},  {"i1", 1, gather<std::int8_t>},
    {"u8", 8, gather<std::uint64_t>}, {"u4", 4, gather<std::uint32_t>}, {"u2", 2, gather<std::uint16_t>},
    {"u1", 1, gather<std::uint8_t>},  {"b1", 1, gather<std::uint8_t>},
};

const number_type* type_called(const std::string& name) {
  const auto found = std::find_if(std::begin(number_types), std::end(number_types),
                                  [&](const number_type& row) { return name == row.name; });
  return found == std::end(number_types) ? nullptr : found;
}

// What stands behind a key of the header, which is a literal of Python's: {'descr': '<f8', 'fortran_order': False, ...}.
std::string value_of(const std::string& header, const std::string& key) {
  const std::size_t at = header.find("'" + key + "'");
  if (at == std::string::npos) return {};
  std::size_t from = header.find_first_not_of(": ", at + key.size() + 2);
  if (from == std::string::npos) return {};
  if (header[from] == '(') return header.substr(from + 1, header.find(')', from) - from - 1);
  if (header[from] == '\'') return header.substr(from + 1, header.find('\'', from + 1) - from - 1);
  return header.substr(from, header.find_first_of(",}", from) - from);
}

}  // namespace

npy_reader::npy_reader(std::unique_ptr<byte_source> source) : table_reader(std::move(source)) {
  read_header();
}

std::string npy_reader::place(std::uint64_t line) const {
  return source_->name() + ": row " + std::to_string(line);
}

void npy_reader::refuse(const std::string& why) const {
  throw data_error(source_->name() + ": " + why);
}

void npy_reader::fill(char* to, std::size_t count) {
  if (source_->read(to, count) != count) refuse("the array ends before its last number");
}

void npy_reader::read_header() {
  unsigned char start[12] = {};
  constexpr std::size_t magic = 6;
  if (source_->read(reinterpret_cast<char*>(start), magic + 2) != magic + 2)
    refuse("the header of the array is cut off");
  const int version = start[magic];
  if (version < 1 || version > 3)
    refuse("version " + std::to_string(version) + " of the .npy format is not known");
  const std::size_t bytes = version == 1 ? 2 : 4;
  if (source_->read(reinterpret_cast<char*>(start + magic + 2), bytes) != bytes)
    refuse("the header of the array is cut off");
  std::size_t length = 0;
  for (std::size_t i = bytes; i-- > 0;)
    length = length << 8 | start[magic + 2 + i];
  if (length > (std::size_t{1} << 20)) refuse("the header of the array is damaged");
  std::string header(length, ' ');
  if (source_->read(header.data(), length) != length) refuse("the header of the array is cut off");

  data_at_ = source_->done();

  const std::string type = value_of(header, "descr");
  if (type.size() < 3 || std::strchr("<>|=", type[0]) == nullptr || type_called(type.substr(1)) == nullptr)
    refuse("holds no real numbers of a known type, but \"" + type + "\"; convert it by astype(float)");
  type_ = type.substr(1);
  width_ = type_called(type_)->width;
  swapped_ = type[0] == '>';
  const std::string order = value_of(header, "fortran_order");
  if (order != "True" && order != "False") refuse("the header of the array is damaged");
  by_column_ = order == "True";

  std::uint64_t columns = 1;
  rows_ = take_shape(header, columns);
  if (columns == 0 || rows_ == 0) refuse("holds no data");
  constexpr std::uint64_t most = std::uint64_t{1} << 24;
  if (columns > most || rows_ > (std::uint64_t{1} << 56) / columns)
    refuse("the shape of the array is damaged");
  for (std::uint64_t c = 0; c < columns; ++c)
    names_.push_back(std::to_string(c + 1));
  if (source_->size() != 0 && source_->size() - source_->done() < rows_ * columns * width_)
    refuse("the array ends before its last number");
}

std::uint64_t npy_reader::take_shape(const std::string& header, std::uint64_t& columns) const {
  const std::string shape = value_of(header, "shape");
  std::vector<std::uint64_t> sizes;
  const char* const end = shape.data() + shape.size();
  for (const char* p = shape.data(); p != end;) {
    if (*p == ' ' || *p == ',') {
      ++p;
      continue;
    }
    std::uint64_t size = 0;
    const auto [rest, failed] = std::from_chars(p, end, size);
    if (failed != std::errc()) refuse("the header of the array is damaged");
    sizes.push_back(size);
    p = rest;
  }
  if (sizes.empty() || sizes.size() > 2)
    refuse("has " + std::to_string(sizes.size()) +
           " dimensions; there must be one, or two: rows and columns");
  if (sizes.size() == 2) columns = sizes[1];
  return sizes[0];
}

void npy_reader::choose(const std::vector<std::size_t>& columns, bool lenient) {
  chosen_ = columns;
  lenient_ = lenient;
}

bool npy_reader::skip_to_last_rows() {
  if (by_column_) return false;
  next_ = rows_ - 1;
  source_->seek(data_at_ + next_ * names_.size() * width_);
  return true;
}

bool npy_reader::read(row_block& block) {
  const std::size_t columns = names_.size();
  const std::size_t row_bytes = columns * width_;
  const auto count = static_cast<std::size_t>(
      std::min<std::uint64_t>(rows_ - next_, std::max<std::size_t>(bytes_in_a_block / row_bytes, 1)));
  block.rows = count;
  if (count == 0) return false;
  if (!by_column_) {
    bytes_.resize(count * row_bytes);
    fill(bytes_.data(), bytes_.size());
  } else if (next_ == 0) {
    bytes_.resize(static_cast<std::size_t>(rows_) * row_bytes);
    fill(bytes_.data(), bytes_.size());
  }
  const std::size_t down = by_column_ ? width_ : row_bytes;
  const std::size_t across = by_column_ ? static_cast<std::size_t>(rows_) * width_ : width_;
  const std::size_t first = by_column_ ? static_cast<std::size_t>(next_) * width_ : 0;
  block.values.resize(count * chosen_.size());
  block.lines.resize(count);
  std::iota(block.lines.begin(), block.lines.end(), next_);
  type_called(type_)->gather({bytes_.data() + first, count, down, across, swapped_}, chosen_,
                             block.values.data());
  const auto bad = lenient_ ? block.values.end()
                            : std::find_if(block.values.begin(), block.values.end(),
                                           [](double v) { return !std::isfinite(v); });
  if (bad != block.values.end()) {
    const auto at = static_cast<std::size_t>(bad - block.values.begin());
    throw data_error(field_message(*this, next_ + at / chosen_.size(), names_[chosen_[at % chosen_.size()]],
                                   std::isnan(*bad) ? "nan is not finite" : "inf is not finite"));
  }
  next_ += count;
  return true;
}

}  // namespace command
