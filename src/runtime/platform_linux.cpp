#include <pthread.h>
#include <unistd.h>
#include <x86intrin.h>

#include "runtime/platform.h"

namespace rvn {

static_assert(sizeof(pthread_t) <= sizeof(std::uint64_t));

namespace {

// The library asks for one word a thread. In the static block of the threads it costs a load, where a key costs calls.
[[gnu::tls_model("initial-exec")]] thread_local std::uintptr_t word = 0;

}  // namespace

std::int32_t threadLocalAllocate() {
  return 0;
}

void threadLocalRelease(std::int32_t /*index*/) {}

std::uintptr_t threadLocalGet(std::int32_t /*index*/) {
  return word;
}

void threadLocalSet(std::int32_t /*index*/, std::uintptr_t value) {
  word = value;
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
