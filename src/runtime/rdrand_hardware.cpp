#include "runtime/rdrand.h"

#if defined(_MSC_VER)
#include <immintrin.h>
#endif

namespace rvn {

bool drawHardwareRandom(std::uint32_t* number) {
#if defined(_MSC_VER)
  return _rdrand32_step(number) != 0;
#else
  // The intrinsic needs -mrdrnd, which this unit must not be compiled with.
  bool atHand = false;
  __asm__ volatile("rdrand %0" : "=r"(*number), "=@ccc"(atHand));
  return atHand;
#endif
}

}  // namespace rvn
