#pragma once

#include <cstdint>

namespace rvn {

// Ends the process with exit code 1 on a negative status, after printing its text if it has one.
void printStatus(std::int32_t status);

}  // namespace rvn
