#pragma once

// Which build of every kernel this process uses. Both scales are worked out at first need; only a change
// of the vendor's rule moves them afterwards.

#include <atomic>
#include <cstdint>

namespace rvn {

// Both scales, -1 where not yet decided.
struct CpuState {
  std::atomic<std::int32_t> level{-1};             // no lock: racing threads store one value
  std::atomic<std::int32_t> solverType{-1};        // written under the service lock
  std::atomic<std::int32_t> detectedType{-1};      // under the service lock
  std::atomic<std::int32_t> forcedSolverType{-1};  // under the service lock; 0: the environment forces none
};
extern CpuState cpuState;

// No cap on the level from the reproducibility mode.
constexpr std::int32_t noLevelCap = -4;

// 1 .. 10 by detection, also 0 or a negative number by the override. Lock-free: racing threads store one
// value.
std::int32_t cpuLevel();

// Highest level that the reproducibility mode allows, or noLevelCap.
std::int32_t levelCap();

// The level that RVN_KERNEL_LEVEL_FORCE names, or -1; the processor is not asked.
std::int32_t levelOverride();

// The scale of the tridiagonal solver, 2 .. 8; a negative value is worked out anew at the next call.
std::int32_t solverCpuType();
std::int32_t solverCpuTypeUnderLock();  // the service lock is the caller's

// Works out both scales again, from the environment and the vendor's rule as they are now; under the service lock.
void decideLevelsAnew();

// `mode` 0: the stored solverCpuType; otherwise the detection proper, 2 .. 7.
std::int32_t detectCpuType(std::int32_t mode);

}  // namespace rvn
