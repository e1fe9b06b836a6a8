#include "progress.h"

#include <algorithm>
#include <cstdio>
#include <fmt/format.h>
#include <string>
#include <unistd.h>

namespace command {

namespace {

std::string with_prefix(double count, const char* unit) {
  constexpr const char* prefixes[] = {"", "k", "M", "G", "T"};
  int k = 0;
  for (; count >= 999.5 && k < 4; ++k)
    count /= 1000.0;
  return fmt::format("{:.{}f} {}{}", count, count < 9.95 && k > 0 ? 1 : 0, prefixes[k], unit);
}

std::string duration(double seconds) {
  const auto s = static_cast<long long>(std::min(seconds, 1e9) + 0.5);
  if (s < 60) return fmt::format("{} s", s);
  if (s < 3600) return fmt::format("{}:{:02} min", s / 60, s % 60);
  return fmt::format("{}:{:02} h", s / 3600, s / 60 % 60);
}

}  // namespace

progress::progress(bool quiet, std::uint64_t whole, const char* unit)
    : shown_(!quiet && ::isatty(2) == 1), whole_(whole), unit_(unit) {}

progress::~progress() {
  if (drawn_) std::fputs("\r\033[K", stderr);
}

void progress::at(std::uint64_t done) {
  if (!shown_) return;
  const clock::time_point now = clock::now();
  if (now < next_) return;
  next_ = now + std::chrono::milliseconds(200);
  drawn_ = true;
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  const double rate = static_cast<double>(done) / seconds;
  std::string line =
      fmt::format("{}, {}/s", with_prefix(static_cast<double>(done), unit_), with_prefix(rate, unit_));
  if (whole_ > 0 && done > 0 && done <= whole_) {
    const double share = static_cast<double>(done) / static_cast<double>(whole_);
    line = fmt::format("{:3.0f} %, {}, {} left", 100.0 * share, line, duration(seconds / share - seconds));
  }
  std::fputs(("\r\033[K" + line).c_str(), stderr);
  std::fflush(stderr);
}

}  // namespace command
