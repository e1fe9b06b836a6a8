// Prints what this process detects, in one line: level, solver class, vendor, features. Linked statically, so
// that it starts under an emulator that presents a vendor which the dynamic loader refuses.

#include <cstdio>
#include <cstring>

#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"

int main() {
  const rvn::CpuidLeaf leaf = rvn::cpuidOrZero(0);
  char vendor[13] = {};
  std::memcpy(vendor, &leaf.ebx, 4);
  std::memcpy(vendor + 4, &leaf.edx, 4);
  std::memcpy(vendor + 8, &leaf.ecx, 4);
  std::printf("%d %d %s", rvn::cpuLevel(), rvn::solverCpuType(), vendor);
  for (const rvn::FeatureRow& row : rvn::featureRows)
    if (rvn::hasFeature(row.feature)) std::printf(" %s", row.name);
  std::printf("\n");
  return 0;
}
