// Processors through a CPUID of the test's own. Register contents are those that such processors report;
// features are those that their makers publish.

#include <cstdint>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <type_traits>
#include <unistd.h>
#include <vector>

#include "dispatch/kernel_slot.h"
#include "dispatch/solver_kernels.h"
#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"
#include "runtime/fake_machine.h"
#include "runtime/memory.h"
#include "runtime/memory_state.h"
#include "runtime/messages.h"
#include "runtime/reproducibility.h"
#include "support/printed.h"

#include <ravenfit/tools.h>

namespace {

using support::boot;
using support::FakeProcessor;
using support::machine;

constexpr std::uint32_t allEdx = 0xBFEBFBFF;

FakeProcessor make(std::uint32_t signature, std::uint32_t ecx, std::uint32_t edx, std::uint32_t leaf7 = 0,
                   std::uint32_t extended = 0, std::uint64_t xcr0 = 0) {
  FakeProcessor p;
  p.signature = signature;
  p.leaf1Ecx = ecx;
  p.leaf1Edx = edx;
  p.leaf7Ebx = leaf7;
  p.extendedEcx = extended;
  p.xcr0 = xcr0;
  return p;
}

const FakeProcessor northwood = make(0xF29, 0x00004400, allEdx);
const FakeProcessor prescott = make(0xF41, 0x0000441D, allEdx);
const FakeProcessor conroe = make(0x6F6, 0x0000E3BD, allEdx, 0, 0x01);
const FakeProcessor bonnell = make(0x106C2, 0x0040E3BD, 0xBFE9FBFF, 0, 0x01);
const FakeProcessor penryn = make(0x10676, 0x0008E3FD, allEdx, 0, 0x01);
const FakeProcessor nehalem = make(0x106A5, 0x0098E3BD, allEdx, 0, 0x01);
const FakeProcessor sandyBridge = make(0x206A7, 0x1FBAE3FF, allEdx, 0, 0x01, 7);
const FakeProcessor haswell = make(0x306C3, 0x7FFAFBBF, allEdx, 0x000027AB, 0x21, 7);
const FakeProcessor skylakeX = make(0x50654, 0x7FFEFBFF, allEdx, 0xD39FFFFB, 0x121, 0xFF);
const FakeProcessor knightsLanding = make(0x50671, 0x7FF8F3BF, allEdx, 0x1C0D23AB, 0x121, 0xE7);
const FakeProcessor goldmont = make(0x506C9, 0x4FF8EBBF, allEdx, 0x2294E283, 0x101, 0x1B);
const FakeProcessor pentium3 = make(0x683, 0, 0x0383FBFF);

FakeProcessor without(FakeProcessor p, std::uint32_t FakeProcessor::*word, int bit) {
  p.*word &= ~(1u << bit);
  return p;
}

// The same with another value of one member.
template <class T>
auto withOther(T FakeProcessor::*member) {
  return [member](FakeProcessor p, std::type_identity_t<T> value) {
    p.*member = value;
    return p;
  };
}
const auto withState = withOther(&FakeProcessor::xcr0);
const auto withVendor = withOther(&FakeProcessor::vendor);
const auto withHighestLeaf = withOther(&FakeProcessor::highestLeaf);

FakeProcessor otherVendor(const FakeProcessor& p) {
  return withVendor(p, "GenuineOther");
}

TEST(Detection, LevelAndSolverClass) {
  const struct {
    const char* name;
    FakeProcessor processor;
    std::int32_t level;
    std::int32_t solverClass;
  } cases[] = {
      {"SSE2", northwood, 3, 2},
      {"SSE3", prescott, 4, 3},
      {"SSSE3", conroe, 5, 4},
      {"SSE4.1", penryn, 6, 4},
      {"SSE4.2", nehalem, 7, 5},
      {"AVX", sandyBridge, 8, 6},
      {"AVX2", haswell, 9, 7},
      {"AVX-512", skylakeX, 9, 7},
      {"AVX off in the system", withState(haswell, 1), 7, 5},
      {"AVX half on", withState(haswell, 3), 7, 5},
      {"no OSXSAVE", without(haswell, &FakeProcessor::leaf1Ecx, 27), 7, 5},
      {"no FMA", without(haswell, &FakeProcessor::leaf1Ecx, 12), 8, 6},
      {"no AES", without(haswell, &FakeProcessor::leaf1Ecx, 25), 8, 7},
      {"no PCLMULQDQ", without(haswell, &FakeProcessor::leaf1Ecx, 1), 9, 6},
      {"no BMI1", without(haswell, &FakeProcessor::leaf7Ebx, 3), 8, 6},
      {"no AVX2", without(haswell, &FakeProcessor::leaf7Ebx, 5), 8, 6},
      {"no BMI2", without(haswell, &FakeProcessor::leaf7Ebx, 8), 8, 6},
      {"no LZCNT", without(haswell, &FakeProcessor::extendedEcx, 5), 8, 6},
      {"no FXSR", without(haswell, &FakeProcessor::leaf1Edx, 24), 9, 6},
      {"highest leaf 1", withHighestLeaf(haswell, 1), 9, 6},
      {"other vendor", otherVendor(haswell), 2, 5},
      {"the vendor's letters in another order", withVendor(haswell, "GenutraineVe"), 2, 5},
      {"other vendor, old", otherVendor(northwood), 2, 2},
  };
  for (const auto& c : cases) {
    boot(c.processor);
    EXPECT_EQ(rvn::cpuLevel(), c.level) << c.name;
    EXPECT_EQ(rvn::solverCpuType(), c.solverClass) << c.name;
    EXPECT_EQ(rvn::detectCpuType(0), c.solverClass) << c.name;
    machine.processor = northwood;
    EXPECT_EQ(rvn::cpuLevel(), c.level) << c.name << ": decided once";
    EXPECT_EQ(rvn::solverCpuType(), c.solverClass) << c.name << ": decided once";
  }
}

TEST(Detection, FeatureMask) {
  using namespace rvn;
  const std::vector<Feature> p4 = {featureRead, featureFpu, featureCmov, featureMmx,
                                   featureFxsr, featureSse, featureSse2};
  const auto plus = [](std::vector<Feature> base, const std::vector<Feature>& more) {
    base.insert(base.end(), more.begin(), more.end());
    return base;
  };
  const auto core2 = plus(p4, {featureSse3, featureSsse3});
  const auto i7 = plus(core2, {featureSse41, featureSse42, featurePopcnt});
  const auto sandy = plus(i7, {featurePclmulqdq, featureAes, featureAvx});
  const auto has = plus(
      sandy, {featureMovbe, featureF16c, featureRdrand, featureFma, featureBmi, featureLzcnt, featureAvx2});
  const auto skylake = plus(has, {featureHle, featureRtm, featureAdx, featureRdseed});
  const struct {
    const char* name;
    FakeProcessor processor;
    std::vector<Feature> features;
  } cases[] = {
      {"Northwood", northwood, p4},
      {"Conroe", conroe, core2},
      {"Bonnell", bonnell, plus(core2, {featureMovbe, featureLowPower})},
      {"Penryn", penryn, plus(core2, {featureSse41})},
      {"Nehalem", nehalem, i7},
      {"Sandy Bridge", sandyBridge, sandy},
      {"Haswell", haswell, has},
      {"Haswell, highest leaf 1", withHighestLeaf(haswell, 1),
       plus(sandy, {featureMovbe, featureF16c, featureRdrand, featureFma, featureLzcnt})},
      {"Haswell, AVX off", withState(haswell, 1),
       plus(i7, {featurePclmulqdq, featureAes, featureMovbe, featureRdrand, featureBmi, featureLzcnt})},
      {"Skylake-X", skylakeX, plus(skylake, {featureAvx512f, featureAvx512cd, featureMpx})},
      {"Skylake-X, AVX-512 half on", withState(skylakeX, 0x7F), plus(skylake, {featureMpx})},
      {"Skylake-X, bounds half on", withState(skylakeX, 0x0F), skylake},
      {"Knights Landing", knightsLanding,
       plus(has,
            {featureAdx, featureRdseed, featureAvx512f, featureAvx512er, featureAvx512pf, featureAvx512cd})},
      // Bits 3 and 4 of XCR0 are set, 2 is not: MPX needs the AVX state too.
      {"Goldmont", goldmont,
       plus(i7, {featureMovbe, featurePclmulqdq, featureAes, featureRdrand, featureRdseed, featureSha})},
      {"Haswell, no FXSR",
       without(haswell, &FakeProcessor::leaf1Edx, 24),
       {featureRead, featureFpu, featureCmov, featureMmx, featureF16c, featureAvx, featureRdrand, featureFma,
        featureBmi, featureLzcnt, featureAvx2}},
      {"no leaves", withHighestLeaf(haswell, 0), {}},
  };
  for (const auto& c : cases) {
    boot(c.processor);
    std::uint64_t mask = 0;
    for (const Feature feature : c.features)
      mask |= std::uint64_t{1} << feature;
    EXPECT_EQ(cpuFeaturesRead(), mask) << c.name << std::hex << ", wrong bits " << (cpuFeaturesRead() ^ mask);
  }
}

TEST(DetectionDeathTest, ProcessorWithoutSse2EndsTheProcess) {
  FakeProcessor noCpuid = haswell;
  noCpuid.hasCpuid = false;
  for (const FakeProcessor& processor : {pentium3, otherVendor(pentium3), noCpuid}) {
    // Messages go to standard output, which a death test does not see.
    EXPECT_EXIT(
        {
          boot(processor);
          dup2(2, 1);
          rvn::cpuLevel();
        },
        testing::ExitedWithCode(1),
        "Vetra RVN FATAL ERROR: This system does not meet the minimum requirements for use of the "
        "Vetra\\(R\\) Ravenfit Numerics Library\\.\n"
        "The processor must support the Vetra\\(R\\) Streaming SIMD 2 Extensions \\(Vetra\\(R\\) SSE2\\) "
        "instructions\\.\n");
  }
  EXPECT_EXIT((boot(pentium3), rvn::detectCpuType(1)), testing::ExitedWithCode(1), "");
  boot(noCpuid);
  EXPECT_EQ(rvn::detectCpuType(1), 2);
}

TEST(Detection, EnvironmentOverridesDetection) {
  const char* const level = "RVN_KERNEL_LEVEL_FORCE";
  const char* const solverClass = "RVN_DEBUG_CPU_TYPE";
  const char* const anyVendor = "RVN_ANY_VENDOR";
  const FakeProcessor other = otherVendor(haswell);
  const struct {
    const FakeProcessor& processor;
    const char* variable;
    const char* value;
    std::int32_t level;
    std::int32_t solverClass;
  } cases[] = {
      {haswell, level, "0", 0, 7},
      {haswell, level, "7", 7, 7},
      {haswell, level, "9", 9, 7},
      {haswell, level, "07", 7, 7},
      {haswell, level, "00", 0, 7},
      {haswell, level, "10", 9, 7},
      {haswell, level, "99", 9, 7},
      {haswell, level, ":", 9, 7},
      {haswell, level, "a", 9, 7},
      {haswell, level, "123", 9, 7},
      {haswell, level, "", 9, 7},
      {haswell, level, "/", 9, 7},
      {haswell, level, ".", -2, 7},
      {haswell, level, "-1", -29, 7},
      {haswell, level, "0000000000000000000000000000001", 9, 7},
      {haswell, level, "00000000000000000000000000000000000007", 9, 7},
      {haswell, solverClass, "2", 9, 2},
      {haswell, solverClass, "7", 9, 7},
      {haswell, solverClass, "5", 9, 5},
      {haswell, solverClass, "4x", 9, 4},
      {haswell, solverClass, " 3", 9, 3},
      {haswell, solverClass, "8", 9, 7},
      {haswell, solverClass, "1", 9, 7},
      {haswell, solverClass, "0", 9, 7},
      {haswell, solverClass, "", 9, 7},
      {haswell, solverClass, "AVX", 9, 7},
      {haswell, solverClass, "-3", 9, 7},
      {haswell, solverClass, "99999999999999999999", 9, 7},
      {haswell, solverClass, "00000000000000000000000000000005", 9, 7},
      {other, anyVendor, "1", 9, 7},
      {other, anyVendor, "0", 9, 7},
      {other, anyVendor, "yes, please", 9, 7},
      {other, anyVendor, "", 2, 5},
      {other, "RVN_BEST_LEVEL", "no", 9, 7},
      {skylakeX, "RVN_BEST_LEVEL", "1", 10, 7},
      {skylakeX, anyVendor, "1", 9, 7},
      {other, "RVN_BEST_LEVEL", "", 2, 5},
  };
  for (const auto& c : cases) {
    boot(c.processor, {{c.variable, c.value}});
    EXPECT_EQ(rvn::cpuLevel(), c.level) << c.variable << " '" << c.value << "'";
    EXPECT_EQ(rvn::solverCpuType(), c.solverClass) << c.variable << " '" << c.value << "'";
  }
  boot(otherVendor(pentium3), {{level, "8"}});
  EXPECT_EQ(rvn::cpuLevel(), 8) << "the processor is not asked";
  boot(haswell, {{solverClass, "6"}, {"RVN_CBWR", "SSE2"}});
  EXPECT_EQ(rvn::solverCpuType(), 6) << "before the mode";
  boot(other, {{anyVendor, "1"}, {"RVN_CBWR", "SSE3"}});
  EXPECT_EQ(rvn::cpuLevel(), 4);
}

// The call reaches slots that were filled before, and leaves alone what the environment pins.
TEST(Detection, BestLevelByACall) {
  const struct {
    FakeProcessor processor;
    std::map<std::string, std::string> environment;
    std::int32_t level;
    std::int32_t solverClass;
  } cases[] = {
      {otherVendor(haswell), {}, 9, 7},
      {otherVendor(sandyBridge), {}, 8, 6},
      {otherVendor(northwood), {}, 3, 2},
      {haswell, {}, 9, 7},
      {skylakeX, {}, 10, 7},
      {otherVendor(skylakeX), {}, 10, 7},
      {otherVendor(skylakeX), {{"RVN_CBWR", "AVX2"}}, 9, 7},
      {otherVendor(knightsLanding), {}, 9, 7},
      {without(skylakeX, &FakeProcessor::leaf7Ebx, 30), {}, 9, 7},
      {withState(skylakeX, 0x1F), {}, 9, 7},
      {otherVendor(haswell), {{"RVN_KERNEL_LEVEL_FORCE", "5"}}, 5, 7},
      {otherVendor(haswell), {{"RVN_KERNEL_LEVEL_FORCE", "."}}, 0, 7},
      {otherVendor(haswell), {{"RVN_DEBUG_CPU_TYPE", "4"}}, 9, 4},
      {otherVendor(haswell), {{"RVN_CBWR", "SSE4_2"}}, 7, 5},
      {otherVendor(haswell), {{"RVN_CBWR", "COMPATIBLE"}}, 1, 2},
  };
  static rvn::KernelSlot<const rvn::LevelTable*> slot{nullptr};
  const auto table = [](const rvn::LevelTable& t) { return &t; };
  for (const auto& c : cases) {
    for (const bool before : {false, true}) {
      boot(c.processor, c.environment);
      slot.kernel = nullptr;
      if (before) rvn::loadKernel(slot, table);
      if (before) rvn::solverKernels();
      EXPECT_EQ(rvnUseBestLevel(), c.level);
      EXPECT_EQ(rvn::loadKernel(slot, table), rvn::levelTables[c.level]);
      EXPECT_EQ(rvn::solverCpuType(), c.solverClass);
      EXPECT_EQ(&rvn::solverKernels(), rvn::solverOfClass(c.solverClass));
    }
  }
}

TEST(Detection, LevelOutsideTheTableLeavesTheSlotEmpty) {
  const auto table = [](const rvn::LevelTable& t) { return &t; };
  for (const std::int32_t level : {-2, 12, 0, 1, 5}) {
    boot(haswell);
    rvn::cpuState.level = level;
    static rvn::KernelSlot<const rvn::LevelTable*> slot{nullptr};
    slot.kernel = nullptr;
    const bool inside = level >= 0 && level <= 9;
    const rvn::LevelTable* const expected = rvn::levelTables[inside ? level : 0];
    EXPECT_EQ(rvn::loadKernel(slot, table), expected);
    EXPECT_EQ(slot.load(), inside ? expected : nullptr);
  }
}

TEST(Detection, LevelThatIsNotBuiltIsServedByTheNextLowerOne) {
  std::set<std::int32_t> built;
#define RVN_BUILT_LEVEL(n) built.insert(n);
#include "ravenfit_built_levels.inc"
#undef RVN_BUILT_LEVEL
  EXPECT_EQ(rvn::levelTables[0], rvn::levelTables[1]);
  for (std::int32_t level = 2; level <= 10; ++level) {
    const bool another = built.count(level) != 0 && level != *built.begin();
    EXPECT_EQ(rvn::levelTables[level] != rvn::levelTables[level - 1], another) << level;
  }
  for (std::int32_t solverClass = -1; solverClass <= 9; ++solverClass)
    EXPECT_EQ(rvn::solverOfClass(solverClass) != nullptr, solverClass >= 2 && solverClass <= 7)
        << solverClass;
}

TEST(Detection, ReproducibilityMode) {
  const std::string tooLong = "SSE2" + std::string(124, ' ');
  const struct {
    const char* name;
    FakeProcessor processor;
    std::string value;
    std::int32_t mode;
    std::int32_t level;
    std::int32_t solverClass;
  } cases[] = {
      {"Haswell", haswell, "AUTO", 2, 9, 7},
      {"Haswell", haswell, "COMPATIBLE", 3, 1, 2},
      {"Haswell", haswell, "SSE2", 4, 3, 2},
      {"Haswell", haswell, "SSE3", 5, 4, 3},
      {"Haswell", haswell, "SSSE3", 6, 5, 4},
      {"Haswell", haswell, "SSE4_1", 7, 6, 4},
      {"Haswell", haswell, "SSE4_2", 8, 7, 5},
      {"Haswell", haswell, "AVX", 9, 8, 6},
      {"Haswell", haswell, "AVX2", 10, 9, 7},
      {"Haswell", haswell, "AVX512_WDE", 2, 9, 7},
      {"Haswell", haswell, "BRANCH=AVX", 9, 8, 6},
      {"Haswell", haswell, "BRANCH=AUTO", 2, 9, 7},
      {"Haswell", haswell, "BRANCH=", 2, 9, 7},
      {"Haswell", haswell, "BRANCH=BRANCH=AVX", 2, 9, 7},
      {"Haswell", haswell, "avx", 2, 9, 7},
      {"Haswell", haswell, "AVX2x", 2, 9, 7},
      {"Haswell", haswell, tooLong, 2, 9, 7},
      {"Nehalem", nehalem, "AVX", 2, 7, 5},
      {"Nehalem", nehalem, "SSE4_2", 8, 7, 5},
      {"Penryn", penryn, "SSE4_1", 7, 6, 4},
      {"Conroe", conroe, "SSE4_1", 2, 5, 4},
      {"Conroe", conroe, "SSSE3", 6, 5, 4},
      {"Prescott", prescott, "SSSE3", 2, 4, 3},
      {"Northwood", northwood, "SSE2", 4, 3, 2},
      {"Northwood", northwood, "SSE3", 2, 3, 2},
      {"other vendor", otherVendor(haswell), "COMPATIBLE", 2, 2, 5},
      {"other vendor", otherVendor(haswell), "SSE2", 2, 2, 5},
  };
  for (const auto& c : cases) {
    boot(c.processor, {{"RVN_CBWR", c.value}});
    EXPECT_EQ(rvn::cbwrGet(1), c.mode) << c.name << " " << c.value;
    EXPECT_EQ(rvn::cbwrGet(-1), c.mode) << c.name << " " << c.value;
    EXPECT_EQ(rvn::cpuLevel(), c.level) << c.name << " " << c.value;
    EXPECT_EQ(rvn::solverCpuType(), c.solverClass) << c.name << " " << c.value;
  }
  boot(haswell);
  EXPECT_EQ(rvn::cbwrGet(1), 1);
  EXPECT_EQ(rvn::cbwrGet(-1), 0);
  EXPECT_EQ(rvn::cbwrGet(0), -2);
  machine.environment["RVN_CBWR"] = "SSE2";
  EXPECT_EQ(rvn::cbwrGet(1), 1) << "read once";
}

TEST(Detection, ModesThatTheEnvironmentCannotReach) {
  const struct {
    std::int32_t mode;
    std::int32_t level;  // on a processor of another vendor
    std::int32_t solverClass;
  } cases[] = {{3, 1, 2}, {4, 1, 2}, {10, 1, 7}, {11, 2, 8}, {12, 2, -4}, {64 + 5, 1, 3}};
  for (const auto& c : cases) {
    boot(otherVendor(haswell));
    rvn::cbwrState.mode = c.mode;
    EXPECT_EQ(rvn::cpuLevel(), c.level) << c.mode;
    EXPECT_EQ(rvn::solverCpuType(), c.solverClass) << c.mode;
  }
  // A negative class is no cached value.
  boot(otherVendor(haswell));
  rvn::cbwrState.mode = 12;
  EXPECT_EQ(rvn::solverCpuType(), -4);
  rvn::cbwrState.mode = 5;
  EXPECT_EQ(rvn::solverCpuType(), 3);
}

TEST(Detection, AllocatorEnvironment) {
  const struct {
    std::map<std::string, std::string> environment;
    bool cached;
  } cases[] = {
      {{}, true},
      {{{"RVN_MM_DISABLE", ""}}, true},
      {{{"RVN_MM_DISABLE", "1"}}, false},
      {{{"RVN_MM_DISABLE", "0"}}, false},
      {{{"RVN_DISABLE_FAST_MM", std::string(40, 'x')}}, false},
  };
  for (const auto& c : cases) {
    boot(haswell, c.environment);
    void* const block = rvn::rvnMalloc(1000, 128);
    EXPECT_EQ(rvn::mmState.disabled == 0, c.cached);
    EXPECT_EQ(rvn::mmState.threadBlocks[1], c.cached ? 0 : 1);
    EXPECT_EQ(rvn::mmState.threadBytes[1], c.cached ? 0u : 1000u + 128u + 2 * sizeof(void*));
    rvn::rvnFree(block);
    EXPECT_EQ(rvn::mmState.threadBlocks[1], 0);
    EXPECT_EQ(rvn::mmState.threadBytes[1], 0u);
  }
  boot(haswell);
  rvn::rvnFree(rvn::rvnMalloc(0x2800001, 128));
  EXPECT_EQ(rvn::mmState.threadBlocks[1], 1) << "beside the cache, blocks are only added up";
}

TEST(Detection, MessageCatalogue) {
  constexpr std::uint32_t highBit = 0x80000000;
  const std::string builtIn = "Vetra RVN ERROR: CPU 3 is not supported.\n";
  const auto printed = [] { return support::printed([] { rvn::rvnPrintMessage(0, 1213, 1, 3); }); };
  boot(haswell);
  EXPECT_EQ(printed(), builtIn);
  EXPECT_EQ(machine.catalogueName, "1031/rvn_msg.dll");
  machine.hasCatalogue = true;
  EXPECT_EQ(printed(), builtIn);
  EXPECT_EQ(machine.catalogueOpens, 1) << "one attempt";

  boot(haswell);
  machine.hasCatalogue = true;
  EXPECT_EQ(printed(), builtIn) << "no such text";
  machine.catalogue[1213 + highBit] = "Prozessor %d: nein\r\n";
  EXPECT_EQ(printed(), "Prozessor 3: nein\n");
  for (const char* text : {"Prozessor %d\n", "Prozessor %d", "\n", ""}) {
    machine.catalogue[1213 + highBit] = text;
    EXPECT_EQ(printed(), builtIn) << text;
  }
}

}  // namespace
