#pragma once

// What the processor says of itself. The three functions live in one object of the archive, so that a program
// which defines them itself runs on a processor of its own making.

#include <cstdint>

namespace rvn {

struct CpuidLeaf {
  std::uint32_t eax;
  std::uint32_t ebx;
  std::uint32_t ecx;
  std::uint32_t edx;
};

// Whether the instruction exists: bit 21 of the flags register can be toggled.
bool hasCpuid();

// Callers ask hasCpuid() first.
CpuidLeaf cpuid(std::uint32_t leaf, std::uint32_t subleaf);

// XGETBV: XCR0 for index 0. Callers test OSXSAVE (leaf 1, ECX bit 27) first.
std::uint64_t xgetbv(std::uint32_t index);

}  // namespace rvn
