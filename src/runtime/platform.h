#pragma once

// The few services that the library takes from the operating system. Each has a Linux and a Windows source:
// platform_*.cpp, environment_*.cpp, catalogue_*.cpp. Environment and catalogue are objects of their own,
// which a program may replace by defining the functions itself.

#include <cstddef>
#include <cstdint>

namespace rvn {

// platform_*.cpp

// An index of per-thread words, which start at 0 in every thread; -1 when the system has none left. One index is all that
// may be in use.
std::int32_t threadLocalAllocate();
void threadLocalRelease(std::int32_t index);
std::uintptr_t threadLocalGet(std::int32_t index);
void threadLocalSet(std::int32_t index, std::uintptr_t value);

// Non-zero, unique among running threads, reused when a thread has ended.
std::uint64_t threadIdentity();

// Ends the process at once, with no exit handlers.
void terminateProcess(int code);

// From now on `before` runs before every fork of this process, and `after` behind it in both processes. Handlers
// that came first run last before the fork. Nothing where there is no fork.
void onFork(void (*before)(), void (*after)());

// A number that grows while the processor runs.
std::uint64_t timeStampCounter();

// environment_*.cpp

// Reads variable `name`. Returns 0 if it is not set or empty; its length if it fits `buffer` with a closing
// zero; otherwise a number of at least `size`. The buffer is an empty text unless the value fits.
std::size_t readEnvironment(const char* name, char* buffer, std::size_t size);

// catalogue_*.cpp

// The locale number of the calling thread, which names the catalogue's directory.
std::uint32_t threadLocale();

// The message catalogue module, or null where there is none.
void* openCatalogue(const char* fileName);

// Copies text `id` of the module into `buffer` and returns its length; 0 if there is none or it does not fit.
std::size_t readCatalogue(void* module, std::uint32_t id, char* buffer, std::size_t size);

}  // namespace rvn
