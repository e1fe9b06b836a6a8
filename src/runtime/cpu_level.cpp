#include "runtime/cpu_level.h"

#include <cstdlib>
#include <initializer_list>

#include "runtime/cpu_features.h"
#include "runtime/memory.h"
#include "runtime/messages.h"
#include "runtime/platform.h"
#include "runtime/reproducibility.h"

namespace rvn {

CpuState cpuState;

namespace {

// The override's name is kept scrambled and rebuilt on the stack, so that the library's file does not show
// it. Byte i is exclusive-ored with ((2 i) mod 5) + 1.
constexpr int overrideNameLength = 22;

struct OverrideName {
  char text[overrideNameLength + 1];
};

constexpr int scramble(char c, int i) {
  return c ^ (((2 * i) % 5) + 1);
}

consteval OverrideName scrambledName(const char (&name)[overrideNameLength + 1]) {
  OverrideName scrambled = {};
  for (int i = 0; i < overrideNameLength; ++i)
    scrambled.text[i] = static_cast<char>(scramble(name[i], i));
  return scrambled;
}

// Volatile, or the compiler would store the rebuilt text beside it.
const volatile OverrideName overrideName = scrambledName("RVN_KERNEL_LEVEL_FORCE");

// Prints why the library cannot run here and ends the process.
void refuseProcessor() {
  rvnPrintMessage(0, 1210, 0);
  rvnPrintMessage(0, 1211, 0);
  terminateProcess(1);
}

bool has(std::uint32_t word, std::uint32_t bits) {
  return (word & bits) == bits;
}

constexpr std::uint32_t bit(int i) {
  return 1u << i;
}

// The best level of the processor by its features alone; -1 without SSE2. The highest leaf is not asked for.
std::int32_t candidateLevel() {
  const CpuidLeaf leaf1 = cpuidOrZero(1);
  constexpr std::uint32_t avx = bit(27) | bit(28);
  constexpr std::uint32_t avx2Group = avx | bit(12) | bit(25);
  const CpuidLeaf leaf7 = cpuidOrZero(7);
  if (has(leaf1.ecx, avx2Group) && has(leaf7.ebx, bit(3) | bit(5) | bit(8)) &&
      has(cpuidOrZero(0x80000001).ecx, bit(5)) && avxStateEnabled(leaf1)) {
    constexpr std::uint32_t avx512Group = bit(16) | bit(17) | bit(30) | bit(31);
    const bool wider = has(leaf7.ebx, avx512Group) && avx512StateEnabled(leaf1);
    return wider && isBestLevelAsked() ? 10 : 9;
  }
  if (has(leaf1.ecx, avx) && avxStateEnabled(leaf1)) return 8;
  if (has(leaf1.ecx, bit(20))) return 7;
  if (has(leaf1.ecx, bit(19))) return 6;
  if (has(leaf1.ecx, bit(9))) return 5;
  if (has(leaf1.ecx, bit(0))) return 4;
  if (has(leaf1.edx, bit(26))) return 3;
  return -1;
}

// The level of a processor of another vendor.
std::int32_t commonLevel(std::int32_t cap) {
  if (!has(cpuidOrZero(1).edx, bit(26))) return -1;
  if (cap == noLevelCap) return 2;
  return cap > 2 ? 1 : cap;
}

std::int32_t detectLevel() {
  const std::int32_t cap = levelCap();
  if (!isGenuineVetra()) return commonLevel(cap);
  const std::int32_t candidate = candidateLevel();
  return candidate != -1 && cap != noLevelCap && cap < candidate ? cap : candidate;
}

std::int32_t decideLevel() {
  std::int32_t level = levelOverride();
  if (level == -1) level = detectLevel();
  if (level == -1) refuseProcessor();
  return level;
}

}  // namespace

std::int32_t levelOverride() {
  char name[overrideNameLength + 1];
  for (int i = 0; i < overrideNameLength; ++i)
    name[i] = static_cast<char>(scramble(overrideName.text[i], i));
  name[overrideNameLength] = '\0';

  char value[32];
  const std::size_t length = readEnvironment(name, value, sizeof value);
  std::int32_t level = -1;
  if (length == 1) level = value[0] - '0';
  if (length == 2) level = 10 * value[0] + value[1] - 11 * '0';
  return level > 9 ? -1 : level;
}

std::int32_t levelCap() {
  const std::int32_t mode = cbwrGet(1);
  if (mode == cbwrOff) return noLevelCap;
  switch (mode & 63) {
    case cbwrCompatible:
      return 1;
    case cbwrSse2:
    case cbwrSse3:
    case cbwrSsse3:
    case cbwrSse41:
    case cbwrSse42:
    case cbwrAvx:
    case cbwrAvx2:
      return (mode & 63) - 1;
    default:
      return noLevelCap;
  }
}

std::int32_t cpuLevel() {
  std::int32_t level = cpuState.level.load(std::memory_order_relaxed);
  if (level != -1) return level;
  std::int32_t undecided = -1;
  level = decideLevel();
  // A level that was decided anew meanwhile stays.
  return cpuState.level.compare_exchange_strong(undecided, level, std::memory_order_relaxed) ? level
                                                                                             : undecided;
}

std::int32_t detectCpuType(std::int32_t mode) {
  if (mode == 0) return cpuState.solverType.load(std::memory_order_relaxed);
  if (!hasCpuid()) return 2;
  if (isGenuineVetra() && hasFeature(featureAvx)) {
    for (const Feature needed : {featurePclmulqdq, featureFma, featureBmi, featureLzcnt, featureAvx2})
      if (!hasFeature(needed)) return 6;
    return 7;
  }
  if (hasFeature(featureSse42)) return 5;
  if (hasFeature(featureSsse3)) return 4;
  if (hasFeature(featureSse3)) return 3;
  if (hasFeature(featureSse2)) return 2;
  refuseProcessor();
  return -1;
}

namespace {

// 2 .. 7, or 0 when RVN_DEBUG_CPU_TYPE names none of them.
std::int32_t readForcedSolverType() {
  char text[32];
  readEnvironment("RVN_DEBUG_CPU_TYPE", text, sizeof text);
  const long value = std::strtol(text, nullptr, 10);
  return value >= 2 && value <= 7 ? static_cast<std::int32_t>(value) : 0;
}

std::int32_t typeOfMode(std::int32_t mode, std::int32_t detected) {
  switch (mode) {
    case cbwrOff:
    case cbwrAuto:
      return detected;
    case cbwrCompatible:
    case cbwrSse2:
      return 2;
    case cbwrSse3:
      return 3;
    case cbwrSsse3:
    case cbwrSse41:
      return 4;
    case cbwrSse42:
    case cbwrAvx:
    case cbwrAvx2:
    case cbwrAvx512:
      return mode - 3;
    default:
      return -4;
  }
}

std::int32_t decideSolverType() {
  std::int32_t forced = cpuState.forcedSolverType.load(std::memory_order_relaxed);
  if (forced == -1) {
    forced = readForcedSolverType();
    cpuState.forcedSolverType.store(forced, std::memory_order_relaxed);
  }
  std::int32_t detected = cpuState.detectedType.load(std::memory_order_relaxed);
  if (detected == -1) {
    detected = detectCpuType(1);
    cpuState.detectedType.store(detected, std::memory_order_relaxed);
  }
  return forced != 0 ? forced : typeOfMode(cbwrGet(1), detected);
}

}  // namespace

std::int32_t solverCpuType() {
  std::int32_t type = cpuState.solverType.load(std::memory_order_relaxed);
  if (type >= 0) return type;
  mmLockAcquire();
  type = solverCpuTypeUnderLock();
  mmLockRelease();
  return type;
}

std::int32_t solverCpuTypeUnderLock() {
  std::int32_t type = cpuState.solverType.load(std::memory_order_relaxed);
  if (type < 0) {
    type = decideSolverType();
    cpuState.solverType.store(type, std::memory_order_relaxed);
  }
  return type;
}

void decideLevelsAnew() {
  cbwrReadAnew();
  cpuState.level.store(decideLevel(), std::memory_order_relaxed);
  cpuState.detectedType.store(-1, std::memory_order_relaxed);
  cpuState.solverType.store(decideSolverType(), std::memory_order_relaxed);
}

}  // namespace rvn
