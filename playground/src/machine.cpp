// What the library takes from processor and system, where there is neither: a WebAssembly module in one thread.

#include <cstdlib>

#include "runtime/cpuid.h"
#include "runtime/platform.h"
#include "runtime/rdrand.h"

namespace rvn {

// A processor with SSE2 of no known vendor: the level that every processor gets.
bool hasCpuid() {
  return true;
}

CpuidLeaf cpuid(std::uint32_t leaf, std::uint32_t /*subleaf*/) {
  if (leaf == 0) return {1, 0, 0, 0};
  constexpr std::uint32_t fxsr = 1u << 24;
  constexpr std::uint32_t sse = 1u << 25;
  constexpr std::uint32_t sse2 = 1u << 26;
  if (leaf == 1) return {0, 0, 0, fxsr | sse | sse2};
  return {};
}

std::uint64_t xgetbv(std::uint32_t /*index*/) {
  return 0;
}

bool drawHardwareRandom(std::uint32_t* /*number*/) {
  return false;
}

namespace {

std::uint64_t ticks = 0;

}  // namespace

// There are no words of threads, so that every block comes from the heap.
std::int32_t threadLocalAllocate() {
  return -1;
}

void threadLocalRelease(std::int32_t /*index*/) {}

std::uintptr_t threadLocalGet(std::int32_t /*index*/) {
  return 0;
}

void threadLocalSet(std::int32_t /*index*/, std::uintptr_t /*value*/) {}

std::uint64_t threadIdentity() {
  return 1;
}

void terminateProcess(int /*code*/) {
  std::abort();
}

void onFork(void (* /*before*/)(), void (* /*after*/)()) {}

std::uint64_t timeStampCounter() {
  return ++ticks;
}

std::size_t readEnvironment(const char* /*name*/, char* buffer, std::size_t /*size*/) {
  buffer[0] = '\0';
  return 0;
}

std::uint32_t threadLocale() {
  return 0;
}

void* openCatalogue(const char* /*fileName*/) {
  return nullptr;
}

std::size_t readCatalogue(void* /*module*/, std::uint32_t /*id*/, char* /*buffer*/, std::size_t /*size*/) {
  return 0;
}

}  // namespace rvn
