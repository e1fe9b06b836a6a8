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

#include <ravenfit/stream_tools.h>
#include <ravenfit/tools.h>
#include <ravenfit/tridiagonal.h>

namespace {

TEST(Tools, VersionIsThatOfTheHeaders) {
  EXPECT_EQ(rvnVersion(), std::to_string(RAVENFIT_VERSION_MAJOR) + "." +
                              std::to_string(RAVENFIT_VERSION_MINOR) + "." +
                              std::to_string(RAVENFIT_VERSION_PATCH));
}

// Every status that a public header names has a text of its own.
TEST(Tools, EveryStatusOfTheHeadersHasAText) {
  const std::string unknown = rvnStatusText(RVN_DOMAIN_FIT, INT32_MIN);
  const std::string noDomain = rvnStatusText(0, 0);
  const std::regex status("\\b(DF|RSG)_(?:ERROR_\\w+|STATUS_OK) *=\\s*(-?\\d+)");
  std::size_t count = 0;
  std::set<std::string> texts;
  for (const auto& header : std::filesystem::directory_iterator(HEADERS)) {
    std::stringstream content;
    content << std::ifstream(header.path()).rdbuf();
    const std::string all = content.str();
    for (std::sregex_iterator it(all.begin(), all.end(), status); it != std::sregex_iterator();
         ++it, ++count) {
      const std::int32_t domain = (*it)[1] == "DF" ? RVN_DOMAIN_FIT : RVN_DOMAIN_STREAMS;
      const std::string text = rvnStatusText(domain, std::stoi((*it)[2]));
      EXPECT_TRUE(text != unknown && text != noDomain && text.back() == '.') << it->str() << ": " << text;
      texts.insert(text);
    }
  }
  EXPECT_GE(count, 49u);
  EXPECT_EQ(texts.size() + 1, count) << "only that of no error stands twice";
  texts.insert({unknown, noDomain});
  for (std::int32_t info = -8; info <= 1; ++info)
    EXPECT_TRUE(info == 0 || texts.insert(rvnStatusText(RVN_DOMAIN_SOLVER, info)).second) << info;
  EXPECT_STREQ(rvnStatusText(RVN_DOMAIN_SOLVER, 1), rvnStatusText(RVN_DOMAIN_SOLVER, INT32_MAX));
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
  std::atomic<int> runs{0};
  std::atomic<int> wrong{0};
  std::vector<std::thread> running;
  for (int i = 0; i < 3; ++i)
    running.emplace_back([&] {
      while (++runs < 1000) {
        support::Task task(6, x, DF_XHINT_NONE, 1, y, DF_VALUES_DEFAULT, {});
        const double site = 2.5;
        double value = 0;
        wrong += dfTaskConstruct(task.get(), 0, 0) != 0;
        dfTaskInterpolate(task.get(), DF_WANT_INTERPOLATE, DF_METHOD_POLYNOMIAL, 1, &site, DF_SITES_NONE, 0,
                          nullptr, nullptr, &value, DF_RESULTS_DEFAULT, nullptr);
        RsgStream* stream = nullptr;
        std::int32_t word = 0;
        rsgNewStream(&stream, RSG_BRNG_MRG32K3A, 1);
        wrong += rsgIntegers(stream, 1, &word, 5, 5) != 0;
        rsgDeleteStream(&stream);
        wrong += value != 6 || word != 5;
      }
    });
  const std::int32_t before = rvnLevel();
  while (runs < 1000) {
    const std::int32_t best = rvnUseBestLevel();
    wrong += best < before || best != rvnLevel() || !support::canRun(best);
    rvn::mmLockAcquire();
    rvn::vendorRule.ignored = false;
    rvn::decideLevelsAnew();
    rvn::emptySlots();
    rvn::mmLockRelease();
    wrong += rvnLevel() != before;
  }
  for (std::thread& thread : running)
    thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
