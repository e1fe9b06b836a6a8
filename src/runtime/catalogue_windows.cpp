#define WIN32_LEAN_AND_MEAN
#include <cstring>
#include <windows.h>

#include "runtime/platform.h"

namespace rvn {

std::uint32_t threadLocale() {
  return GetThreadLocale();
}

// As data: the path is relative, and no code of what is found there shall run.
void* openCatalogue(const char* fileName) {
  return LoadLibraryExA(fileName, nullptr, LOAD_LIBRARY_AS_DATAFILE);
}

std::size_t readCatalogue(void* module, std::uint32_t id, char* buffer, std::size_t size) {
  constexpr DWORD flags = FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ALLOCATE_BUFFER;
  static_assert(flags == 2304);
  constexpr DWORD english = 1033;
  constexpr DWORD leastBuffer = 512;
  char* text = nullptr;
  const DWORD length =
      FormatMessageA(flags, module, id, english, reinterpret_cast<LPSTR>(&text), leastBuffer, nullptr);
  if (length == 0 || text == nullptr) return 0;
  const bool fits = length < size;
  if (fits) std::memcpy(buffer, text, length + 1);
  LocalFree(text);
  return fits ? length : 0;
}

}  // namespace rvn
