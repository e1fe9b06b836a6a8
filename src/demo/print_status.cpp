#include "demo/print_status.h"

#include <cstdio>
#include <cstdlib>

#include "demo/status.h"

namespace rvn {

void printStatus(std::int32_t status) {
  if (status >= 0) return;
  // The table's texts each take the code as their one argument.
  if (const char* text = statusText(status)) std::printf(text, status);
  std::exit(1);
}

}  // namespace rvn
