// info: version, level, why it is that one, and what would make it faster.

#include <cstdlib>
#include <fmt/format.h>
#include <string>

#include "options.h"
#include "output.h"

#include <ravenfit/ravenfit.hpp>

namespace command {

namespace {

constexpr const char* instructions[] = {"SSE2",   "SSE2",   "SSE2", "SSE2", "SSE3",   "SSSE3",
                                        "SSE4.1", "SSE4.2", "AVX",  "AVX2", "AVX-512"};
constexpr int best_level = 10;

// The levels worth waiting for that the processor could take.
int level_of_processor() {
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512dq") &&
      __builtin_cpu_supports("avx512vl"))
    return 10;
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") ? 9 : 0;
}

// A variable of the environment that holds the level, or null.
const char* pinned_by() {
  for (const char* name : {"RVN_KERNEL_LEVEL_FORCE", "RVN_CBWR"})
    if (std::getenv(name) != nullptr) return name;
  return nullptr;
}

}  // namespace

int info() {
  const int by_itself = rvnLevel();
  const int level = rvnUseBestLevel();
  std::string text =
      fmt::format("version   {}\nlevel     {} ({})\n", rvnVersion(), level, instructions[level]);
  const char* const pin = pinned_by();
  if (pin != nullptr)
    text += fmt::format("why       {}={} in the environment\n", pin, std::getenv(pin));
  else if (by_itself == level)
    text += "why       the best that this processor's features allow\n";
  else
    text += fmt::format(
        "why       the best that this processor's features allow; programs that do not ask for it get level "
        "{}\n",
        by_itself);
  const int could = level_of_processor();
  if (level >= best_level)
    text += "faster    nothing: there is no higher level\n";
  else if (pin != nullptr)
    text += fmt::format("faster    unset {}\n", pin);
  else if (level < could)
    text += fmt::format("faster    a build of the library with level {}\n", could);
  else
    text += fmt::format("faster    a processor with {}\n",
                        could < 9 ? "AVX2 and FMA" : "AVX-512 F, BW, DQ and VL");
  if (pin == nullptr && by_itself != level)
    text += "programs  call rvnUseBestLevel() (ravenfit/tools.h), or set RVN_BEST_LEVEL=1\n";
  output to("-");
  to.write(text);
  to.commit();
  return 0;
}

}  // namespace command
