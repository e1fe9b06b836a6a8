#include <dlfcn.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <malloc.h>
#include <pthread.h>
#include <thread>
#include <vector>

#include <ravenfit/data_fitting.h>

namespace {

int freeThreadKeys() {
  std::vector<pthread_key_t> keys(PTHREAD_KEYS_MAX);
  std::size_t made = 0;
  while (made < keys.size() && pthread_key_create(&keys[made], nullptr) == 0)
    ++made;
  for (std::size_t i = 0; i < made; ++i)
    pthread_key_delete(keys[i]);
  return static_cast<int>(made);
}

// A host that loads the library for every use of it, on three threads.
void useOnce() {
  void* const library = dlopen(RAVENFIT_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto create = reinterpret_cast<decltype(&dfTaskCreate)>(dlsym(library, "dfTaskCreate"));
  const auto destroy = reinterpret_cast<decltype(&dfTaskDestroy)>(dlsym(library, "dfTaskDestroy"));
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&] {
      const double x[] = {0, 1, 2.5, 3, 4};
      DfTask* task = nullptr;
      EXPECT_EQ(create(&task, 5, x, DF_XHINT_NONE, 1, x, DF_VALUES_DEFAULT), 0);
      EXPECT_EQ(destroy(&task), 0);
    });
  for (std::thread& thread : threads)
    thread.join();
  EXPECT_EQ(dlclose(library), 0);
}

TEST(Reload, CostsNothingAfterTheFirstTimes) {
  for (int i = 0; i < 50; ++i)
    useOnce();
  const int keys = freeThreadKeys();
  const std::size_t heap = mallinfo2().uordblks;
  for (int i = 50; i < 2000 && !HasFailure(); ++i)
    useOnce();
  EXPECT_EQ(freeThreadKeys(), keys);
  EXPECT_LT(mallinfo2().uordblks, heap + (256 << 10));
}

}  // namespace
