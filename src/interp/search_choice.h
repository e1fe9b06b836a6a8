#pragma once

// Which search path a call takes, and the constants and formula of its partition. For kernels only.

#include <cstdint>

#include "interp/search.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

constexpr std::int64_t sitesAtOnce = level.sitesPerBlock;
constexpr std::int64_t userBlock = 128;  // sites of one call of a user's search, when cells alone are wanted

// A SearchPath, or DF_ERROR_DATA_HINT. A hint about the partition beats one about the sites.
inline std::int32_t chooseSearch(const DfTask& task, std::int64_t sitehint, const double* datahint,
                                 SearchCallback searchCb) {
  const bool uniform = isUniform(task);
  if (searchCb != nullptr) return uniform ? cellSearchUserUniform : cellSearchUser;
  if (uniform) return cellSearchUniform;
  if (task.xhint == DF_XHINT_QUASI_UNIFORM) return cellSearchQuasiUniform;
  if (sitehint == DF_SITES_SORTED) return cellSearchSorted;
  if (datahint == nullptr || datahint[1] == 0.0) return cellSearchDefault;
  if (datahint[1] == 1.0 && datahint[4] >= 0.0 && static_cast<double>(task.nx) >= datahint[4])
    return cellSearchLikely;
  return DF_ERROR_DATA_HINT;
}

// Step of a uniform partition, whose array holds the two ends.
inline double uniformStep(const DfTask& task) {
  return task.nx > 1 ? (task.x[1] - task.x[0]) / static_cast<double>(task.nx - 1) : 0.0;
}

// Distance of a site from x[0] in steps, inside 0 .. last; `spacing` is the searchParam. Limited before it is
// converted to an integer, so that infinities stay in range.
template <class V>
inline V stepsFromFirst(V s, V x0, V spacing, V last) {
  const V v = level.multipliesByReciprocalStep ? (s - x0) * spacing : (s - x0) / spacing;
  const V below = v < last ? v : last;
  return below > V{} ? below : V{};
}

// Cell by the spacing: floor of the scaled distance to x[0], plus 1, inside 1 .. nx; 0 left of x[0] and for
// NaN.
inline std::int32_t estimate(double s, double x0, double spacing, double lastCell) {
  const double steps = stepsFromFirst(s, x0, spacing, lastCell);
  return static_cast<std::int32_t>(s >= x0 ? steps : -1.0) + 1;
}

inline double searchParam(const DfTask& task, std::int32_t path, const double* datahint) {
  const auto cells = static_cast<double>(task.nx - 1);
  switch (path) {
    case cellSearchUniform:
    case cellSearchUserUniform:
      return level.multipliesByReciprocalStep ? 1.0 / uniformStep(task) : uniformStep(task);
    case cellSearchQuasiUniform: {
      if (task.nx <= 1) return 0.0;
      const double width = task.x[task.nx - 1] - task.x[0];
      return level.multipliesByReciprocalStep ? cells / width : width / cells;
    }
    case cellSearchLikely:
      return datahint[4];
    default:
      return 0.0;
  }
}

inline CellSearchArgs searchArgs(const DfTask& task, std::int32_t path, const double* datahint,
                                 SearchCallback searchCb, void* searchParams) {
  CellSearchArgs args = {};
  args.nx = task.nx;
  args.x = task.x;
  args.param = searchParam(task, path, datahint);
  args.lookupCells = task.lookupCells;
  args.lookup = task.lookup;
  args.lookupInvWidth = task.lookupInvWidth;
  args.searchCb = searchCb;
  args.searchParams = searchParams;
  return args;
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
