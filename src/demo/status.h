#pragma once

// Texts of the data-fitting statuses.

#include <cstdint>

namespace rvn {

// The text of a status, with one %d for the code and a line end; null where a status has none.
const char* statusText(std::int32_t status);

}  // namespace rvn
