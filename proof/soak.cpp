// A long run: threads come and go, live through random tasks, streams and systems with the referees of the fuzzers, share
// tasks, and delete what other threads made, while the memory of the process is watched.
//
// usage: ravenfit_soak MINUTES [SEED]; prints a row of a table every minute. Ends with 1 if memory grew, and by abort
// where a promise is broken: the last line then names the number that makes the input again (ravenfit_soak 0 NUMBER runs
// it alone).

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <malloc.h>
#include <memory>
#include <thread>
#include <unistd.h>
#include <vector>

#include "fuzz/input.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/tools.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int slots = 8;  // threads at a time

struct Counts {
  std::atomic<std::uint64_t> lives[3] = {};
  std::atomic<std::uint64_t> shared{0};
  std::atomic<std::uint64_t> handedOver{0};
  std::atomic<std::uint64_t> threads{0};
};
Counts counts;

thread_local std::uint64_t inputAtWork = 0;

// SplitMix64 (G. L. Steele, D. Lea, C. H. Flood, 2014): the input of a number, whoever runs it.
std::uint64_t mixed(std::uint64_t& state) {
  std::uint64_t z = state += 0x9E3779B97F4A7C15;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
  return z ^ (z >> 31);
}

void live(std::uint64_t number) {
  inputAtWork = number;
  std::uint64_t state = number;
  const std::uint64_t choice = mixed(state);
  std::uint8_t bytes[1024];
  const std::size_t size = 16 + choice / 8 % (sizeof bytes - 16);
  for (std::size_t i = 0; i < size; ++i)
    bytes[i] = static_cast<std::uint8_t>(mixed(state) >> 40);
  const fuzz::Input input(bytes, size);
  static constexpr void (*runs[])(fuzz::Input) = {fuzz::runTask, fuzz::runStream, fuzz::runSolver};
  const std::size_t which = choice % 8 < 4 ? 0 : choice % 8 < 7 ? 1 : 2;
  runs[which](input);
  ++counts.lives[which];
}

// ---- one task for all, renewed from time to time by whoever finds its turn ----

constexpr std::int32_t breakpoints = 500;

// f(t) = 3 t - 1 has itself for its natural spline, the inverse (v + 1) / 3, and integrals in closed form.
struct SharedTask {
  std::vector<double> x;
  std::vector<double> y;
  std::vector<double> coeff = std::vector<double>(4 * (breakpoints - 1));
  DfTask* task = nullptr;

  SharedTask() {
    for (std::int32_t i = 0; i < breakpoints; ++i) {
      x.push_back(i + (i % 3) * 0.25);
      y.push_back(3.0 * x.back() - 1.0);
    }
    FUZZ_EXPECT(dfTaskCreate(&task, breakpoints, x.data(), DF_XHINT_NONE, 1, y.data(), 0) == 0);
    FUZZ_EXPECT(dfTaskEditSpline(task, DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE, nullptr, DF_IC_NONE,
                                 nullptr, coeff.data(), 0) == 0);
    FUZZ_EXPECT(dfTaskConstruct(task, 0, 0) == 0);
  }
  SharedTask(const SharedTask&) = delete;
  SharedTask& operator=(const SharedTask&) = delete;
  ~SharedTask() { FUZZ_EXPECT(dfTaskDestroy(&task) == 0); }
};
std::atomic<std::shared_ptr<SharedTask>> sharedTask;

void useShared(std::uint64_t& state) {
  if (mixed(state) % 64 == 0) sharedTask.store(std::make_shared<SharedTask>());
  const std::shared_ptr<SharedTask> held = sharedTask.load();
  const double site = static_cast<double>(mixed(state) >> 44) / 0x1p20 * 499.0;
  double r[3] = {};
  FUZZ_EXPECT(dfTaskInterpolate(held->task, DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, 0, 0,
                                nullptr, nullptr, &r[0], 0, nullptr) == 0);
  FUZZ_EXPECT(dfTaskInverse(held->task, 0, 1, &r[0], &r[1]) == 0);
  const double zero = 0.0;
  FUZZ_EXPECT(dfTaskIntegrate(held->task, 1, &zero, &site, &r[2], 0) == 0);
  FUZZ_EXPECT(std::fabs(r[0] - (3.0 * site - 1.0)) < 1e-10);
  FUZZ_EXPECT(std::fabs(r[1] - site) < 1e-10);
  FUZZ_EXPECT(std::fabs(r[2] - (1.5 * site - 1.0) * site) < 1e-7);
  ++counts.shared;
}

// ---- what one thread makes and another deletes ----

struct Parcel {
  DfTask* task = nullptr;
  RsgStream* stream = nullptr;
};
std::atomic<Parcel*> mailbox[slots] = {};

