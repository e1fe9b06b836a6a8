#pragma once

// Work on several cores at once.

#include <algorithm>
#include <cstddef>
#include <future>
#include <system_error>
#include <thread>
#include <vector>

namespace command {

inline std::size_t cores() {
  constexpr unsigned most = 16;
  return std::clamp(std::thread::hardware_concurrency(), 1U, most);
}

// Begins call() in a thread of its own, or where there is none to be had, does it when the result is asked for.
template <class Call>
auto begin(Call call) {
  try {
    return std::async(std::launch::async, call);
  } catch (const std::system_error&) {
    return std::async(std::launch::deferred, call);
  }
}

// Calls body(i) for every i below n. All of them end, also if one throws.
template <class Body>
void side_by_side(std::size_t n, const Body& body) {
  std::vector<std::future<void>> others;
  for (std::size_t i = 1; i < n; ++i)
    others.push_back(begin([&body, i] { body(i); }));
  body(0);
  for (std::future<void>& other : others)
    other.get();
}

}  // namespace command
