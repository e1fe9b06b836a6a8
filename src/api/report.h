#pragma once

// Reports of the stream operations' bad parameters.

#include <cstddef>
#include <cstdint>

#include "runtime/messages.h"

namespace rvn {

// Reports parameter `position` of routine `name` and returns `status`.
template <std::size_t size>
[[gnu::cold]] std::int32_t refuseParameter(const char (&name)[size], std::int32_t position,
                                           std::int32_t status) {
  rvnReportParameterError(name, &position, static_cast<std::int32_t>(size - 1));
  return status;
}

}  // namespace rvn
