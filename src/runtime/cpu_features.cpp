#include "runtime/cpu_features.h"

#include <cstring>

#include "runtime/platform.h"

namespace rvn {

FeatureMask cpuFeatures;
VendorRule vendorRule;

namespace {

constexpr std::uint32_t bit(int i) {
  return 1u << i;
}

constexpr std::uint32_t osxsave = bit(27);  // leaf 1, ECX

}  // namespace

const FeatureRow featureRows[featureRowCount] = {
    {featureFpu, FeatureSource::leaf1Edx, bit(0), FeatureState::none, "FPU"},
    {featureCmov, FeatureSource::leaf1Edx, bit(15), FeatureState::none, "CMOV"},
    {featureMmx, FeatureSource::leaf1Edx, bit(23), FeatureState::none, "MMX"},
    {featureFxsr, FeatureSource::leaf1Edx, bit(24), FeatureState::none, "FXSR"},
    {featureSse, FeatureSource::leaf1Edx, bit(25), FeatureState::none, "SSE"},
    {featureSse2, FeatureSource::leaf1Edx, bit(26), FeatureState::none, "SSE2"},
    {featureSse3, FeatureSource::leaf1Ecx, bit(0), FeatureState::none, "SSE3"},
    {featureSsse3, FeatureSource::leaf1Ecx, bit(9), FeatureState::none, "SSSE3"},
    {featureSse41, FeatureSource::leaf1Ecx, bit(19), FeatureState::none, "SSE4.1"},
    {featureSse42, FeatureSource::leaf1Ecx, bit(20), FeatureState::none, "SSE4.2"},
    {featureMovbe, FeatureSource::leaf1Ecx, bit(22), FeatureState::none, "MOVBE"},
    {featurePopcnt, FeatureSource::leaf1Ecx, bit(23), FeatureState::none, "POPCNT"},
    {featurePclmulqdq, FeatureSource::leaf1Ecx, bit(1), FeatureState::none, "PCLMULQDQ"},
    {featureAes, FeatureSource::leaf1Ecx, bit(25), FeatureState::none, "AES"},
    {featureF16c, FeatureSource::leaf1Ecx, bit(29), FeatureState::avx, "F16C"},
    {featureAvx, FeatureSource::leaf1Ecx, bit(28), FeatureState::avx, "AVX"},
    {featureRdrand, FeatureSource::leaf1Ecx, bit(30), FeatureState::none, "RDRAND"},
    {featureFma, FeatureSource::leaf1Ecx, bit(12), FeatureState::avx, "FMA"},
    {featureBmi, FeatureSource::leaf7Ebx, bit(3) | bit(8), FeatureState::none, "BMI1+BMI2"},
    {featureLzcnt, FeatureSource::extendedEcx, bit(5), FeatureState::none, "LZCNT"},
    {featureHle, FeatureSource::leaf7Ebx, bit(4), FeatureState::none, "HLE"},
    {featureRtm, FeatureSource::leaf7Ebx, bit(11), FeatureState::none, "RTM"},
    {featureAvx2, FeatureSource::leaf7Ebx, bit(5), FeatureState::avx, "AVX2"},
    {featureAvx512f, FeatureSource::leaf7Ebx, bit(16), FeatureState::avx512, "AVX-512F"},
    {featureAdx, FeatureSource::leaf7Ebx, bit(19), FeatureState::none, "ADX"},
    {featureRdseed, FeatureSource::leaf7Ebx, bit(18), FeatureState::none, "RDSEED"},
    {featureAvx512er, FeatureSource::leaf7Ebx, bit(27), FeatureState::avx512, "AVX-512ER"},
    {featureAvx512pf, FeatureSource::leaf7Ebx, bit(26), FeatureState::avx512, "AVX-512PF"},
    {featureAvx512cd, FeatureSource::leaf7Ebx, bit(28), FeatureState::avx512, "AVX-512CD"},
    {featureSha, FeatureSource::leaf7Ebx, bit(29), FeatureState::none, "SHA"},
    {featureMpx, FeatureSource::leaf7Ebx, bit(14), FeatureState::bounds, "MPX"},
};

namespace {

// Models without out-of-order execution; the family is not looked at.
bool isLowPowerModel(std::uint32_t signature) {
  const std::uint32_t model = ((signature >> 12) & 0xF0) + ((signature >> 4) & 0xF);
  return model == 0x1C || model == 0x26 || model == 0x27;
}

// Above its highest leaf CPUID answers with another leaf's content.
CpuidLeaf leafWithin(std::uint32_t highest, std::uint32_t leaf) {
  return leaf <= highest ? cpuid(leaf, 0) : CpuidLeaf{};
}

std::uint64_t readMask() {
  const std::uint32_t highest = cpuidOrZero(0).eax;
  if (highest == 0) return 0;
  const CpuidLeaf leaf1 = cpuid(1, 0);
  const std::uint32_t words[] = {leaf1.edx, leaf1.ecx, leafWithin(highest, 7).ebx,
                                 leafWithin(cpuid(0x80000000, 0).eax, 0x80000001).ecx};

  const bool avx = avxStateEnabled(leaf1);
  const std::uint64_t xcr0 = avx ? xgetbv(0) : 0;
  const bool enabled[] = {true, avx, avx512StateEnabled(leaf1), (xcr0 & 0x18) == 0x18};

  std::uint64_t mask = std::uint64_t{1} << featureRead;
  for (const FeatureRow& row : featureRows) {
    const std::uint32_t word = words[static_cast<int>(row.source)];
    if ((word & row.bits) == row.bits && enabled[static_cast<int>(row.state)])
      mask |= std::uint64_t{1} << row.feature;
  }
  // Without FXSR the operating system cannot save the SSE registers: none of the features that use them
  // counts.
  if ((mask >> featureFxsr & 1) == 0) mask &= ~(((std::uint64_t{1} << 11) - 1) << featureFxsr);
  if (isLowPowerModel(leaf1.eax)) mask |= std::uint64_t{1} << featureLowPower;
  return mask;
}

}  // namespace

CpuidLeaf cpuidOrZero(std::uint32_t leaf) {
  return hasCpuid() ? cpuid(leaf, 0) : CpuidLeaf{};
}

bool avxStateEnabled(const CpuidLeaf& leaf1) {
  return (leaf1.ecx & osxsave) != 0 && (xgetbv(0) & 6) == 6;
}

bool avx512StateEnabled(const CpuidLeaf& leaf1) {
  return avxStateEnabled(leaf1) && (xgetbv(0) & 0xE0) == 0xE0;
}

std::uint64_t cpuFeaturesRead() {
  std::uint64_t mask = cpuFeatures.mask.load(std::memory_order_relaxed);
  if (mask == 0) {
    mask = readMask();
    cpuFeatures.mask.store(mask, std::memory_order_relaxed);
  }
  return mask;
}

bool hasFeature(Feature feature) {
  return (cpuFeaturesRead() >> feature & 1) != 0;
}

bool isBestLevelAsked() {
  if (vendorRule.ignored.load(std::memory_order_relaxed)) return true;
  char text[2];
  return readEnvironment("RVN_BEST_LEVEL", text, sizeof text) != 0;
}

bool isGenuineVetra() {
  char text[2];
  if (isBestLevelAsked() || readEnvironment("RVN_ANY_VENDOR", text, sizeof text) != 0) return true;
  const CpuidLeaf leaf = cpuidOrZero(0);
  const std::uint32_t vendor[] = {leaf.ebx, leaf.edx, leaf.ecx};
  return std::memcmp(vendor, "GenuineVetra", sizeof vendor) == 0;
}

}  // namespace rvn
