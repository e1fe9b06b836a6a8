#include "text_reader.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <fast_float/fast_float.h>
#include <limits>
#include <optional>

#include "errors.h"
#include "numbers.h"
#include "side_by_side.h"

namespace command {

namespace {

constexpr std::size_t first_room = std::size_t{1} << 20;
// A quote that is never closed would otherwise take the rest of the file into memory.
constexpr std::size_t longest_record = std::size_t{1} << 26;
// So that a part pays for its thread.
constexpr std::size_t bytes_in_a_part = std::size_t{1} << 18;

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

const char* skip_blanks(const char* p) {
  while (is_blank(*p))
    ++p;
  return p;
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
    : table_reader(std::move(source)), comment_(format.comment) {
  next_.at = next_.end = buffer_.get();
  fill();
  if (filled_ >= 3 && std::memcmp(buffer_.get(), "\xef\xbb\xbf", 3) == 0) next_.at += 3;
  read_first_record(format);
}

std::string text_reader::place(std::uint64_t line) const {
  return source_->name() + ":" + std::to_string(line);
}

// Behind the last line end of the buffer. A carriage return with nothing behind it may be half of one.
const char* text_reader::last_line_end() const {
  const char* const begin = next_.at;
  const char* const end = buffer_.get() + filled_;
  for (const char* p = end; p != begin; --p)
    if (p[-1] == '\n' || (p[-1] == '\r' && p != end)) return p;
  return begin;
}

// Moves what is left to the front and reads behind it, at least to the next line end. False where nothing came.
bool text_reader::fill() {
  if (ended_) return false;
  do {
    const std::size_t left =
        buffer_ == nullptr ? 0 : filled_ - static_cast<std::size_t>(next_.at - buffer_.get());
    if (left > longest_record)
      throw data_error(place(next_.line) +
                       ": the record that begins here does not end within 64 MB; is a quote not closed?");
    if (left > room_ / 2 || buffer_ == nullptr) {
      room_ = std::max(2 * room_, first_room);
      auto larger = std::make_unique_for_overwrite<char[]>(room_ + 1);
      std::copy_n(next_.at, left, larger.get());
      buffer_.swap(larger);
    } else {
      std::memmove(buffer_.get(), next_.at, left);
    }
    const std::size_t got = source_->read(buffer_.get() + left, room_ - left);
    filled_ = left + got;
    ended_ = filled_ < room_;
    if (ended_ && filled_ > 0 && buffer_[filled_ - 1] != '\n') buffer_[filled_++] = '\n';
    buffer_[filled_] = '\0';
    next_.at = buffer_.get();
    next_.end = last_line_end();
  } while (next_.end == next_.at && !ended_);
  return true;
}

// Behind the line end at p.
const char* text_reader::line_end(const cursor& c, const char* p) const {
  return *p == '\r' && p + 1 != c.end && p[1] == '\n' ? p + 2 : p + 1;
}

// Skips blank lines and comments; false where no record follows.
bool text_reader::next_record(cursor& c) const {
  while (c.at != c.end) {
    const char* p = c.at;
    while (is_blank(*p) && (separator_ == ' ' || *p != separator_))
      ++p;
    if (*p == comment_)
      while (*p != '\n' && *p != '\r')
        ++p;
    if (*p != '\n' && *p != '\r') {
      c.record_line = c.line;
      c.inner_lines = 0;
      return true;
    }
    c.at = line_end(c, p);
    ++c.line;
  }
  return false;
}

// The end of a field and its text, which lives until the next call; null if a quote is not closed before the end.
const char* text_reader::scan_field(cursor& c, const char* p, std::string_view& text) const {
  const char* const from = p;
  if (*p != '"') {
    while (!ends_field(*p))
      ++p;
    text = {from, static_cast<std::size_t>(p - from)};
    return p;
  }
  c.unescaped.clear();
  for (++p;; ++p) {
    if (p == c.end) return nullptr;
    if (*p == '"') {
      if (p + 1 == c.end) return nullptr;
      if (p[1] != '"') break;
      ++p;
    }
    if (*p == '\n' || (*p == '\r' && p + 1 != c.end && p[1] != '\n')) ++c.inner_lines;
    c.unescaped += *p;
  }
  for (++p; !ends_field(*p); ++p)
    c.unescaped += *p;
  text = c.unescaped;
  return p;
}

const char* text_reader::split(cursor& c, std::vector<std::string>& fields) const {
  fields.clear();
  for (const char* p = c.at;; ++p) {
    if (separator_ == ' ') p = skip_blanks(p);
    if (separator_ == ' ' && ends_field(*p)) return line_end(c, p);
    std::string_view text;
    p = scan_field(c, p, text);
    if (p == nullptr) return nullptr;
    fields.emplace_back(trimmed(text));
    if (!separates(*p)) return line_end(c, p);
  }
}

void text_reader::read_first_record(const text_format& format) {
  std::vector<std::string> fields;
  const char* behind = nullptr;
  while (behind == nullptr) {
    separator_ = format.separator.value_or(',');
    const bool found = next_record(next_);
    if (found) {
      const char* const stop =
          std::find_if(next_.at, next_.end, [](char c) { return c == '\n' || c == '\r'; });
      if (!format.separator)
        separator_ = guess_separator({next_.at, static_cast<std::size_t>(stop - next_.at)});
      behind = split(next_, fields);
    }
    if (behind == nullptr && !fill()) {
      if (found) not_closed(next_);
      throw data_error(source_->name() + ": holds no data");
    }
  }
  first_line_ = next_.record_line;
  const auto is_number = [](const std::string& field) { return field.empty() || parsed(field).has_value(); };
  heading_ = format.heading.value_or(!std::all_of(fields.begin(), fields.end(), is_number));
  if (heading_) {
    next_.at = behind;
    next_.line = next_.record_line + next_.inner_lines + 1;
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

double text_reader::number_of(std::string_view text, std::size_t column, const cursor& c) const {
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
  throw data_error(field_message(*this, c.record_line, names_[column], why));
}

void text_reader::wrong_count(std::size_t fields, const cursor& c) const {
  throw data_error(place(c.record_line) + ": " + (fields > names_.size() ? "more than " : "") +
                   std::to_string(std::min(fields, names_.size())) +
                   (std::min(fields, names_.size()) == 1 ? " field, but line " : " fields, but line ") +
                   std::to_string(first_line_) + " has " + std::to_string(names_.size()));
}

void text_reader::not_closed(const cursor& c) const {
  throw data_error(place(c.record_line) + ": a quote in this record is not closed");
}

// The numbers of the record at the cursor, whose end is returned; null if a quote is not closed before the end.
const char* text_reader::read_numbers(cursor& c, double* row) const {
  const std::size_t columns = names_.size();
  const char* p = c.at;
  for (std::size_t k = 0;; ++k, ++p) {
    if (separator_ == ' ') {
      p = skip_blanks(p);
      if (ends_field(*p)) {
        if (k < columns) wrong_count(k, c);
        return line_end(c, p);
      }
    }
    if (k == columns) wrong_count(k + 1, c);
    const std::ptrdiff_t target = targets_[k];
    // Nearly every field is a number and then its end; what is not takes the longer way.
    double value = 0.0;
    const char* const rest = target < 0 ? nullptr : read_number(p, c.end, value);
    if (rest != nullptr && ends_field(*rest)) {
      p = rest;
    } else {
      std::string_view text;
      p = scan_field(c, p, text);
      if (p == nullptr) return nullptr;
      if (target >= 0) value = number_of(text, k, c);
    }
    if (target >= 0) row[target] = value;
    if (!separates(*p)) {
      if (k + 1 != columns) wrong_count(k + 1, c);
      return line_end(c, p);
    }
  }
}

// All records to the end, or to one whose quote is not closed.
void text_reader::parse(cursor& c, row_block& block) const {
  block.rows = 0;
  block.lines.clear();
  while (next_record(c)) {
    if (block.values.size() < (block.rows + 1) * width_)
      block.values.resize(std::max(2 * block.values.size(), 16 * width_));
    const char* const behind = read_numbers(c, block.values.data() + block.rows * width_);
    if (behind == nullptr) return;
    block.lines.push_back(c.record_line);
    ++block.rows;
    c.at = behind;
    c.line = c.record_line + c.inner_lines + 1;
  }
}

// Parses what the buffer holds, side by side where every line end is one of a record, that is without quotes.
void text_reader::parse_parts() {
  const auto bytes = static_cast<std::size_t>(next_.end - next_.at);
  const bool has_quotes = std::memchr(next_.at, '"', bytes) != nullptr;
  std::size_t count = has_quotes ? 1 : std::clamp<std::size_t>(bytes / bytes_in_a_part, 1, cores());
  parts_.resize(std::max(parts_.size(), count));
  const char* from = next_.at;
  for (std::size_t k = 0; k < count; ++k) {
    const char* to = next_.end;
    if (k + 1 < count) {
      to = std::find(std::max(from, next_.at + (k + 1) * bytes / count), next_.end, '\n');
      if (to != next_.end) ++to;
    }
    cursor& c = parts_[k].text;
    c.at = from;
    c.end = from = to;
    c.line = 1;
  }
  side_by_side(count, [this](std::size_t k) {
    part& one = parts_[k];
    try {
      one.failed = false;
      parse(one.text, one.rows);
    } catch (const data_error&) {
      one.failed = true;
    }
  });
  served_ = 0;
  parsed_ = count;
}

bool text_reader::read(row_block& block) {
  for (;;) {
    if (served_ == parsed_) {
      // What was parsed is done with, but for a record that goes on behind the end of the buffer.
      if ((parsed_ > 0 || next_.at == next_.end) && !fill()) {
        if (next_record(next_)) not_closed(next_);
        return false;
      }
      parse_parts();
    }
    part& one = parts_[served_++];
    if (one.failed) {
      // Once more, with lines as they count in the file, for the message.
      cursor again = next_;
      again.end = one.text.end;
      parse(again, one.rows);
    }
    for (std::uint64_t& line : one.rows.lines)
      line += next_.line - 1;
    next_.at = one.text.at;
    next_.line += one.text.line - 1;
    if (one.rows.rows == 0) continue;
    std::swap(block, one.rows);
    return true;
  }
}

// A line end within quotes is no end of a record: with a quote behind the place where reading goes on, nobody knows.
bool text_reader::skip_to_last_rows() {
  constexpr std::uint64_t last_bytes = first_room / 2;
  if (source_->size() < 4 * last_bytes) return true;
  source_->seek(source_->size() - last_bytes);
  filled_ = 0;
  next_.at = next_.end = buffer_.get();
  ended_ = false;
  fill();
  const char* const line = std::find(next_.at, next_.end, '\n');
  if (!ended_ || line == next_.end || std::find(next_.at, next_.end, '"') != next_.end) return false;
  next_.at = line + 1;
  return true;
}

}  // namespace command
