#include "runtime/reproducibility.h"

#include <cstring>

#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"
#include "runtime/platform.h"

namespace rvn {

CbwrState cbwrState;

namespace {

struct Branch {
  const char* keyword;
  std::int32_t mode;
};

constexpr Branch branches[] = {
    {"AUTO", cbwrAuto},   {"COMPATIBLE", cbwrCompatible}, {"SSE2", cbwrSse2},    {"SSE3", cbwrSse3},
    {"SSSE3", cbwrSsse3}, {"SSE4_1", cbwrSse41},          {"SSE4_2", cbwrSse42}, {"AVX", cbwrAvx},
    {"AVX2", cbwrAvx2},   {"AVX512_WDE", cbwrAvx512},
};

std::int32_t modeOf(const char* value) {
  for (const Branch& branch : branches)
    if (std::strcmp(value, branch.keyword) == 0) return branch.mode;
  return cbwrAuto;
}

// The highest mode that this processor supports.
std::int32_t capability() {
  const std::int32_t type = detectCpuType(1);
  switch (type) {
    case 3:
      return cbwrSse3;
    case 4:
      return hasFeature(featureSse41) ? cbwrSse41 : cbwrSsse3;
    case 5:
      return cbwrSse42;
    case 6:
      return cbwrAvx;
    case 7:
      return cbwrAvx2;
    case 8:
      return cbwrAvx512;
    default:
      return type <= 2 ? cbwrSse2 : cbwrAuto;
  }
}

// 0 while the variable is not set. On another vendor's processor every keyword ends as AUTO, COMPATIBLE too.
std::int32_t readMode() {
  char text[128] = {};
  if (readEnvironment("RVN_CBWR", text, sizeof text) == 0) return 0;
  constexpr char prefix[] = "BRANCH=";
  constexpr std::size_t prefixLength = sizeof prefix - 1;
  const bool prefixed = std::strncmp(text, prefix, prefixLength) == 0;
  const std::int32_t mode = modeOf(prefixed ? text + prefixLength : text);
  if (mode == cbwrAuto || !isGenuineVetra()) return cbwrAuto;
  return capability() >= mode ? mode : std::int32_t{cbwrAuto};
}

}  // namespace

std::int32_t cbwrGet(std::int32_t what) {
  if (what == -1) return cbwrState.mode.load(std::memory_order_relaxed);
  if (what != 1) return -2;
  if (cbwrState.read.load(std::memory_order_acquire) == -1 &&
      cbwrState.mode.load(std::memory_order_relaxed) == 0) {
    std::int32_t unset = 0;
    cbwrState.mode.compare_exchange_strong(unset, readMode(), std::memory_order_relaxed);
    cbwrState.read.store(1, std::memory_order_release);
  }
  const std::int32_t mode = cbwrState.mode.load(std::memory_order_relaxed);
  return mode == 0 ? std::int32_t{cbwrOff} : mode & 63;
}

void cbwrReadAnew() {
  cbwrState.mode.store(readMode(), std::memory_order_relaxed);
  cbwrState.read.store(1, std::memory_order_release);
}

}  // namespace rvn
