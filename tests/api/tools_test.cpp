#include <atomic>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "dispatch/kernel_slot.h"
#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"
#include "streams/generators.h"
#include "support/compare.h"
#include "support/levels.h"
#include "support/printed.h"
#include "support/task.h"

#include <ravenfit/random_streams.h>
#include <ravenfit/tools.h>
#include <ravenfit/tridiagonal.h>

namespace {

TEST(Tools, VersionIsThatOfTheHeaders) {
  EXPECT_EQ(rvnVersion(), std::to_string(RAVENFIT_VERSION_MAJOR) + "." +
                              std::to_string(RAVENFIT_VERSION_MINOR) + "." +
                              std::to_string(RAVENFIT_VERSION_PATCH));
}

// Every status that a public header names has a text, none is said twice, and none reads like the text of a number that
// nobody returns.
TEST(Tools, EveryStatusOfTheHeadersHasAText) {
  const struct {
    std::int32_t domain;
    const char* prefix;
    std::size_t least;  // statuses that there are at least
  } domains[] = {{RVN_DOMAIN_FIT, "DF_", 32}, {RVN_DOMAIN_STREAMS, "RSG_", 17}};
  const std::string unknown = rvnStatusText(RVN_DOMAIN_FIT, -999999);
  for (const auto& d : domains) {
    const std::regex status(std::string("\\b") + d.prefix + "(ERROR_\\w+|STATUS_OK) *=\\s*(-?\\d+)");
    std::set<std::string> texts;
    std::size_t count = 0;
    for (const auto& header : std::filesystem::directory_iterator(HEADERS)) {
      std::stringstream content;
      content << std::ifstream(header.path()).rdbuf();
      const std::string all = content.str();
      for (std::sregex_iterator it(all.begin(), all.end(), status); it != std::sregex_iterator(); ++it) {
        const std::string text = rvnStatusText(d.domain, std::stoi((*it)[2]));
        EXPECT_NE(text, unknown) << it->str();
        EXPECT_TRUE(text.size() > 5 && text.back() == '.') << it->str() << ": " << text;
        texts.insert(text);
        ++count;
      }
    }
    EXPECT_GE(count, d.least);
    EXPECT_EQ(texts.size(), count) << d.prefix;
  }
  for (const std::int32_t domain : {RVN_DOMAIN_FIT, RVN_DOMAIN_STREAMS, RVN_DOMAIN_SOLVER})
    EXPECT_EQ(rvnStatusText(domain, INT32_MIN), unknown);
  EXPECT_STRNE(rvnStatusText(RVN_DOMAIN_FIT, -1000), rvnStatusText(RVN_DOMAIN_STREAMS, -1000));
  EXPECT_STREQ(rvnStatusText(RVN_DOMAIN_SOLVER, 1), rvnStatusText(RVN_DOMAIN_SOLVER, INT32_MAX));
  EXPECT_STRNE(rvnStatusText(RVN_DOMAIN_SOLVER, 1), rvnStatusText(RVN_DOMAIN_SOLVER, 0));
  for (std::int32_t info = -8; info <= 0; ++info)
    EXPECT_NE(rvnStatusText(RVN_DOMAIN_SOLVER, info), unknown) << info;
  EXPECT_NE(rvnStatusText(0, 0), unknown);
  EXPECT_STREQ(rvnStatusText(0, 0), rvnStatusText(4, 0));
}

TEST(Tools, ReportsGoToTheHandler) {
  std::vector<std::string> taken;
  const auto bad = [] {
    rsgDeleteStream(nullptr);
    const std::int32_t n = -1;
    std::int32_t info = 0;
    DDTTRSB("N", &n, &n, nullptr, nullptr, nullptr, nullptr, &n, &info);
    EXPECT_EQ(info, -2);
  };
  rvnSetMessageHandler(
      [](void* context, const char* text) {
        static_cast<std::vector<std::string>*>(context)->push_back(text);
      },
      &taken);
  EXPECT_EQ(support::printed(bad), "");
  rvnSetMessageHandler(nullptr, &taken);
  EXPECT_EQ(support::printed(bad),
            support::parameterReport(1, "rsgDeleteStream") + support::parameterReport(2, "DDTTRSB"));
  const std::vector<std::string> expected = {
      "Vetra RVN ERROR: Parameter 1 was incorrect on entry to rsgDeleteStream.",
      "Vetra RVN ERROR: Parameter 2 was incorrect on entry to DDTTRSB."};
  EXPECT_TRUE(support::same(taken, expected));
}

// Values that do not depend on the level, while the level changes.
TEST(ToolsThreads, CallsGoOnWhileTheLevelChanges) {
  if (support::levelOfRun() > 9) GTEST_SKIP() << "no environment names the level of this run";
  const std::vector<double> x = {0, 1, 2, 3, 4, 5};
  const std::vector<double> y = {1, 3, 5, 7, 9, 11};
  std::atomic<bool> ends{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> running;
  for (int i = 0; i < 3; ++i)
    running.emplace_back([&] {
      while (!ends) {
        support::Task task(6, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT, {});
        const double site = 2.5;
        double value = 0;
        wrong += dfTaskConstruct(task.get(), 0, 0) != 0;
        wrong +=
            dfTaskInterpolate(task.get(), DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, DF_SITES_NONE,
                              0, nullptr, nullptr, &value, DF_RESULTS_DEFAULT, nullptr) != 0;
        wrong += value != 6;
        RsgStream* stream = nullptr;
        double u = -1;
        wrong += rsgNewStream(&stream, RSG_BRNG_MCG31, 1) != 0;
        wrong += vdRngUniform(RNG_UNIFORM_PLAIN, stream, 1, &u, 0, 2147483647) != 0;
        wrong += u != 1;
        rsgDeleteStream(&stream);
      }
    });
  const std::int32_t before = rvnLevel();
  for (int round = 0; round < 200; ++round) {
    const std::int32_t best = rvnUseBestLevel();
    wrong += best < before || best != rvnLevel() || !support::canRun(best);
    rvn::mmLockAcquire();
    rvn::vendorRule.ignored = false;
    rvn::decideLevelsAnew();
    rvn::emptySlots();
    rvn::mmLockRelease();
    wrong += rvnLevel() != before;
  }
  ends = true;
  for (std::thread& thread : running)
    thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
