// Texts for people: reports of bad parameters, with a catalogue or without, and texts of statuses.

#include <algorithm>
#include <string>

#include "input.h"
#include "runtime/fake_machine.h"
#include "runtime/messages.h"

#include <ravenfit/data_fitting.h>
#include <ravenfit/random_streams.h>
#include <ravenfit/stream_tools.h>
#include <ravenfit/tools.h>
#include <ravenfit/tridiagonal.h>

namespace fuzz {
namespace {

using Texts = std::vector<std::string>;

void take(void* context, const char* text) {
  static_cast<Texts*>(context)->emplace_back(text);
}

// A report as the catalogue words it, or as it stands in the library. Texts that a catalogue has end with a line end, and
// what does not fit is cut.
std::string expected(std::int32_t number, const std::string& name, std::int32_t shown) {
  const auto found = support::machine.catalogue.find(static_cast<std::uint32_t>(number) + 0x80000000);
  if (support::machine.hasCatalogue && found != support::machine.catalogue.end()) {
    const std::string& text = found->second;
    if (text.size() < 1024 && text.size() >= 2 && text.compare(text.size() - 2, 2, "\r\n") == 0)
      return text.substr(0, text.size() - 2).substr(0, 511);
  }
  const std::string bad = std::to_string(shown);
  switch (number) {
    case 6:
      return "Vetra RVN ERROR: Parameter " + bad + " was incorrect on entry to " + name + ".";
    case 7:
      return "Vetra RVN INTERNAL ERROR: Condition " + bad + " detected in function " + name + ".";
    case 8:
      return "Vetra RVN INTERNAL ERROR: Insufficient workspace available in function " + name + ".";
    case 9:
      return "Vetra RVN ERROR: Incompatible optional parameters on entry to " + name + ".";
    case 1089:
      return "Vetra RVN INTERNAL ERROR: Not enough work memory in function " + name;
    default:
      return "Vetra RVN INTERNAL ERROR: Issue accessing coprocessor " + name + ".";
  }
}

void report(Input& in) {
  static constexpr std::int32_t numbers[] = {1, 2, 7, 0, -1, 1000, 1001, 1089, 1212, INT32_MIN, INT32_MAX};
  const std::int32_t info = in.oneIn(4) ? static_cast<std::int32_t>(in.word()) : in.oneOf(numbers);
  std::string name;
  for (int n = in.below(50); n > 0; --n)
    name += static_cast<char>(in.byte());
  Texts got;
  rvnSetMessageHandler(take, &got);
  const std::vector<char> exact(name.begin(), name.end());
  rvn::rvnReportParameterError(exact.data(), &info, static_cast<std::int32_t>(exact.size()));
  const std::string shownName = name.substr(0, 20).c_str();  // up to its first zero
  const std::int32_t number = info == 1000                   ? 8
                              : info == 1001                 ? 9
                              : info == 1089 || info == 1212 ? info
                              : info < 1                     ? 7
                                                             : 6;
  const std::int32_t shown = info == INT32_MIN ? info : info < 1 ? -info : info;
  FUZZ_EXPECT(got == Texts{expected(number, shownName, shown)});
}

void badCall(Input& in) {
  Texts got;
  rvnSetMessageHandler(take, &got);
  std::string name;
  std::int32_t parameter = 0;
  const auto n = static_cast<std::int32_t>(-1 - in.byte());
  double r[1];
  switch (in.below(5)) {
    case 0:
      name = "rsgDeleteStream";
      parameter = 1;
      rsgDeleteStream(nullptr);
      break;
    case 1: {
      RsgStream* stream = nullptr;
      name = "rsgNewStream";
      parameter = 2;
      rsgNewStream(&stream, n, 1);
      FUZZ_EXPECT(stream == nullptr);
      break;
    }
    case 2:
      name = "vdRngUniform";
      parameter = 1;
      vdRngUniform(n, nullptr, 1, r, 0.0, 1.0);
      break;
    case 3: {
      std::int32_t info = 0;
      name = "DDTTRFB";
      parameter = 1;
      DDTTRFB(&n, r, r, r, &info);
      FUZZ_EXPECT(info == -1);
      break;
    }
    default: {
      std::int32_t info = 0;
      name = "DDTTRSB";
      parameter = 2;
      DDTTRSB("T", &n, &n, r, r, r, r, &n, &info);
      FUZZ_EXPECT(info == -2);
    }
  }
  FUZZ_EXPECT(got == Texts{expected(6, name, parameter)});
}

void statusText(Input& in) {
  static constexpr std::int32_t domains[] = {RVN_DOMAIN_FIT, RVN_DOMAIN_STREAMS, RVN_DOMAIN_SOLVER, 0, -1, 4};
  const std::int32_t domain = in.oneIn(5) ? static_cast<std::int32_t>(in.word()) : in.oneOf(domains);
  const std::int32_t status = in.oneIn(3)   ? static_cast<std::int32_t>(in.word())
                              : in.oneIn(2) ? -1000 - in.byte()
                                            : in.byte() - 100;
  const std::string text = rvnStatusText(domain, status);
  FUZZ_EXPECT(text.size() >= 9 && text.size() < 400 && text.back() == '.');
  for (const char c : text)
    FUZZ_EXPECT(c >= ' ' && c <= '~');
  if (domain == RVN_DOMAIN_SOLVER && status > 0) FUZZ_EXPECT(text == rvnStatusText(domain, 1));
}

}  // namespace

void runMessage(Input in) {
  support::FakeProcessor old;
  old.leaf1Edx = 0xBFEBFBFF;
  support::boot(old);
  if (in.oneIn(2)) {
    support::machine.hasCatalogue = true;
    static constexpr std::uint32_t numbers[] = {6, 7, 8, 9, 1089, 1212};
    for (const std::uint32_t number : numbers) {
      if (in.oneIn(3)) continue;
      // Formats are trusted, as the module is; what is not is their length and their end.
      std::string text(in.byte() * (in.oneIn(3) ? 5u : 1u), static_cast<char>('A' + in.below(26)));
      if (!in.oneIn(4)) text += "\r\n";
      support::machine.catalogue[number + 0x80000000] = text;
    }
  }
  for (int step = 0; step < 8 && !in.empty(); ++step)
    switch (in.below(3)) {
      case 0:
        report(in);
        break;
      case 1:
        badCall(in);
        break;
      default:
        statusText(in);
    }
  rvnSetMessageHandler(nullptr, nullptr);
}

}  // namespace fuzz
