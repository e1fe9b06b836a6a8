// Where libFuzzer enters, or a program that replays the files that it is given; and silence about bad parameters.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "input.h"
#if !defined(RAVENFIT_LIBFUZZER)
#include "support/levels.h"
#endif

#include <ravenfit/tools.h>

namespace {

void runBytes(const std::uint8_t* bytes, std::size_t size) {
  static const bool silent = [] {
    rvnSetMessageHandler([](void*, const char*) {}, nullptr);
    return true;
  }();
  static_cast<void>(silent);
  fuzz::FUZZ_RUN(fuzz::Input(bytes, size));
}

}  // namespace

#if defined(RAVENFIT_LIBFUZZER)

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  runBytes(bytes, size);
  return 0;
}

#else

// usage: fuzz_TARGET DIRECTORY; an input that breaks a promise is named before it is run. The level is that of the unit
// tests; a machine that cannot run it ends with 77.
int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const std::int32_t level = support::levelOfRun();
  if (!support::canRun(level)) return 77;
  if (level > 9) rvnUseBestLevel();  // no environment names it
  int inputs = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    std::ifstream file(entry.path(), std::ios::binary);
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    std::printf("%s\n", entry.path().filename().c_str());
    std::fflush(stdout);
    runBytes(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    ++inputs;
  }
  std::printf("%d inputs\n", inputs);
  return inputs == 0 ? 1 : 0;
}

#endif
