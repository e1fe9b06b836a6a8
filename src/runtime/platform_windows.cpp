#define WIN32_LEAN_AND_MEAN
#include <intrin.h>
#include <windows.h>

#include "runtime/platform.h"

namespace rvn {

static_assert(TLS_OUT_OF_INDEXES == 0xFFFFFFFF);

std::int32_t threadLocalAllocate() {
  return static_cast<std::int32_t>(TlsAlloc());
}

void threadLocalRelease(std::int32_t index) {
  TlsFree(static_cast<DWORD>(index));
}

// TlsGetValue clears the thread's last error, which belongs to the caller of the library.
std::uintptr_t threadLocalGet(std::int32_t index) {
  const DWORD lastError = GetLastError();
  const auto value = reinterpret_cast<std::uintptr_t>(TlsGetValue(static_cast<DWORD>(index)));
  SetLastError(lastError);
  return value;
}

void threadLocalSet(std::int32_t index, std::uintptr_t value) {
  TlsSetValue(static_cast<DWORD>(index), reinterpret_cast<void*>(value));
}

std::uint64_t threadIdentity() {
  return GetCurrentThreadId();
}

void terminateProcess(int code) {
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
}

void onFork(void (*)(), void (*)()) {}

std::uint64_t timeStampCounter() {
  return __rdtsc();
}

}  // namespace rvn
