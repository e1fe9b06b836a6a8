#include "dispatch/level_table.h"

namespace rvn {

#define RVN_BUILT_LEVEL(n)              \
  namespace level##n {                  \
    extern const LevelTable levelTable; \
  }
#include "ravenfit_built_levels.inc"
#undef RVN_BUILT_LEVEL

namespace {

constexpr std::int32_t shippedRows = 11;

// Asked of the numbers: under a sanitizer an address is not compared with null in a constant.
consteval bool isBuilt(std::int32_t level) {
#define RVN_BUILT_LEVEL(n) \
  if (level == (n)) return true;
#include "ravenfit_built_levels.inc"
#undef RVN_BUILT_LEVEL
  return false;
}

consteval LevelTables makeTables() {
  LevelTables made = {};
#define RVN_BUILT_LEVEL(n) made.row[n] = &level##n::levelTable;
#include "ravenfit_built_levels.inc"
#undef RVN_BUILT_LEVEL
  std::int32_t lowest = 0;
  while (!isBuilt(lowest))
    ++lowest;
  for (std::int32_t level = 0; level < shippedRows; ++level)
    if (!isBuilt(level)) made.row[level] = made.row[level < lowest ? lowest : level - 1];
  return made;
}

constexpr LevelTables tables = makeTables();

// The level whose build serves each class: the last row that names it, so that a build on trial is preferred.
constexpr std::int32_t solverClasses = 8;
struct SolverLevels {
  std::int32_t level[solverClasses];
};

consteval SolverLevels makeSolverLevels() {
  SolverLevels of = {};
#define RVN_LEVEL_ROW(number, flags, bytes, integers, fused, tabled, solver, needs) \
  if ((number) < shippedRows || isBuilt(number)) of.level[solver] = number;
#include "vector/levels.inc"
#undef RVN_LEVEL_ROW
  return of;
}

constexpr SolverLevels solverLevels = makeSolverLevels();

}  // namespace

constinit const LevelTables levelTables = tables;

const TridiagonalKernels* solverOfClass(std::int32_t solverClass) {
  if (solverClass < 2 || solverClass >= solverClasses) return nullptr;
  return levelTables[solverLevels.level[solverClass]]->tridiagonal;
}

}  // namespace rvn
