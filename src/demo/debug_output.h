#pragma once

// What the demonstrations write beside standard output: through Qt where the build has it, plainly elsewhere.

#include <cstdint>

namespace rvn {

// One line on the debug stream with the number of breakpoints.
void writeBreakpointCount(std::int32_t count);

// Formats a site and its value as one text, as a program that fills a table view would, and lets it go.
void formatSiteAndValue(double site, double value);

}  // namespace rvn
