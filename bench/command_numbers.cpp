// Prints what the command's conversions cost, in ns a number, beside those of fmt, fast_float and the standard library: numbers
// of 16 or 17 digits, as sums of waves and noise have them. All must agree before they are timed.

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fast_float/fast_float.h>
#include <fmt/compile.h>
#include <fmt/format.h>
#include <random>
#include <string>
#include <vector>

#include "../command/numbers.h"
#include "stopwatch.h"

namespace {

constexpr std::size_t count = 100000;

using command::readable_behind;
using command::room_for_a_number;

char* by_ravenfit(char* to, double value) {
  return command::write_number(to, value);
}
char* by_fmt(char* to, double value) {
  return fmt::format_to(to, FMT_COMPILE("{}"), value);
}
char* by_std(char* to, double value) {
  return std::to_chars(to, to + command::longest_number, value).ptr;
}

const char* from_ravenfit(const char* p, const char* end, double& value) {
  return command::read_number(p, end, value);
}
const char* from_fast_float(const char* p, const char* end, double& value) {
  return fast_float::from_chars(p, end, value).ptr;
}
const char* from_std(const char* p, const char* end, double& value) {
  return std::from_chars(p, end, value).ptr;
}

using writer = char* (*)(char*, double);
using reader = const char* (*)(const char*, const char*, double&);

char* write_all(writer write, const std::vector<double>& values, char* to) {
  for (const double value : values) {
    to = write(to, value);
    *to++ = '\n';
  }
  return to;
}

void read_all(reader read, const std::string& text, std::vector<double>& values) {
  const char* p = text.data();
  for (double& value : values)
    p = read(p, text.data() + text.size(), value) + 1;
}

void require(bool right, const char* who) {
  if (right) return;
  std::printf("%s: wrong result\n", who);
  std::exit(1);
}

}  // namespace

int main() {
  std::mt19937_64 random(1);
  std::normal_distribution<double> noise(0.0, 1e-3);
  std::vector<double> values(count);
  for (std::size_t i = 0; i < count; ++i)
    values[i] = std::sin(static_cast<double>(i) / 100.0) + noise(random);
  std::vector<char> room(count * (command::longest_number + 1) + room_for_a_number);
  std::string text(room.data(), write_all(by_fmt, values, room.data()));
  const std::size_t size = text.size();

  const auto per_number = [](double ns) { return ns / static_cast<double>(count); };
  const struct {
    const char* who;
    writer write;
  } writers[] = {{"ravenfit", by_ravenfit}, {"fmt", by_fmt}, {"std", by_std}};
  for (const auto& [who, write] : writers) {
    char* const end = write_all(write, values, room.data());
    require(std::string(room.data(), end) == text, who);
    std::printf("write|%-10s %6.1f ns\n", who,
                per_number(bench::timeOf([&, w = write] { write_all(w, values, room.data()); })));
  }
  text.reserve(size + readable_behind);
  const struct {
    const char* who;
    reader read;
  } readers[] = {{"ravenfit", from_ravenfit}, {"fast_float", from_fast_float}, {"std", from_std}};
  std::vector<double> got(count);
  for (const auto& [who, read] : readers) {
    read_all(read, text, got);
    require(got == values, who);
    std::printf("read|%-11s %6.1f ns\n", who,
                per_number(bench::timeOf([&, r = read] { read_all(r, text, got); })));
  }
  return 0;
}
