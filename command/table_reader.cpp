#include "table_reader.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "errors.h"
#include "npy_reader.h"
#include "text_reader.h"

namespace command {

std::unique_ptr<table_reader> open_table(const std::string& path, const text_format& format) {
  auto source = std::make_unique<byte_source>(path);
  const std::string_view first = source->peek(8);
  const auto starts = [&](std::string_view magic) { return first.substr(0, magic.size()) == magic; };
  if (starts("\x93NUMPY")) return std::make_unique<npy_reader>(std::move(source));
  if (starts("\x1f\x8b") || starts("BZh") ||
      starts("\xfd"
             "7zXZ") ||
      starts("\x28\xb5\x2f\xfd"))
    throw data_error(source->name() +
                     ": is compressed; unpack it, for example by `zcat FILE | ravenfit ... -`");
  if (starts("PK\x03\x04"))
    throw data_error(source->name() +
                     ": is a zip archive, as spreadsheets and .npz files are; export CSV from it");
  if (starts("\xff\xfe") || starts("\xfe\xff"))
    throw data_error(source->name() +
                     ": is UTF-16 text; convert it, for example by `iconv -f UTF-16 -t UTF-8 FILE`");
  if (starts("ravenfit"))
    throw data_error(source->name() +
                     ": is a curve, not a table; `ravenfit eval` and `ravenfit integrate` take curves");
  return std::make_unique<text_reader>(std::move(source), format);
}

namespace {

std::string list(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size() && i < 12; ++i)
    text += (i == 0 ? "" : ", ") + names[i];
  return names.size() > 12 ? text + ", ..." : text;
}

}  // namespace

std::size_t find_column(const table_reader& table, const std::string& wanted) {
  const std::vector<std::string>& names = table.names();
  const auto found = std::find(names.begin(), names.end(), wanted);
  if (found != names.end()) {
    if (std::find(found + 1, names.end(), wanted) != names.end())
      throw use_error(table.source().name() + ": several columns are called \"" + wanted +
                      "\"; use the number of one");
    return static_cast<std::size_t>(found - names.begin());
  }
  std::size_t number = 0;
  const char* const end = wanted.data() + wanted.size();
  const auto [rest, failed] = std::from_chars(wanted.data(), end, number);
  if (failed == std::errc() && rest == end && number >= 1 && number <= names.size()) return number - 1;
  throw use_error(table.source().name() + ": there is no column \"" + wanted + "\" among " +
                  std::to_string(names.size()) + ": " + list(names));
}

std::string field_message(const table_reader& table, std::uint64_t line, const std::string& column,
                          const std::string& text) {
  return table.place(line) + ": column \"" + column + "\": " + text;
}

}  // namespace command
