// Searches of a whole call that wants cells and nothing else: uniform sites are expanded, workers share the
// sites.

#include <cstdint>

#include "interp/search.h"
#include "interp/search_choice.h"
#include "runtime/memory.h"
#include "runtime/work_share.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {

extern const CellSearch searchPaths[searchPathCount];

namespace {

constexpr bool wide = level.vectorBytes >= 32;
constexpr std::int64_t expandedInFrame = 4096;  // sites

// Whether `workers` workers are worth their start.
template <std::int32_t path>
inline bool splits(std::int64_t workers, std::int64_t nsite, std::int64_t nx) {
  if (workers < 2) return false;
  if constexpr (!level.sharesWork) return true;
  switch (path) {
    case cellSearchUniform:
      return nsite > (wide ? 5000 : 1000);
    case cellSearchQuasiUniform:
      return nsite > 300 || (nsite > 150 && (nx >= 600 || (nx >= 40 && workers >= 4)));
    case cellSearchSorted:
      return nsite > 3000;
    case cellSearchLikely:
      return nsite > 1200;
    default:
      return nsite > (wide ? 2000 : 1200) || (nsite > 600 && workers <= 4) || (nsite > 300 && workers <= 2);
  }
}

template <std::int32_t path>
inline std::int32_t searchRange(const CellSearchArgs& call, std::int64_t first, std::int64_t nsite) {
  std::int32_t runningCell = 0;
  CellSearchArgs args = call;
  args.site += first;
  args.cell += first;
  args.nsite = nsite;
  args.cellState = &runningCell;
  if constexpr (path != cellSearchUser && path != cellSearchUserUniform) return searchPaths[path](args);
  std::int32_t marks[userBlock];
  args.searchMarks = marks;
  std::int32_t status = 0;
  for (std::int64_t done = 0; done < nsite && status >= 0; done += userBlock) {
    args.site = call.site + first + done;
    args.cell = call.cell + first + done;
    args.nsite = nsite - done < userBlock ? nsite - done : userBlock;
    status = searchPaths[path](args);
  }
  return status;
}

struct SharedSearch {
  const CellSearchArgs* args;
  std::int64_t chunk;
  std::int32_t status;
};

template <std::int32_t path>
void searchChunk(std::int64_t index, std::int64_t /*thread*/, std::int64_t /*threads*/, void* context) {
  auto* shared = static_cast<SharedSearch*>(context);
  const std::int32_t status = searchRange<path>(*shared->args, index * shared->chunk, shared->chunk);
  if (status < 0) __atomic_store_n(&shared->status, status, __ATOMIC_RELAXED);
}

template <std::int32_t path>
std::int32_t searchAll(const CellSearchArgs& args, const WorkShareTable& workShare) {
  const std::int64_t workers = workShare.threadCount();
  const bool userPath = path == cellSearchUser || path == cellSearchUserUniform;
  const bool scans = path == cellSearchDefault && args.nx <= (level.sharesWork ? 16 : 100);
  if (userPath || scans || !splits<path>(workers, args.nsite, args.nx))
    return searchRange<path>(args, 0, args.nsite);
  SharedSearch shared = {&args, args.nsite / workers, 0};
  workShare.parallelFor(workers, workers, &shared, searchChunk<path>);
  if (shared.status < 0) return shared.status;
  const std::int64_t done = shared.chunk * workers;
  return searchRange<path>(args, done, args.nsite - done);
}

// One site gives a step that is no number, and so cell 0.
void expandSites(std::int64_t nsite, const double* ends, double* site) {
  const double step = (ends[1] - ends[0]) / static_cast<double>(nsite - 1);
  for (std::int64_t i = 0; i < nsite; ++i)
    site[i] = static_cast<double>(i) * step + ends[0];
}

template <std::int32_t path>
std::int32_t driveCells(const CellSearchArgs& fixed, std::int64_t nsite, const double* site,
                        std::int64_t sitehint, std::int32_t* cell, const WorkShareTable& workShare) {
  CellSearchArgs args = fixed;
  args.nsite = nsite;
  args.site = site;
  args.cell = cell;
  if (sitehint != DF_SITES_UNIFORM) return searchAll<path>(args, workShare);
  if (nsite <= expandedInFrame) {
    double expanded[expandedInFrame];
    expandSites(nsite, site, expanded);
    args.site = expanded;
    return searchAll<path>(args, workShare);
  }
  const auto bytes = static_cast<std::uint64_t>(nsite) * sizeof(double);
  if (bytes > SIZE_MAX) return DF_ERROR_MEMORY;
  auto* expanded = static_cast<double*>(rvnMalloc(static_cast<std::size_t>(bytes), blockAlignment));
  if (expanded == nullptr) return DF_ERROR_MEMORY;
  expandSites(nsite, site, expanded);
  args.site = expanded;
  const std::int32_t status = searchAll<path>(args, workShare);
  rvnFree(expanded);
  return status;
}

}  // namespace

extern const CellsDriver cellsDrivers[searchPathCount];
const CellsDriver cellsDrivers[searchPathCount] = {
    driveCells<cellSearchUniform>,     driveCells<cellSearchQuasiUniform>, driveCells<cellSearchSorted>,
    driveCells<cellSearchLikely>,      driveCells<cellSearchDefault>,      driveCells<cellSearchUser>,
    driveCells<cellSearchUserUniform>,
};

}  // namespace rvn::RVN_LEVEL_NAMESPACE
