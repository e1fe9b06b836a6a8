#include <cstdio>

#include "demo/debug_output.h"

namespace rvn {

void writeBreakpointCount(std::int32_t count) {
  // Two blanks: the text ends with one, and the debug stream that this stands for puts one between its items.
  std::fprintf(stderr, "Number of break points  %d\n", count);
}

void formatSiteAndValue(double, double) {}

}  // namespace rvn
