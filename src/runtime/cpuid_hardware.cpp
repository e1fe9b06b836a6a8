#include "runtime/cpuid.h"

#if defined(_MSC_VER)
#include <intrin.h>
#else
#include <cpuid.h>
#include <x86intrin.h>
#endif

namespace rvn {

bool hasCpuid() {
  constexpr unsigned identification = 1u << 21;
  const auto flags = __readeflags();
  __writeeflags(flags ^ identification);
  const auto toggled = __readeflags();
  __writeeflags(flags);
  return ((flags ^ toggled) & identification) != 0;
}

CpuidLeaf cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
#if defined(_MSC_VER)
  int r[4];
  __cpuidex(r, static_cast<int>(leaf), static_cast<int>(subleaf));
  return {static_cast<std::uint32_t>(r[0]), static_cast<std::uint32_t>(r[1]),
          static_cast<std::uint32_t>(r[2]), static_cast<std::uint32_t>(r[3])};
#else
  CpuidLeaf r = {};
  __cpuid_count(leaf, subleaf, r.eax, r.ebx, r.ecx, r.edx);
  return r;
#endif
}

std::uint64_t xgetbv(std::uint32_t index) {
#if defined(_MSC_VER)
  return _xgetbv(index);
#else
  // The intrinsic needs -mxsave, which this unit must not be compiled with.
  std::uint32_t low = 0;
  std::uint32_t high = 0;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(index));
  return static_cast<std::uint64_t>(high) << 32 | low;
#endif
}

}  // namespace rvn
