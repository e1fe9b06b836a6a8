#include <cstddef>
#include <cstdint>
#include <initializer_list>

#include "dispatch/best_level.h"
#include "dispatch/level_table.h"
#include "runtime/cpu_level.h"
#include "runtime/messages.h"

#include <ravenfit/tools.h>

namespace {

struct VersionText {
  char text[16] = {};
};

consteval VersionText makeVersionText() {
  VersionText version;
  std::size_t length = 0;
  for (const int number : {RAVENFIT_VERSION_MAJOR, RAVENFIT_VERSION_MINOR, RAVENFIT_VERSION_PATCH}) {
    if (length != 0) version.text[length++] = '.';
    int unit = 1;
    while (number / unit >= 10)
      unit *= 10;
    for (; unit > 0; unit /= 10)
      version.text[length++] = static_cast<char>('0' + number / unit % 10);
  }
  return version;
}

constexpr VersionText version = makeVersionText();

}  // namespace

extern "C" {

std::int32_t rvnLevel() {
  // The override also names levels that do not exist; the lowest serves them.
  const std::int32_t level = rvn::cpuLevel();
  return level < 0 ? 0 : level;
}

std::int32_t rvnUseBestLevel() {
  rvn::useBestLevel();
  return rvnLevel();
}

const char* rvnVersion() {
  return version.text;
}

void rvnSetMessageHandler(RvnMessageHandler handler, void* context) {
  rvn::setReportReceiver({handler, context});
}

}  // extern "C"
