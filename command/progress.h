#pragma once

// A line on standard error about work that takes longer than a second, if that is a terminal.

#include <chrono>
#include <cstdint>

namespace command {

class progress {
 public:
  // `whole` is what is to be done, or 0 if that is not known. The unit is bytes, or what `unit` says.
  progress(bool quiet, std::uint64_t whole, const char* unit = "B");
  progress(const progress&) = delete;
  progress& operator=(const progress&) = delete;
  // Clears the line.
  ~progress();

  void at(std::uint64_t done);

 private:
  using clock = std::chrono::steady_clock;

  bool shown_;
  bool drawn_ = false;
  std::uint64_t whole_;
  const char* unit_;
  clock::time_point begin_ = clock::now();
  clock::time_point next_ = begin_ + std::chrono::seconds(1);
};

}  // namespace command
