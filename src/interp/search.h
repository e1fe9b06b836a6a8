#pragma once

// Cell search: the paths, their arguments, and the choice among them.
//
// The cell of a site is the number of breakpoints that are not greater than it: 0 left of the partition, nx
// at and right of the last breakpoint. All paths give the same cells for sorted data, but for ties of the
// quasi-uniform path and for rounding on uniform partitions.

#include <cstdint>

#include "interp/interp_kernels.h"
#include "task/df_task.h"

namespace rvn {

struct CellSearchArgs {
  std::int64_t nx;
  const double* x;
  std::int64_t nsite;
  const double* site;
  // 0 at the start of a call; then the running cell of the sorted path, or 1 where brackets or, on the quasi-uniform path,
  // estimates have turned out to be of no use.
  std::int32_t* cellState;
  double param;  // step or its reciprocal, likely cell, or nothing, by path
  std::int64_t lookupCells;
  const LookupCell* lookup;
  double lookupInvWidth;
  std::int32_t* cell;
  SearchCallback searchCb;
  void* searchParams;
  std::int32_t* searchMarks;  // one mark per site, for the user paths
};

enum SearchPath : std::int32_t {
  cellSearchUniform,
  cellSearchQuasiUniform,
  cellSearchSorted,
  cellSearchLikely,
  cellSearchDefault,
  cellSearchUser,
  cellSearchUserUniform,
  searchPathCount
};

// Returns 0, or for the user paths what the user's search returned.
using CellSearch = std::int32_t (*)(const CellSearchArgs& args);

// The search of a whole call for its cells alone; `args` holds all but nsite, site, cell and the scratch.
using CellsDriver = std::int32_t (*)(const CellSearchArgs& args, std::int64_t nsite, const double* site,
                                     std::int64_t sitehint, std::int32_t* cell,
                                     const WorkShareTable& workShare);

}  // namespace rvn
