#include "text_reader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fast_float/fast_float.h>
#include <limits>
#include <optional>

#include "errors.h"

namespace command {

namespace {

constexpr std::size_t first_room = std::size_t{1} << 20;
// A quote that is never closed would otherwise take the rest of the file into memory.
constexpr std::size_t longest_record = std::size_t{1} << 26;
constexpr std::size_t values_in_a_block = std::size_t{1} << 17;

bool is_blank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.front()))
    text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back()))
    text.remove_suffix(1);
  return text;
}

std::optional<double> parsed(std::string_view text) {
  text = trimmed(text);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  double value = 0.0;
  const auto [rest, failed] = fast_float::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || failed != std::errc() || rest != text.data() + text.size()) return std::nullopt;
  return value;
}

std::string quoted(std::string_view text) {
  constexpr std::size_t most = 40;
  std::string shown;
  for (const char c : text.substr(0, most))
    shown += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
  return '"' + shown + (text.size() > most ? "...\"" : "\"");
}

// What separates the fields of a record: what stands most often in its first line, outside of quotes.
char guess_separator(std::string_view line) {
  std::size_t counts[4] = {};
  constexpr std::string_view candidates = ",\t; ";
  bool inside = false;
  line = trimmed(line);
  for (const char c : line) {
    if (c == '"') inside = !inside;
    if (const auto k = candidates.find(c); !inside && k != std::string_view::npos) ++counts[k];
  }
  const auto best = std::max_element(counts, counts + 3) - counts;
  if (counts[best] > 0) return candidates[static_cast<std::size_t>(best)];
  return counts[3] > 0 ? ' ' : ',';
}

}  // namespace

text_reader::text_reader(std::unique_ptr<byte_source> source, const text_format& format)
    : table_reader(std::move(source)), buffer_(first_room), comment_(format.comment) {
  fill();
  if (filled_ >= 3 && std::memcmp(buffer_.data(), "\xef\xbb\xbf", 3) == 0) at_ = 3;
  read_first_record(format);
}

std::string text_reader::place(std::uint64_t line) const {
  return source_->name() + ":" + std::to_string(line);
}

// Moves what is left to the front and reads behind it. False where nothing came.
bool text_reader::fill() {
  if (ended_) return false;
  std::memmove(buffer_.data(), buffer_.data() + at_, filled_ - at_);
  filled_ -= at_;
  at_ = 0;
  if (filled_ > buffer_.size() / 2) {
    if (filled_ > longest_record)
      throw data_error(place(line_) +
                       ": the record that begins here does not end within 64 MB; is a quote not closed?");
    buffer_.resize(2 * buffer_.size());
  }
  const std::size_t room = buffer_.size() - filled_ - 1;
  const std::size_t got = source_->read(buffer_.data() + filled_, room);
  filled_ += got;
  ended_ = got < room;
  if (ended_ && filled_ > 0 && buffer_[filled_ - 1] != '\n') buffer_[filled_++] = '\n';
  return true;
}

// Behind the line end at p, or null if the buffer ends in the midst of it.
const char* text_reader::line_end(const char* p) const {
  if (*p == '\n') return p + 1;
  if (p + 1 == end()) return ended_ ? p + 1 : nullptr;
  return p[1] == '\n' ? p + 2 : p + 1;
}

// Behind blank lines and comments, where a record begins; null if the buffer ends first.
const char* text_reader::next_record(const char* p) {
  for (;;) {
    at_ = static_cast<std::size_t>(p - buffer_.data());
    const char* q = p;
    while (q != end() && is_blank(*q) && (separator_ == ' ' || *q != separator_))
      ++q;
    if (q == end()) return nullptr;
    if (*q == comment_) {
      while (q != end() && *q != '\n' && *q != '\r')
        ++q;
      if (q == end()) return nullptr;
    }
    if (*q != '\n' && *q != '\r') return record_line_ = line_, inner_lines_ = 0, p;
    p = line_end(q);
    if (p == nullptr) return nullptr;
    ++line_;
  }
}

const char* text_reader::skip_blanks(const char* p) const {
  while (p != end() && is_blank(*p))
    ++p;
  return p;
}

// The end of a field and its text, which lives until the next call; null if the buffer ends first.
const char* text_reader::scan_field(const char* p, std::string_view& text) {
  const char* const from = p;
  if (p == end()) return nullptr;
  if (*p != '"') {
    while (p != end() && !ends_field(*p))
      ++p;
    if (p == end()) return nullptr;
    text = {from, static_cast<std::size_t>(p - from)};
    return p;
  }
  unescaped_.clear();
  for (++p;; ++p) {
    if (p == end()) return nullptr;
    if (*p == '"') {
      if (p + 1 == end()) return nullptr;
      if (p[1] != '"') break;
      ++p;
    }
    if (*p == '\n' || (*p == '\r' && p + 1 != end() && p[1] != '\n')) ++inner_lines_;
    unescaped_ += *p;
  }
  for (++p; p != end() && !ends_field(*p); ++p)
    unescaped_ += *p;
  if (p == end()) return nullptr;
  text = unescaped_;
  return p;
}

const char* text_reader::skip_field(const char* p) const {
  while (p != end() && !ends_field(*p))
    ++p;
  return p == end() ? nullptr : p;
}

const char* text_reader::split(const char* p, std::vector<std::string>& fields) {
  fields.clear();
  for (;; ++p) {
    if (separator_ == ' ') p = skip_blanks(p);
    if (p == end()) return nullptr;
    if (separator_ == ' ' && ends_field(*p)) break;
    std::string_view text;
    p = scan_field(p, text);
    if (p == nullptr) return nullptr;
    fields.emplace_back(trimmed(text));
    if (!separates(*p)) break;
  }
  return line_end(p);
}

