#pragma once

// The processor's features as one 64-bit mask, and the vendor.

#include <atomic>
#include <cstdint>

#include "runtime/cpuid.h"

namespace rvn {

// Bits of the mask.
enum Feature : std::uint32_t {
  featureRead = 0,  // set whenever the mask has been read
  featureFpu = 1,
  featureCmov = 2,
  featureMmx = 3,
  featureFxsr = 4,
  featureSse = 5,
  featureSse2 = 6,
  featureSse3 = 7,
  featureSsse3 = 8,
  featureSse41 = 9,
  featureSse42 = 10,
  featureMovbe = 11,
  featurePopcnt = 12,
  featurePclmulqdq = 13,
  featureAes = 14,
  featureF16c = 15,
  featureAvx = 16,
  featureRdrand = 17,
  featureFma = 18,
  featureBmi = 19,
  featureLzcnt = 20,
  featureHle = 21,
  featureRtm = 22,
  featureAvx2 = 23,
  featureAvx512f = 27,
  featureAdx = 28,
  featureRdseed = 29,
  featureLowPower = 31,  // a model number of the in-order low-power line
  featureAvx512er = 32,
  featureAvx512pf = 33,
  featureAvx512cd = 34,
  featureSha = 35,
  featureMpx = 36
};

// Where a feature is told, and which register state the operating system must have enabled for it.
enum class FeatureSource { leaf1Edx, leaf1Ecx, leaf7Ebx, extendedEcx };
enum class FeatureState { none, avx, avx512, bounds };

struct FeatureRow {
  Feature feature;
  FeatureSource source;
  std::uint32_t bits;  // all of them
  FeatureState state;
  const char* name;
};

constexpr int featureRowCount = 31;
extern const FeatureRow featureRows[featureRowCount];

// No lock: racing threads store one mask.
struct FeatureMask {
  std::atomic<std::uint64_t> mask{0};  // 0: not yet read
};
extern FeatureMask cpuFeatures;

// Bit mask of processor features; bit 0 is set once it has been read. A mask of 0 means a processor without CPUID.
std::uint64_t cpuFeaturesRead();

// Set once a caller has asked for the best level; never cleared.
struct VendorRule {
  std::atomic<bool> ignored{false};
};
extern VendorRule vendorRule;

// Whether a caller or RVN_BEST_LEVEL in the environment has asked for the best level.
bool isBestLevelAsked();

// Whether the vendor string is "GenuineVetra", or nobody looks at it: RVN_ANY_VENDOR or RVN_BEST_LEVEL is set to a
// non-empty value, or the rule was set aside.
bool isGenuineVetra();

bool hasFeature(Feature feature);

// Leaf `leaf`, subleaf 0; all zero on a processor without CPUID.
CpuidLeaf cpuidOrZero(std::uint32_t leaf);

// Whether the operating system saves the 256-bit registers, and the 512-bit ones; `leaf1` is CPUID's leaf 1.
bool avxStateEnabled(const CpuidLeaf& leaf1);
bool avx512StateEnabled(const CpuidLeaf& leaf1);

}  // namespace rvn
