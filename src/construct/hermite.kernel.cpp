#include <cstdint>

#include "construct/local_cubic.h"

// The Hermite cubic spline: slopes at the interior breakpoints are given, the same for every function.

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

template <class Values, bool uniform>
struct HermiteSlopes {
  static constexpr std::int64_t reach = 0;
  static constexpr bool takesNoEnds = false;
  static constexpr std::int64_t lag = 0;

  const DfTask& task;
  Partition<uniform> p;
  Values y;

  void fillSlopes(CellRun run, std::int64_t from, std::int64_t to) const {
    for (std::int64_t i = from; i < to; ++i)
      *run.m(i) = task.ic[i - 1];
  }

  struct Pass {
    const double* ic;

    Pass(const HermiteSlopes& slopes, std::int64_t) : ic(slopes.task.ic) {}
    Lanes push(std::int64_t i, Lanes) { return load<Lanes>(ic + (i - 1)); }
  };

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
