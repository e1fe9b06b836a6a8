#include "numbers.h"

#include <cmath>
#include <fast_float/fast_float.h>
#include <fmt/compile.h>
#include <fmt/format.h>
#include <system_error>

namespace command {

char* write_number(char* to, double value) {
  return fmt::format_to(to, FMT_COMPILE("{}"), value);
}

const char* read_number(const char* p, const char* end, double& value) {
  const auto [rest, failed] = fast_float::from_chars(p, end, value);
  return failed == std::errc() && std::isfinite(value) ? rest : nullptr;
}

}  // namespace command
