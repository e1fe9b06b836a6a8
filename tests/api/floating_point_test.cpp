// What the operations leave of the caller's floating-point environment.

#include <cfenv>
#include <cstdint>
#include <gtest/gtest.h>
#include <immintrin.h>
#include <string>
#include <vector>

#include "construct/problem.h"
#include "streams/generators.h"

#include <ravenfit/random_streams.h>
#include <ravenfit/tridiagonal.h>

namespace {

using problem::Problem;
using problem::size;
using support::Task;

// Control bits of both units, without the exceptions that have been raised.
std::uint32_t controlWords() {
  std::uint16_t x87 = 0;
  __asm__ volatile("fnstcw %0" : "=m"(x87));
  return static_cast<std::uint32_t>(x87) << 16 | (_mm_getcsr() & ~0x3FU);
}

template <class Operation>
void expectQuiet(const std::string& name, Operation operation) {
  std::feclearexcept(FE_ALL_EXCEPT);
  const std::uint32_t before = controlWords();
  operation();
  EXPECT_EQ(std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW), 0) << name;
  EXPECT_EQ(controlWords(), before) << name;
}

// A program that traps on these exceptions must not die of ordinary data, of which collinear values are some.
TEST(FloatingPoint, OrdinaryDataRaiseNothing) {
  problem::forEach(3, {5, 7, 40, 300}, [](const Problem& given) {
    for (const bool collinear : {false, true}) {
      Problem p = given;
      for (std::size_t i = 0; collinear && i < p.y.size(); ++i)
        p.y[i] = p.bcType == DF_END_PERIODIC ? 2.0 : 3.0 * p.x[i % p.x.size()];
      expectQuiet(p.name() + (collinear ? ", collinear" : ""), [&] {
        Task task = p.task();
        ASSERT_EQ(dfTaskConstruct(task.get(), 0, 0), DF_STATUS_OK);
        for (const std::size_t nsite : {1U, 5U, 300U}) {
          std::vector<double> sites;
          for (std::size_t i = 0; i < nsite; ++i)
            sites.push_back(p.x.front() - 0.5 +
                            (p.x.back() - p.x.front() + 1.0) * static_cast<double>(i) / 299.0);
          std::vector<double> r(12 * nsite);
          for (const std::int32_t hint : {DF_SITES_NONE, DF_SITES_SORTED, DF_SITES_UNIFORM})
            ASSERT_EQ(support::interpolate(task,
                                           {nsite > 1 ? sites : std::vector<double>{0.1, 0.2},
                                            {1, 1, 1, 1},
                                            0,
                                            1,
                                            hint,
                                            nullptr,
                                            static_cast<std::int32_t>(nsite)},
                                           r),
                      DF_STATUS_OK);
        }
      });
    }
  });
  for (const support::Generator& generator : support::generators())
    expectQuiet(generator.name, [&] {
      RsgStream* stream = nullptr;
      std::vector<double> r(3000);
      ASSERT_EQ(rsgNewStream(&stream, generator.brngId, 7), RSG_STATUS_OK);
      for (const std::int32_t n : {1, 9, 3000})
        for (const std::int32_t method : {RNG_UNIFORM_PLAIN, RNG_UNIFORM_CLAMPED})
          ASSERT_EQ(vdRngUniform(method, stream, n, r.data(), -3.0, 7.0), RSG_STATUS_OK);
      rsgDeleteStream(&stream);
    });
  for (const std::int32_t n : {1, 2, 9, 100})
    expectQuiet("solver", [&] {
      std::vector<double> dl(size(n), 1.0);
      std::vector<double> d(size(n), 4.0);
      const std::vector<double> du(size(n), -1.0);
      std::vector<double> b(9 * size(n), 2.0);
      const std::int32_t nrhs = 9;
      std::int32_t info = 0;
      DDTSVB(&n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &n, &info);
      DDTTRSB("T", &n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &n, &info);
    });
}

}  // namespace
