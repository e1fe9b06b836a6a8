#pragma once

#include <cstdint>

#include "streams/registry.h"

namespace rvn {

// The generator of this process's level that an identifier names, or null.
const BrngRecord* findGenerator(std::int32_t brngId);

}  // namespace rvn
