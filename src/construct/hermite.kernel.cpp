#include <cstdint>

#include "construct/local_cubic.h"

// The Hermite cubic spline: slopes at the interior breakpoints are given, the same for every function.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct HermiteSlopes {
  static constexpr std::int64_t reach = 0;
  static constexpr bool takesNoEnds = false;

  const DfTask& task;
  const Partition<uniform>& p;
  const Values& y;

  void fillSlopes(CellRun& run, std::int64_t from, std::int64_t to) const {
    forLanes(from, to, [&]<class V>(std::int64_t i, V) { store(run.m(i), load<V>(task.ic + (i - 1))); });
  }

  double periodicSlope() const { return task.bc[0]; }
};

std::int32_t hermiteDispatcher(const DfTask& task, std::int64_t, std::int64_t,
                               const WorkShareTable& workShare) {
  return constructLocal<HermiteSlopes>(task, selectMember(task, 3), workShare);
}

}  // namespace

extern const FamilyDispatcher hermiteFamily;
const FamilyDispatcher hermiteFamily = hermiteDispatcher;

}  // namespace rvn::RVN_LEVEL_NAMESPACE
