#pragma once

// The reproducibility mode: RVN_CBWR pins the library to the kernels of a named instruction-set branch, so
// that runs on different processors give equal results. Its only effect is a cap on the two scales of
// cpu_level.h.

#include <atomic>
#include <cstdint>

namespace rvn {

// Modes, in the order of their keywords.
enum : std::int32_t {
  cbwrOff = 1,  // what cbwrGet answers while the variable is not set; the mode itself is then 0
  cbwrAuto = 2,
  cbwrCompatible = 3,
  cbwrSse2 = 4,
  cbwrSse3 = 5,
  cbwrSsse3 = 6,
  cbwrSse41 = 7,
  cbwrSse42 = 8,
  cbwrAvx = 9,
  cbwrAvx2 = 10,
  cbwrAvx512 = 11
};

// No lock: racing first calls read one environment and store one result, the mode before the mark.
struct CbwrState {
  std::atomic<std::int32_t> mode{0};   // cbwrAuto .. cbwrAvx512; 0: the variable is not set
  std::atomic<std::int32_t> read{-1};  // 1 once the variable has been examined
};
extern CbwrState cbwrState;

// `what` 1: reads the variable at first need; the mode, or cbwrOff. `what` -1: the mode as stored. Others:
// -2.
std::int32_t cbwrGet(std::int32_t what);

// Reads the variable again, whose meaning depends on the vendor's rule.
void cbwrReadAnew();

}  // namespace rvn