void open(Parcel* parcel) {
  if (parcel == nullptr) return;
  double r[5];
  FUZZ_EXPECT(vdRngUniform(0, parcel->stream, 5, r, 0.0, 1.0) == 0);
  FUZZ_EXPECT(rsgDeleteStream(&parcel->stream) == 0);
  FUZZ_EXPECT(dfTaskDestroy(&parcel->task) == 0);
  delete parcel;
  ++counts.handedOver;
}

void handOver(std::uint64_t& state) {
  static const double x[] = {0, 1, 2.5, 3, 4};
  static const std::int32_t families[] = {RSG_BRNG_MT19937, RSG_BRNG_WICHMANN_HILL, RSG_BRNG_SOBOL,
                                          RSG_BRNG_NIEDERREITER, RSG_BRNG_MT2203 + 17};
  auto* const parcel = new Parcel;
  FUZZ_EXPECT(dfTaskCreate(&parcel->task, 5, x, DF_XHINT_NONE, 1, x, 0) == 0);
  FUZZ_EXPECT(rsgNewStream(&parcel->stream, families[mixed(state) % 5], 7) == 0);
  open(mailbox[mixed(state) % slots].exchange(parcel));
}

// ---- threads ----

// A thread lives for a second or so; another one takes its place.
void work(std::uint64_t seed, Clock::time_point end) {
  std::uint64_t state = seed;
  const auto mine = std::min(end, Clock::now() + std::chrono::milliseconds(200 + mixed(state) % 2000));
  while (Clock::now() < mine) {
    live(mixed(state));
    useShared(state);
    handOver(state);
  }
  ++counts.threads;
}

double residentMegabytes() {
  long pages[2] = {};
  if (std::FILE* const file = std::fopen("/proc/self/statm", "r")) {
    if (std::fscanf(file, "%ld %ld", &pages[0], &pages[1]) != 2) pages[1] = 0;
    std::fclose(file);
  }
  return static_cast<double>(pages[1]) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1048576.0;
}

void printRow(int minute) {
  std::printf(
      "| %d | %llu | %llu | %llu | %llu | %llu | %llu | %.1f | %.1f |\n", minute,
      static_cast<unsigned long long>(counts.lives[0]), static_cast<unsigned long long>(counts.lives[1]),
      static_cast<unsigned long long>(counts.lives[2]), static_cast<unsigned long long>(counts.shared),
      static_cast<unsigned long long>(counts.handedOver), static_cast<unsigned long long>(counts.threads),
      residentMegabytes(), static_cast<double>(mallinfo2().uordblks) / 1048576.0);
  std::fflush(stdout);
}

void nameInput(int) {
  std::fprintf(stderr, "input %llu\n", static_cast<unsigned long long>(inputAtWork));
}

}  // namespace

int main(int argc, char** argv) {
  const int minutes = argc > 1 ? std::atoi(argv[1]) : -1;
  const std::uint64_t seed = argc > 2 ? std::strtoull(argv[2], nullptr, 10) : 1;
  if (minutes < 0) return 2;
  std::signal(SIGABRT, nameInput);
  std::signal(SIGSEGV, [](int) {
    nameInput(0);
    std::_Exit(3);
  });
  rvnSetMessageHandler([](void*, const char*) {}, nullptr);
  if (minutes == 0) return live(seed), 0;

  std::printf("level %d, seed %llu, %d threads at a time\n", rvnUseBestLevel(),
              static_cast<unsigned long long>(seed), slots);
  std::printf(
      "| minute | tasks | streams | systems | shared calls | handed over | threads ended | resident, MB | in "
      "use, MB |\n"
      "|---|---|---|---|---|---|---|---|---|\n");
  sharedTask.store(std::make_shared<SharedTask>());
  const Clock::time_point begin = Clock::now();
  const Clock::time_point end = begin + std::chrono::minutes(minutes);
  std::uint64_t state = seed;
  std::vector<std::thread> running;
  for (int i = 0; i < slots; ++i)
    running.emplace_back(work, mixed(state), end);
  double settled = 0.0;
  for (int minute = 1; minute <= minutes;) {
    for (std::thread& thread : running) {
      thread.join();
      thread = std::thread(work, mixed(state), end);
    }
    if (Clock::now() < begin + std::chrono::minutes(minute)) continue;
    printRow(minute);
    if (minute == (minutes + 4) / 5) settled = residentMegabytes();
    ++minute;
  }
  for (std::thread& thread : running)
    thread.join();
  for (std::atomic<Parcel*>& mail : mailbox)
    open(mail.exchange(nullptr));
  // A block lost in every thousandth life would be tens of megabytes.
  const double grown = residentMegabytes() - settled;
  std::printf("resident memory grew by %.1f MB after the first fifth\n", grown);
  return grown > 8.0 ? 1 : 0;
}
