#pragma once

// Times of single calls for tables and plots that Google Benchmark's rows do not give.

#include <algorithm>
#include <chrono>
#include <vector>

namespace bench {

// Median time of a call in ns: of 5 groups of calls, each of at least 2 ms.
template <class Call>
double timeOf(Call call) {
  using Clock = std::chrono::steady_clock;
  const auto group = [&](long calls) {
    const auto start = Clock::now();
    for (long i = 0; i < calls; ++i)
      call();
    return std::chrono::duration<double, std::nano>(Clock::now() - start).count();
  };
  long calls = 1;
  while (group(calls) < 2e6)
    calls *= 2;
  std::vector<double> times;
  for (int k = 0; k < 5; ++k)
    times.push_back(group(calls) / static_cast<double>(calls));
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

}  // namespace bench
