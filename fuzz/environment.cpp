// Texts in the environment, on processors of the target's own making (tests/runtime/fake_machine.h): what they decide is
// what the README says, whatever stands in them, and the library works with it.

#include <algorithm>
#include <string>

#include "dispatch/kernel_slot.h"
#include "input.h"
#include "runtime/cpu_level.h"
#include "runtime/fake_machine.h"
#include "runtime/memory.h"
#include "runtime/memory_state.h"
#include "runtime/reproducibility.h"
#include "support/levels.h"
#include "support/line.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/tools.h>
#include <ravenfit/tridiagonal.h>

namespace fuzz {
namespace {

using Environment = std::map<std::string, std::string>;

constexpr const char* keywords[] = {"COMPATIBLE", "SSE2", "SSE3", "SSSE3", "SSE4_1",
                                    "SSE4_2",     "AVX",  "AVX2", "AUTO"};

std::string text(Input& in) {
  static constexpr const char* known[] = {"0",          "1",
                                          "2",          "9",
                                          "10",         "-1",
                                          "7",          "8",
                                          "3",          "02",
                                          " 5",         "5 ",
                                          "0x7",        "99999999999999999999",
                                          "BRANCH=",    "BRANCH=BRANCH=SSE2",
                                          "auto",       "AVX512_WDE",
                                          "SSE2,STRICT"};
  switch (in.below(6)) {
    case 0:
      return in.oneOf(known);
    case 1:
      return in.oneOf(keywords);
    case 2:
      return std::string("BRANCH=") + in.oneOf(keywords);
    case 3:
      return std::string(1, static_cast<char>('0' + in.below(10)));
    case 4:
      return std::string(in.byte() * (in.oneIn(4) ? 40u : 1u), static_cast<char>(1 + in.byte() % 255));
    default: {
      std::string any;
      for (int n = in.below(40); n > 0; --n)
        any += static_cast<char>(1 + in.byte() % 255);
      return any;
    }
  }
}

support::FakeProcessor processor(Input& in) {
  // Pentium 4, Nehalem, Sandy Bridge, Haswell, Skylake with AVX-512.
  static constexpr struct {
    std::uint32_t signature, ecx, leaf7, extended;
    std::uint64_t xcr0;
  } models[] = {{0xF29, 0x00004400, 0, 0, 0},
                {0x106A5, 0x0098E3BD, 0, 0x01, 0},
                {0x206A7, 0x1FBAE3FF, 0, 0x01, 7},
                {0x306C3, 0x7FFAFBBF, 0x000027AB, 0x21, 7},
                {0x50654, 0x7FFEFBFF, 0xD39FFFFB, 0x121, 0xFF}};
  const auto model = in.oneOf(models);
  support::FakeProcessor p;
  p.signature = model.signature;
  p.leaf1Ecx = model.ecx;
  p.leaf1Edx = 0xBFEBFBFF;
  p.leaf7Ebx = model.leaf7;
  p.extendedEcx = model.extended;
  p.xcr0 = model.xcr0;
  if (in.oneIn(3)) p.vendor = "GenuineOther";
  return p;
}

struct Decision {
  std::int32_t level;
  std::int32_t solver;
};

Decision decide(const support::FakeProcessor& p, const Environment& environment) {
  support::boot(p, environment);
  rvn::mmLockAcquire();
  rvn::emptySlots();
  rvn::mmLockRelease();
  return {rvnLevel(), rvn::solverCpuType()};
}

bool isSet(const Environment& environment, const char* name) {
  const auto found = environment.find(name);
  return found != environment.end() && !found->second.empty();
}

// A line, splined, the solution of 2 x = 4, and a stream, on kernels that the machine itself can run.
void expectThatAllWorks(const Decision& decided) {
  if (!support::canRun(std::clamp(decided.level, 1, 10)) || !support::canRunSolver(decided.solver)) return;
  FUZZ_EXPECT(support::splinesALine());
  const std::int32_t one = 1;
  std::int32_t info = -9;
  double d = 2.0;
  double b = 4.0;
  DDTSVB(&one, &one, nullptr, &d, nullptr, &b, &one, &info);
  FUZZ_EXPECT(info == 0 && b == 2.0);
  double r = 0;
  RsgStream* stream = nullptr;
  FUZZ_EXPECT(rsgNewStream(&stream, RSG_BRNG_MCG31, 7) == 0);
  FUZZ_EXPECT(vdRngUniform(0, stream, 1, &r, 0.0, 1.0) == 0);
  FUZZ_EXPECT(rsgDeleteStream(&stream) == 0);
  FUZZ_EXPECT(std::fabs(r - 7.0 / 2147483647.0) < 1e-16);  // the seed itself, over the modulus
}

}  // namespace

void runEnvironment(Input in) {
  static constexpr const char* names[] = {
      "RVN_KERNEL_LEVEL_FORCE", "RVN_BEST_LEVEL",      "RVN_ANY_VENDOR", "RVN_CBWR",
      "RVN_DEBUG_CPU_TYPE",     "RVN_DISABLE_FAST_MM", "RVN_MM_DISABLE"};
  const support::FakeProcessor p = processor(in);
  Environment environment;
  for (const char* name : names)
    if (in.oneIn(2)) environment[name] = text(in);
  const Decision decided = decide(p, environment);
  const Decision again = decide(p, environment);
  FUZZ_EXPECT(again.level == decided.level && again.solver == decided.solver);

  const std::string forced =
      isSet(environment, "RVN_KERNEL_LEVEL_FORCE") ? environment["RVN_KERNEL_LEVEL_FORCE"] : "";
  const bool best = isSet(environment, "RVN_BEST_LEVEL");
  const bool asksNobody =
      std::string(p.vendor) == "GenuineVetra" || best || isSet(environment, "RVN_ANY_VENDOR");
  FUZZ_EXPECT(decided.level <= 10);
  if (forced.size() == 1 && forced[0] >= '0' && forced[0] <= '9') {
    FUZZ_EXPECT(decided.level == forced[0] - '0');
  } else if (forced.empty() || forced.size() > 2) {
    FUZZ_EXPECT(decided.level >= 1 && (decided.level < 10 || best));
    if (!asksNobody) FUZZ_EXPECT(decided.level == 2);
    Environment uncapped = environment;
    uncapped.erase("RVN_CBWR");
    const Decision free = decide(p, uncapped);
    FUZZ_EXPECT(decided.level <= free.level);
    std::string cap = isSet(environment, "RVN_CBWR") ? environment["RVN_CBWR"] : "";
    if (cap.rfind("BRANCH=", 0) == 0) cap.erase(0, 7);
    const auto keyword = std::find(std::begin(keywords), std::end(keywords), cap);
    const auto i = static_cast<std::int32_t>(keyword - std::begin(keywords));
    const std::int32_t most = i == 0 ? 1 : i + 2;  // COMPATIBLE, then SSE2 with level 3, and so on
    if (i >= 8 || !asksNobody) {                   // AUTO and what is no keyword
      FUZZ_EXPECT(decided.level == free.level);
    } else if (free.level >= most) {
      FUZZ_EXPECT(decided.level == most);
    }
  }
  const std::string type = isSet(environment, "RVN_DEBUG_CPU_TYPE") ? environment["RVN_DEBUG_CPU_TYPE"] : "";
  if (type.size() == 1 && type[0] >= '2' && type[0] <= '7') FUZZ_EXPECT(decided.solver == type[0] - '0');
  FUZZ_EXPECT(decided.solver >= 2 && decided.solver <= 8);

  const Decision last = decide(p, environment);
  expectThatAllWorks(last);
  const bool noCache = isSet(environment, "RVN_DISABLE_FAST_MM") || isSet(environment, "RVN_MM_DISABLE");
  if (rvn::mmState.disabledRead == 1) FUZZ_EXPECT(rvn::mmState.disabled == (noCache ? 1 : 0));
}

}  // namespace fuzz
