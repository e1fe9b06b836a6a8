#include <pthread.h>
#include <unistd.h>
#include <x86intrin.h>

#include "runtime/platform.h"

namespace rvn {

static_assert(sizeof(pthread_key_t) == sizeof(std::int32_t));
static_assert(sizeof(pthread_t) <= sizeof(std::uint64_t));

std::int32_t threadLocalAllocate() {
  pthread_key_t key = 0;
  return pthread_key_create(&key, nullptr) == 0 ? static_cast<std::int32_t>(key) : -1;
}

void threadLocalRelease(std::int32_t index) {
  pthread_key_delete(static_cast<pthread_key_t>(index));
}

std::uintptr_t threadLocalGet(std::int32_t index) {
  return reinterpret_cast<std::uintptr_t>(pthread_getspecific(static_cast<pthread_key_t>(index)));
}

void threadLocalSet(std::int32_t index, std::uintptr_t value) {
  pthread_setspecific(static_cast<pthread_key_t>(index), reinterpret_cast<void*>(value));
}

std::uint64_t threadIdentity() {
  return static_cast<std::uint64_t>(pthread_self());
}

void terminateProcess(int code) {
  _exit(code);
}

void onFork(void (*before)(), void (*after)()) {
  pthread_atfork(before, after, after);
}

std::uint64_t timeStampCounter() {
  return __rdtsc();
}

}  // namespace rvn
