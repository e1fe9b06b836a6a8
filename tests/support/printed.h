#pragma once

// What the library writes to standard output.

#include <gtest/gtest.h>
#include <string>

namespace support {

template <class Body>
std::string printed(Body body) {
  testing::internal::CaptureStdout();
  body();
  return testing::internal::GetCapturedStdout();
}

inline std::string parameterReport(int position, const std::string& routine) {
  return "\nVetra RVN ERROR: Parameter " + std::to_string(position) + " was incorrect on entry to " +
         routine + ".\n";
}

}  // namespace support
