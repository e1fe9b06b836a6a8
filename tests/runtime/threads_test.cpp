// What the headers promise to threads, for the thread sanitizer: first calls of every operation at once, tasks that are
// only read, streams of one's own, objects that another thread deletes, and more threads than the allocator has records.

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <pthread.h>
#include <thread>
#include <vector>

#include "dispatch/kernel_slot.h"
#include "runtime/memory.h"
#include "runtime/memory_state.h"
#include "support/compare.h"
#include "support/line.h"
#include "support/task.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/smoothing.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/tools.h>
#include <ravenfit/tridiagonal.h>
#include <ravenfit/variates.h>

namespace {

using Doubles = std::vector<double>;
using support::Settings;
using support::Task;

constexpr int nx = 40;

// Holds threads back until all have come.
class Gate {
 public:
  explicit Gate(int threads) : missing_(threads) {}
  void pass() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (--missing_ == 0) allHere_.notify_all();
    allHere_.wait(lock, [&] { return missing_ <= 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable allHere_;
  int missing_;
};

Doubles ramp(int n) {
  Doubles r;
  for (int i = 0; i < n; ++i)
    r.push_back(0.5 * i + i % 3 / 8.0);
  return r;
}

void append(Doubles& all, const Doubles& more) {
  all.insert(all.end(), more.begin(), more.end());
}

// All that may be asked of a task by threads that share it.
Doubles readings(const DfTask* task) {
  const Doubles sites = ramp(33);
  Doubles r(66);
  Doubles all;
  std::vector<std::int32_t> cells(33);
  const std::int32_t wanted[] = {1, 1};
  EXPECT_EQ(
      dfTaskInterpolate(task, DF_WANT_INTERPOLATE | DF_WANT_CELLS, DF_METHOD_POLYNOMIAL, 33, sites.data(),
                        DF_SITES_GENERAL, 2, wanted, nullptr, r.data(), DF_RESULTS_DEFAULT, cells.data()),
      0);
  append(all, r);
  append(all, Doubles(cells.begin(), cells.end()));
  EXPECT_EQ(dfTaskIntegrate(task, 32, sites.data(), sites.data() + 1, r.data(), 0), 0);
  append(all, r);
  std::int64_t count = 0;
  EXPECT_EQ(dfTaskSolve(task, 0, 7.3, 0.0, 30.0, 66, r.data(), &count), 0);
  append(all, Doubles(r.begin(), r.begin() + static_cast<std::ptrdiff_t>(count)));
  EXPECT_EQ(dfTaskInverse(task, 0, 33, sites.data(), r.data()), 0);
  append(all, r);
  Doubles coeff(5 * nx);
  EXPECT_EQ(dfTaskAntiderivative(task, coeff.data()), 0);
  EXPECT_EQ(dfTaskDerivative(task, coeff.data()), 0);
  append(all, coeff);
  return all;
}

// Every operation once, on objects of one's own.
Doubles everyOperation() {
  Doubles all;
  const double ends[] = {0.5, 0.25};
  const Doubles inner(nx, 0.5);
  const Settings kinds[] = {{DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE},
                            {DF_ORDER_CUBIC, DF_KIND_HERMITE, 12, ends, DF_IC_SLOPES, inner.data()},
                            {DF_ORDER_CUBIC, DF_KIND_DEFAULT, 12, ends, DF_IC_CURVATURES, inner.data()},
                            {DF_ORDER_CUBIC, DF_KIND_BESSEL, DF_END_NOT_A_KNOT},
                            {DF_ORDER_CUBIC, DF_KIND_AKIMA, DF_END_NONE},
                            {DF_ORDER_CUBIC, DF_KIND_PCHIP, DF_END_NONE},
                            {DF_ORDER_QUADRATIC, DF_KIND_DEFAULT, DF_END_QUADRATIC_VALUE, ends},
                            {DF_ORDER_LINEAR, DF_KIND_DEFAULT, DF_END_NONE}};
  for (const Settings& kind : kinds) {
    const Task task(nx, ramp(nx), DF_XHINT_NONE, 1, ramp(nx), DF_VALUES_DEFAULT, kind);
    EXPECT_EQ(dfTaskConstruct(task.get(), 0, 0), 0);
    append(all, task.coeff());
    if (kind.kind == DF_KIND_NATURAL) append(all, readings(task.get()));
  }
  Doubles coeff(4 * nx);
  EXPECT_EQ(dfSmooth(nx, ramp(nx).data(), DF_XHINT_NONE, 1, ramp(nx).data(), 0, nullptr, DF_SMOOTH_LAMBDA,
                     0.5, nullptr, coeff.data()),
            0);
  append(all, coeff);
  EXPECT_EQ(dfCheckBreakpoints(nx, ramp(nx).data(), nullptr), 0);

  const std::int32_t generators[] = {RSG_BRNG_MCG31,         RSG_BRNG_R250,           RSG_BRNG_MRG32K3A,
                                     RSG_BRNG_MCG59,         RSG_BRNG_SOBOL,          RSG_BRNG_NIEDERREITER,
                                     RSG_BRNG_WICHMANN_HILL, RSG_BRNG_MT19937,        RSG_BRNG_SFMT19937,
                                     RSG_BRNG_MT2203 + 3,    RSG_BRNG_SCRAMBLED_SOBOL};
  for (const std::int32_t id : generators) {
    RsgStream* stream = nullptr;
    EXPECT_EQ(rsgNewStream(&stream, id, 3), 0);
    Doubles r(30);
    EXPECT_EQ(vdRngUniform(0, stream, 10, r.data(), 0.0, 1.0), 0);
    EXPECT_EQ(rsgNormal(stream, 10, r.data() + 10, 0.0, 1.0), 0);
    std::uint32_t words[5];
    EXPECT_EQ(rsgWords32(stream, 5, words), 0);
    append(all, Doubles(words, words + 5));
    RsgStream* parts[2] = {};
    // A far move of the long Mersenne Twisters takes seconds under the sanitizer.
    const std::uint64_t stretch = id == RSG_BRNG_MT19937 || id == RSG_BRNG_SFMT19937 ? 10 : 0;
    if (id != RSG_BRNG_R250 && rsgSplit(stream, 2, stretch, parts) == 0)
      vdRngUniform(0, parts[1], 10, r.data() + 20, 0.0, 1.0);
    for (RsgStream*& part : parts)
      if (part != nullptr) rsgDeleteStream(&part);
    std::uint8_t saved[2528];
    EXPECT_EQ(rsgSaveStream(stream, saved, sizeof saved), 0);
    EXPECT_EQ(rsgDeleteStream(&stream), 0);
    EXPECT_EQ(rsgLoadStream(&stream, saved, sizeof saved), 0);
    EXPECT_EQ(rsgDeleteStream(&stream), 0);
    append(all, r);
  }

  const std::int32_t n = nx;
  const std::int32_t one = 1;
  std::int32_t info = -9;
  Doubles dl(nx, 1.0);
  Doubles d(nx, 4.0);
  Doubles b = ramp(nx);
  DDTSVB(&n, &one, dl.data(), d.data(), dl.data(), b.data(), &n, &info);
  EXPECT_EQ(info, 0);
  append(all, b);
  return all;
}

// Runs body(i) by so many threads, which begin together.
void together(int threads, const std::function<void(int)>& body) {
  Gate gate(threads);
  std::vector<std::thread> running;
  for (int i = 0; i < threads; ++i)
    running.emplace_back([&, i] {
      gate.pass();
      body(i);
    });
  for (std::thread& thread : running)
    thread.join();
}

TEST(PromisesThreads, FirstCallsOfEveryOperationMeet) {
  const Doubles want = everyOperation();
  for (int round = 0; round < 5; ++round) {
    rvn::mmLockAcquire();
    rvn::emptySlots();
    rvn::mmLockRelease();
    std::vector<Doubles> got(8);
    together(8, [&](int i) { got[static_cast<std::size_t>(i)] = everyOperation(); });
    for (const Doubles& one : got)
      ASSERT_TRUE(support::same(one, want));
  }
}

TEST(PromisesThreads, TasksAreSharedByReaders) {
  const Task alone(nx, ramp(nx), DF_XHINT_NONE, 1, ramp(nx), DF_VALUES_DEFAULT, {});
  ASSERT_EQ(dfTaskConstruct(alone.get(), 0, 0), 0);
  const Doubles want = readings(alone.get());
  for (int round = 0; round < 20; ++round) {
    // Its integrals have no sums yet: threads meet where these are built.
    const Task shared(nx, ramp(nx), DF_XHINT_NONE, 1, ramp(nx), DF_VALUES_DEFAULT, {});
    ASSERT_EQ(dfTaskConstruct(shared.get(), 0, 0), 0);
    std::vector<Doubles> got(8);
    together(8, [&](int i) { got[static_cast<std::size_t>(i)] = readings(shared.get()); });
    for (const Doubles& one : got)
      ASSERT_TRUE(support::same(one, want));
  }
}

// A stream that nobody changes may be copied, saved, asked and split by many threads.
TEST(PromisesThreads, StreamsAreSharedByReaders) {
  for (const std::int32_t id : {RSG_BRNG_MT19937, RSG_BRNG_WICHMANN_HILL, RSG_BRNG_SOBOL}) {
    RsgStream* stream = nullptr;
    ASSERT_EQ(rsgNewStream(&stream, id, 3), 0);
    std::vector<Doubles> got(8, Doubles(60));
    together(8, [&](int i) {
      RsgStream* made[3] = {};
      std::uint8_t saved[2528];
      EXPECT_EQ(rsgCopyStream(&made[0], stream), 0);
      EXPECT_EQ(rsgSplit(stream, 2, 5, made + 1), 0);
      EXPECT_EQ(rsgSaveStream(stream, saved, sizeof saved), 0);
      double* r = got[static_cast<std::size_t>(i)].data();
      for (RsgStream*& one : made) {
        EXPECT_EQ(vdRngUniform(0, one, 20, r, 0.0, 1.0), 0);
        r += 20;
        EXPECT_EQ(rsgDeleteStream(&one), 0);
      }
    });
    for (const Doubles& one : got)
      EXPECT_TRUE(support::same(one, got[0]));
    EXPECT_EQ(rsgDeleteStream(&stream), 0);
  }
}

TEST(PromisesThreads, OthersDeleteWhatOneMade) {
  constexpr int threads = 8;
  DfTask* tasks[threads] = {};
  RsgStream* streams[threads] = {};
  const Doubles x = ramp(nx);
  std::vector<Doubles> coeff(threads, Doubles(4 * nx));
  for (int round = 0; round < 20; ++round) {
    together(threads, [&](int i) {
      EXPECT_EQ(dfTaskCreate(&tasks[i], nx, x.data(), DF_XHINT_NONE, 1, x.data(), 0), 0);
      EXPECT_EQ(dfTaskEditSpline(tasks[i], DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, 0, nullptr,
                                 coeff[static_cast<std::size_t>(i)].data(), 0),
                0);
      EXPECT_EQ(dfTaskConstruct(tasks[i], 0, 0), 0);
      EXPECT_EQ(rsgNewStream(&streams[i], RSG_BRNG_MT2203 + i, 3), 0);
    });
    together(threads, [&](int i) {
      const int other = (i + 1 + round) % threads;
      double r = 0;
      EXPECT_EQ(dfTaskIntegrate(tasks[other], 1, x.data(), x.data() + 5, &r, 0), 0);
      EXPECT_EQ(dfTaskDestroy(&tasks[other]), 0);
      EXPECT_EQ(vdRngUniform(0, streams[other], 1, &r, 0.0, 1.0), 0);
      EXPECT_EQ(rsgDeleteStream(&streams[other]), 0);
    });
  }
}

struct Crowd {
  Gate gate;
  std::atomic<int> wrong{0};
};

void* memberOfTheCrowd(void* context) {
  Crowd& crowd = *static_cast<Crowd*>(context);
  crowd.gate.pass();
  crowd.wrong += !support::splinesALine();
  double r = 0;
  RsgStream* stream = nullptr;
  crowd.wrong += rsgNewStream(&stream, RSG_BRNG_MCG31, 7) != 0 ||
                 vdRngUniform(0, stream, 1, &r, 0.0, 1.0) != 0 || rsgDeleteStream(&stream) != 0;
  return nullptr;
}

// The allocator has records for 1024 threads; those beyond live without a cache.
TEST(PromisesThreads, MoreAtOnceThanTheAllocatorHasRecordsFor) {
  constexpr int threads = 1100;
  constexpr std::size_t stack = 512 << 10;  // so that all fit into 32 bits
  Crowd crowd{Gate(threads)};
  pthread_attr_t small;
  ASSERT_EQ(pthread_attr_init(&small), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&small, stack), 0);
  std::vector<pthread_t> running(threads);
  for (pthread_t& thread : running)
    ASSERT_EQ(pthread_create(&thread, &small, memberOfTheCrowd, &crowd), 0);
  for (const pthread_t& thread : running)
    pthread_join(thread, nullptr);
  pthread_attr_destroy(&small);
  EXPECT_EQ(crowd.wrong, 0);
  EXPECT_EQ(rvn::mmState.threadCount, rvn::MmState::most);
}

}  // namespace
