#pragma once

// Kind 1 of order 3, for the dispatcher of that order.

#include <cstdint>

#include "task/df_task.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

// `layout` and `uniform` as in Member. Returns a DfStatus.
using SubbotinFamily = std::int32_t (*)(const DfTask& task, int layout, int uniform);
extern const SubbotinFamily subbotinFamily;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
