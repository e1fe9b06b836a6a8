#include "runtime/platform.h"

// No message catalogue here: the built-in texts stand.

namespace rvn {

std::uint32_t threadLocale() {
  return 0;
}

void* openCatalogue(const char*) {
  return nullptr;
}

std::size_t readCatalogue(void*, std::uint32_t, char*, std::size_t) {
  return 0;
}

}  // namespace rvn
