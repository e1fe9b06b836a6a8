#include <cstdlib>
#include <cstring>

#include "runtime/platform.h"

namespace rvn {

std::size_t readEnvironment(const char* name, char* buffer, std::size_t size) {
  buffer[0] = '\0';
  const char* const value = secure_getenv(name);
  if (value == nullptr) return 0;
  const std::size_t length = std::strlen(value);
  if (length >= size) return length + 1;
  std::memcpy(buffer, value, length + 1);
  return length;
}

}  // namespace rvn
