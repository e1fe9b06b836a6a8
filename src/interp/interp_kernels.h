#pragma once

// The per-level kernels of cell search and interpolation.

#include <cstdint>

#include "runtime/work_share.h"
#include "task/spline_kind.h"

#include <ravenfit/spline_tools.h>

namespace rvn {

// A user's cell search; reachable through kernel arguments only. Fills `cells` and `marks` for `*count`
// sites. Negative: a failure. 1000: all cells are final. Otherwise the sites with a non-zero mark are final.
using SearchCallback = std::int32_t (*)(const std::int64_t* count, const double* sites, std::int64_t* cells,
                                        std::int32_t* marks, void* params);

// One interpolation call as the driver sees it, every integer widened.
struct InterpolateCall {
  std::uint64_t type;
  std::int64_t method;
  std::int64_t nsite;
  const double* site;
  std::int64_t sitehint;
  std::int64_t ndorder;
  const void* dorder;  // 32-bit integers, or 64-bit ones under bit 0 of the task's flags
  const double* datahint;
  double* r;
  std::int64_t rhint;
  std::int32_t* cell;
  SearchCallback searchCb;
  void* searchParams;
  const SplineKind* kind;  // null: nobody serves the task's order and kind
};

static inline bool isSitesInner(std::int64_t rhint) {
  return rhint == DF_RESULTS_SITES_INNER || rhint == DF_RESULTS_DEFAULT;
}

static inline bool isResultLayout(std::int64_t rhint) {
  constexpr std::int64_t derivsInnerToo = 128;
  return isSitesInner(rhint) || rhint == DF_RESULTS_DERIVS_INNER || rhint == derivsInnerToo ||
         rhint == DF_RESULTS_BY_SITE;
}

// Fills the look-up table of a task over ascending breakpoints; whatever the numbers are, it stays inside.
using LookupBuilder = void (*)(DfTask& task);

// Calls of at most so many sites may pass by plan and blocks.
constexpr std::int64_t fewSites = 6;

struct InterpKernels {
  std::int32_t (*valuesOfFew)(const DfTask& task, std::int64_t nsite, const double* site, double* r);
  std::int32_t (*interpolate)(const DfTask& task, const InterpolateCall& call,
                              const WorkShareTable& workShare);
  std::int32_t (*searchCells)(const DfTask& task, std::int64_t method, std::int64_t nsite, const double* site,
                              std::int64_t sitehint, const double* datahint, std::int32_t* cell,
                              SearchCallback searchCb, void* searchParams, const WorkShareTable& workShare);
  const LookupBuilder* buildLookup;
};

}  // namespace rvn
