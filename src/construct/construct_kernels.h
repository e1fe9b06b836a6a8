#pragma once

// The per-level dispatchers of the construction families.

#include <cstdint>

#include "runtime/work_share.h"
#include "task/df_task.h"

namespace rvn {

// `format` and `method` are zero when they come from dfTaskConstruct. Returns a DfStatus.
using FamilyDispatcher = std::int32_t (*)(const DfTask& task, std::int64_t format, std::int64_t method,
                                          const WorkShareTable& workShare);

struct ConstructKernels {
  const FamilyDispatcher* linear;
  const FamilyDispatcher* quadratic;  // order 3, both kinds
  const FamilyDispatcher* secondDerivatives;
  const FamilyDispatcher* natural;
  const FamilyDispatcher* hermite;
  const FamilyDispatcher* bessel;
  const FamilyDispatcher* akima;
};

}  // namespace rvn
