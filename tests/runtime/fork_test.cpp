#include <atomic>
#include <cmath>
#include <cstddef>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "runtime/memory.h"
#include "streams/resources.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>

// The C library's own heap, which survives a fork. That of a sanitizer does not.
extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);
}

namespace {

constexpr double x[] = {0, 1, 2.5, 3, 4};
constexpr double y[] = {1, 3, 6, 7, 9};

DfTask* newTask() {
  DfTask* task = nullptr;
  return dfTaskCreate(&task, 5, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT) == 0 ? task : nullptr;
}

// A line, splined, and a stream that shares a buffer with others.
bool everythingWorks() {
  double coeff[16];
  const double site = 3.25;
  double r = 0;
  DfTask* task = newTask();
  if (dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE, nullptr,
                       coeff, DF_COEFF_DEFAULT) != 0 ||
      dfTaskConstruct(task, 0, 0) != 0 ||
      dfTaskInterpolate(task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, DF_SITES_GENERAL, 0,
                        nullptr, nullptr, &r, DF_RESULTS_DEFAULT, nullptr) != 0 ||
      dfTaskDestroy(&task) != 0)
    return false;
  RsgStream* stream = nullptr;
  const rvn::RsgResourceKey key = {{5, 0, 0, 7}};
  return std::fabs(r - 7.5) < 1e-9 && rsgNewStream(&stream, RSG_BRNG_WICHMANN_HILL, 1) == 0 &&
         rvn::rsgAttachResource(stream, 9, &key, nullptr, 0) == 0 && rsgDeleteStream(&stream) == 0;
}

TEST(Fork, ChildOfABusyProcessWorks) {
  rvn::heapHooks = {__libc_malloc, __libc_free};
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> busy;
  for (int i = 0; i < 4; ++i)
    busy.emplace_back([&] {
      DfTask* tasks[16] = {};
      for (int round = 0; !stop; ++round) {
        DfTask*& oldest = tasks[round % 16];
        dfTaskDestroy(&oldest);
        oldest = newTask();
        wrong += !everythingWorks();
      }
      for (DfTask*& task : tasks)
        dfTaskDestroy(&task);
    });
  int status = 0;
  for (int i = 0; i < 200 && status == 0; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(20);  // ends a child that waits for ever
      bool works = true;
      for (int k = 0; k < 10; ++k)
        works = works && everythingWorks();
      _exit(works ? 0 : 1);
    }
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "fork " << i;
  }
  stop = true;
  for (std::thread& thread : busy)
    thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
