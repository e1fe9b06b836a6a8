#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include "runtime/platform.h"

namespace rvn {

std::size_t readEnvironment(const char* name, char* buffer, std::size_t size) {
  buffer[0] = '\0';
  const DWORD length = GetEnvironmentVariableA(name, buffer, static_cast<DWORD>(size));
  if (length == 0 || length >= size) buffer[0] = '\0';
  return length;
}

}  // namespace rvn