void text_reader::read_first_record(const text_format& format) {
  std::vector<std::string> fields;
  for (;;) {
    separator_ = format.separator.value_or(',');
    inner_lines_ = 0;
    const char* const from = next_record(buffer_.data() + at_);
    const char* behind = nullptr;
    if (from != nullptr) {
      const char* const stop = std::find_if(from, end(), [](char c) { return c == '\n' || c == '\r'; });
      if (!format.separator) separator_ = guess_separator({from, static_cast<std::size_t>(stop - from)});
      behind = split(from, fields);
    }
    if (behind != nullptr) {
      first_line_ = record_line_;
      const auto is_number = [](const std::string& field) {
        return field.empty() || parsed(field).has_value();
      };
      heading_ = format.heading.value_or(!std::all_of(fields.begin(), fields.end(), is_number));
      if (heading_) {
        at_ = static_cast<std::size_t>(behind - buffer_.data());
        line_ = record_line_ + inner_lines_ + 1;
      }
      break;
    }
    if (!fill()) {
      if (from != nullptr) throw data_error(place(record_line_) + ": a quote in this record is not closed");
      throw data_error(source_->name() + ": holds no data");
    }
  }
  for (std::size_t c = 0; c < fields.size(); ++c)
    names_.push_back(heading_ ? fields[c] : std::to_string(c + 1));
}

void text_reader::choose(const std::vector<std::size_t>& columns, bool lenient) {
  targets_.assign(names_.size(), -1);
  for (std::size_t i = 0; i < columns.size(); ++i)
    targets_[columns[i]] = static_cast<std::ptrdiff_t>(i);
  width_ = columns.size();
  lenient_ = lenient;
}

double text_reader::number_of(std::string_view text, std::size_t column) const {
  const std::optional<double> value = parsed(text);
  if (value && (lenient_ || std::isfinite(*value))) return *value;
  if (lenient_) return std::numeric_limits<double>::quiet_NaN();
  const std::string_view shown = trimmed(text);
  std::string why = quoted(shown);
  if (shown.empty())
    why = "the field is empty";
  else if (!value && shown.find(',') != std::string_view::npos)
    why += " is not a number; decimals are written with a point";
  else
    why += value ? " is not finite" : " is not a number";
  throw data_error(field_message(*this, record_line_, names_[column], why));
}

void text_reader::wrong_count(std::size_t fields) const {
  throw data_error(place(record_line_) + ": " + (fields > names_.size() ? "more than " : "") +
                   std::to_string(std::min(fields, names_.size())) +
                   (std::min(fields, names_.size()) == 1 ? " field, but line " : " fields, but line ") +
                   std::to_string(first_line_) + " has " + std::to_string(names_.size()));
}

// The numbers of the record at p, whose end is returned; null if the buffer ends first.
const char* text_reader::read_numbers(const char* p, double* row) {
  const std::size_t columns = names_.size();
  for (std::size_t c = 0;; ++c) {
    if (separator_ == ' ') p = skip_blanks(p);
    if (p == end()) return nullptr;
    if (separator_ == ' ' && ends_field(*p)) {
      if (c < columns) wrong_count(c);
      return line_end(p);
    }
    if (c == columns) wrong_count(c + 1);
    const std::ptrdiff_t target = targets_[c];
    if (target < 0 && *p != '"') {
      p = skip_field(p);
      if (p == nullptr) return nullptr;
    } else {
      // Nearly every field is a number and then its end; what is not takes the longer way.
      double value = 0.0;
      const auto [rest, failed] = fast_float::from_chars(p, end(), value);
      if (rest == end()) return nullptr;
      if (failed == std::errc() && ends_field(*rest) && std::isfinite(value)) {
        p = rest;
      } else {
        std::string_view text;
        p = scan_field(p, text);
        if (p == nullptr) return nullptr;
        if (target >= 0) value = number_of(text, c);
      }
      if (target >= 0) row[target] = value;
    }
    if (!separates(*p)) {
      if (c + 1 != columns) wrong_count(c + 1);
      return line_end(p);
    }
    ++p;
  }
}

bool text_reader::read(row_block& block) {
  block.rows = 0;
  block.lines.clear();
  const std::size_t most = std::max<std::size_t>(values_in_a_block / std::max<std::size_t>(width_, 1), 16);
  block.values.resize(most * width_);
  while (block.rows < most) {
    const char* const from = next_record(buffer_.data() + at_);
    const char* const behind =
        from == nullptr ? nullptr : read_numbers(from, block.values.data() + block.rows * width_);
    if (behind != nullptr) {
      block.lines.push_back(record_line_);
      ++block.rows;
      at_ = static_cast<std::size_t>(behind - buffer_.data());
      line_ = record_line_ + inner_lines_ + 1;
      continue;
    }
    if (fill()) continue;
    if (from != nullptr) throw data_error(place(record_line_) + ": a quote in this record is not closed");
    break;
  }
  return block.rows > 0;
}

// A line end within quotes is no end of a record: with a quote behind the place where reading goes on, nobody knows.
bool text_reader::skip_to_last_rows() {
  constexpr std::uint64_t last_bytes = first_room / 2;
  if (source_->size() < 4 * last_bytes) return true;
  source_->seek(source_->size() - last_bytes);
  at_ = filled_ = 0;
  fill();
  const char* const from = buffer_.data();
  const char* const line = std::find(from, end(), '\n');
  if (!ended_ || line == end() || std::find(from, end(), '"') != end()) return false;
  at_ = static_cast<std::size_t>(line + 1 - from);
  return true;
}

}  // namespace command
