// Prints which kernels a process with this environment uses on this machine, and why.

#include <cstdio>

#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"

namespace {

const char* reason() {
  if (rvn::levelOverride() != -1) return "override";
  if (!rvn::isGenuineVetra()) return "other vendor (RVN_BEST_LEVEL=1 goes by the features instead)";
  const bool capped = rvn::levelCap() != rvn::noLevelCap && rvn::levelCap() == rvn::cpuLevel();
  return capped ? "reproducibility cap" : "detection";
}

}  // namespace

int main() {
  std::printf("level         %d\n", rvn::cpuLevel());
  std::printf("reason        %s\n", reason());
  if (rvn::levelCap() == rvn::noLevelCap) {
    std::printf("cap           none\n");
  } else {
    std::printf("cap           %d\n", rvn::levelCap());
  }
  std::printf("solver class  %d\n", rvn::solverCpuType());
  std::printf("features     ");
  for (const rvn::FeatureRow& row : rvn::featureRows)
    if (rvn::hasFeature(row.feature)) std::printf(" %s", row.name);
  std::printf("\n");
  return 0;
}
