// Every operation, with its n-th allocation failing, for every n: the status says so, results stay as they were, nothing is
// lost, and the same objects then give what they give undisturbed. Blocks come from the cache of a new thread, past a cache
// that is busy, or with the cache off.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <thread>
#include <vector>

#include "runtime/memory_state.h"
#include "runtime/platform.h"
#include "support/compare.h"
#include "support/failing_heap.h"
#include "support/levels.h"
#include "support/task.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/smoothing.h>
#include <ravenfit/spline_tools.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/tridiagonal.h>
#include <ravenfit/variates.h>

namespace {

using Doubles = std::vector<double>;
using support::Settings;
using support::Task;

// Works on objects that were prepared with memory at hand, and fills the array with what it finds.
using Call = std::function<std::int32_t(Doubles& out)>;

struct Operation {
  const char* name;
  int allocations;  // past the cache; -1: some
  std::int32_t exhausted;
  std::function<Call()> prepare;
};

constexpr std::int32_t nx = 300;
constexpr std::int32_t longest = 4095;  // where scratch no longer fits on the stack

Doubles ramp(std::size_t n, double curvature = 0.0) {
  Doubles r;
  for (std::size_t i = 0; i < n; ++i)
    r.push_back(0.5 * static_cast<double>(i) + static_cast<double>(i % 3) / 16.0 +
                curvature * static_cast<double>(i * i));
  return r;
}

std::shared_ptr<Task> prepared(const Settings& settings, std::int32_t ny = 2, bool construct = true) {
  const std::int32_t n = construct ? nx : longest;
  auto task =
      std::make_shared<Task>(n, ramp(static_cast<std::size_t>(n)), DF_XHINT_NONE, ny,
                             ramp(static_cast<std::size_t>(n * ny), 0.01), DF_VALUES_DEFAULT, settings);
  EXPECT_EQ(task->status, DF_STATUS_OK);
  if (construct) {
    EXPECT_EQ(dfTaskConstruct(task->get(), 0, 0), DF_STATUS_OK);
  }
  return task;
}

// A construction into coefficients that are read afterwards.
Operation construction(const char* name, const Settings& settings, int allocations = 1) {
  return {name, allocations, DF_ERROR_MEMORY, [settings]() -> Call {
            const auto task = prepared(settings, 2, false);
            return [task](Doubles& out) {
              const std::int32_t status = dfTaskConstruct(task->get(), 0, 0);
              out.assign(task->coeff().begin(), task->coeff().end());
              return status;
            };
          }};
}

Operation interpolation(const char* name, int allocations, std::int32_t ny, std::int32_t nsite,
                        std::int32_t want, std::int32_t sitehint, std::int32_t rhint) {
  return {name, allocations, DF_ERROR_MEMORY, [=]() -> Call {
            const auto task = prepared({}, ny);
            return [=](Doubles& out) {
              Doubles sites = ramp(static_cast<std::size_t>(nsite), 1e-9);
              if (sitehint == DF_SITES_UNIFORM) sites = {1.0, 100.0};
              const std::int32_t wanted[] = {1, 1};
              std::vector<std::int32_t> cells(static_cast<std::size_t>(nsite), -77);
              out.resize(static_cast<std::size_t>(2 * ny * nsite), -77.0);
              const std::int32_t status =
                  dfTaskInterpolate(task->get(), want, DF_METHOD_POLYNOMIAL, nsite, sites.data(), sitehint, 2,
                                    wanted, nullptr, out.data(), rhint, cells.data());
              out.insert(out.end(), cells.begin(), cells.end());
              return status;
            };
          }};
}

// What is asked of a cubic spline with one monotone function and a second one.
Operation splineTool(const char* name, int allocations, std::int32_t (*use)(const DfTask*, double*)) {
  return {name, allocations, DF_ERROR_MEMORY, [use]() -> Call {
            const auto task = prepared({});
            return [=](Doubles& out) {
              out.resize(10 * nx, -77.0);
              return use(task->get(), out.data());
            };
          }};
}

Operation smoothing(const char* name, std::int32_t method) {
  return {name, -1, DF_ERROR_MEMORY, [method]() -> Call {
            return [=](Doubles& out) {
              const Doubles x = ramp(nx);
              const Doubles y = ramp(2 * nx, 0.003);
              out.resize(8 * nx, -77.0);
              return dfSmooth(nx, x.data(), DF_XHINT_NONE, 2, y.data(), 0, nullptr, method, 0.5,
                              out.data() + 8 * nx - 2, out.data());
            };
          }};
}

constexpr std::int32_t generators[] = {
    RSG_BRNG_MCG31,        RSG_BRNG_R250,          RSG_BRNG_MRG32K3A, RSG_BRNG_MCG59,     RSG_BRNG_SOBOL,
    RSG_BRNG_NIEDERREITER, RSG_BRNG_WICHMANN_HILL, RSG_BRNG_MT19937,  RSG_BRNG_SFMT19937, RSG_BRNG_MT2203};

std::shared_ptr<RsgStream> streamOf(std::int32_t id) {
  RsgStream* stream = nullptr;
  EXPECT_EQ(rsgNewStream(&stream, id, 5), 0);
  return {stream, [](RsgStream* s) { EXPECT_EQ(rsgDeleteStream(&s), 0); }};
}

// Draws from a stream that was made, and deletes it. One that was not made is null.
void drawFrom(RsgStream* stream, std::int32_t status, Doubles& out) {
  ASSERT_EQ(stream != nullptr, status == 0);
  if (stream == nullptr) return;
  out.resize(out.size() + 40);
  EXPECT_EQ(vdRngUniform(0, stream, 40, out.data() + out.size() - 40, 0.0, 1.0), 0);
  EXPECT_EQ(rsgDeleteStream(&stream), 0);
}

// All generators one after another: the first failure ends the call, as if nothing had been drawn.
template <class Make>
Operation making(const char* name, int allocations, Make make) {
  return {name, allocations, RSG_ERROR_MEMORY, [make]() -> Call {
            std::vector<std::shared_ptr<RsgStream>> sources;
            for (const std::int32_t id : generators)
              sources.push_back(streamOf(id));
            return [=](Doubles& out) {
              const Doubles before = out;
              for (const std::shared_ptr<RsgStream>& source : sources) {
                const std::int32_t status = make(source.get(), out);
                if (status == 0) continue;
                out = before;
                return status;
              }
              return 0;
            };
          }};
}

std::vector<Operation> operations() {
  static const double ends[] = {0.25, 0.5};
  static const Doubles inner = ramp(longest);
  constexpr std::int32_t many = 1200;
  const int each = static_cast<int>(std::size(generators));
  return {
      {"create", 1, DF_ERROR_MEMORY,
       []() -> Call {
         return [](Doubles& out) {
           const Doubles x = ramp(nx);
           DfTask* task = nullptr;
           const std::int32_t status = dfTaskCreate(&task, nx, x.data(), DF_XHINT_NONE, 1, x.data(), 0);
           if (task != nullptr) {
             EXPECT_EQ(dfTaskDestroy(&task), 0);
           }
           if (status == 0) out.push_back(1.0);
           return status;
         };
       }},
      {"create, many functions, and edit", -1, DF_ERROR_MEMORY,
       []() -> Call {
         return [](Doubles& out) {
           const Doubles x = ramp(nx);
           const Doubles y = ramp(40 * nx);
           Doubles coeff(40 * 4 * nx);
           DfTask* task = nullptr;
           std::int32_t status = dfTaskCreate(&task, nx, x.data(), DF_XHINT_NONE, 40, y.data(), 0);
           if (status == 0)
             status =
                 dfTaskEditSpline(task, 4, DF_KIND_BESSEL, DF_END_FREE, nullptr, 0, nullptr, coeff.data(), 0);
           if (status == 0) out.push_back(1.0);
           if (task != nullptr) {
             EXPECT_EQ(dfTaskDestroy(&task), 0);
           }
           return status;
         };
       }},
      construction("linear", {DF_ORDER_LINEAR, DF_KIND_DEFAULT, DF_END_NONE}, 0),
      construction("quadratic", {DF_ORDER_QUADRATIC, DF_KIND_DEFAULT, DF_END_QUADRATIC_VALUE, ends}),
      construction("natural", {DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_FREE}),
      construction("natural, not a knot", {DF_ORDER_CUBIC, DF_KIND_NATURAL, DF_END_NOT_A_KNOT}),
      construction("Hermite", {DF_ORDER_CUBIC, DF_KIND_HERMITE, 12, ends, DF_IC_SLOPES, inner.data()}, 0),
      construction("second derivatives",
                   {DF_ORDER_CUBIC, DF_KIND_DEFAULT, 12, ends, DF_IC_CURVATURES, inner.data()}, 0),
      construction("Bessel", {DF_ORDER_CUBIC, DF_KIND_BESSEL, DF_END_NOT_A_KNOT}, 0),
      construction("Akima", {DF_ORDER_CUBIC, DF_KIND_AKIMA, DF_END_NONE}, 0),
      construction("modified Akima", {DF_ORDER_CUBIC, DF_KIND_MODIFIED_AKIMA, DF_END_NONE}, 0),
      construction("PCHIP", {DF_ORDER_CUBIC, DF_KIND_PCHIP, DF_END_NONE}, 0),
      construction("Steffen", {DF_ORDER_CUBIC, DF_KIND_STEFFEN, DF_END_NONE}, 0),
      interpolation("few sites", 0, 2, 3, 3, DF_SITES_GENERAL, 0),
      interpolation("many functions", 1, many, 7, 3, DF_SITES_GENERAL, 0),
      interpolation("many functions, by site", -1, many, 7, 3, DF_SITES_GENERAL, DF_RESULTS_BY_SITE),
      interpolation("many sites", -1, 2, 9000, 3, DF_SITES_GENERAL, DF_RESULTS_DERIVS_INNER),
      interpolation("many sorted sites", -1, 2, 9000, 3, DF_SITES_SORTED, 0),
      interpolation("cells of uniform sites", 1, 2, 9000, 2, DF_SITES_UNIFORM, 0),
      splineTool("integrals", 1,
                 [](const DfTask* t, double* r) {
                   const double a[] = {-1.0, 2.0, 30.0};
                   const double b[] = {20.0, 1.5, 180.0};
                   return dfTaskIntegrate(t, 3, a, b, r, 0);
                 }),
      splineTool("antiderivative", 0, dfTaskAntiderivative),
      splineTool("derivative", 0, dfTaskDerivative),
      splineTool("sites with a value", 0,
                 [](const DfTask* t, double* r) {
                   std::int64_t count = 0;
                   return dfTaskSolve(t, 0, 40.0, 0.0, 150.0, 5, r, &count);
                 }),
      splineTool("inverse", 1,
                 [](const DfTask* t, double* r) {
                   const double values[] = {3.0, 50.0, 900.0};
                   return dfTaskInverse(t, 0, 3, values, r);
                 }),
      smoothing("smoothing, lambda given", DF_SMOOTH_LAMBDA),
      smoothing("smoothing, lambda by cross-validation", DF_SMOOTH_GCV),
      making("new stream", each,
             [](const RsgStream* source, Doubles& out) {
               RsgInfo info = {};
               rsgStreamInfo(source, &info);
               RsgStream* made = nullptr;
               const std::int32_t status = rsgNewStream(&made, info.brngId, 9);
               return drawFrom(made, status, out), status;
             }),
      making("stream of seeds", each,
             [](const RsgStream* source, Doubles& out) {
               RsgInfo info = {};
               rsgStreamInfo(source, &info);
               const std::uint32_t seeds[] = {5, 6, 7};
               RsgStream* made = nullptr;
               const std::int32_t status = rsgNewStreamFromSeeds(&made, info.brngId, 3, seeds);
               return drawFrom(made, status, out), status;
             }),
      making("copy", each,
             [](const RsgStream* source, Doubles& out) {
               RsgStream* made = nullptr;
               const std::int32_t status = rsgCopyStream(&made, source);
               return drawFrom(made, status, out), status;
             }),
      making("load", each,
             [](const RsgStream* source, Doubles& out) {
               std::uint8_t bytes[2528];
               EXPECT_EQ(rsgSaveStream(source, bytes, sizeof bytes), 0);
               RsgStream* made = nullptr;
               const std::int32_t status = rsgLoadStream(&made, bytes, sizeof bytes);
               return drawFrom(made, status, out), status;
             }),
      making("split", -1,
             [](const RsgStream* source, Doubles& out) {
               RsgInfo info = {};
               rsgStreamInfo(source, &info);
               const bool slow = info.brngId == RSG_BRNG_MT19937 || info.brngId == RSG_BRNG_SFMT19937;
               if (slow || info.split == RSG_SPLIT_NONE) return std::int32_t{0};
               RsgStream* parts[3] = {};
               const std::int32_t status = rsgSplit(source, 3, 0, parts);
               for (RsgStream* part : parts)
                 drawFrom(part, status, out);
               return status;
             }),
      {"split of a Mersenne Twister", -1, RSG_ERROR_MEMORY,
       []() -> Call {
         const auto source = streamOf(RSG_BRNG_MT19937);
         return [=](Doubles& out) {
           RsgStream* parts[2] = {};
           const std::int32_t status = rsgSplit(source.get(), 2, 0, parts);
           for (RsgStream* part : parts)
             drawFrom(part, status, out);
           return status;
         };
       }},
      {"skip ahead", 1, RSG_ERROR_MEMORY,
       []() -> Call {
         const auto source = streamOf(RSG_BRNG_MT19937);
         return [=](Doubles& out) {
           const std::int32_t status = rsgSkipAhead(source.get(), 123456789);
           if (status != 0) return status;
           out.resize(40);
           return vdRngUniform(0, source.get(), 40, out.data(), 0.0, 1.0);
         };
       }},
      {"scrambled points", 1, RSG_ERROR_MEMORY,
       []() -> Call {
         return [](Doubles& out) {
           RsgStream* made = nullptr;
           const std::int32_t status = rsgNewScrambledSobol(&made, 17, 3, RSG_SCRAMBLING_LINEAR);
           return drawFrom(made, status, out), status;
         };
       }},
      {"points by a table", -1, RSG_ERROR_MEMORY,
       []() -> Call {
         return [](Doubles& out) {
           const std::uint32_t table[] = {2, 1, 0, 1, 3, 2, 1, 1, 3};  // d s a m_1 ..
           RsgStream* made = nullptr;
           const std::int32_t status = rsgNewSobolFromTable(&made, 3, table, 9, 3, RSG_SCRAMBLING_SHIFT);
           return drawFrom(made, status, out), status;
         };
       }},
      {"fills", 0, RSG_ERROR_MEMORY,
       []() -> Call {
         const auto source = streamOf(RSG_BRNG_SFMT19937);
         return [=](Doubles& out) {
           std::vector<std::uint64_t> words(9000);
           out.resize(9000);
           return rsgWords64(source.get(), 9000, words.data()) |
                  rsgNormal(source.get(), 9000, out.data(), 0.0, 1.0);
         };
       }},
      {"solver", 0, 0,
       []() -> Call {
         return [](Doubles& out) {
           const Doubles one(999, 1.0);
           Doubles lower = one;
           Doubles diagonal(1000, 4.0);
           out = ramp(9000);
           const std::int32_t n = 1000;
           const std::int32_t columns = 9;
           std::int32_t info = -9;
           DDTSVB(&n, &columns, lower.data(), diagonal.data(), one.data(), out.data(), &n, &info);
           return info;
         };
       }},
  };
}

int blocksInUse() {
  int inUse = 0;
  for (int i = 1; i <= rvn::mmState.threadCount; ++i)
    for (const rvn::MmSlot& slot : rvn::mmState.threadRecords[i].load()->slots)
      inUse += slot.inUse;
  return inUse;
}

enum class Path { busyCache, freshCache, noCache };

template <class Body>
void onPath(Path path, Body body) {
  if (path == Path::busyCache) return body();
  rvn::mmState.disabled = path == Path::noCache ? 1 : 0;
  std::thread([&] {
    for (std::atomic<std::uint64_t>& owner : rvn::mmState.threadIds)
      if (owner == rvn::threadIdentity())
        owner = 0;  // the record, and the blocks, of a thread that has ended
    body();
  }).join();
  rvn::mmState.disabled = 0;
}

// Whether the operation came to its end with so many allocations.
bool endsWith(const Operation& operation, Path path, int n, const Doubles& want) {
  bool ended = false;
  support::FailingHeap heap(0);
  const int inUse = blocksInUse();
  Call call;
  if (path != Path::noCache) call = operation.prepare();
  onPath(path, [&] {
    if (path == Path::noCache) call = operation.prepare();
    heap.failAfter(n);
    Doubles out(5, -77.0);
    const std::int32_t status = call(out);
    ended = status == 0;
    if (ended) {
      EXPECT_TRUE(support::same(out, want));
      // The record of a thread is missed by nobody.
      if (path == Path::busyCache) {
        EXPECT_FALSE(heap.failed());
      }
    } else {
      EXPECT_EQ(status, operation.exhausted);
      EXPECT_TRUE(heap.failed());
      EXPECT_TRUE(support::same(out, Doubles(out.size(), -77.0)));
      Doubles again(5, -77.0);
      EXPECT_EQ(call(again), 0);
      EXPECT_TRUE(support::same(again, want));
    }
    call = nullptr;
  });
  if (path == Path::busyCache) {
    EXPECT_EQ(heap.live(), 0);
  }
  EXPECT_EQ(blocksInUse(), inUse);
  return ended;
}

// At the lowest and the highest level: the others ask for the same blocks.
TEST(AllocationFaults, EveryOperationSurvivesEveryOne) {
  const std::vector<std::int32_t> levels = support::runnableLevels();
  const std::int32_t level = support::levelOfRun();
  if (level != levels.front() && level != levels.back()) GTEST_SKIP() << "the levels beside it have it";
  int faults = 0;
  for (const Operation& operation : operations()) {
    Doubles want(5, -77.0);
    ASSERT_EQ(operation.prepare()(want), 0) << operation.name;
    for (const Path path : {Path::busyCache, Path::freshCache, Path::noCache}) {
      SCOPED_TRACE(testing::Message() << operation.name << ", path " << static_cast<int>(path));
      int n = 1;
      while (n < 200 && !endsWith(operation, path, n, want))
        ++n;
      faults += n - 1;
      if (path != Path::busyCache) continue;
      EXPECT_LT(n, 200);
      if (operation.allocations >= 0) {
        EXPECT_EQ(n - 1, operation.allocations);
      }
    }
  }
  std::printf("%d faults\n", faults);
}

}  // namespace
