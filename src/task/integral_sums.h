#pragma once

// The life of a task's integral sums. They belong to its coefficients: whoever changes those drops them, while no other
// thread uses the task.

#include "runtime/memory.h"
#include "task/df_task.h"

namespace rvn {

inline void dropIntegralSums(const DfTask& task) {
  if (task.integralSums == nullptr) return;
  rvnFree(task.integralSums);
  task.integralSums = nullptr;
}

}  // namespace rvn
