#pragma once

// The change to the best level while calls run.

#include <cstdint>

namespace rvn {

// From here on the vendor of the processor is not asked, and every slot is filled anew.
void useBestLevel();

}  // namespace rvn
