#pragma once

// Which builds of the kernels this machine can run.

#include <cstdint>
#include <vector>

namespace support {

inline bool canRun(std::int32_t level) {
  switch (level) {
    case 9:
      return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
             __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    case 8:
      return __builtin_cpu_supports("avx");
    case 7:
      return __builtin_cpu_supports("sse4.2");
    case 6:
      return __builtin_cpu_supports("sse4.1");
    case 5:
      return __builtin_cpu_supports("ssse3");
    case 4:
      return __builtin_cpu_supports("sse3");
    default:
      return true;
  }
}

inline std::vector<std::int32_t> runnableLevels() {
  std::vector<std::int32_t> levels;
  for (std::int32_t level = 1; level <= 9; ++level)
    if (canRun(level)) levels.push_back(level);
  return levels;
}

}  // namespace support
